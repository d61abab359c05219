// The "copy" personality: copies a file's bytes. Asked to fail partway, it
// leaves the first half of the bytes, as a tool that died mid-run would.
#include "platform/error.h"
#include "standin.h"

namespace kestrova::standin {

int RunCopy(const Invocation& call) {
    if (call.Arguments.size() != 2) throw Error("copy: expected SOURCE TARGET");
    std::string bytes = ReadJobFile(call, call.Arguments[0]);
    if (call.Fail == FailMode::Partial) {
        bytes.resize(bytes.size() / 2);
        WriteJobFile(call, call.Arguments[1], bytes);
        return 1;
    }
    WriteJobFile(call, call.Arguments[1], bytes);
    return 0;
}

}  // namespace kestrova::standin

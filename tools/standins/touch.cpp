// The "touch" personality: makes each named file, keeping one that exists.
#include "platform/error.h"
#include "platform/files.h"
#include "standin.h"

namespace kestrova::standin {

int RunTouch(const Invocation& call) {
    if (call.Arguments.empty()) throw Error("touch: expected at least one FILE");
    const platform::FileSystem files(call.Paths);
    for (const auto& path : call.Arguments) {
        if (!files.FileExists(path)) files.WriteText(path, "");
    }
    return 0;
}

}  // namespace kestrova::standin

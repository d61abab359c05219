// The "touch" personality: makes each named file, keeping one that exists.
#include "platform/error.h"
#include "standin.h"

#include <fstream>

namespace kestrova::standin {

int RunTouch(const Invocation& call) {
    if (call.Arguments.empty()) throw Error("touch: expected at least one FILE");
    for (const auto& path : call.Arguments) {
        const std::string host = call.Paths.ToHost(path);
        std::ofstream out(host, std::ios::binary | std::ios::app);
        if (!out) throw Error("touch: cannot make " + path + " (" + host + ")");
    }
    return 0;
}

}  // namespace kestrova::standin

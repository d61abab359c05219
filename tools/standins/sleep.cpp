// The "sleep" personality: waits, then leaves a file. Tests use it for
// stops and waits: a stop before the time leaves no file.
#include <chrono>
#include <thread>

#include "platform/error.h"
#include "standin.h"

namespace kestrova::standin {

int RunSleep(const Invocation& call) {
    if (call.Arguments.empty() || call.Arguments.size() > 2) throw Error("sleep: expected MS [FILE]");
    const long ms = ParseNumber(call.Arguments[0], "sleep time");
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    if (call.Arguments.size() == 2) WriteJobFile(call, call.Arguments[1], "slept " + call.Arguments[0] + "\n");
    return 0;
}

}  // namespace kestrova::standin

// The "tree" personality: a tool that runs a program of its own, as a
// stand-in over ffmpeg does. It appends its pid to a host file, then runs
// itself one level lower through the process runner, and the last level
// waits. Tests stop the top of the tree and check that no pid lives on.
#include <chrono>
#include <fstream>
#include <thread>

#include <unistd.h>

#include "platform/error.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "platform/terminal.h"
#include "standin.h"

namespace kestrova::standin {

int RunTree(const Invocation& call) {
    if (call.Arguments.size() != 3) throw Error("tree: expected LEVELS MS PIDFILE");
    const long levels = ParseNumber(call.Arguments[0], "number of levels");
    const long ms = ParseNumber(call.Arguments[1], "wait time");
    const std::string& pidFile = call.Arguments[2];
    {
        std::ofstream out(pidFile, std::ios::app);
        out << ::getpid() << '\n';
        if (!out) throw Error("tree: cannot write the pid file " + pidFile);
    }
    if (levels == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        return 0;
    }
    platform::Launcher launcher(call.Paths);
    launcher.AddOverride("tree.exe", {{platform::ProgramHostFolder() + "/kestrova-standin", "--tool", "tree"}, ""});
    platform::ProcessRunner runner(launcher);
    runner.ShellAndWait("tree.exe " + std::to_string(levels - 1) + " " + call.Arguments[1] + " \"" + pidFile + "\"",
                        0);
    return 0;
}

}  // namespace kestrova::standin

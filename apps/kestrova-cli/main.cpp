// kestrova-cli: runs a re-authoring job without a window, unattended. The
// command line has the window program's grammar; questions take their
// unattended answer and are written to the run log.
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "console_view.h"
#include "job/context.h"
#include "job/tool_profile.h"
#include "pipeline/cli_start.h"
#include "platform/batch.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/terminal.h"
#include "platform/trace.h"

namespace {

const char* const kUsage =
    "Usage: kestrova-cli /STAR /DRIV=LETTER /PATH=\"OUTPUT\" [/TOKEN[=VALUE] ...]\n"
    "       kestrova-cli /INIFILE JOB.INI\n"
    "       kestrova-cli --tools      which program runs for each outside tool, and why\n"
    "\n"
    "Re-authors the menus of a DVD-Video file set without a window. Questions\n"
    "take their unattended answer and are written to the run log. The run ends\n"
    "with a summary: each stage done, passed over or failed, and where the\n"
    "results are.\n"
    "\n"
    "Exit status:\n"
    "  0  every stage of the run ran\n"
    "  3  the run finished, but stages this version does not have yet were\n"
    "     passed over\n"
    "  1  bad input, a refusal, an abort or a failed stage (named on standard\n"
    "     error)\n"
    "  2  nothing was started: the command line asked for no run, a tool\n"
    "     setting below is wrong, or the output folder holds a job and neither\n"
    "     --resume nor --fresh was given\n"
    "\n"
    "Tokens (the first four letters count, in any case):\n"
    "  /STAR               start the job by itself\n"
    "  /DRIV=LETTER        the source drive; its VIDEO_TS folder is read\n"
    "  /PATH=\"FOLDER\"      output folder (a host path or a drive path)\n"
    "  /THRE=MB            menus up to this size are chosen\n"
    "  /PAUS /MINI /DEIN   pause before encoding, minimise, deinterlace\n"
    "  /CCEO /CCEV /CCER /REJI  encoder choice\n"
    "  /COMP=N /PASS=N /AVEB=N  encoder numbers\n"
    "  /INIFILE FILE       read the job from an INI file (*DRIVE, *WORKINGFOLDER,\n"
    "                      and one \"-VIDEOTS ALL\" / \"-VTS_01_0 English\" line per menu)\n"
    "  /RESU               as --resume below (after /INIFILE, give --resume)\n"
    "\n"
    "The output folder must be new or empty, unless it holds a job and one of\n"
    "these says what to do with it (otherwise the run is refused, exit status 2):\n"
    "  --resume            go on with the unfinished job there, after the last stage\n"
    "                      its journal (Kestrova_Recovery.LOG) says had ended\n"
    "  --fresh             empty the job's folder first and run the job again\n"
    "\n"
    "Environment:\n"
    "  KESTROVA_DRIVES=\"D:=/path/to/disc@cdrom;K:=/path/to/jobs\"  drive letters\n"
    "      (Z: is \"/\"); the source disc is the drive given by /DRIV or *DRIVE.\n"
    "  KESTROVA_TOOLS=native|windows  native (the default): the project's own\n"
    "      equivalents of the Windows tools; windows: the program folder's .exe\n"
    "      files through Wine (wine on PATH, or KESTROVA_WINE)\n"
    "  KESTROVA_TOOL_OVERRIDES=\"Tool.exe=/path/program;...\"  single tools\n"
    "  KESTROVA_PROGRAM_FOLDER  folder of the tools (default: beside this program)\n"
    "  KESTROVA_REGISTRY        the settings hive file\n"
    "  KESTROVA_LAUNCH_TIMES    a file to write each outside program's run to, one\n"
    "      line each: start (ms of the job's clock), wall ms, processor ms, exit\n"
    "      status and command line, split by tabs\n"
    "  KESTROVA_TRACE=1         the trace of failures on standard error too\n"
    "The run log starts in $XDG_STATE_HOME/kestrova (~/.local/state/kestrova)\n"
    "and moves into the output folder when the run begins.\n";

// The tools listing: one line a tool, what runs and why.
int PrintTools(const kestrova::platform::Launcher& launcher, const kestrova::ToolSetup& setup,
               const kestrova::platform::Registry& registry) {
    using namespace kestrova;
    const std::string given = platform::EnvironmentValue("KESTROVA_PROGRAM_FOLDER");
    const std::string programFolder =
        launcher.Paths().ToWindows(given.empty() ? platform::ProgramHostFolder() : platform::AbsoluteHostPath(given));
    std::cout << "Tool profile: " << (setup.Profile == ToolProfile::Native ? "native" : "windows") << '\n';
    for (const ToolChoice& choice : DescribeTools(launcher, setup, registry, programFolder)) {
        std::cout << "  " << choice.Tool << ": " << choice.Runs << "\n      " << choice.Why << '\n';
    }
    if (const std::string problem = ToolSetupProblem(launcher, setup); !problem.empty()) {
        std::cout << problem << '\n';
    }
    return 0;
}

// Each start of an outside program with its times, for a look at where a
// run's time went (KESTROVA_LAUNCH_TIMES).
void WriteLaunchTimes(const kestrova::platform::ProcessRunner& runner) {
    const std::string path = kestrova::platform::EnvironmentValue("KESTROVA_LAUNCH_TIMES");
    if (path.empty()) return;
    std::ofstream out(path, std::ios::trunc);
    for (const auto& record : runner.History()) {
        out << record.StartTick << '\t' << record.WallMs << '\t' << record.CpuMs << '\t' << record.ExitCode << '\t'
            << record.CommandLine << '\n';
    }
    if (!out) std::cerr << "kestrova-cli: cannot write the launch times to " << path << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kestrova;
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::cout << kUsage;
        return args.empty() ? kExitUsage : kExitComplete;
    }
    ToolSetup tools;
    try {
        tools = ReadToolSetup(platform::EnvironmentValue("KESTROVA_TOOLS"),
                              platform::EnvironmentValue("KESTROVA_TOOL_OVERRIDES"));
    } catch (const Error& failure) {
        std::cerr << "kestrova-cli: " << failure.what() << '\n';
        return kExitUsage;
    }
    try {
        platform::PathSpace paths = platform::PathSpace::FromEnvironment();
        platform::FileSystem files(paths);
        platform::Registry registry(platform::Registry::DefaultHivePath());
        if (const std::string note = registry.Load(); !note.empty()) std::cerr << "kestrova-cli: " << note << '\n';
        platform::Launcher launcher(paths);
        // The native equivalents live beside this program.
        ApplyToolSetup(launcher, tools, platform::ProgramHostFolder());
        if (args[0] == "--tools") return PrintTools(launcher, tools, registry);
        if (const std::string problem = ToolSetupProblem(launcher, tools); !problem.empty()) {
            std::cerr << "kestrova-cli: " << problem << '\n';
            return kExitUsage;
        }
        platform::ProcessRunner runner(launcher);
        platform::BatchInterpreter batch(runner, files, [&registry, &files](const std::string& regFile) {
            return registry.ImportRegFile(files.ToHost(regFile));
        });
        // The trace of a failure (module and procedure names) goes into the
        // run log, and on standard error only when asked for; the console
        // gets the failure's own message.
        JobContext* running = nullptr;
        const bool traceToConsole = !platform::EnvironmentValue("KESTROVA_TRACE").empty();
        platform::Trace trace;
        trace.SetSink([&running, traceToConsole](const std::string& line) {
            if (traceToConsole) std::cerr << "kestrova-cli: " << line << '\n';
            if (running != nullptr) LogTrace(*running, line);
        });
        ConsoleView view(platform::StandardErrorIsTerminal());
        // Unattended answers go to the run log once the job exists.
        platform::ConsoleQuestions questions(std::cin, std::cerr, true, [&running](const std::string& note) {
            if (running != nullptr) LogUnattendedAnswer(*running, note);
        });
        JobContext job(files, registry, runner, questions, trace, view);
        job.Tools = tools.Profile;
        running = &job;
        const int status = RunFromCommandLine(job, args);
        WriteLaunchTimes(runner);
        return status;
    } catch (const Error& failure) {
        std::cerr << "kestrova-cli: " << failure.what() << '\n';
        return kExitFailed;
    }
}

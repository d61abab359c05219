// kestrova-cli: runs a re-authoring job without a window, unattended. The
// command line has the window program's grammar; questions take their
// unattended answer and are written to the run log.
#include <iostream>
#include <string>
#include <vector>

#include "job/context.h"
#include "job/tool_table.h"
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
    "  2  the command line asked for no run: nothing was started\n"
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
    "\n"
    "Environment:\n"
    "  KESTROVA_DRIVES=\"D:=/path/to/disc@cdrom;K:=/path/to/jobs\"  drive letters\n"
    "      (Z: is \"/\"); the source disc is the drive given by /DRIV or *DRIVE.\n"
    "  KESTROVA_PROGRAM_FOLDER  folder of the tools (default: beside this program)\n"
    "  KESTROVA_REGISTRY        the settings hive file\n";

// The console's view of a job: log-list lines on standard output and, on a
// terminal, one live progress line on standard error.
class ConsoleView : public kestrova::JobView {
public:
    explicit ConsoleView(bool live) : live_(live) {}

    void AddListLine(const std::string& line) override {
        Clear();
        std::cout << line << '\n' << std::flush;
        Draw();
    }
    void ShowStageBar(int value, int) override {
        stage_ = value;
        Draw();
    }
    void ShowJobBar(int value, int) override {
        job_ = value;
        Draw();
    }
    void ShowCaption(const std::string& caption) override {
        caption_ = caption;
        Draw();
    }
    void ServeMessages() override {}
    ~ConsoleView() override { Clear(); }

private:
    void Draw() {
        if (!live_) return;
        std::cerr << "\r[job " << job_ << "%] [" << (caption_.empty() ? "stage" : caption_) << " " << stage_ << "%]   "
                  << std::flush;
        drawn_ = true;
    }
    void Clear() {
        if (!live_ || !drawn_) return;
        std::cerr << "\r" << std::string(60, ' ') << "\r" << std::flush;
        drawn_ = false;
    }

    bool live_;
    bool drawn_ = false;
    int stage_ = 0;
    int job_ = 0;
    std::string caption_;
};

}  // namespace

int main(int argc, char** argv) {
    using namespace kestrova;
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::cout << kUsage;
        return args.empty() ? 2 : 0;
    }
    try {
        platform::PathSpace paths = platform::PathSpace::FromEnvironment();
        platform::FileSystem files(paths);
        platform::Registry registry(platform::Registry::DefaultHivePath());
        if (const std::string note = registry.Load(); !note.empty()) std::cerr << "kestrova-cli: " << note << '\n';
        platform::Launcher launcher(paths);
        // The tools run as their native equivalents, which live beside this program.
        AddStandInTools(launcher, platform::ProgramHostFolder() + "/kestrova-standin");
        platform::ProcessRunner runner(launcher);
        platform::BatchInterpreter batch(runner, files, [&registry, &files](const std::string& regFile) {
            return registry.ImportRegFile(files.ToHost(regFile));
        });
        platform::Trace trace;
        trace.SetSink([](const std::string& line) { std::cerr << "kestrova-cli: " << line << '\n'; });
        ConsoleView view(platform::StandardErrorIsTerminal());
        // Unattended answers go to the run log once the job exists.
        JobContext* running = nullptr;
        platform::ConsoleQuestions questions(std::cin, std::cerr, true, [&running](const std::string& note) {
            if (running != nullptr) LogUnattendedAnswer(*running, note);
        });
        JobContext job(files, registry, runner, questions, trace, view);
        running = &job;
        return RunFromCommandLine(job, args);
    } catch (const Error& failure) {
        std::cerr << "kestrova-cli: " << failure.what() << '\n';
        return 1;
    }
}

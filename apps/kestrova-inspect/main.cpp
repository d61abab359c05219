// kestrova-inspect: prints what the reader sees of a disc. Each way of
// looking is one row of the mode table below (its option, what it reads, its
// help line and the function that prints), so a new view is one more row.
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "dvd/crosscheck_dump.h"
#include "dvd/ifo_reader.h"
#include "dvd/model_print.h"
#include "dvd/title_pgcs.h"
#include "job/context.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/path_space.h"
#include "platform/process.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace {

using namespace kestrova;

// The services a job runs on, and a job that nothing runs: the modes read
// with it and print its model.
struct Session {
    platform::PathSpace Paths = platform::PathSpace::FromEnvironment();
    platform::FileSystem Files{Paths};
    platform::Registry Registry{platform::Registry::DefaultHivePath()};
    platform::Launcher Launcher{Paths};
    platform::ProcessRunner Runner{Launcher};
    platform::ConsoleQuestions Questions{std::cin, std::cerr, true};
    platform::Trace Trace;
    SilentView View;
    JobContext Job{Files, Registry, Runner, Questions, Trace, View};
};

// What reading one IFO file adds to a job, kept so that a file that fails
// halfway can be taken back before its backup is read.
struct ReaderState {
    VTS DiscModel;
    VTS TitleMap;
    Collection<PALETTE_NUMBER_Properties> PalettePool;
    Collection<TempCommands_Properties> TitleCommands;
    std::vector<StreamUse_Record> StreamUse;
    TimeBase Timing;

    explicit ReaderState(const JobContext& job)
        : DiscModel(job.DiscModel), TitleMap(job.TitleMap), PalettePool(job.PalettePool),
          TitleCommands(job.TitleCommands), StreamUse(job.StreamUse), Timing(job.Timing) {}
    void Restore(JobContext& job) const {
        job.DiscModel = DiscModel;
        job.TitleMap = TitleMap;
        job.PalettePool = PalettePool;
        job.TitleCommands = TitleCommands;
        job.StreamUse = StreamUse;
        job.Timing = Timing;
    }
};

// Reads one IFO file as a job does. When it is missing or cannot be read,
// its backup copy (.BUP) is read instead, as players and libdvdread do, and
// a line on the error stream says so. Returns the file that was read.
std::string ReadIfoOrBackup(Session& session, const std::string& ifo, bool isVideoTS) {
    const std::string backup = platform::WithExtension(ifo, ".BUP");
    std::string fault = "there is no such file";
    if (session.Files.FileExists(ifo)) {
        const ReaderState before(session.Job);
        try {
            GetIFOParams(session.Job, ifo, true, "ALL", isVideoTS);
            return ifo;
        } catch (const Error& failure) {
            fault = failure.what();
            before.Restore(session.Job);
        }
    }
    const std::string hostIfo = session.Files.ToHost(ifo);
    if (!session.Files.FileExists(backup)) {
        throw Error("Cannot read " + hostIfo + " (" + fault + "), and there is no " + platform::FileNameOf(backup) +
                    " beside it to read instead.");
    }
    std::cerr << "kestrova-inspect: cannot read " << hostIfo << " (" << fault << "); reading "
              << platform::FileNameOf(backup) << " instead\n";
    GetIFOParams(session.Job, backup, true, "ALL", isVideoTS);
    return backup;
}

// Reads every IFO file of a VIDEO_TS folder as a job does, VIDEO_TS.IFO
// first and then one file for each title set it counts, and beside the
// model the disc's first-play and title PGCs.
PlaybackPGCs ReadDisc(Session& session, const std::string& folder) {
    // The first file read fixes the standard, as in a job.
    session.Job.Timing.VideoStandard.clear();
    const std::string drivePath = session.Paths.ToWindows(folder);
    const std::string base = drivePath.back() == '\\' ? drivePath : drivePath + "\\";
    if (!session.Files.FileExists(base + "VIDEO_TS.IFO") && !session.Files.FileExists(base + "VIDEO_TS.BUP")) {
        throw Error("There is no VIDEO_TS.IFO in " + folder + "; a VIDEO_TS folder was expected.");
    }
    std::vector<std::string> ifoFiles{ReadIfoOrBackup(session, base + "VIDEO_TS.IFO", true)};
    const auto manager = session.Files.ReadBytes(ifoFiles.front());
    const std::int64_t titleSets = ByteHandleD(ByteSource{manager, ifoFiles.front()}, kVmgTitleSetCount, 2);
    for (std::int64_t n = 1; n <= titleSets; ++n) {
        const std::string number = n < 10 ? "0" + std::to_string(n) : std::to_string(n);
        ifoFiles.push_back(ReadIfoOrBackup(session, base + "VTS_" + number + "_0.IFO", false));
    }
    return ReadPlaybackPGCs(session.Files, ifoFiles);
}

PrintNode DiscTree(Session& session, const std::string& folder) {
    const PlaybackPGCs playback = ReadDisc(session, folder);
    PrintNode tree = ModelTree(session.Job);
    AddPlaybackPGCs(tree, session.Job, playback);
    return tree;
}

void PrintText(Session& session, const std::string& folder) { std::cout << DiscTree(session, folder).RenderText(); }

void PrintJson(Session& session, const std::string& folder) { std::cout << DiscTree(session, folder).RenderJson(); }

void PrintCrossCheck(Session& session, const std::string& folder) {
    const PlaybackPGCs playback = ReadDisc(session, folder);
    std::cout << CrossCheckDump(session.Job, playback);
}

struct Mode {
    const char* Option;   // empty for the mode without one
    const char* Operand;  // what the one argument after the option is
    const char* Help;
    void (*Print)(Session& session, const std::string& operand);
};

const Mode kModes[] = {
    {"", "VIDEO_TS_FOLDER", "the DVD model as lines, then the first-play and title PGCs", PrintText},
    {"--json", "VIDEO_TS_FOLDER", "the same as JSON", PrintJson},
    {"--crosscheck", "VIDEO_TS_FOLDER", "all PGCs in the lines dvdread-dump prints", PrintCrossCheck},
};

std::string Usage() {
    std::string text = "Usage: kestrova-inspect [OPTION] OPERAND\n\n";
    auto row = [&text](std::string call, const std::string& help) {
        call.resize(std::max<std::size_t>(call.size() + 2, 30), ' ');
        text += "  " + call + help + "\n";
    };
    for (const Mode& mode : kModes) {
        row(std::string(mode.Option) + (*mode.Option != '\0' ? " " : "") + mode.Operand, mode.Help);
    }
    row("--help", "this text");
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        std::cout << Usage();
        return 0;
    }
    const std::string option = !arguments.empty() && arguments[0].rfind("--", 0) == 0 ? arguments[0] : "";
    const Mode* mode = nullptr;
    for (const Mode& row : kModes) {
        if (option == row.Option) mode = &row;
    }
    try {
        if (mode == nullptr) throw Error("There is no option " + option + "; kestrova-inspect --help lists them.");
        const std::size_t operands = arguments.size() - (option.empty() ? 0 : 1);
        if (operands != 1) {
            throw Error(std::string("kestrova-inspect ") + mode->Option + (option.empty() ? "" : " ") +
                        "takes one " + mode->Operand + "; kestrova-inspect --help lists the modes.");
        }
        Session session;
        mode->Print(session, arguments.back());
    } catch (const Error& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}

// kestrova-inspect: prints what the readers see of a disc or of audio
// files. Each way of looking is one row of the mode table below (its
// option, what it reads, its help line and the function that prints), so a
// new view is one more row.
#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "assets/audio_stream.h"
#include "assets/program_stream.h"
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

// One stream's facts and bad spots.
PrintNode AudioStreamNode(const AudioStream& stream) {
    PrintNode node = PrintNode::Object();
    if (stream.Stream != 0) node.Set("id", "0x" + StreamHex(stream.Stream));
    node.Set("format", AudioFormatName(stream.Format));
    if (stream.Coding != AudioFormatName(stream.Format)) node.Set("coding", stream.Coding);
    if (stream.SampleRate != 0) node.Set("sample_rate", std::int64_t{stream.SampleRate});
    if (stream.Channels != 0) {
        node.Set("channels", std::int64_t{stream.Channels});
        node.Set("lfe", stream.Lfe ? "yes" : "no");
    }
    if (!stream.Layout.empty()) node.Set("layout", stream.Layout + (stream.Lfe ? "+LFE" : ""));
    if (stream.BitsPerSample != 0) node.Set("bits_per_sample", std::int64_t{stream.BitsPerSample});
    if (stream.BitRate != 0) node.Set("bit_rate", stream.BitRate);
    const char* counted = stream.Format == AudioFormat::Lpcm ? "packets"
                          : stream.Format == AudioFormat::Wav ? "sample_frames"
                                                              : "frames";
    if (stream.Format != AudioFormat::Lpcm || stream.Stream != 0) {
        node.Set(counted, static_cast<std::int64_t>(stream.Frames));
        node.Set("duration_ms", static_cast<std::int64_t>(std::llround(stream.Duration * 1000)));
    }
    if (stream.FirstSync) node.Set("first_frame_offset", static_cast<std::int64_t>(*stream.FirstSync));
    node.Set("bytes", static_cast<std::int64_t>(stream.Bytes));
    if (!stream.Note.empty()) node.Set("note", stream.Note);
    node.Set("bad_spots", static_cast<std::int64_t>(stream.Faults.size() + stream.FaultsNotListed));
    PrintNode& spots = node.Set("bad_spot", PrintNode::Array());
    for (const AudioFault& fault : stream.Faults) {
        PrintNode& spot = spots.Push(PrintNode::Object());
        spot.Set("offset", static_cast<std::int64_t>(fault.Offset));
        spot.Set("what", fault.What);
    }
    if (stream.FaultsNotListed != 0) {
        node.Set("bad_spots_not_listed", static_cast<std::int64_t>(stream.FaultsNotListed));
    }
    return node;
}

// Audio files on the host: an elementary stream or WAV file is one stream,
// a VOB (a program stream) lists its audio sub-streams. A file that cannot
// be read is named on the error stream, the others are still printed, and
// the run fails at the end.
void PrintAudioFiles(const std::vector<std::string>& paths, bool json) {
    PrintNode root = PrintNode::Object();
    PrintNode& files = root.Set("file", PrintNode::Array());
    std::size_t failed = 0;
    for (const std::string& path : paths) {
        try {
            PrintNode file = PrintNode::Object();
            file.Set("path", path);
            PrintNode streams = PrintNode::Array();
            if (IsProgramStreamFile(path)) {
                const VobAudio vob = ScanVobAudioFile(path);
                file.Set("packs", static_cast<std::int64_t>(vob.Packs));
                PrintNode& spots = file.Set("bad_pack", PrintNode::Array());
                for (const AudioFault& fault : vob.Faults) {
                    PrintNode& spot = spots.Push(PrintNode::Object());
                    spot.Set("offset", static_cast<std::int64_t>(fault.Offset));
                    spot.Set("what", fault.What);
                }
                for (const AudioStream& stream : vob.Streams) streams.Push(AudioStreamNode(stream));
            } else {
                streams.Push(AudioStreamNode(ScanAudioFile(path)));
            }
            file.Set("stream", std::move(streams));
            files.Push(std::move(file));
        } catch (const Error& failure) {
            std::cerr << failure.what() << "\n";
            ++failed;
        }
    }
    std::cout << (json ? root.RenderJson() : root.RenderText());
    if (failed > 0) {
        throw Error(std::to_string(failed) + " of " + std::to_string(paths.size()) + " files could not be read.");
    }
}

void PrintAudio(Session&, const std::vector<std::string>& paths) { PrintAudioFiles(paths, false); }

void PrintAudioJson(Session&, const std::vector<std::string>& paths) { PrintAudioFiles(paths, true); }

struct Mode {
    const char* Option;   // empty for the mode without one
    const char* Operand;  // what the arguments after the option are
    bool Many;            // one argument or more (otherwise exactly one)
    const char* Help;
    void (*Print)(Session& session, const std::vector<std::string>& operands);
};

const Mode kModes[] = {
    {"", "VIDEO_TS_FOLDER", false, "the DVD model as lines, then the first-play and title PGCs",
     [](Session& session, const std::vector<std::string>& operands) { PrintText(session, operands[0]); }},
    {"--json", "VIDEO_TS_FOLDER", false, "the same as JSON",
     [](Session& session, const std::vector<std::string>& operands) { PrintJson(session, operands[0]); }},
    {"--crosscheck", "VIDEO_TS_FOLDER", false, "all PGCs in the lines dvdread-dump prints",
     [](Session& session, const std::vector<std::string>& operands) { PrintCrossCheck(session, operands[0]); }},
    {"--audio", "FILE...", true, "each audio stream of AC3, MPEG audio, DTS, LPCM, WAV and VOB files", PrintAudio},
    {"--audio --json", "FILE...", true, "the same as JSON", PrintAudioJson},
};

std::string Usage() {
    std::string text = "Usage: kestrova-inspect [OPTION...] OPERAND...\n\n";
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
    // The options are the leading arguments that begin with "--", in either order.
    std::vector<std::string> options;
    while (options.size() < arguments.size() && arguments[options.size()].rfind("--", 0) == 0) {
        options.push_back(arguments[options.size()]);
    }
    const std::vector<std::string> operands(arguments.begin() + static_cast<std::ptrdiff_t>(options.size()),
                                            arguments.end());
    std::sort(options.begin(), options.end(), [](const std::string& a, const std::string& b) {
        return (a == "--json") < (b == "--json");  // "--json" last, as the table writes it
    });
    std::string option;
    for (const std::string& one : options) option += (option.empty() ? "" : " ") + one;
    const Mode* mode = nullptr;
    for (const Mode& row : kModes) {
        if (option == row.Option) mode = &row;
    }
    try {
        if (mode == nullptr) throw Error("There is no option " + option + "; kestrova-inspect --help lists them.");
        if (mode->Many ? operands.empty() : operands.size() != 1) {
            throw Error(std::string("kestrova-inspect ") + mode->Option + (option.empty() ? "" : " ") + "takes " +
                        (mode->Many ? "at least one " : "one ") + mode->Operand +
                        "; kestrova-inspect --help lists the modes.");
        }
        Session session;
        mode->Print(session, operands);
    } catch (const Error& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}

// kestrova-inspect: prints what the readers see of a disc, of audio files,
// of the subpictures of VOB files, of the buttons in their NAV packs or of
// an authoring script.
// Each way of looking is one row of the mode table below (its option, what
// it reads, its help line and the function that prints), so a new view is
// one more row.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "assets/audio_stream.h"
#include "assets/program_stream.h"
#include "authoring/script_lint.h"
#include "authoring/script_print.h"
#include "dvd/crosscheck_dump.h"
#include "dvd/ifo_reader.h"
#include "dvd/model_print.h"
#include "dvd/title_pgcs.h"
#include "dvd/vm_commands.h"
#include "frameserver/mpeg_header.h"
#include "job/bits.h"
#include "job/context.h"
#include "platform/error.h"
#include "platform/es_file_reader.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/path_space.h"
#include "platform/process.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/stream_files.h"
#include "platform/text.h"
#include "platform/trace.h"
#include "subpicture/spu_bmp.h"
#include "subpicture/spu_decoder.h"

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
    // The host folder --bmp names; empty without it.
    std::string BitmapFolder;
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
// Prints the report of a run over files; one that could not be read was
// named on the error stream as it was met, and fails the run at the end.
void PrintFileReport(const PrintNode& root, bool json, std::size_t failed, std::size_t total) {
    std::cout << (json ? root.RenderJson() : root.RenderText());
    if (failed > 0) throw Error(std::to_string(failed) + " of " + std::to_string(total) + " files could not be read.");
}

// A run over files: `add` fills each file's node behind its "path"; a file
// it cannot read is named on the error stream, the others are still
// printed, and the run fails at the end.
void PrintFiles(const std::vector<std::string>& paths, bool json,
                const std::function<void(const std::string& path, PrintNode& file)>& add) {
    PrintNode root = PrintNode::Object();
    PrintNode& files = root.Set("file", PrintNode::Array());
    std::size_t failed = 0;
    for (const std::string& path : paths) {
        try {
            PrintNode file = PrintNode::Object();
            file.Set("path", path);
            add(path, file);
            files.Push(std::move(file));
        } catch (const Error& failure) {
            std::cerr << failure.what() << "\n";
            ++failed;
        }
    }
    PrintFileReport(root, json, failed, paths.size());
}

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
    PrintFiles(paths, json, [](const std::string& path, PrintNode& file) {
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
    });
}

void PrintAudio(Session&, const std::vector<std::string>& paths) { PrintAudioFiles(paths, false); }

void PrintAudioJson(Session&, const std::vector<std::string>& paths) { PrintAudioFiles(paths, true); }

// A host file as a byte stream, named as the user gave it.
class HostFileReader final : public platform::ByteReader {
public:
    explicit HostFileReader(const std::string& path) : file_(path, "VOB file") {}
    std::size_t Read(std::span<std::uint8_t> into) override { return file_.Read(into); }
    const std::string& Name() const override { return file_.Path(); }

private:
    platform::EsFileReader file_;
};

// A 90 kHz time as h:mm:ss.mmm.
std::string ClockTime(std::int64_t ticks) {
    const std::int64_t ms = ticks / 90;
    char text[32];
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%03lld", static_cast<long long>(ms / 3600000),
                  static_cast<long long>(ms / 60000 % 60), static_cast<long long>(ms / 1000 % 60),
                  static_cast<long long>(ms % 1000));
    return text;
}

// One display control command in words.
std::string SpuCommandWords(const SpuCommand& command) {
    const auto indices = [&command](const char* what) {
        const auto& v = command.Values;
        return std::string(SpuCommandName(command.Code)) + " " + what + " E2 " + std::to_string(v[3]) + ", E1 " +
               std::to_string(v[2]) + ", P " + std::to_string(v[1]) + ", Bg " + std::to_string(v[0]);
    };
    switch (command.Code) {
    case SpuCommandCode::FSTA_DSP: return "FSTA_DSP forced start of display";
    case SpuCommandCode::STA_DSP: return "STA_DSP start of display";
    case SpuCommandCode::STP_DSP: return "STP_DSP stop of display";
    case SpuCommandCode::SET_COLOR: return indices("palette entries");
    case SpuCommandCode::SET_CONTR: return indices("contrast");
    case SpuCommandCode::SET_DAREA: {
        const SpuArea& a = command.Area;
        return "SET_DAREA area x " + std::to_string(a.X1) + "-" + std::to_string(a.X2) + ", y " +
               std::to_string(a.Y1) + "-" + std::to_string(a.Y2) + " (" + std::to_string(a.Width()) + "x" +
               std::to_string(a.Height()) + ")";
    }
    case SpuCommandCode::SET_DSPXA:
        return "SET_DSPXA field offsets top " + std::to_string(command.TopField) + ", bottom " +
               std::to_string(command.BottomField);
    case SpuCommandCode::CHG_COLCON: return "CHG_COLCON " + std::to_string(command.Length) + " bytes passed over";
    case SpuCommandCode::CMD_END: break;
    }
    return SpuCommandName(command.Code);
}

PrintNode SpuNode(const SubpictureUnit& unit) {
    PrintNode node = PrintNode::Object();
    node.Set("offset", static_cast<std::int64_t>(unit.FileOffset));
    node.Set("pts", unit.Pts);
    node.Set("size", std::int64_t{unit.Size});
    if (unit.Start) {
        node.Set("start", *unit.Start);
        node.Set("start_time", ClockTime(*unit.Start));
    }
    if (unit.Stop) {
        node.Set("stop", *unit.Stop);
        node.Set("stop_time", ClockTime(*unit.Stop));
    }
    node.Set("forced", unit.Forced ? "yes" : "no");
    PrintNode& sequences = node.Set("sequence", PrintNode::Array());
    for (const DisplaySequence& sequence : unit.Sequences) {
        PrintNode& item = sequences.Push(PrintNode::Object());
        item.Set("offset", std::int64_t{sequence.Offset});
        item.Set("delay", std::int64_t{sequence.Delay});
        item.Set("delay_ms", sequence.DelayTicks() / 90);
        PrintNode& commands = item.Set("command", PrintNode::Array());
        for (const SpuCommand& command : sequence.Commands) commands.Push(PrintNode::Text(SpuCommandWords(command)));
    }
    return node;
}

// Writes a decoded bitmap into the --bmp folder (a drive path ending in "\\").
void WriteSpuBitmap(Session& session, const std::string& folder, const std::string& name, const SpuBitmap& bitmap) {
    const std::string bmp = SpuBitmapAsBmp(bitmap);
    const auto writer = platform::OpenFileWriter(session.Paths, folder + name, platform::WriteMode::Replace);
    writer->Write(std::span(reinterpret_cast<const std::uint8_t*>(bmp.data()), bmp.size()));
    writer->Close();
}

PrintNode FaultNode(const SpuFault& fault) {
    PrintNode node = PrintNode::Object();
    node.Set("offset", static_cast<std::int64_t>(fault.Offset));
    node.Set("what", fault.What);
    return node;
}

// Every SPU of the subpicture streams of VOB files, per file and stream,
// with the faults of each stream. With a bitmap folder, each decoded bitmap
// is written there as "<stream hex>_<ordinal>.bmp", the ordinal counting a
// stream's SPUs from 1 across the files in the order given. A file that
// cannot be read is named on the error stream, the others are still
// printed, and the run fails at the end.
void PrintSpuFiles(Session& session, const std::vector<std::string>& paths, bool json) {
    std::string folder;
    if (!session.BitmapFolder.empty()) {
        folder = session.Paths.ToWindows(session.BitmapFolder);
        session.Files.MakeFolder(folder);
        if (folder.back() != '\\') folder += '\\';
    }
    std::map<std::uint8_t, std::int64_t> ordinals;
    PrintFiles(paths, json, [&](const std::string& path, PrintNode& file) {
        HostFileReader reader(path);
        std::map<std::uint8_t, std::vector<PrintNode>> units;
        const VobSubpictures vob = ReadVobSubpictures(reader, [&](const SubpictureUnit& unit) {
            const std::int64_t ordinal = ++ordinals[unit.Stream];
            PrintNode node = SpuNode(unit);
            if (!unit.Bitmap.Pixels.empty()) {
                node.Set("bitmap", std::to_string(unit.Bitmap.Width) + "x" + std::to_string(unit.Bitmap.Height));
                if (!folder.empty()) {
                    const std::string name = StreamHex(unit.Stream) + "_" + std::to_string(ordinal) + ".bmp";
                    WriteSpuBitmap(session, folder, name, unit.Bitmap);
                    node.Set("bmp", name);
                }
            }
            units[unit.Stream].push_back(std::move(node));
        });
        std::map<std::uint8_t, std::vector<const SpuFault*>> faults;
        for (const SpuFault& fault : vob.Faults) faults[fault.Stream].push_back(&fault);
        for (const auto& [id, list] : faults) units[id];  // a stream of faults only is listed too

        file.Set("packs", static_cast<std::int64_t>(vob.Packs));
        PrintNode& badPacks = file.Set("bad_pack", PrintNode::Array());
        PrintNode& streams = file.Set("stream", PrintNode::Array());
        for (auto& [id, list] : units) {
            if (id == 0) {
                for (const SpuFault* fault : faults[0]) badPacks.Push(FaultNode(*fault));
                continue;
            }
            PrintNode& stream = streams.Push(PrintNode::Object());
            stream.Set("id", "0x" + StreamHex(id));
            stream.Set("spus", static_cast<std::int64_t>(list.size()));
            stream.Set("faults", static_cast<std::int64_t>(faults[id].size()));
            PrintNode& spus = stream.Set("spu", PrintNode::Array());
            for (PrintNode& node : list) spus.Push(std::move(node));
            PrintNode& spots = stream.Set("fault", PrintNode::Array());
            for (const SpuFault* fault : faults[id]) spots.Push(FaultNode(*fault));
        }
        if (vob.FaultsNotListed != 0) {
            file.Set("faults_not_listed", static_cast<std::int64_t>(vob.FaultsNotListed));
        }
    });
}

void PrintSpu(Session& session, const std::vector<std::string>& paths) { PrintSpuFiles(session, paths, false); }

void PrintSpuJson(Session& session, const std::vector<std::string>& paths) { PrintSpuFiles(session, paths, true); }

// The highlights of the NAV packs of VOB files, for --nav. Per file:
//   path, packs (NAV packs read), frame (720xH, H from the first video
//   sequence header; 576 when the file has none), then "highlight N" blocks,
//   one for each NAV pack whose highlight differs from the pack's before or
//   whose status says it is new, and for the first pack without one after
//   a highlight. A block holds sector (pack offset / 2048 in the file), vob,
//   cell, vobu_start_pts and its clock time, status ("1 (new)"), and with a
//   highlight its start_ptm, end_ptm, select_end_ptm, groups, the display
//   modes of each group, button_offset, buttons, numerical,
//   forced_selected, forced_activated, the three colour groups (palette
//   entries and contrasts as hexadecimal digits E2 E1 P Bg, selection then
//   action), one line per button and group (button, group, x1 x2 y1 y2,
//   colour, up down left right, auto, command bytes and their text), and
//   its warnings. Packs whose NAV fields or highlight cannot be read, and
//   damaged packs passed over, are listed under "fault" with their sector.
const char* const kHighlightStatusNames[] = {"none", "new", "same as before", "same as before, new commands"};

std::string NibbleText(std::uint8_t e2, std::uint8_t e1, std::uint8_t p, std::uint8_t bg) {
    static const char kDigits[] = "0123456789ABCDEF";
    return {kDigits[e2 & 0x0F], ' ', kDigits[e1 & 0x0F], ' ', kDigits[p & 0x0F], ' ', kDigits[bg & 0x0F]};
}

PrintNode ColourGroupNode(const ButtonColourGroup& c) {
    PrintNode node = PrintNode::Object();
    node.Set("selection_colour", NibbleText(c.Selection_Color_E2, c.Selection_Color_E1, c.Selection_Color_P,
                                            c.Selection_Color_Bg));
    node.Set("selection_contrast", NibbleText(c.Selection_Contrast_E2, c.Selection_Contrast_E1,
                                              c.Selection_Contrast_P, c.Selection_Contrast_Bg));
    node.Set("action_colour",
             NibbleText(c.Action_Color_E2, c.Action_Color_E1, c.Action_Color_P, c.Action_Color_Bg));
    node.Set("action_contrast", NibbleText(c.Action_Contrast_E2, c.Action_Contrast_E1, c.Action_Contrast_P,
                                           c.Action_Contrast_Bg));
    return node;
}

PrintNode ButtonNode(Session& session, const ButtonEntry& b, std::size_t button, std::size_t group) {
    PrintNode node = PrintNode::Object();
    node.Set("button", static_cast<std::int64_t>(button));
    node.Set("group", static_cast<std::int64_t>(group));
    node.Set("x1", std::int64_t{b.X1});
    node.Set("x2", std::int64_t{b.X2});
    node.Set("y1", std::int64_t{b.Y1});
    node.Set("y2", std::int64_t{b.Y2});
    node.Set("colour", std::int64_t{b.Color_Index});
    node.Set("up", std::int64_t{b.Up});
    node.Set("down", std::int64_t{b.Down});
    node.Set("left", std::int64_t{b.Left});
    node.Set("right", std::int64_t{b.Right});
    node.Set("auto", b.Auto_Action ? "yes" : "no");
    CommandBytes bytes;
    std::string hex;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = Pad_Byte(b.Command[i]);
        hex += (i == 0 ? "" : " ") + bytes[i];
    }
    node.Set("command", hex);
    node.Set("action", Hex2Command(session.Job, bytes));
    return node;
}

// A NAV pack kept for printing: the sector it stands at in its file.
struct NavChange {
    std::uint64_t Sector = 0;
    NavPack Nav;
};

PrintNode HighlightNode(Session& session, const NavChange& change, int frameHeight) {
    const NavPack& nav = change.Nav;
    const Highlight& hli = nav.Hli;
    PrintNode node = PrintNode::Object();
    node.Set("sector", static_cast<std::int64_t>(change.Sector));
    node.Set("vob", std::int64_t{nav.VobId});
    node.Set("cell", std::int64_t{nav.CellId});
    node.Set("vobu_start_pts", std::int64_t{nav.VobuStartPtm});
    node.Set("vobu_start_time", ClockTime(nav.VobuStartPtm));
    node.Set("status", std::to_string(hli.Status) + " (" + kHighlightStatusNames[hli.Status & 0x03] + ")");
    if (!nav.HasHighlight) return node;
    node.Set("start_ptm", std::int64_t{hli.StartPtm});
    node.Set("end_ptm", std::int64_t{hli.EndPtm});
    node.Set("select_end_ptm", std::int64_t{hli.ButtonSelectEndPtm});
    node.Set("groups", std::int64_t{hli.ButtonGroups});
    PrintNode display = PrintNode::Array();
    for (int g = 1; g <= hli.ButtonGroups; ++g) {
        display.Push(PrintNode::Text(ButtonGroupDisplay(g == 1 ? hli.ButtonModeHigh : hli.ButtonModeLow, g)));
    }
    node.Set("display", std::move(display));
    node.Set("button_offset", std::int64_t{hli.Button_Offset});
    node.Set("buttons", std::int64_t{hli.Number_Of_Buttons});
    node.Set("numerical", std::int64_t{hli.Numerical});
    node.Set("forced_selected", std::int64_t{hli.Forced_Selected_Button});
    node.Set("forced_activated", std::int64_t{hli.Forced_Activated_Button});
    PrintNode colours = PrintNode::Array();
    for (const ButtonColourGroup& group : hli.ColourGroups) colours.Push(ColourGroupNode(group));
    node.Set("colour_group", std::move(colours));
    PrintNode buttons = PrintNode::Array();
    for (std::size_t n = 0; n < hli.Number_Of_Buttons; ++n) {
        for (std::size_t g = 0; g < hli.Groups.size(); ++g) {
            buttons.Push(ButtonNode(session, hli.Groups[g][n], n + 1, g + 1));
        }
    }
    node.Set("button", std::move(buttons));
    PrintNode warnings = PrintNode::Array();
    for (const std::string& warning : CheckButtons(nav, frameHeight)) warnings.Push(PrintNode::Text(warning));
    node.Set("warning", std::move(warnings));
    return node;
}

// The picture height of the first sequence header in a video packet of the
// pack; 0 when the pack shows none whole.
int FrameHeightOf(const Pack& pack) {
    for (const PesPacket& packet : pack.Packets) {
        if (KindOfStream(packet.Stream) != StreamKind::Video) continue;
        const auto& bytes = packet.Payload;
        for (std::size_t i = 0; i + 4 <= bytes.size(); ++i) {
            if (bytes[i] != 0 || bytes[i + 1] != 0 || bytes[i + 2] != 1 || bytes[i + 3] != kSequenceHeaderCode) {
                continue;
            }
            try {
                HeaderBits bits(bytes.subspan(i + 4), "", "sequence header");
                return ReadSequenceHeader(bits).Height;
            } catch (const Error&) {
                return 0;  // cut short at the end of the packet; a later one is whole
            }
        }
    }
    return 0;
}

// The NAV packs of one VOB file: the packs whose highlight changed, kept
// until the frame height is known, and the faults met.
void AddNavFile(Session& session, const std::string& path, PrintNode& file) {
    HostFileReader input(path);
    ProgramStreamReader reader(input);
    std::vector<std::string> faults;
    const auto damaged = [&faults](std::uint64_t offset, const std::string& what) {
        faults.push_back("sector " + std::to_string(offset / kPackSize) + ": " + what);
    };
    std::vector<NavChange> changes;
    std::optional<Highlight> last;  // the highlight of the NAV pack before, if it had one
    std::int64_t navPacks = 0;
    int frameHeight = 0;
    while (const Pack* pack = reader.NextPassingOver(damaged)) {
        if (frameHeight == 0 && pack->Kind == PackKind::Video) frameHeight = FrameHeightOf(*pack);
        if (pack->Kind != PackKind::Nav) continue;
        ++navPacks;
        if (!pack->HasNav) {
            faults.push_back(pack->NavFault);
            continue;
        }
        const NavPack& nav = pack->Nav;
        if (!nav.HighlightFault.empty()) faults.push_back(nav.HighlightFault);
        const bool changed = nav.HasHighlight ? !last || *last != nav.Hli || nav.Hli.Status == kHighlightNew
                                              : last.has_value();
        if (changed) changes.push_back({pack->Offset / kPackSize, nav});
        if (nav.HasHighlight) {
            last = nav.Hli;
        } else {
            last.reset();
        }
    }
    file.Set("packs", navPacks);
    if (frameHeight == 0) frameHeight = 576;
    file.Set("frame", "720x" + std::to_string(frameHeight));
    PrintNode highlights = PrintNode::Array();
    for (const NavChange& change : changes) highlights.Push(HighlightNode(session, change, frameHeight));
    file.Set("highlight", std::move(highlights));
    PrintNode faultList = PrintNode::Array();
    for (const std::string& fault : faults) faultList.Push(PrintNode::Text(fault));
    file.Set("fault", std::move(faultList));
}

// The highlights of the NAV packs of VOB files, per file. A file that
// cannot be read is named on the error stream, the others are still
// printed, and the run fails at the end.
void PrintNavFiles(Session& session, const std::vector<std::string>& paths, bool json) {
    PrintFiles(paths, json, [&session](const std::string& path, PrintNode& file) { AddNavFile(session, path, file); });
}

void PrintNav(Session& session, const std::vector<std::string>& paths) { PrintNavFiles(session, paths, false); }

void PrintNavJson(Session& session, const std::vector<std::string>& paths) { PrintNavFiles(session, paths, true); }

// A Scenarist or Muxman script (a host path; the dialect by its extension,
// else by a first statement "Section=Settings"): its model on the output,
// its diagnostics as file:line lines on the error stream. File= paths are
// drive paths, found through KESTROVA_DRIVES. An error fails the run.
void PrintScriptFile(Session& session, const std::string& path, bool json) {
    ScriptDiagnostics diagnostics;
    const LintedScript script = LintScriptFile(session.Files, session.Paths.ToWindows(path), diagnostics, path);
    const PrintNode tree = ScriptModelTree(script.Model);
    std::cout << (json ? tree.RenderJson() : tree.RenderText());
    std::cout.flush();
    for (const ScriptDiagnostic& diagnostic : diagnostics.List()) std::cerr << diagnostic.Format() << "\n";
    const std::size_t errors = diagnostics.Count(Severity::Error);
    if (errors > 0) {
        throw Error(path + ": " + std::to_string(errors) + " error" + (errors > 1 ? "s" : "") + ", " +
                    std::to_string(diagnostics.Count(Severity::Warning)) + " warnings.");
    }
}

void PrintScript(Session& session, const std::vector<std::string>& paths) { PrintScriptFile(session, paths[0], false); }

void PrintScriptJson(Session& session, const std::vector<std::string>& paths) {
    PrintScriptFile(session, paths[0], true);
}

struct Mode {
    const char* Option;   // empty for the mode without one
    const char* Operand;  // what the arguments after the option are
    bool Many;            // one argument or more (otherwise exactly one)
    const char* Help;
    void (*Print)(Session& session, const std::vector<std::string>& operands);
    bool TakesBitmapFolder = false;  // --bmp DIR may be given
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
    {"--spu", "FILE.VOB...", true,
     "each SPU of the subpicture streams of VOB files, with its faults; --bmp writes DIR/<stream>_<n>.bmp", 
     PrintSpu, true},
    {"--spu --json", "FILE.VOB...", true, "the same as JSON", PrintSpuJson, true},
    {"--nav", "FILE.VOB...", true, "each change of the buttons and highlights in the NAV packs of VOB files",
     PrintNav},
    {"--nav --json", "FILE.VOB...", true, "the same as JSON", PrintNavJson},
    {"--script", "FILE.SCP|FILE.MXP", false,
     "a Scenarist or Muxman script's model; its diagnostics (file:line: ...) on the error stream, exit 1 on an error",
     PrintScript},
    {"--script --json", "FILE.SCP|FILE.MXP", false, "the same as JSON", PrintScriptJson},
};

std::string Usage() {
    std::string text = "Usage: kestrova-inspect [OPTION...] OPERAND...\n\n";
    auto row = [&text](std::string call, const std::string& help) {
        call.resize(std::max<std::size_t>(call.size() + 2, 30), ' ');
        text += "  " + call + help + "\n";
    };
    for (const Mode& mode : kModes) {
        const std::string option = std::string(mode.Option) + (*mode.Option != '\0' ? " " : "");
        row(option + (mode.TakesBitmapFolder ? "[--bmp DIR] " : "") + mode.Operand, mode.Help);
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
    // The options are the arguments that begin with "--", in any order and
    // place; "--bmp" takes the argument behind it.
    std::vector<std::string> options;
    std::vector<std::string> operands;
    std::string bitmapFolder;
    bool bitmapOption = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--bmp") {
            bitmapOption = true;
            if (i + 1 < arguments.size() && arguments[i + 1].rfind("--", 0) != 0) bitmapFolder = arguments[++i];
        } else if (arguments[i].rfind("--", 0) == 0) {
            options.push_back(arguments[i]);
        } else {
            operands.push_back(arguments[i]);
        }
    }
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
        if (bitmapOption && !mode->TakesBitmapFolder) {
            throw Error("--bmp goes with --spu only; kestrova-inspect --help lists the modes.");
        }
        if (bitmapOption && bitmapFolder.empty()) throw Error("--bmp takes a folder: --bmp DIR.");
        if (mode->Many ? operands.empty() : operands.size() != 1) {
            throw Error(std::string("kestrova-inspect ") + mode->Option + (option.empty() ? "" : " ") + "takes " +
                        (mode->Many ? "at least one " : "one ") + mode->Operand +
                        "; kestrova-inspect --help lists the modes.");
        }
        Session session;
        session.BitmapFolder = bitmapFolder;
        mode->Print(session, operands);
    } catch (const Error& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}

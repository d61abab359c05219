// The "DVDDecrypter" personality: the disc reader's file mode, as the job
// calls it. Two uses:
//
//   /MODE FILE /SRC D: /FILES VTS_01_0.VOB /DEST "K:\...\DEMUXED" /START /CLOSE
//       /SPLIT VOBID|CELLID /DEMUX E0 80 81 ... [/DIRECT 2? 3? /CCVOB]
// splits D:\VIDEO_TS\VTS_01_0.VOB by VOB id (or by VOB id and cell) and
// leaves in the destination, with VV the VOB id and CC the cell id in three
// digits, D the audio delay in milliseconds (first audio PTS of the unit less
// its first video PTS, may be negative) and XX the stream in hexadecimal:
//
//   VTS_01_0 - VOBID_VV.VOB                               the unit's packs (VOBID pass only)
//   VTS_01_0 - VOBID_VV - Video 0xE0.M2V                  video
//   VTS_01_0 - VOBID_VV - Audio 0xXX - DELAY Dms.AC3      AC3 (.MP2 MPEG audio, .WAV LPCM, .DTS DTS)
//   VTS_01_0 - VOBID_VV - Subpicture 0xXX.SUP             subpictures, when asked for
//   VTS_01_0 - VOBID_VV - CELLID_CC - ...                 the same per cell in the CELLID pass
//
// so that "VOBID_", "CELLID_", "DELAY " ... "ms" and "0x" up to the next
// blank each occur once and give the renamer its fields. /DIRECT with its
// values, /CCVOB, /START and /CLOSE are accepted and change nothing.
//
//   /MODE FILE /SRC D: /FILES VIDEO_TS.IFO VIDEO_TS.BUP VTS_01* -*0.VOB /SPLIT FILE /DEST "K:\OUT\VIDEO_TS" ...
// copies the listed files of D:\VIDEO_TS (Windows wildcards; a leading "-"
// takes the matching names out again) into the destination.
//
// Asked to fail partway it splits only the first half of the VOB's packs.
#include <bitset>
#include <map>
#include <set>

#include "assets/asset_names.h"
#include "assets/program_stream.h"
#include "assets/vob_split.h"
#include "demux_files.h"
#include "platform/error.h"
#include "platform/files.h"
#include "standin.h"

namespace kestrova::standin {

namespace {

struct DecrypterLine {
    std::string SourceFolder;  // the drive's VIDEO_TS folder
    std::vector<std::string> Files;
    std::string Destination;
    std::string Split;         // "VOBID", "CELLID" or "FILE"
    std::bitset<256> Streams;
};

// Switches and the values behind each, up to the next switch.
std::map<std::string, std::vector<std::string>> Switches(const std::vector<std::string>& arguments) {
    static const std::set<std::string> kKnown = {"/MODE",  "/SRC",   "/FILES",  "/DEST",  "/START",
                                                 "/CLOSE", "/SPLIT", "/DEMUX", "/DIRECT", "/CCVOB"};
    std::map<std::string, std::vector<std::string>> switches;
    std::string current;
    for (const std::string& argument : arguments) {
        if (!argument.empty() && argument.front() == '/') {
            current = platform::ToUpperAscii(argument);
            if (kKnown.count(current) == 0) throw Error("DVDDecrypter: unknown switch " + argument);
            switches[current];
            continue;
        }
        if (current.empty()) throw Error("DVDDecrypter: \"" + argument + "\" stands before any switch");
        switches[current].push_back(argument);
    }
    return switches;
}

const std::string& OneValue(std::map<std::string, std::vector<std::string>>& switches, const std::string& name) {
    const auto& values = switches[name];
    if (values.size() != 1) {
        throw Error("DVDDecrypter: " + name + " takes one value, " + std::to_string(values.size()) + " were given");
    }
    return values.front();
}

DecrypterLine ParseLine(const std::vector<std::string>& arguments) {
    auto switches = Switches(arguments);
    if (!platform::EqualsIgnoreCase(OneValue(switches, "/MODE"), "FILE")) {
        throw Error("DVDDecrypter: only /MODE FILE is known, not /MODE " + switches["/MODE"].front());
    }
    DecrypterLine line;
    std::string drive = OneValue(switches, "/SRC");
    if (!platform::PathSpace::IsDrivePath(drive)) throw Error("DVDDecrypter: /SRC " + drive + " is not a drive");
    line.SourceFolder = drive.substr(0, 2) + "\\VIDEO_TS";
    line.Files = switches["/FILES"];
    if (line.Files.empty()) throw Error("DVDDecrypter: /FILES names no file");
    line.Destination = OneValue(switches, "/DEST");
    line.Split = platform::ToUpperAscii(OneValue(switches, "/SPLIT"));
    if (line.Split != "VOBID" && line.Split != "CELLID" && line.Split != "FILE") {
        throw Error("DVDDecrypter: /SPLIT " + line.Split + " is not VOBID, CELLID or FILE");
    }
    for (const std::string& value : switches["/DEMUX"]) {
        const bool hex = value.size() == 2 && value.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
        const auto stream = hex ? static_cast<std::uint8_t>(std::stoul(value, nullptr, 16)) : 0;
        if (!hex || KindOfStream(stream) == StreamKind::None) {
            throw Error("DVDDecrypter: /DEMUX " + value + " names no DVD stream");
        }
        line.Streams.set(stream);
    }
    if (line.Split != "FILE" && line.Streams.none()) throw Error("DVDDecrypter: /DEMUX names no stream");
    return line;
}

std::string StreamName(const std::string& unit, std::uint8_t stream, int delay) {
    const std::string hex = "0x" + StreamHex(stream);
    const std::string audio = unit + " - Audio " + hex + " - DELAY " + std::to_string(delay) + "ms";
    switch (KindOfStream(stream)) {
    case StreamKind::Video: return unit + " - Video " + hex + ".M2V";
    case StreamKind::Ac3: return audio + ".AC3";
    case StreamKind::MpegAudio: return audio + ".MP2";
    case StreamKind::Lpcm: return audio + ".WAV";
    case StreamKind::Dts: return audio + ".DTS";
    case StreamKind::Subpicture: return unit + " - Subpicture " + hex + ".SUP";
    case StreamKind::None: break;
    }
    return unit + " - Stream " + hex + ".BIN";
}

bool IsAudio(std::uint8_t stream) {
    const StreamKind kind = KindOfStream(stream);
    return kind == StreamKind::Ac3 || kind == StreamKind::MpegAudio || kind == StreamKind::Lpcm ||
           kind == StreamKind::Dts;
}

int Demultiplex(const Invocation& call, const DecrypterLine& line) {
    if (line.Files.size() != 1) throw Error("DVDDecrypter: /SPLIT " + line.Split + " splits one VOB file");
    const std::string& file = line.Files.front();
    const std::string stem = file.substr(0, file.find_last_of('.'));
    const bool byCell = line.Split == "CELLID";
    const platform::FileSystem files(call.Paths);
    files.MakeFolder(line.Destination);

    auto unitName = [&](const SplitUnit& unit) {
        return stem + " - VOBID_" + CreateVOBName(unit.VobId) + (byCell ? " - CELLID_" + CreateCellName(unit.CellId) : "");
    };
    // Audio is written under a working name and named with its delay once
    // the unit's first video time stamp is known.
    FolderTargets targets(call, line.Destination, [&](const SplitOutput& output) {
        if (output.Packs) return unitName(output.Unit) + ".VOB";
        if (IsAudio(output.Stream)) return unitName(output.Unit) + " - Audio 0x" + StreamHex(output.Stream) + ".tmp";
        return StreamName(unitName(output.Unit), output.Stream, 0);
    });
    SplitRequest request;
    request.Mode = byCell ? SplitMode::ByCell : SplitMode::ByVobId;
    request.Streams = line.Streams;
    request.WritePacks = !byCell;

    auto nameAudio = [&](const SplitResult& result) {
        for (const UnitSummary& unit : result.Units) {
            for (const StreamSummary& stream : unit.Outputs) {
                if (stream.Output.Packs || !IsAudio(stream.Output.Stream)) continue;
                const std::string name =
                    StreamName(unitName(unit.Unit), stream.Output.Stream, DelayMilliseconds(unit, stream));
                files.MoveFile(targets.PathOf(stream.Output), line.Destination + "\\" + name);
            }
        }
    };
    const auto input = OpenInputVob(call, line.SourceFolder + "\\" + file);
    SplitResult result;
    try {
        SplitReportingNavFaults(call, *input, request, targets, result);
    } catch (const Error&) {
        // What was split before the fault stays, under its proper names; the
        // fault is what the tool reports.
        try {
            nameAudio(result);
        } catch (const Error&) {
        }
        throw;
    }
    nameAudio(result);
    return call.Fail == FailMode::Partial ? 1 : 0;
}

int CopyFiles(const Invocation& call, const DecrypterLine& line) {
    const platform::FileSystem files(call.Paths);
    std::set<std::string> chosen;  // upper-case names
    std::map<std::string, std::string> spelling;
    for (const std::string& pattern : line.Files) {
        const bool remove = pattern.front() == '-';
        const std::string wildcard = remove ? pattern.substr(1) : pattern;
        const auto names = files.List(line.SourceFolder, wildcard, platform::ListKind::Files);
        if (names.empty() && !remove && wildcard.find_first_of("*?") == std::string::npos) {
            throw Error("DVDDecrypter: the disc has no file " + line.SourceFolder + "\\" + wildcard);
        }
        for (const std::string& name : names) {
            const std::string key = platform::ToUpperAscii(name);
            if (remove) {
                chosen.erase(key);
            } else {
                chosen.insert(key);
                spelling[key] = name;
            }
        }
    }
    files.MakeFolder(line.Destination);
    std::size_t copied = 0;
    for (const std::string& key : chosen) {
        if (call.Fail == FailMode::Partial && copied == chosen.size() / 2) return 1;
        const std::string& name = spelling[key];
        files.CopyFile(line.SourceFolder + "\\" + name, line.Destination + "\\" + name);
        ++copied;
    }
    return call.Fail == FailMode::Partial ? 1 : 0;
}

}  // namespace

int RunDvdDecrypter(const Invocation& call) {
    const DecrypterLine line = ParseLine(call.Arguments);
    return line.Split == "FILE" ? CopyFiles(call, line) : Demultiplex(call, line);
}

}  // namespace kestrova::standin

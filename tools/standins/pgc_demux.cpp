// The "PgcDemux" personality: the PGC demultiplexer on a menu domain, as the
// job calls it once per VOB id and once per cell:
//
//   -m2v -vid N -aud -nosub -nolog -menu -nocellt -customvob nsvi "X.IFO" "OUTDIR"
//   -m2v -cid V C -aud -nolog -nosub -menu -nocellt "X.IFO" "OUTDIR"
//
// It reads the menu VOB beside the IFO (VIDEO_TS.VOB, VTS_nn_0.VOB) and
// leaves in OUTDIR the tool's fixed names for the chosen VOB id or cell:
// "VideoFile.m2v" (-m2v), "AudioFile_XX.ac3" for AC3 stream 0xXX,
// "AudioFile_XX.mpa" for MPEG audio, "AudioFile_XX.wav" for LPCM,
// "AudioFile_XX.dts" for DTS (-aud), "Subpictures_XX.sup" (-sub), and with
// -customvob "VTS_01_0.VOB", holding the unit's packs of the kinds its
// letters name: n NAV, v video, a audio, s subpictures (other letters keep
// nothing more). -nolog, -log, -nocellt and -cellt change nothing here.
//
// Asked to fail partway it reads only the first half of the VOB's packs.
#include <bitset>

#include "assets/program_stream.h"
#include "assets/vob_split.h"
#include "demux_files.h"
#include "platform/error.h"
#include "platform/files.h"
#include "standin.h"

namespace kestrova::standin {

namespace {

struct PgcDemuxLine {
    SplitMode Mode = SplitMode::ByVobId;
    SplitUnit Unit;
    bool Video = false;
    bool Audio = false;
    bool Subpictures = false;
    bool Menu = false;
    bool CustomVob = false;
    PackSelection Packs;
    std::string Ifo;
    std::string Folder;
};

PackSelection CustomVobPacks(const std::string& letters) {
    PackSelection packs{false, false, false, false, false};
    for (const char letter : letters) {
        switch (letter) {
        case 'n': case 'N': packs.Nav = true; break;
        case 'v': case 'V': packs.Video = true; break;
        case 'a': case 'A': packs.Audio = true; break;
        case 's': case 'S': packs.Subpicture = true; break;
        default: break;
        }
    }
    return packs;
}

PgcDemuxLine ParseLine(const std::vector<std::string>& arguments) {
    PgcDemuxLine line;
    std::vector<std::string> positional;
    bool unitGiven = false;
    auto value = [&](std::size_t& i, const std::string& option) -> const std::string& {
        if (i + 1 >= arguments.size()) throw Error("PgcDemux: " + option + " needs a value");
        return arguments[++i];
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string option = platform::ToUpperAscii(arguments[i]);
        if (option.empty() || option.front() != '-') {
            positional.push_back(arguments[i]);
        } else if (option == "-M2V") {
            line.Video = true;
        } else if (option == "-AUD") {
            line.Audio = true;
        } else if (option == "-NOAUD") {
            line.Audio = false;
        } else if (option == "-SUB") {
            line.Subpictures = true;
        } else if (option == "-NOSUB") {
            line.Subpictures = false;
        } else if (option == "-MENU") {
            line.Menu = true;
        } else if (option == "-VID") {
            line.Mode = SplitMode::ByVobId;
            line.Unit = {static_cast<int>(ParseNumber(value(i, option), "VOB id")), 0};
            unitGiven = true;
        } else if (option == "-CID") {
            line.Mode = SplitMode::ByCell;
            const int vob = static_cast<int>(ParseNumber(value(i, option), "VOB id"));
            line.Unit = {vob, static_cast<int>(ParseNumber(value(i, option), "cell id"))};
            unitGiven = true;
        } else if (option == "-CUSTOMVOB") {
            line.CustomVob = true;
            line.Packs = CustomVobPacks(value(i, option));
        } else if (option != "-NOLOG" && option != "-LOG" && option != "-NOCELLT" && option != "-CELLT") {
            throw Error("PgcDemux: unknown option " + arguments[i]);
        }
    }
    if (positional.size() != 2) throw Error("PgcDemux: expected one IFO file and one output folder");
    if (!unitGiven) throw Error("PgcDemux: expected -vid N or -cid V C");
    if (!line.Menu) throw Error("PgcDemux: only menu domains (-menu) are demultiplexed here");
    line.Ifo = positional[0];
    line.Folder = positional[1];
    return line;
}

std::string FixedName(std::uint8_t stream) {
    const std::string hex = StreamHex(stream);
    switch (KindOfStream(stream)) {
    case StreamKind::Video: return "VideoFile.m2v";
    case StreamKind::Ac3: return "AudioFile_" + hex + ".ac3";
    case StreamKind::MpegAudio: return "AudioFile_" + hex + ".mpa";
    case StreamKind::Lpcm: return "AudioFile_" + hex + ".wav";
    case StreamKind::Dts: return "AudioFile_" + hex + ".dts";
    case StreamKind::Subpicture: return "Subpictures_" + hex + ".sup";
    case StreamKind::None: break;
    }
    return "Stream_" + hex + ".bin";
}

}  // namespace

int RunPgcDemux(const Invocation& call) {
    const PgcDemuxLine line = ParseLine(call.Arguments);
    const platform::FileSystem files(call.Paths);
    const auto dot = line.Ifo.find_last_of('.');
    if (dot == std::string::npos || !platform::EqualsIgnoreCase(line.Ifo.substr(dot), ".IFO")) {
        throw Error("PgcDemux: \"" + line.Ifo + "\" is not an IFO file");
    }
    if (!files.FileExists(line.Ifo)) throw Error("PgcDemux: there is no IFO file \"" + line.Ifo + "\"");
    const std::string vob = line.Ifo.substr(0, dot) + ".VOB";
    if (!files.FileExists(vob)) throw Error("PgcDemux: the IFO \"" + line.Ifo + "\" has no menu VOB beside it");
    files.MakeFolder(line.Folder);

    SplitRequest request;
    request.Mode = line.Mode;
    request.OnlyUnit = line.Unit;
    request.WritePacks = line.CustomVob;
    request.Packs = line.Packs;
    for (int stream = 0; stream < 256; ++stream) {
        const StreamKind kind = KindOfStream(static_cast<std::uint8_t>(stream));
        const bool wanted = (kind == StreamKind::Video && stream == 0xE0 && line.Video) ||
                            (kind == StreamKind::Subpicture && line.Subpictures) ||
                            (kind != StreamKind::Video && kind != StreamKind::Subpicture &&
                             kind != StreamKind::None && line.Audio);
        request.Streams.set(static_cast<std::size_t>(stream), wanted);
    }
    FolderTargets targets(call, line.Folder, [](const SplitOutput& output) {
        return output.Packs ? std::string("VTS_01_0.VOB") : FixedName(output.Stream);
    });
    const auto input = OpenInputVob(call, vob);
    SplitResult result;
    SplitReportingNavFaults(call, *input, request, targets, result);
    return call.Fail == FailMode::Partial ? 1 : 0;
}

}  // namespace kestrova::standin

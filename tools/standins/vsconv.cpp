// The "vsconv" personality: one subpicture stream of a VobSub pair turned
// into a Scenarist subtitle list and its bitmaps, as the job calls it for
// each PGC and stream id:
//
//   vsconv -f "scenarist" -i "K:\...\PGC_<i>.idx" -o "K:\...\PGC_<i>0x<id+20>" -id <id> -kestrova
//
// It reads the idx section "index: <id>", decodes the SPUs at its filepos
// values in the .sub beside the idx, and writes one whole-frame BMP per SPU
// into the folder of -o, named P<i>_S<id>_<i*10000+k>_V<v>_C<c>.bmp, and the
// list <-o>.sst: 16 head lines, then per SPU its colours and contrasts
// when they change and the event, timed in frames from the start of its
// VOB id.
// No section, or no SPU of it that decodes, leaves nothing. A line of the
// idx that cannot be read or an SPU that does not decode is one line on
// stderr naming the file, the line or byte offset and the stream; that SPU
// is left out and the rest are written. tools/standins/README.md gives the
// formats.
#include <array>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>
#include <regex>
#include <vector>

#include "assets/program_stream.h"
#include "indexed_bmp.h"
#include "platform/error.h"
#include "platform/stream_files.h"
#include "platform/text.h"
#include "standin.h"
#include "subpicture/spu_decoder.h"

namespace kestrova::standin {

namespace {

struct VsconvLine {
    std::string Index;   // -i
    std::string Output;  // -o, without an extension
    int Stream = 0;      // -id, 0-31
};

VsconvLine ParseLine(const std::vector<std::string>& arguments) {
    VsconvLine line;
    bool haveIndex = false, haveOutput = false, haveStream = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string option = platform::ToUpperAscii(arguments[i]);
        const auto value = [&]() -> const std::string& {
            if (i + 1 >= arguments.size()) throw Error("vsconv: " + arguments[i] + " needs a value");
            return arguments[++i];
        };
        if (option == "-F") {
            if (!platform::EqualsIgnoreCase(value(), "scenarist")) {
                throw Error("vsconv: only the \"scenarist\" format is written, not \"" + arguments[i] + "\"");
            }
        } else if (option == "-I") {
            line.Index = value(), haveIndex = true;
        } else if (option == "-O") {
            line.Output = value(), haveOutput = true;
        } else if (option == "-ID") {
            line.Stream = static_cast<int>(ParseNumber(value(), "stream id behind -id"));
            haveStream = true;
        } else if (option != "-KESTROVA") {
            throw Error("vsconv: unknown argument " + arguments[i]);
        }
    }
    if (!haveIndex || !haveOutput || !haveStream) throw Error("vsconv: expected -i IDX -o BASE -id N");
    if (line.Stream > 31) throw Error("vsconv: the stream id " + std::to_string(line.Stream) + " is above 31");
    return line;
}

// One "timestamp:" line of the stream's section.
struct IndexEntry {
    std::size_t Line = 0;    // in the idx, from 1
    std::size_t Number = 0;  // k: the entry's place in the section, from 1
    std::int64_t TimeMs = 0;
    std::uint64_t FilePos = 0;
    bool Highlight = false;
    std::string VobId, CellId;  // of the "# Vob/Cell ID" line above it
};

struct IndexFile {
    std::uint32_t Width = 0;
    std::uint32_t Height = 0;
    bool SectionFound = false;
    std::vector<IndexEntry> Entries;
};

std::vector<std::string> TextLines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(std::move(line));
        start = end + 1;
    }
    return lines;
}

IndexFile ReadIndex(const std::string& path, const std::string& text, int stream) {
    static const std::regex size(R"(size: *(\d{1,4}) *x *(\d{1,4}) *)");
    static const std::regex section(R"(id: *[^,]*, *index: *(\d{1,2}) *)");
    static const std::regex cell(R"(# Vob/Cell ID: *(\d{1,5}), *(\d{1,3}) *\(.*)");
    static const std::regex timestamp(
        R"(timestamp: *(\d{2}):(\d{2}):(\d{2}):(\d{3}), *filepos: *([0-9A-Fa-f]{1,12})(, *PTS: *[0-9A-Fa-f]+)?(, *highlight: *([01]))? *)");
    IndexFile index;
    bool inSection = false;
    std::string vobId, cellId;
    const std::vector<std::string> lines = TextLines(text);
    const auto bad = [&](std::size_t number, const std::string& what) {
        std::cerr << "vsconv: \"" << path << "\" line " << number << ", subpicture stream 0x"
                  << StreamHex(static_cast<std::uint8_t>(0x20 + stream)) << ": " << what << "\n";
    };
    std::size_t entries = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        std::smatch match;
        if (line.rfind("size:", 0) == 0) {
            if (!std::regex_match(line, match, size)) {
                throw Error("vsconv: \"" + path + "\" line " + std::to_string(i + 1) + ": the size line \"" + line +
                            "\" is not \"size: WxH\"");
            }
            index.Width = static_cast<std::uint32_t>(std::stoul(match[1]));
            index.Height = static_cast<std::uint32_t>(std::stoul(match[2]));
        } else if (line.rfind("id:", 0) == 0) {
            inSection = std::regex_match(line, match, section) && std::stoi(match[1]) == stream;
            if (inSection) index.SectionFound = true;
            vobId.clear(), cellId.clear();
        } else if (!inSection) {
            continue;
        } else if (line.rfind("# Vob/Cell ID:", 0) == 0) {
            if (std::regex_match(line, match, cell)) {
                vobId = match[1], cellId = match[2];
            } else {
                bad(i + 1,
                    "the cell line \"" + line + "\" is not \"# Vob/Cell ID: V, C (PTS: N)\"; its SPUs are dropped");
                vobId.clear(), cellId.clear();
            }
        } else if (line.rfind("timestamp:", 0) == 0) {
            ++entries;
            if (!std::regex_match(line, match, timestamp)) {
                bad(i + 1,
                    "the line \"" + line +
                        "\" is not \"timestamp: HH:MM:SS:mmm, filepos: X, PTS:X, highlight: 0|1\"; its SPU is dropped");
            } else if (vobId.empty()) {
                bad(i + 1, "no \"# Vob/Cell ID\" line names the cell of this SPU; it is dropped");
            } else {
                IndexEntry entry;
                entry.Line = i + 1;
                entry.Number = entries;
                entry.TimeMs = ((std::stoll(match[1]) * 60 + std::stoll(match[2])) * 60 + std::stoll(match[3])) * 1000 +
                               std::stoll(match[4]);
                entry.FilePos = std::stoull(match[5], nullptr, 16);
                entry.Highlight = match[8] == "1";
                entry.VobId = vobId, entry.CellId = cellId;
                index.Entries.push_back(entry);
            }
        }
    }
    if (index.Width == 0 || index.Height == 0 || index.Width > kSpuMaxWidth || index.Height > kSpuMaxHeight) {
        throw Error("vsconv: \"" + path + "\" gives no frame size of at most 720x576 on a \"size:\" line");
    }
    return index;
}

// E1 P Bg E2 of a SET_COLOR or SET_CONTR, whose values are in pixel index
// order (Bg P E1 E2).
using FourValues = std::array<int, 4>;

FourValues InSstOrder(const std::array<std::uint8_t, 4>& values) {
    return {values[2], values[1], values[0], values[3]};
}

// The last value the SPU's sequences set with `code` up to the first
// sequence that starts the display (all of them when none does).
std::optional<FourValues> ValueAtStart(const SubpictureUnit& unit, SpuCommandCode code) {
    std::optional<FourValues> value;
    for (const DisplaySequence& sequence : unit.Sequences) {
        bool starts = false;
        for (const SpuCommand& command : sequence.Commands) {
            if (command.Code == code) value = InSstOrder(command.Values);
            starts = starts || command.Code == SpuCommandCode::STA_DSP || command.Code == SpuCommandCode::FSTA_DSP;
        }
        if (starts) break;
    }
    return value;
}

// What an event needs of its SPU, the bitmap written already.
struct Event {
    const IndexEntry* Entry = nullptr;
    std::string Bitmap;
    std::int64_t StartDelay = 0;  // 90 kHz from the SPU's PTS
    std::optional<std::int64_t> StopDelay;
    bool Forced = false;
    std::optional<FourValues> Colors, Contrasts;
};

// A time as non-drop frame labels: F = round(seconds * rate), then F
// counted in labels of 25 (PAL) or 30 (NTSC) frames a second.
std::string FrameLabel(std::int64_t ticks, bool ntsc) {
    const std::int64_t numerator = ntsc ? 30000 : 25, denominator = ntsc ? 1001 : 1;
    const std::int64_t frames = (2 * ticks * numerator + denominator * 90000) / (2 * denominator * 90000);
    const std::int64_t base = ntsc ? 30 : 25;
    char text[32];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld:%02lld", static_cast<long long>(frames / (base * 3600)),
                  static_cast<long long>(frames / (base * 60) % 60), static_cast<long long>(frames / base % 60),
                  static_cast<long long>(frames % base));
    return text;
}

std::string Four(const FourValues& values) {
    return "(" + std::to_string(values[0]) + " " + std::to_string(values[1]) + " " + std::to_string(values[2]) + " " +
           std::to_string(values[3]) + ")";
}

// Without SET_COLOR or SET_CONTR: the pixel indices as colours, all but the background opaque.
constexpr FourValues kDefaultColors = {2, 1, 0, 3};
constexpr FourValues kDefaultContrasts = {15, 15, 0, 15};

std::string SstText(const std::vector<Event>& events, const std::string& output, bool ntsc) {
    const std::size_t slash = output.find_last_of('\\');
    const std::string height = ntsc ? "479" : "575";
    bool forced = true;
    for (const Event& event : events) forced = forced && event.Forced;
    const std::string head[] = {"st_format\t2",
                                std::string("Display_Start\t") + (forced ? "forced" : "non_forced"),
                                std::string("TV_Type\t") + (ntsc ? "NTSC" : "PAL"),
                                "Tape_Type\tNON_DROP",
                                "Pixel_Area\t(0 " + height + ")",
                                "Directory\t" + (slash == std::string::npos ? std::string() : output.substr(0, slash)),
                                "Subtitle\t" + output.substr(slash == std::string::npos ? 0 : slash + 1),
                                "Display_Area\t(0 0 719 " + height + ")",
                                "Contrast\t" + Four(events.front().Contrasts.value_or(kDefaultContrasts)),
                                "#",
                                "# Palette entries:",
                                "# 00 : RGB(  0,  0,  0)",
                                "# 01 : RGB( 85, 85, 85)",
                                "# 02 : RGB(170,170,170)",
                                "# 03 : RGB(255,255,255)",
                                "SP_NUMBER\tSTART\tEND\tFILE_NAME"};
    std::string text;
    for (const std::string& line : head) text += line + "\r\n";
    std::optional<FourValues> colors, contrasts;                          // as last written
    FourValues held = kDefaultColors, heldContrasts = kDefaultContrasts;  // an SPU without them keeps these
    int number = 0;
    for (const Event& event : events) {
        held = event.Colors.value_or(held);
        heldContrasts = event.Contrasts.value_or(heldContrasts);
        if (colors != held || contrasts != heldContrasts) {
            text += "Color\tpalette " + Four(held) + "\r\n";
            text += "Contrast\t" + Four(heldContrasts) + "\r\n";
            colors = held, contrasts = heldContrasts;
        }
        const std::int64_t time = event.Entry->TimeMs * 90;
        char sequence[16];
        std::snprintf(sequence, sizeof sequence, "%04d", ++number);
        text += std::string(sequence) + "\t" + FrameLabel(time + event.StartDelay, ntsc) + "\t" +
                (event.StopDelay ? FrameLabel(time + *event.StopDelay, ntsc) : std::string("99:99:99:99")) + "\t" +
                event.Bitmap + (event.Entry->Highlight ? "\tHighlight" : "") + "\r\n";
    }
    return text;
}

}  // namespace

int RunVsconv(const Invocation& call) {
    const VsconvLine line = ParseLine(call.Arguments);
    const std::string& idx = line.Index;
    static const std::regex idxName(R"(PGC_(\d{1,4})\.idx)", std::regex::icase);
    std::smatch name;
    const std::string fileName = idx.substr(idx.find_last_of('\\') + 1);
    if (idx.size() < 4 || !std::regex_match(fileName, name, idxName)) {
        throw Error("vsconv: the index \"" + idx + "\" is not named PGC_<number>.idx");
    }
    const long pgc = std::stol(name[1]);
    const IndexFile index = ReadIndex(idx, ReadJobFile(call, idx), line.Stream);
    if (!index.SectionFound || index.Entries.empty()) return 0;
    const bool ntsc = index.Height == 480;
    const std::uint8_t stream = static_cast<std::uint8_t>(0x20 + line.Stream);
    const std::string streamName = "subpicture stream 0x" + StreamHex(stream);

    std::map<std::uint64_t, const IndexEntry*> byPack;
    for (const IndexEntry& entry : index.Entries) {
        if (entry.FilePos % kPackSize != 0) {
            std::cerr << "vsconv: \"" << idx << "\" line " << entry.Line << ", " << streamName << ": filepos "
                      << entry.FilePos << " is not the start of a pack; its SPU is dropped\n";
        } else {
            byPack[entry.FilePos] = &entry;
        }
    }
    const std::string sub = idx.substr(0, idx.size() - 4) + ".sub";
    const std::string folder = line.Output.substr(0, line.Output.find_last_of('\\') + 1);
    std::map<const IndexEntry*, Event> done;
    const auto input = platform::OpenFileReader(call.Paths, sub);
    const VobSubpictures read = ReadVobSubpictures(*input, [&](const SubpictureUnit& unit) {
        if (unit.Stream != stream) return;
        const auto found = byPack.find(unit.FileOffset / kPackSize * kPackSize);
        if (found == byPack.end() || done.count(found->second) != 0) return;
        const IndexEntry& entry = *found->second;
        if (!unit.Area || unit.Bitmap.Pixels.empty()) {
            std::cerr << "vsconv: \"" << sub << "\" at byte " << unit.FileOffset << ", " << streamName
                      << ": the SPU sets no display area or field offsets, so it has no picture; it is dropped\n";
            return;
        }
        IndexedFrame frame = BlankFrame(index.Width, index.Height);
        const SpuArea& area = *unit.Area;
        for (std::uint32_t y = 0; y < unit.Bitmap.Height && area.Y1 + y < frame.Height; ++y) {
            const std::uint8_t* from = unit.Bitmap.Pixels.data() + std::size_t{y} * unit.Bitmap.Width;
            for (std::uint32_t x = 0; x < unit.Bitmap.Width && area.X1 + x < frame.Width; ++x) {
                frame.Row(area.Y1 + y)[area.X1 + x] = from[x];
            }
        }
        Event event;
        event.Entry = &entry;
        event.Bitmap = "P" + std::to_string(pgc) + "_S" + std::to_string(line.Stream) + "_" +
                       std::to_string(pgc * 10000 + static_cast<long>(entry.Number)) + "_V" + entry.VobId + "_C" +
                       entry.CellId + ".bmp";
        const std::int64_t pts = unit.Pts >= 0 ? unit.Pts : 0;
        event.StartDelay = unit.Start ? *unit.Start - pts : 0;
        if (unit.Stop) event.StopDelay = *unit.Stop - pts;
        event.Forced = unit.Forced;
        event.Colors = ValueAtStart(unit, SpuCommandCode::SET_COLOR);
        event.Contrasts = ValueAtStart(unit, SpuCommandCode::SET_CONTR);
        WriteJobFile(call, folder + event.Bitmap, IndexedBmp(frame));
        done.emplace(&entry, std::move(event));
    });
    for (const SpuFault& fault : read.Faults) {
        if (fault.Stream == stream || fault.Stream == 0) std::cerr << "vsconv: " << fault.What << "\n";
    }
    std::vector<Event> events;
    for (const IndexEntry& entry : index.Entries) {
        const auto event = done.find(&entry);
        if (event != done.end()) {
            events.push_back(event->second);
        } else if (entry.FilePos % kPackSize == 0) {
            std::cerr << "vsconv: \"" << idx << "\" line " << entry.Line << ", " << streamName
                      << ": no SPU of the stream decodes from byte " << entry.FilePos << " of \"" << sub
                      << "\"; it is left out\n";
        }
    }
    if (events.empty()) return 0;
    WriteJobFile(call, line.Output + ".sst", SstText(events, line.Output, ntsc));
    return 0;
}

}  // namespace kestrova::standin

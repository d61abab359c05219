// The "vsrip" personality: the VobSub ripper on the made-up title set the
// job writes for a menu domain (SUBTITLES\VTS_01_0.IFO beside the domain's
// joined VOB). It is called with one list file:
//
//   vsrip "K:\...\SUBTITLES\PGC_<i>_para.lst"
//
// whose lines are the IFO, the output base B, " <i> ", then "0", "ALL",
// "CLOSE", "KESTROVA" and "MINIMIZE". It reads PGC i's cells from the IFO,
// takes their sectors of VTS_01_0.VOB in cell order and leaves:
//   B.sub  the packs of those sectors that carry a subpicture packet, whole;
//   B.idx  a VobSub index: one "id: --, index: N" section per subpicture
//          stream 0x20+N, a "# Vob/Cell ID" line at each cell, and a
//          "timestamp:" line per SPU that decodes, timed from the PGC's
//          start and marked "highlight: 1" when its VOBU's NAV pack carries
//          buttons;
//   B.bov  for list 1 only: every whole sector of the VOB, the input the
//          button recovery reads;
//   B.cc.raw  for an NTSC PGC whose video shows line-21 captions: their
//          field-1 pairs (line21.h).
// tools/standins/README.md gives the grammar.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "assets/program_stream.h"
#include "cell_sectors.h"
#include "line21.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/stream_files.h"
#include "standin.h"
#include "subpicture/spu_decoder.h"

namespace kestrova::standin {

namespace {

// The made-up IFO, as the job writes it.
constexpr std::size_t kVideoAttributes = 512;  // 83 for 25 fps, 79 for 30
constexpr std::uint8_t kVideoPal = 83;
constexpr std::uint8_t kVideoNtsc = 79;
constexpr std::size_t kPgcTable = 2048;  // PGC count (2 bytes), then 8 bytes a PGC from 2056
constexpr std::size_t kPgcEntries = 2056;
constexpr std::size_t kPgcEntryBytes = 8;
constexpr std::size_t kPgcCellCount = 3;
constexpr std::size_t kPgcCells = 237;  // the cell table: 24 bytes a cell
constexpr std::size_t kCellBytes = 24;
constexpr std::size_t kCellFirstSector = 8;
constexpr std::size_t kCellLastSector = 20;
constexpr std::size_t kCellPositionBytes = 4;  // VOB id (2), reserved, cell id

// NAV pack bytes, from the sector's start: the PCI's highlight status (the
// low 2 bits of the word at 141) and button count.
constexpr std::size_t kHighlightStatus = 142;
constexpr std::size_t kButtonCount = 158;

// The list's fixed words, lines 4 to 8.
constexpr const char* kListWords[] = {"0", "ALL", "CLOSE", "KESTROVA", "MINIMIZE"};

struct RipList {
    std::string Ifo;
    std::string Base;
    std::size_t Pgc = 0;
};

RipList ReadRipList(const Invocation& call, const std::string& path) {
    std::vector<std::string> lines;
    const std::string text = ReadJobFile(call, path);
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
        start = end + 1;
    }
    if (lines.size() < 8) {
        throw Error("vsrip: the list \"" + path + "\" has " + std::to_string(lines.size()) + " lines, expected 8");
    }
    for (std::size_t i = 0; i < std::size(kListWords); ++i) {
        if (lines[3 + i] != kListWords[i]) {
            throw Error("vsrip: line " + std::to_string(4 + i) + " of the list \"" + path + "\" is \"" + lines[3 + i] +
                        "\", expected \"" + kListWords[i] + "\"");
        }
    }
    std::string number = lines[2];
    while (!number.empty() && number.front() == ' ') number.erase(0, 1);
    while (!number.empty() && number.back() == ' ') number.pop_back();
    return {lines[0], lines[1], static_cast<std::size_t>(ParseNumber(number, "PGC number on line 3 of the list"))};
}

// Big-endian fields of the IFO, each checked against the file's size.
class IfoBytes {
public:
    IfoBytes(std::string bytes, std::string name) : bytes_(std::move(bytes)), name_(std::move(name)) {}

    std::uint32_t Field(std::size_t at, int count, const std::string& what) const {
        if (at > bytes_.size() || static_cast<std::size_t>(count) > bytes_.size() - at) {
            Fail(at, what + " (" + std::to_string(count) + " bytes) lies past the file's end at byte " +
                         std::to_string(bytes_.size()));
        }
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            value = (value << 8) | static_cast<std::uint8_t>(bytes_[at + static_cast<std::size_t>(i)]);
        }
        return value;
    }

    [[noreturn]] void Fail(std::size_t at, const std::string& what) const {
        throw Error("vsrip: \"" + name_ + "\" at byte " + std::to_string(at) + ": " + what);
    }

    bool StartsWith(const std::string& text) const { return bytes_.compare(0, text.size(), text) == 0; }

private:
    std::string bytes_;
    std::string name_;
};

struct RipCell {
    std::uint16_t VobId = 0;
    std::uint8_t CellId = 0;
    std::uint32_t FirstSector = 0;
    std::uint32_t LastSector = 0;
};

struct RipPgc {
    bool Ntsc = false;
    std::vector<RipCell> Cells;
};

RipPgc ReadPgc(const IfoBytes& ifo, std::size_t pgc) {
    RipPgc result;
    if (!ifo.StartsWith("DVDVIDEO-VTS")) ifo.Fail(0, "the file does not begin with \"DVDVIDEO-VTS\"");
    const std::uint32_t video = ifo.Field(kVideoAttributes, 1, "the video attributes");
    if (video != kVideoPal && video != kVideoNtsc) {
        ifo.Fail(kVideoAttributes,
                 "the video attributes are " + std::to_string(video) + ", expected 83 (PAL) or 79 (NTSC)");
    }
    result.Ntsc = video == kVideoNtsc;
    const std::uint32_t count = ifo.Field(kPgcTable, 2, "the PGC count");
    if (pgc < 1 || pgc > count) {
        ifo.Fail(kPgcTable, "PGC " + std::to_string(pgc) + " was asked for, but the table holds " +
                                std::to_string(count) + " PGCs");
    }
    const std::size_t entry = kPgcEntries + kPgcEntryBytes * (pgc - 1);
    const std::size_t q = kPgcTable + ifo.Field(entry + 4, 4, "the offset of PGC " + std::to_string(pgc));
    const std::size_t cells = ifo.Field(q + kPgcCellCount, 1, "the cell count of PGC " + std::to_string(pgc));
    for (std::size_t k = 0; k < cells; ++k) {
        const std::size_t at = q + kPgcCells + kCellBytes * k;
        const std::size_t position = q + kPgcCells + kCellBytes * cells + kCellPositionBytes * k;
        const std::string which = " of cell " + std::to_string(k + 1) + " of PGC " + std::to_string(pgc);
        RipCell cell;
        cell.FirstSector = ifo.Field(at + kCellFirstSector, 4, "the first sector" + which);
        cell.LastSector = ifo.Field(at + kCellLastSector, 4, "the last sector" + which);
        cell.VobId = static_cast<std::uint16_t>(ifo.Field(position, 2, "the VOB id" + which));
        cell.CellId = static_cast<std::uint8_t>(ifo.Field(position + 3, 1, "the cell id" + which));
        if (cell.LastSector < cell.FirstSector) {
            ifo.Fail(at + kCellLastSector, "the last sector" + which + " (" + std::to_string(cell.LastSector) +
                                               ") lies before its first (" + std::to_string(cell.FirstSector) + ")");
        }
        result.Cells.push_back(cell);
    }
    return result;
}

// A NAV pack of the PGC's sectors.
struct NavPoint {
    std::uint64_t Offset = 0;  // in the joined stream
    bool Buttons = false;      // highlight status not 0 and buttons above 0
};

// What the first pass learns of each cell.
struct CellScan {
    std::optional<std::uint32_t> FirstVobuStart;
};

// One "timestamp:" line.
struct IndexEntry {
    std::size_t Cell = 0;
    std::uint64_t SubOffset = 0;
    std::int64_t Pts = 0;
    std::int64_t Time = 0;  // 90 kHz from the start of the SPU's VOB id
    bool Highlight = false;
};

std::string Hex(std::uint64_t value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%0*" PRIx64, digits, value);
    return text;
}

// HH:MM:SS:mmm of a 90 kHz time.
std::string IndexTime(std::int64_t ticks) {
    const std::int64_t ms = std::max<std::int64_t>(ticks, 0) / 90;
    char text[32];
    std::snprintf(text, sizeof text, "%02" PRId64 ":%02" PRId64 ":%02" PRId64 ":%03" PRId64, ms / 3600000,
                  ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
    return text;
}

std::string IndexHead(bool ntsc) {
    std::string palette;
    for (int i = 0; i < 16; ++i) palette += (i > 0 ? ", " : "") + Hex(0x111111u * static_cast<unsigned>(i), 6);
    const std::string lines[] = {"# VobSub index file, v7 (do not modify this line!)",
                                 ntsc ? "size: 720x480" : "size: 720x576",
                                 "org: 0, 0",
                                 "scale: 100%, 100%",
                                 "alpha: 100%",
                                 "smooth: OFF",
                                 "fadein/out: 0, 0",
                                 "align: OFF at LEFT TOP",
                                 "time offset: 0",
                                 "forced subs: OFF",
                                 "palette: " + palette,
                                 "custom colors: OFF, tridx: 0000, colors: 000000, 000000, 000000, 000000",
                                 "langidx: 0"};
    std::string text;
    for (const std::string& line : lines) text += line + "\r\n";
    return text;
}

// Copies the whole sectors of the VOB to `target`.
void WriteSectorFile(const Invocation& call, const std::string& vob, std::uint64_t sectors, const std::string& target) {
    const auto input = platform::OpenFileReader(call.Paths, vob);
    const auto output = platform::OpenFileWriter(call.Paths, target, platform::WriteMode::Replace);
    std::vector<std::uint8_t> block;
    for (std::uint64_t left = sectors * kPackSize; left > 0;) {
        block.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, 1 << 20)));
        const std::size_t got = input->Read(block);
        if (got == 0) throw Error("vsrip: \"" + vob + "\" ended while its sectors were copied to \"" + target + "\"");
        output->Write(std::span<const std::uint8_t>(block.data(), got));
        left -= got;
    }
    output->Close();
}

}  // namespace

int RunVsrip(const Invocation& call) {
    if (call.Arguments.size() != 1) throw Error("vsrip: expected one list file");
    const RipList list = ReadRipList(call, call.Arguments[0]);
    const platform::FileSystem files(call.Paths);
    const RipPgc pgc = ReadPgc(IfoBytes(ReadJobFile(call, list.Ifo), list.Ifo), list.Pgc);

    const std::string vob = list.Ifo.substr(0, list.Ifo.find_last_of('\\') + 1) + "VTS_01_0.VOB";
    if (!files.FileExists(vob)) throw Error("vsrip: there is no \"" + vob + "\" beside the IFO");
    const std::uint64_t size = files.FileSize(vob);
    const std::uint64_t sectors = size / kPackSize;
    if (size % kPackSize != 0) {
        std::cerr << "vsrip: \"" << vob << "\" ends in a part sector (" << size % kPackSize << " bytes at byte "
                  << sectors * kPackSize << "); its whole sectors are used\n";
    }

    // The cells' sectors that exist; the last one may lie one past the end.
    std::vector<CellSectorReader::Range> ranges;
    for (std::size_t k = 0; k < pgc.Cells.size(); ++k) {
        const RipCell& cell = pgc.Cells[k];
        const std::uint64_t end = std::min<std::uint64_t>(std::uint64_t{cell.LastSector} + 1, sectors);
        if (std::uint64_t{cell.LastSector} > sectors) {
            std::cerr << "vsrip: cell " << k + 1 << " (VOB id " << cell.VobId << ", cell id " << int{cell.CellId}
                      << ") ends at sector " << cell.LastSector << ", past the " << sectors << " sectors of \"" << vob
                      << "\"; the sectors that exist are read\n";
        }
        ranges.push_back(
            {std::uint64_t{cell.FirstSector} * kPackSize, std::max<std::uint64_t>(end, cell.FirstSector) * kPackSize});
    }
    const std::string joined = vob + " (the cells of PGC " + std::to_string(list.Pgc) + " joined)";

    // First pass: the NAV packs and the subpicture packs, copied to B.sub.
    std::vector<NavPoint> navs;
    std::vector<CellScan> cellScans(pgc.Cells.size());
    std::map<std::uint64_t, std::uint64_t> subOffsets;  // pack offset in the joined stream -> in B.sub
    {
        CellSectorReader input(call.Paths, vob, ranges, joined);
        ProgramStreamReader reader(input);
        const auto sub = platform::OpenFileWriter(call.Paths, list.Base + ".sub", platform::WriteMode::Replace);
        const auto damaged = [&](std::uint64_t offset, const std::string& what) {
            std::cerr << "vsrip: " << what << " (byte " << input.VobOffsetOf(offset) << " of \"" << vob
                      << "\"); passed over\n";
        };
        while (const Pack* pack = reader.NextPassingOver(damaged)) {
            const std::size_t cell = input.RangeOf(pack->Offset);
            if (pack->HasNav) {
                navs.push_back(
                    {pack->Offset, (pack->Bytes[kHighlightStatus] & 0x03) != 0 && pack->Bytes[kButtonCount] > 0});
                if (cell < cellScans.size() && !cellScans[cell].FirstVobuStart) {
                    cellScans[cell].FirstVobuStart = pack->Nav.VobuStartPtm;
                }
            } else if (!pack->NavFault.empty()) {
                std::cerr << "vsrip: " << pack->NavFault << "\n";
            }
            const bool subpicture = std::any_of(
                pack->Packets.begin(), pack->Packets.end(),
                [](const PesPacket& packet) { return KindOfStream(packet.Stream) == StreamKind::Subpicture; });
            if (subpicture) {
                subOffsets[pack->Offset] = sub->Size();
                sub->Write(pack->Bytes);
            }
        }
        sub->Close();
    }

    // Each run of cells of one VOB id is timed from its first VOBU start:
    // every VOB id of a domain becomes an asset of its own, whose bitmaps
    // are timed from its own start.
    std::vector<std::int64_t> cellZero(pgc.Cells.size(), -1);  // the VOB id's first VOBU start PTS
    for (std::size_t first = 0; first < pgc.Cells.size();) {
        std::size_t end = first;
        std::optional<std::int64_t> start;
        for (; end < pgc.Cells.size() && pgc.Cells[end].VobId == pgc.Cells[first].VobId; ++end) {
            if (!start && cellScans[end].FirstVobuStart) start = *cellScans[end].FirstVobuStart;
        }
        for (std::size_t k = first; k < end; ++k) cellZero[k] = start.value_or(-1);
        first = end;
    }

    // Second pass: the SPUs, by stream.
    std::map<std::uint8_t, std::vector<IndexEntry>> streams;
    {
        CellSectorReader input(call.Paths, vob, ranges, joined);
        const VobSubpictures read = ReadVobSubpictures(input, [&](const SubpictureUnit& unit) {
            if (pgc.Cells.empty()) return;
            const std::uint64_t pack = unit.FileOffset / kPackSize * kPackSize;
            const auto sub = subOffsets.find(pack);
            if (sub == subOffsets.end()) return;
            IndexEntry entry;
            entry.Cell = std::min(input.RangeOf(pack), pgc.Cells.size() - 1);
            entry.SubOffset = sub->second;
            entry.Pts = std::max<std::int64_t>(unit.Pts, 0);
            const std::int64_t zero = cellZero[entry.Cell] >= 0 ? cellZero[entry.Cell] : entry.Pts;
            entry.Time = std::max<std::int64_t>(entry.Pts - zero, 0);
            // The NAV pack of the VOBU: the last one before the SPU's first pack.
            const auto after =
                std::upper_bound(navs.begin(), navs.end(), pack,
                                 [](std::uint64_t offset, const NavPoint& nav) { return offset < nav.Offset; });
            entry.Highlight = after != navs.begin() && std::prev(after)->Buttons;
            streams[unit.Stream].push_back(entry);
        });
        for (const SpuFault& fault : read.Faults) {
            if (fault.Stream != 0) {
                std::cerr << "vsrip: " << fault.What << " (byte " << input.VobOffsetOf(fault.Offset) << " of \"" << vob
                          << "\")\n";
            }
        }
        if (read.FaultsNotListed > 0) std::cerr << "vsrip: " << read.FaultsNotListed << " further faults not listed\n";
    }

    std::string index = IndexHead(pgc.Ntsc);
    for (const auto& [stream, entries] : streams) {
        index += "\r\nid: --, index: " + std::to_string(stream - 0x20) + "\r\n";
        auto entry = entries.begin();
        for (std::size_t k = 0; k < pgc.Cells.size(); ++k) {
            index += "# Vob/Cell ID: " + std::to_string(pgc.Cells[k].VobId) + ", " +
                     std::to_string(pgc.Cells[k].CellId) +
                     " (PTS: " + std::to_string(cellScans[k].FirstVobuStart.value_or(0)) + ")\r\n";
            for (; entry != entries.end() && entry->Cell == k; ++entry) {
                index += "timestamp: " + IndexTime(entry->Time) + ", filepos: " + Hex(entry->SubOffset, 9) +
                         ", PTS:" + Hex(static_cast<std::uint64_t>(entry->Pts), 1) +
                         ", highlight: " + (entry->Highlight ? "1" : "0") + "\r\n";
            }
        }
    }
    WriteJobFile(call, list.Base + ".idx", index);
    if (list.Pgc == 1) WriteSectorFile(call, vob, sectors, list.Base + ".bov");

    // Line 21 exists only in 525-line video. The raw caption file is left
    // only for a PGC that shows a caption, so the job passes the others over.
    if (pgc.Ntsc) {
        const std::vector<CaptionPair> pairs = ReadLine21(call, vob, ranges, joined);
        if (std::any_of(pairs.begin(), pairs.end(), [](const CaptionPair& pair) { return !pair.IsNull(); })) {
            files.WriteFileAtomic(list.Base + ".cc.raw", CaptionRecords(pairs));
        }
    }
    return 0;
}

}  // namespace kestrova::standin

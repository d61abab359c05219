// The menu IFO rebuilt after the merge: see ifo_patching.h.
#include "muxman/ifo_patching.h"

#include <map>
#include <utility>

#include "dvd/ifo_menu_tables.h"
#include "dvd/ifo_patch.h"
#include "job/bits.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace kestrova {
namespace {

// Header fields the rebuild sets.
constexpr std::int64_t kIfoLastSector = 28;
constexpr std::int64_t kMenuVobsSector = 192;
constexpr std::int64_t kVmgMenuPgciUt = 200;
constexpr std::int64_t kVtsMenuPgciUt = 208;
constexpr std::int64_t kMenuCellAddresses = 216;
constexpr std::int64_t kMenuVobuMap = 220;
constexpr std::int64_t kMenuVideoAttributes = 256;
constexpr std::int64_t kMenuAudioAttributes = 260;

// Fields of a cell playback entry.
constexpr std::int64_t kCellPlaybackTime = 4;
constexpr std::int64_t kCellFirstVobu = 8;
constexpr std::int64_t kCellLastVobu = 16;
constexpr std::int64_t kCellLastSector = 20;

// A FinishedNavs row: the cell's first and last sector and the sector of
// its last NAV pack in the new menu VOBS.
struct CellRow {
    std::int32_t First = 0;
    std::int32_t Last = 0;
    std::int32_t LastVobu = 0;
};
using CellRows = std::map<std::pair<int, int>, CellRow>;

// The rows of the entry by VOB and cell.
CellRows RowsOf(int entry, const std::vector<std::array<std::int32_t, 6>>& finishedNavs, const std::string& file) {
    CellRows rows;
    for (const auto& row : finishedNavs) {
        if (row[0] != entry) continue;
        if (row[3] < 0 || row[3] > row[5] || row[5] > row[4]) {
            throw Error("Cannot rebuild " + file + ": the cell table's row for VOB " + std::to_string(row[1]) +
                        " cell " + std::to_string(row[2]) + " gives the sectors " + std::to_string(row[3]) + " to " +
                        std::to_string(row[4]) + " with the last NAV pack at " + std::to_string(row[5]) +
                        "; a first sector up to the last NAV pack up to the last sector was expected.");
        }
        if (!rows.emplace(std::pair{row[1], row[2]}, CellRow{row[3], row[4], row[5]}).second) {
            throw Error("Cannot rebuild " + file + ": the cell table holds two rows for VOB " +
                        std::to_string(row[1]) + " cell " + std::to_string(row[2]) + " of entry " +
                        std::to_string(entry) + "; one row a cell was expected.");
        }
    }
    return rows;
}

// A still is held 12 frames at 25 a second or 15 at 30, by the target's
// standard.
std::int32_t StillFrames(const JobContext& job) { return NtscResult(job.Timing) ? 15 : 12; }

// A playback time at the target's rate: the other standard's only when the
// job converts.
std::int32_t PlaybackTime(const JobContext& job, std::int32_t frames) {
    return Frames_To_DVD_TimeCode(job.Timing, frames, job.Timing.Conversion == 1);
}

// A menu PGC of the new table: where it starts in it, and what it is.
struct PgcPlace {
    std::int64_t At = 0;
    std::int64_t SourceAt = 0;  // in the source file, for messages
    const PGCI* Pgc = nullptr;
    std::string Name;  // "PGC 2 of language unit 1 (en)"
};

std::vector<PgcPlace> PlacesOf(const PGCI_LU& unit, std::size_t unitNumber, std::int64_t unitStart,
                               std::int64_t tableStart) {
    std::vector<PgcPlace> places;
    for (std::size_t j = 0; j < unit.Pgcs.size(); ++j) {
        places.push_back({unitStart + unit.Pgcs[j].Offset, tableStart + unit.Offset + unit.Pgcs[j].Offset,
                          &unit.Pgcs[j].Pgc,
                          "PGC " + std::to_string(j + 1) + " of language unit " + std::to_string(unitNumber) + " (" +
                              unit.Code + ")"});
    }
    return places;
}

// The new PGCI_UT: the whole source table when the model holds PGCs for as
// many languages as the table has units, else the unit of the first
// language with PGCs alone. `places` gets its PGCs.
std::vector<std::uint8_t> MenuTable(const VTS_Properties& domain, const ByteSource& ifo, const IfoPart& part,
                                    const PGCI_UT& table, std::vector<PgcPlace>& places) {
    std::size_t withPgcs = 0;
    const Language_Properties* first = nullptr;
    for (const Language_Properties& language : domain.Language) {
        if (language.PGC_Quantity <= 0) continue;
        ++withPgcs;
        if (first == nullptr) first = &language;
    }
    if (withPgcs == table.Units.size()) {
        for (std::size_t u = 0; u < table.Units.size(); ++u) {
            auto unitPlaces = PlacesOf(table.Units[u], u + 1, table.Units[u].Offset, part.Sector * kSectorSize);
            places.insert(places.end(), unitPlaces.begin(), unitPlaces.end());
        }
        const auto bytes = CheckedBytes(ifo, part.Sector * kSectorSize, table.Length);
        return {bytes.begin(), bytes.end()};
    }
    if (first == nullptr) {
        ThrowIfoError(ifo, part.Table, part.Sector * kSectorSize,
                      "the model holds no PGC for any of the table's " + std::to_string(table.Units.size()) +
                          " language units");
    }
    for (std::size_t u = 0; u < table.Units.size(); ++u) {
        const PGCI_LU& unit = table.Units[u];
        if (unit.Code != first->Language_Folder) continue;
        places = PlacesOf(unit, u + 1, kPgciUtHeadSize + kLanguageUnitEntrySize, part.Sector * kSectorSize);
        return WritePGCI_UT(std::span(&unit, 1));
    }
    ThrowIfoError(ifo, part.Table, part.Sector * kSectorSize,
                  "no language unit has the code \"" + first->Language_Folder + "\" of the language with PGCs");
}

// Re-points the cells of one PGC of the new table and sets their times and
// the PGC's from the model. True when a cell found no row.
bool PatchPgc(JobContext& job, const VTS_Properties& domain, const PgcPlace& place, const CellRows& rows,
              std::vector<std::uint8_t>& table, const std::string& file) {
    const PGCI& pgc = *place.Pgc;
    bool missing = false;
    std::int32_t total = 0;
    for (std::size_t c = 0; c < pgc.Positions.size(); ++c) {
        const int vob = pgc.Positions[c].VobId;
        const int cell = pgc.Positions[c].CellId;
        if (vob < 1 || static_cast<std::size_t>(vob) > domain.Vob_Id.Count() || cell < 1 ||
            static_cast<std::size_t>(cell) > domain.Vob_Id.Item(static_cast<std::size_t>(vob)).CELL_ID.Count()) {
            const std::int64_t position =
                place.SourceAt + pgc.CellPositionOffset + kCellPositionSize * static_cast<std::int64_t>(c);
            throw Error(file + ": C_POSIT at byte " + std::to_string(position) + ": cell " +
                        std::to_string(c + 1) + " of " + place.Name + " plays VOB " + std::to_string(vob) + " cell " +
                        std::to_string(cell) + ", which the domain's model does not hold.");
        }
        const VOB_ID_Properties& vobRecord = domain.Vob_Id.Item(static_cast<std::size_t>(vob));
        std::int32_t frames = vobRecord.CELL_ID.Item(static_cast<std::size_t>(cell)).Frames;
        if (vobRecord.Dummy != 0 || frames == 1) frames = StillFrames(job);

        const auto row = rows.find({vob, cell});
        if (row == rows.end()) {
            WLOG(job, "\tNo cell table row for VOB " + std::to_string(vob) + " cell " + std::to_string(cell) + " of " +
                          place.Name + ": the cell keeps the sectors and time of " + file);
            missing = true;
        } else {
            const std::int64_t entry =
                place.At + pgc.CellPlaybackOffset + kCellPlaybackSize * static_cast<std::int64_t>(c);
            WRITEDATA(table, file, PlaybackTime(job, frames), entry + kCellPlaybackTime);
            WRITEDATA(table, file, row->second.First, entry + kCellFirstVobu);
            WRITEDATA(table, file, row->second.LastVobu, entry + kCellLastVobu);
            WRITEDATA(table, file, row->second.Last, entry + kCellLastSector);
        }
        total += frames;
    }
    if (!pgc.Positions.empty()) WRITEDATA(table, file, PlaybackTime(job, total), place.At + kPgcPlaybackTime);
    return missing;
}

// The new C_ADT: a row for each cell of the model that has one in the cell
// table, by VOB and cell.
std::vector<std::uint8_t> CellAddresses(const VTS_Properties& domain, const CellRows& rows, const std::string& file) {
    C_ADT table;
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        for (std::size_t c = 1; c <= domain.Vob_Id.Item(v).CELL_ID.Count(); ++c) {
            const auto row = rows.find({static_cast<int>(v), static_cast<int>(c)});
            if (row == rows.end()) continue;
            table.Cells.push_back({static_cast<std::uint16_t>(v), static_cast<std::uint8_t>(c),
                                   static_cast<std::uint32_t>(row->second.First),
                                   static_cast<std::uint32_t>(row->second.Last)});
            // libdvdread takes the count for the highest VOB id.
            table.VobCount = static_cast<std::uint16_t>(v);
        }
    }
    if (table.Cells.empty()) {
        throw Error("Cannot rebuild " + file + ": no cell of the domain has a row in the cell table.");
    }
    return WriteC_ADT(table);
}

std::vector<std::uint8_t> VobuMap(JobContext& job, const std::vector<std::int32_t>& navArray, const std::string& file) {
    WLOG(job, "Creating VTSM table of size:" + std::to_string(navArray.size()));
    if (navArray.empty()) throw Error("Cannot rebuild " + file + ": the new menu VOBS has no NAV pack.");
    std::vector<std::uint32_t> sectors;
    for (const std::int32_t sector : navArray) {
        if (sector < 0) {
            throw Error("Cannot rebuild " + file + ": the NAV pack sector " + std::to_string(sector) +
                        " is negative.");
        }
        sectors.push_back(static_cast<std::uint32_t>(sector));
    }
    return WriteVOBU_ADMAP(sectors);
}

// The first menu audio stream as AC3, 48 kHz, two channels.
void SetTranscodedAudio(std::vector<std::uint8_t>& header) {
    auto& coding = header.at(kMenuAudioAttributes);
    coding = static_cast<std::uint8_t>(coding & 0x1F);
    auto& format = header.at(kMenuAudioAttributes + 1);
    format = static_cast<std::uint8_t>((format & 0xC8) | 0x01);
}

std::string FolderOf(const std::string& path) {
    const auto cut = path.rfind('\\');
    return cut == std::string::npos ? std::string() : path.substr(0, cut);
}

}  // namespace

void CreateAspect(const JobContext& job, std::span<std::uint8_t> header, const std::string& fileName) {
    platform::TraceFrame frame(job.Trace, "Muxman", "CreateAspect");
    if (static_cast<std::int64_t>(header.size()) < kMenuVideoAttributes + 2) {
        throw Error("Cannot set the menu video attributes of " + fileName + ": its header holds " +
                    std::to_string(header.size()) + " bytes.");
    }
    const std::uint8_t standard = NtscResult(job.Timing) ? 0x00 : 0x10;
    auto& first = header[kMenuVideoAttributes];
    first = static_cast<std::uint8_t>((first & 0xCF) | standard);
    auto& second = header[kMenuVideoAttributes + 1];
    second = static_cast<std::uint8_t>(second & 0xE7);
}

bool CorrectMuxmanIfo(JobContext& job, int entry, const std::vector<std::int32_t>& navArray,
                      const std::vector<std::array<std::int32_t, 6>>& finishedNavs) {
    platform::TraceFrame frame(job.Trace, "Muxman", "CorrectMuxmanIfo");
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    const std::string& source = domain.OriginalIfo;
    if (source.empty()) {
        throw Error("Cannot rebuild the IFO of entry " + std::to_string(entry) + ": its source IFO is not known.");
    }
    const std::string folder = job.DiscModel.Item(1).Root + "\\VIDEO_TS";
    const std::string target = platform::JoinPath(folder, platform::FileNameOf(source));
    if (job.Files.ToHost(folder) == job.Files.ToHost(FolderOf(source))) {
        throw Error("Cannot rebuild " + source + " into " + target + ": it would be written over its source.");
    }

    const std::vector<std::uint8_t> bytes = job.Files.ReadBytes(source);
    const ByteSource ifo{bytes, source};
    const IfoLayout layout = SplitIfo(ifo);
    const std::int64_t menuPointer = layout.Kind == IfoKind::Vmg ? kVmgMenuPgciUt : kVtsMenuPgciUt;
    const IfoPart* menuPart = layout.Part(menuPointer);
    if (menuPart == nullptr) {
        ThrowIfoError(ifo, layout.Kind == IfoKind::Vmg ? "VMGM_PGCI_UT" : "VTSM_PGCI_UT", menuPointer,
                      "the pointer holds 0: the file has no menu PGCs to rebuild");
    }
    const PGCI_UT oldTable =
        ReadPGCI_UT(IfoTable(ifo, menuPart->Table, menuPart->Sector * kSectorSize), menuPart->Sectors * kSectorSize);

    std::vector<PgcPlace> places;
    std::vector<std::uint8_t> menuTable = MenuTable(domain, ifo, *menuPart, oldTable, places);
    const CellRows rows = RowsOf(entry, finishedNavs, source);
    bool missing = false;
    for (const PgcPlace& place : places) {
        missing |= PatchPgc(job, domain, place, rows, menuTable, source);
    }

    const auto header = PartBytes(ifo, layout.Parts.front());
    std::vector<IfoBlock> blocks{{0, {header.begin(), header.end()}}};
    auto& headerBytes = blocks.front().Bytes;
    bool transcoded = false;
    for (const VOB_ID_Properties& vob : domain.Vob_Id) transcoded = transcoded || vob.Audio_Transcoded != 0;
    if (transcoded) SetTranscodedAudio(headerBytes);
    if (job.Timing.Conversion == 1) {
        WLOG(job, "Correcting Format - Conversion has taken place");
        CreateAspect(job, headerBytes, source);
    }

    for (const IfoPointerField& field : IfoPointerFields(layout.Kind)) {
        if (field.Offset == menuPointer) {
            blocks.push_back({field.Offset, std::move(menuTable)});
        } else if (field.Offset == kMenuCellAddresses) {
            blocks.push_back({field.Offset, CellAddresses(domain, rows, source)});
        } else if (field.Offset == kMenuVobuMap) {
            blocks.push_back({field.Offset, VobuMap(job, navArray, source)});
        } else if (const IfoPart* part = layout.Part(field.Offset)) {
            const auto kept = PartBytes(ifo, *part);
            blocks.push_back({field.Offset, {kept.begin(), kept.end()}});
        }
    }
    std::vector<std::uint8_t> rebuilt = JoinIfo(target, layout.Kind, std::move(blocks));
    const auto sectors = static_cast<std::int64_t>(rebuilt.size()) / kSectorSize;
    WRITEDATA(rebuilt, target, sectors - 1, kIfoLastSector);
    WRITEDATA(rebuilt, target, sectors, kMenuVobsSector);

    job.Files.MakeFolder(folder);
    WriteIfoFiles(job.Files, target, rebuilt);
    return missing;
}

}  // namespace kestrova

// The IFO reader's walk over the menu PGCI unit table: language units, menu
// PGCs with their commands, palettes, cells and programs. The other tables
// are in ifo_tables.cpp.
#include "dvd/ifo_reader.h"

#include <array>
#include <vector>

#include "dvd/dummy_scan.h"
#include "dvd/ifo_table.h"
#include "dvd/stream_attributes.h"
#include "dvd/vm_commands.h"
#include "job/log_writers.h"
#include "job/timecode.h"

namespace kestrova {

namespace {

// Fields of a PGC, from its start.
constexpr std::int64_t kPgcPrograms = 2;
constexpr std::int64_t kPgcCells = 3;
constexpr std::int64_t kPgcUserOperations = 8;
constexpr std::int64_t kPgcAudioControl = 12;
constexpr std::int64_t kPgcSubpictureControl = 28;
constexpr std::int64_t kPgcNext = 156;
constexpr std::int64_t kPgcPrevious = 158;
constexpr std::int64_t kPgcGoUp = 160;
constexpr std::int64_t kPgcStillTime = 163;  // 162 is the playback mode
constexpr std::int64_t kPgcPalette = 165;  // from the Y byte of the first entry
constexpr std::int64_t kPgcCommandTable = 228;
constexpr std::int64_t kPgcProgramMap = 230;
constexpr std::int64_t kPgcCellPlayback = 232;
constexpr std::int64_t kPgcCellPosition = 234;
constexpr std::int64_t kPgcHeaderSize = 236;
constexpr std::int64_t kCommandSize = 8;
constexpr std::int64_t kCellPlaybackSize = 24;
constexpr std::int64_t kCellPositionSize = 4;

// One entry of a language unit's PGC search table.
struct PgcEntry {
    std::int64_t Offset = 0;  // from the unit's start
    int Category = 0;
};

struct LanguageUnit {
    std::string Code;
    IfoTable Table;
    std::int64_t PgcCount = 0;
};

// What every PGC of one file read needs.
struct MenuRead {
    JobContext& Job;
    int Domain = 0;
    VideoInfo Video;
};

std::size_t Position(std::int64_t value) { return static_cast<std::size_t>(value); }

std::int16_t Short(std::int64_t value) { return static_cast<std::int16_t>(value); }

template <typename List>
void ExtendTo(List& list, std::int64_t count) {
    while (static_cast<std::int64_t>(list.Count()) < count) list.Add();
}

void ReadUserOperations(MenuRead& read, const IfoTable& pgc, PGC_Number_Properties& record) {
    auto& job = read.Job;
    record.UOPString = pgc.Hex(kPgcUserOperations, 4);
    const auto bits = pgc.BinBytes(kPgcUserOperations, 4);
    const auto names = GETUOP(job, bits[0], bits[1], bits[2], bits[3]);
    if (job.UOPFound != 0) {
        WLOG(job, "\t** UOPs found in this PGC **");
        for (const auto& name : names) {
            if (name.empty()) continue;
            record.UOPs.Add().Command = name;
            WLOG(job, "\tUOP= " + name);
        }
    } else {
        WLOG(job, "\tNo UOPs");
    }
}

void ReadCommands(MenuRead& read, const IfoTable& pgc, PGC_Number_Properties& record) {
    auto& job = read.Job;
    const std::int64_t tableOffset = pgc.Word(kPgcCommandTable);
    if (tableOffset == 0) {
        if (job.Options().DummyPGC == 1) record.Possible_Dummy = -1;
        return;
    }
    WLOG(job, "\t** Command Table List **");
    // The command table (PGC_CMDT): counts of pre, post and cell commands,
    // the end address, then the commands in that order.
    const IfoTable table = pgc.Sub("PGC_CMDT", tableOffset, "the offset of the command table");
    const std::int64_t counts[3] = {table.Word(0), table.Word(2), table.Word(4)};
    table.Require(8, (counts[0] + counts[1] + counts[2]) * kCommandSize,
                  std::to_string(counts[0] + counts[1] + counts[2]) + " commands");

    Collection<Command_Properties>* lists[3] = {&record.PRE_COMMANDS, &record.POST_COMMAND, &record.CELL_COMMAND};
    const char* const words[3] = {".PreCommand: ", ".PostCommand: ", ".CellCommand: "};
    std::int64_t at = 8;
    for (int kind = 0; kind < 3; ++kind) {
        for (std::int64_t i = 1; i <= counts[kind]; ++i, at += kCommandSize) {
            const auto hex = table.HexBytes(at, kCommandSize);
            std::array<std::string, 8> bytes;
            std::copy(hex.begin(), hex.end(), bytes.begin());
            auto& command = lists[kind]->Add();
            command.Command = Hex2Command(job, bytes);
            command.Hex = table.Hex(at, kCommandSize);
            WLOG(job, "\t\t" + std::to_string(i) + words[kind] + command.Command);
            GetTitleCommands(job, command.Command, read.Domain - 1);
        }
    }
}

SubpictureIds ReadSubpictures(MenuRead& read, const IfoTable& pgc, PGC_Number_Properties& record,
                              const std::string& language) {
    auto& job = read.Job;
    auto& vts = job.DiscModel.Item(Position(read.Domain));
    const std::int64_t control = pgc.Long(kPgcSubpictureControl);
    const auto bytes = pgc.Bytes(kPgcSubpictureControl, 4);
    SubpictureIds ids{bytes[0] & 0x1F, bytes[1] & 0x1F, bytes[2] & 0x1F, bytes[3] & 0x1F};
    if (control != 0) {
        record.SubStringA = static_cast<std::int32_t>(control >> 16);
        record.SubStringB = static_cast<std::int32_t>(control & 0xFFFF);
        record.SubsPresent = -1;
        vts.SubsPresent = -1;
    }
    record.Stream1_Normal_Uses_ID = Short(ids.Normal);
    record.Stream1_Wide_Uses_ID = Short(ids.Wide);
    record.Stream1_Letter_Uses_ID = Short(ids.Letter);
    record.Stream1_Pan_Uses_ID = Short(ids.Pan);
    if (ids.Normal > 1 || ids.Wide > 1 || ids.Letter > 1 || ids.Pan > 1) vts.UpdateIfoForSubs = -1;
    if (control != 0) FillStreamUse(job, read.Domain, ids, language);
    return ids;
}

void ReadPalette(MenuRead& read, const IfoTable& pgc, PGC_Number_Properties& record) {
    const auto bytes = pgc.Bytes(kPgcPalette, 64);
    for (std::size_t i = 0; i < 16; ++i) {
        record.Palette.Add(Palette_Properties{.Y = bytes[4 * i], .U = bytes[4 * i + 1], .V = bytes[4 * i + 2]});
    }
    record.Palette_Number = NewCheckPalette(read.Job, bytes);
}

// A table of the PGC found through a 16-bit offset in its header, which must
// be set when the PGC has entries for it.
IfoTable PgcSubTable(const IfoTable& pgc, const char* name, std::int64_t pointer, const char* counted,
                     std::int64_t entries, std::int64_t entrySize) {
    const std::int64_t offset = pgc.Word(pointer);
    if (offset == 0) {
        pgc.Fail(pointer, std::string("the PGC's ") + counted + " is " + std::to_string(entries) +
                              ", but the offset of its " + name + " is 0");
    }
    IfoTable table = pgc.Sub(name, offset, std::string("the offset of the ") + name);
    table.Require(0, entries * entrySize, std::to_string(entries) + " entries");
    return table;
}

struct CellUse {
    std::int64_t Vob = 0;
    std::int64_t Cell = 0;
};

std::vector<CellUse> ReadCells(MenuRead& read, const IfoTable& pgc, PGC_Number_Properties& record, int m,
                               const SubpictureIds& ids) {
    auto& job = read.Job;
    auto& vts = job.DiscModel.Item(Position(read.Domain));
    const std::int64_t cells = pgc.Byte(kPgcCells);
    const IfoTable playback = PgcSubTable(pgc, "C_PBKT", kPgcCellPlayback, "cell count", cells, kCellPlaybackSize);
    const IfoTable position = PgcSubTable(pgc, "C_POSIT", kPgcCellPosition, "cell count", cells, kCellPositionSize);

    std::vector<CellUse> uses;
    for (std::int64_t i = 1; i <= cells; ++i) {
        const std::int64_t entry = kCellPlaybackSize * (i - 1);
        const std::int64_t place = kCellPositionSize * (i - 1);
        const std::int64_t vob = position.Word(place);
        const std::int64_t cell = position.Byte(place + 3);
        const std::int16_t angle = playback.Byte(entry);
        const std::int16_t still = playback.Byte(entry + 2);
        const std::int16_t command = playback.Byte(entry + 3);
        const std::string timeHex = playback.Hex(entry + 4, 4);
        const std::int32_t frames = TimeToFrames(job.Timing, timeHex);
        const auto bcd = static_cast<std::int32_t>(static_cast<std::uint32_t>(playback.Long(entry + 4)));

        if (vob < 1 || vob > static_cast<std::int64_t>(vts.Vob_Id.Count()) || cell < 1 ||
            cell > static_cast<std::int64_t>(vts.Vob_Id.Item(Position(vob)).CELL_ID.Count())) {
            position.Fail(place, "cell " + std::to_string(i) + " names VOB id " + std::to_string(vob) + " cell id " +
                                     std::to_string(cell) + ", which the menu C_ADT does not list");
        }

        WLOG(job, "\t\t##CELL INFO FOR PGC : " + std::to_string(m) + " CELL GROUP " + std::to_string(i));
        WLOG(job, "\t\t##VOB = " + std::to_string(vob));
        WLOG(job, "\t\t##CELL = " + std::to_string(cell));
        WLOG(job, "\t\t##STILL TIME = " + std::to_string(still));
        WLOG(job, "\t\t##CELL COMMAND = " + std::to_string(command));
        WLOG(job, "\t\t##BCD = " + std::to_string(bcd));
        WLOG(job, "\t\t##FRAMES = " + std::to_string(frames));
        WLOG(job, " ");
        GetSubStream(job, ids, read.Domain, read.Video);

        auto& played = vts.Video.Item(1).VobId.Item(Position(vob)).CellId.Item(Position(cell));
        played.Frames = frames;
        played.CellPause = still;
        played.CellCommand = command;
        played.BCD = bcd;
        played.Angle = angle;
        vts.Vob_Id.Item(Position(vob)).CELL_ID.Item(Position(cell)).Frames = frames;
        ExtendTo(played.PGC_Number, m);
        auto& use = played.PGC_Number.Item(Position(m));
        use.CellCommand = command;
        use.CellPause = still;

        record.NewCellPause.push_back(still);
        record.NewCellCommand.push_back(command);
        record.Read.push_back(0);
        uses.push_back({vob, cell});
    }
    return uses;
}

void ReadPrograms(const IfoTable& pgc, PGC_Number_Properties& record, const std::vector<CellUse>& uses) {
    const std::int64_t programs = pgc.Byte(kPgcPrograms);
    std::vector<bool> opens(uses.size() + 1, false);
    if (programs > 0) {
        const IfoTable map = PgcSubTable(pgc, "PGC_PGMAP", kPgcProgramMap, "program count", programs, 1);
        for (std::int64_t p = 0; p < programs; ++p) {
            const std::int64_t entryCell = map.Byte(p);
            if (entryCell < 1 || entryCell > static_cast<std::int64_t>(uses.size())) {
                map.Fail(p, "program " + std::to_string(p + 1) + " starts at cell " + std::to_string(entryCell) +
                                ", but the PGC has " + std::to_string(uses.size()) + " cells");
            }
            opens[Position(entryCell)] = true;
        }
    }
    if (!opens[1]) pgc.Fail(kPgcProgramMap, "the program map opens no program at cell 1");
    for (std::size_t i = 1; i <= uses.size(); ++i) {
        if (opens[i]) record.PG.Add();
        auto& ref = record.PG.Item(record.PG.Count()).cell_ref.Add();
        ref.Vob_Id = Short(uses[i - 1].Vob);
        ref.CELL_ID = Short(uses[i - 1].Cell);
    }
}

void ReadPGC(MenuRead& read, const LanguageUnit& unit, Language_Properties& language, const PgcEntry& entry, int m) {
    auto& job = read.Job;
    auto& vts = job.DiscModel.Item(Position(read.Domain));
    const IfoTable pgc = unit.Table.Sub("PGC", entry.Offset, "the offset of PGC " + std::to_string(m));
    pgc.Require(0, kPgcHeaderSize, "the PGC header");

    auto& record = language.PGC_Number.Add();
    WLOG(job, "VTS=" + std::to_string(read.Domain - 1) + ", PGC=" + std::to_string(m));
    record.PGC_Type = std::to_string(entry.Category);
    language.PGC_Quantity = Short(m);

    record.AudioStream1 = Short(pgc.Byte(kPgcAudioControl) & 0x0F);
    record.Next_PGC = Short(pgc.Word(kPgcNext));
    record.Previous_PGC = Short(pgc.Word(kPgcPrevious));
    record.GoUp_PGC = static_cast<std::int32_t>(pgc.Word(kPgcGoUp));
    record.Still_Time = Short(pgc.Byte(kPgcStillTime));
    if (record.GoUp_PGC == 65535) job.State().ResumePGC = -1;

    ReadUserOperations(read, pgc, record);
    ReadCommands(read, pgc, record);

    if (pgc.Byte(kPgcCells) == 0) return;
    WLOG(job, "\tPGC " + std::to_string(m) + " has cells");

    const SubpictureIds ids = ReadSubpictures(read, pgc, record, unit.Code);
    ReadPalette(read, pgc, record);
    const auto uses = ReadCells(read, pgc, record, m, ids);

    // Subpicture stream slots of the VOBs the PGC plays.
    int slots = record.SubsPresent != 0 ? 1 : 0;
    if (ids.Normal == 1 || ids.Wide == 1 || ids.Letter == 1 || ids.Pan == 1) slots = 2;
    if (ids.Normal == 2 || ids.Wide == 2 || ids.Letter == 2 || ids.Pan == 2) slots = 3;
    for (const auto& use : uses) {
        auto& streams = vts.Vob_Id.Item(Position(use.Vob)).SUB_STREAM;
        if (streams.Count() == 0) {
            for (int s = 0; s < slots; ++s) streams.Add();
        }
    }

    ReadPrograms(pgc, record, uses);
}

}  // namespace

void GetIFOParams(JobContext& job, const std::string& path, bool readMenus, const std::string& language,
                  bool isVideoTS, const DummyCellStages& dummyCells) {
    const std::vector<std::uint8_t> data = job.Files.ReadBytes(path);
    GetIFOParamsFromBytes(job, ByteSource{data, path}, readMenus, language, isVideoTS, dummyCells);
}

void GetIFOParamsFromBytes(JobContext& job, const ByteSource& bytes, bool readMenus, const std::string& language,
                           bool isVideoTS, const DummyCellStages& dummyCells) {
    const std::string& path = bytes.FileName;
    job.DiscModel.Add();
    const int domain = static_cast<int>(job.DiscModel.Count());
    auto& vts = job.DiscModel.Item(Position(domain));

    if (readMenus) GetVOBTable(job, bytes, domain);
    std::int64_t pointer = kVmgmPGCI_UT;
    if (isVideoTS) {
        GetVIDEOTSTitle(job, bytes);
    } else {
        GetVTSTitle(job, bytes, domain - 1);
        pointer = kVtsmPGCI_UT;
    }
    const auto unitTable = IfoTable::AtSector(bytes, isVideoTS ? "VMGM_PGCI_UT" : "VTSM_PGCI_UT", pointer);

    job.LanguageScratch.Clear();
    if (job.StreamUse.size() <= static_cast<std::size_t>(domain)) job.StreamUse.resize(Position(domain) + 1);

    if (!unitTable) {
        vts.Language.Add().PGC_Quantity = 0;
        return;
    }

    // The language units (PGCI_LU) and one flat table of their PGC entries.
    const std::int64_t unitCount = unitTable->Word(0);
    unitTable->Require(8, unitCount * 8, std::to_string(unitCount) + " language unit entries");
    std::vector<LanguageUnit> units;
    std::vector<PgcEntry> entries;
    for (std::int64_t i = 1; i <= unitCount; ++i) {
        const std::int64_t at = 8 * i;
        const std::string code{static_cast<char>(unitTable->Byte(at)), static_cast<char>(unitTable->Byte(at + 1))};
        LanguageUnit unit{code, unitTable->Sub("PGCI_LU", unitTable->Long(at + 4),
                                               "the offset of language unit " + std::to_string(i)),
                          0};
        unit.PgcCount = unit.Table.Word(0);
        unit.Table.Require(8, unit.PgcCount * 8, std::to_string(unit.PgcCount) + " PGC entries");
        for (std::int64_t j = 0; j < unit.PgcCount; ++j) {
            entries.push_back({unit.Table.Long(12 + 8 * j), unit.Table.Byte(8 + 8 * j)});
        }
        job.LanguageScratch.Add().MenuTotal = Short(unit.PgcCount);
        units.push_back(std::move(unit));
    }

    if (!readMenus) {
        std::size_t flat = 0;
        for (const auto& unit : units) {
            auto& record = vts.Language.Add();
            record.Language_Folder = unit.Code;
            record.PGC_Quantity = Short(unit.PgcCount);
            for (std::int64_t j = 0; j < unit.PgcCount; ++j, ++flat) {
                record.PGC_Number.Add().PGC_Type = std::to_string(entries[flat].Category);
            }
        }
        return;
    }

    MenuRead read{job, domain, GetVideoInfo(job, bytes)};
    AddVideoAttributes(job, domain, read.Video);
    AddAudioAttributes(job, domain, GetAudioInfo(job, bytes));
    WLF(job, "Pgc Information");
    vts.OriginalIfo = path;
    LogWindow(job, "Processing : " + path);
    LogWindow(job, "   Language Units found =" + std::to_string(unitCount));
    RLOG(job, "#" + StripExtension(FileNameOf(path)) + ".VOB");

    std::size_t flat = 0;
    for (const auto& unit : units) {
        auto& record = vts.Language.Add();
        record.Language_Folder = unit.Code;
        if (language == "ALL" || language == job.LanguageTable.priv_LangCodeToLangName(unit.Code)) {
            for (std::int64_t j = 0; j < unit.PgcCount; ++j) {
                ReadPGC(read, unit, record, entries[flat + Position(j)], static_cast<int>(j + 1));
            }
        }
        flat += Position(unit.PgcCount);
    }

    DummyScan(job, domain, path, dummyCells);
}

}  // namespace kestrova

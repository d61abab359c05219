// The IFO reader's walk over the menu PGCI unit table: language units, menu
// PGCs with their commands, palettes, cells and programs, turned into the
// job's model. The PGC bytes are parsed by ifo_pgc.cpp; the other tables are
// in ifo_tables.cpp.
#include "dvd/ifo_reader.h"

#include <cstdio>
#include <utility>
#include <vector>

#include "dvd/dummy_scan.h"
#include "dvd/ifo_pgc.h"
#include "dvd/ifo_table.h"
#include "dvd/stream_attributes.h"
#include "dvd/vm_commands.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/text.h"

namespace kestrova {

namespace {

struct LanguageUnit {
    std::string Code;
    IfoTable Table;
    std::vector<PGCI_SRP> Pgcs;
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

// A BCD playback time as the eight hexadecimal digits the frame count reads.
std::string BcdDigits(std::uint32_t time) {
    char text[9];
    std::snprintf(text, sizeof text, "%08X", time);
    return text;
}

void ReadUserOperations(MenuRead& read, const PGCI& pgc, PGC_Number_Properties& record) {
    auto& job = read.Job;
    record.UOPString = pgc.UserOperations;
    const std::string bits = HexToBin(pgc.UserOperations);
    const auto names = GETUOP(job, bits.substr(0, 8), bits.substr(8, 8), bits.substr(16, 8), bits.substr(24, 8));
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

void ReadCommands(MenuRead& read, const PGCI& pgc, PGC_Number_Properties& record) {
    auto& job = read.Job;
    if (pgc.CommandTableOffset == 0) {
        if (job.Options().DummyPGC == 1) record.Possible_Dummy = -1;
        return;
    }
    WLOG(job, "\t** Command Table List **");
    const std::pair<const std::vector<CommandBytes>*, Collection<Command_Properties>*> lists[3] = {
        {&pgc.Commands.Pre, &record.PRE_COMMANDS},
        {&pgc.Commands.Post, &record.POST_COMMAND},
        {&pgc.Commands.Cell, &record.CELL_COMMAND}};
    const char* const words[3] = {".PreCommand: ", ".PostCommand: ", ".CellCommand: "};
    for (int kind = 0; kind < 3; ++kind) {
        const auto& [commands, list] = lists[kind];
        for (std::size_t i = 0; i < commands->size(); ++i) {
            auto& command = list->Add();
            command.Command = Hex2Command(job, (*commands)[i]);
            command.Hex = CommandHex((*commands)[i]);
            WLOG(job, "\t\t" + std::to_string(i + 1) + words[kind] + command.Command);
            GetTitleCommands(job, command.Command, read.Domain - 1);
        }
    }
}

SubpictureIds ReadSubpictures(MenuRead& read, const PGCI& pgc, PGC_Number_Properties& record,
                              const std::string& language) {
    auto& job = read.Job;
    auto& vts = job.DiscModel.Item(Position(read.Domain));
    const std::uint32_t control = pgc.FirstSubpictureControl;
    auto id = [control](int shift) { return static_cast<int>(control >> shift & 0x1F); };
    SubpictureIds ids{id(24), id(16), id(8), id(0)};
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

void ReadPalette(MenuRead& read, const PGCI& pgc, PGC_Number_Properties& record) {
    // Y, Cr, Cb of each entry, then a byte the palette check passes over.
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t entry : pgc.Palette) {
        const auto Y = static_cast<std::uint8_t>(entry >> 16);
        const auto Cr = static_cast<std::uint8_t>(entry >> 8);
        const auto Cb = static_cast<std::uint8_t>(entry);
        record.Palette.Add(Palette_Properties{.Y = Y, .U = Cr, .V = Cb});
        bytes.insert(bytes.end(), {Y, Cr, Cb, 0});
    }
    record.Palette_Number = NewCheckPalette(read.Job, bytes);
}

void ReadCells(MenuRead& read, const IfoTable& table, const PGCI& pgc, PGC_Number_Properties& record, int m,
               const SubpictureIds& ids) {
    auto& job = read.Job;
    auto& vts = job.DiscModel.Item(Position(read.Domain));
    for (std::size_t i = 1; i <= pgc.Cells.size(); ++i) {
        const CellPlayback& playback = pgc.Cells[i - 1];
        const std::int64_t vob = pgc.Positions[i - 1].VobId;
        const std::int64_t cell = pgc.Positions[i - 1].CellId;
        const std::int16_t still = playback.StillTime;
        const std::int16_t command = playback.CellCommand;
        const std::int32_t frames = TimeToFrames(job.Timing, BcdDigits(playback.PlaybackTime));
        const auto bcd = static_cast<std::int32_t>(playback.PlaybackTime);

        if (vob < 1 || vob > static_cast<std::int64_t>(vts.Vob_Id.Count()) || cell < 1 ||
            cell > static_cast<std::int64_t>(vts.Vob_Id.Item(Position(vob)).CELL_ID.Count())) {
            ThrowIfoError(table.Source(), "C_POSIT",
                          table.Base() + pgc.CellPositionOffset + kCellPositionSize * static_cast<std::int64_t>(i - 1),
                          "cell " + std::to_string(i) + " names VOB id " + std::to_string(vob) + " cell id " +
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
        played.Angle = playback.Category;
        vts.Vob_Id.Item(Position(vob)).CELL_ID.Item(Position(cell)).Frames = frames;
        ExtendTo(played.PGC_Number, m);
        auto& use = played.PGC_Number.Item(Position(m));
        use.CellCommand = command;
        use.CellPause = still;

        record.NewCellPause.push_back(still);
        record.NewCellCommand.push_back(command);
        record.Read.push_back(0);
    }
}

void ReadPrograms(const PGCI& pgc, PGC_Number_Properties& record) {
    for (const auto& cells : ProgramCells(pgc)) {
        auto& program = record.PG.Add();
        for (const std::size_t i : cells) {
            auto& ref = program.cell_ref.Add();
            ref.Vob_Id = Short(pgc.Positions[i].VobId);
            ref.CELL_ID = Short(pgc.Positions[i].CellId);
        }
    }
}

void ReadPGC(MenuRead& read, const LanguageUnit& unit, Language_Properties& language, const PGCI_SRP& entry, int m) {
    auto& job = read.Job;
    auto& vts = job.DiscModel.Item(Position(read.Domain));
    const IfoTable table = unit.Table.Sub("PGC", entry.Offset, "the offset of PGC " + std::to_string(m));
    const PGCI pgc = ReadPGCI(table);

    auto& record = language.PGC_Number.Add();
    WLOG(job, "VTS=" + std::to_string(read.Domain - 1) + ", PGC=" + std::to_string(m));
    record.PGC_Type = std::to_string(entry.Category);
    language.PGC_Quantity = Short(m);

    record.AudioStream1 = Short(pgc.FirstAudioControl >> 8 & 0x0F);
    record.Next_PGC = Short(pgc.Next);
    record.Previous_PGC = Short(pgc.Previous);
    record.GoUp_PGC = pgc.GoUp;
    record.Still_Time = pgc.StillTime;
    if (record.GoUp_PGC == 65535) job.State().ResumePGC = -1;

    ReadUserOperations(read, pgc, record);
    ReadCommands(read, pgc, record);

    if (pgc.CellCount == 0) return;
    WLOG(job, "\tPGC " + std::to_string(m) + " has cells");

    const SubpictureIds ids = ReadSubpictures(read, pgc, record, unit.Code);
    ReadPalette(read, pgc, record);
    ReadCells(read, table, pgc, record, m, ids);

    // Subpicture stream slots of the VOBs the PGC plays.
    int slots = record.SubsPresent != 0 ? 1 : 0;
    if (ids.Normal == 1 || ids.Wide == 1 || ids.Letter == 1 || ids.Pan == 1) slots = 2;
    if (ids.Normal == 2 || ids.Wide == 2 || ids.Letter == 2 || ids.Pan == 2) slots = 3;
    for (const auto& position : pgc.Positions) {
        auto& streams = vts.Vob_Id.Item(position.VobId).SUB_STREAM;
        if (streams.Count() == 0) {
            for (int s = 0; s < slots; ++s) streams.Add();
        }
    }

    ReadPrograms(pgc, record);
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

    // The language units (PGCI_LU), each with its PGC search entries.
    const std::int64_t unitCount = unitTable->Word(0);
    unitTable->Require(8, unitCount * 8, std::to_string(unitCount) + " language unit entries");
    std::vector<LanguageUnit> units;
    for (std::int64_t i = 1; i <= unitCount; ++i) {
        const std::int64_t at = 8 * i;
        const std::string code{static_cast<char>(unitTable->Byte(at)), static_cast<char>(unitTable->Byte(at + 1))};
        LanguageUnit unit{code, unitTable->Sub("PGCI_LU", unitTable->Long(at + 4),
                                               "the offset of language unit " + std::to_string(i)),
                          {}};
        unit.Pgcs = ReadPGCI_SRP(unit.Table);
        job.LanguageScratch.Add().MenuTotal = Short(static_cast<std::int64_t>(unit.Pgcs.size()));
        units.push_back(std::move(unit));
    }

    if (!readMenus) {
        for (const auto& unit : units) {
            auto& record = vts.Language.Add();
            record.Language_Folder = unit.Code;
            record.PGC_Quantity = Short(static_cast<std::int64_t>(unit.Pgcs.size()));
            for (const auto& entry : unit.Pgcs) record.PGC_Number.Add().PGC_Type = std::to_string(entry.Category);
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
    RLOG(job, "#" + platform::WithoutExtension(platform::FileNameOf(path)) + ".VOB");

    for (const auto& unit : units) {
        auto& record = vts.Language.Add();
        record.Language_Folder = unit.Code;
        if (language == "ALL" || language == job.LanguageTable.priv_LangCodeToLangName(unit.Code)) {
            for (std::size_t j = 0; j < unit.Pgcs.size(); ++j) {
                ReadPGC(read, unit, record, unit.Pgcs[j], static_cast<int>(j + 1));
            }
        }
    }

    DummyScan(job, domain, path, dummyCells);
}

}  // namespace kestrova

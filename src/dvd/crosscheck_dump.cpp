// The cross-check dump: see crosscheck_dump.h.
#include "dvd/crosscheck_dump.h"

#include <algorithm>
#include <cstdio>
#include <tuple>
#include <utility>
#include <vector>

namespace kestrova {

namespace {

std::string Hex(std::uint32_t value, int width) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", width, value);
    return text;
}

std::string N(std::int64_t value) { return std::to_string(value); }

void DumpTitles(const JobContext& job, std::string& out) {
    out += "TITLESETS " + N(static_cast<std::int64_t>(job.TitleMap.Count())) + "\n";
    std::vector<const TITLES_Properties*> titles;
    for (const auto& titleSet : job.TitleMap) {
        for (const auto& title : titleSet.TITLES) {
            if (title.TitleNumber > 0) titles.push_back(&title);
        }
    }
    std::stable_sort(titles.begin(), titles.end(),
                     [](const auto* a, const auto* b) { return a->TitleNumber < b->TitleNumber; });
    for (const auto* title : titles) {
        out += "TITLE " + N(title->TitleNumber) + " VTS " + N(title->VTS) + " TTN " + N(title->VTS_TTN) +
               " CHAPTERS " + N(title->Chapter_Count) + "\n";
    }
}

void DumpChapters(const JobContext& job, int titleSet, std::string& out) {
    if (titleSet < 1 || titleSet > static_cast<int>(job.TitleMap.Count())) return;
    const auto& titles = job.TitleMap.Item(static_cast<std::size_t>(titleSet)).TITLES;
    for (std::size_t t = 1; t <= titles.Count(); ++t) {
        std::vector<std::tuple<int, std::size_t, std::size_t>> chapters;  // chapter, PGC, program
        const auto& pgcs = titles.Item(t).PGC_Number;
        for (std::size_t p = 1; p <= pgcs.Count(); ++p) {
            for (std::size_t g = 1; g <= pgcs.Item(p).PG.Count(); ++g) {
                const int chapter = pgcs.Item(p).PG.Item(g).Chapter;
                if (chapter > 0) chapters.emplace_back(chapter, p, g);
            }
        }
        std::sort(chapters.begin(), chapters.end());
        for (const auto& [chapter, pgc, program] : chapters) {
            out += "PTT " + N(static_cast<std::int64_t>(t)) + " " + N(chapter) + " PGC " +
                   N(static_cast<std::int64_t>(pgc)) + " PG " + N(static_cast<std::int64_t>(program)) + "\n";
        }
    }
}

// A menu PGC of the model as the PGC record the reader read it from, so that
// the menu side and the playback side print through one writer.
PGCI PgciOfModel(const VTS_Properties& vts, const PGC_Number_Properties& pgc) {
    PGCI read;
    read.ProgramCount = static_cast<std::uint8_t>(pgc.PG.Count());
    read.UserOperations = pgc.UOPString;
    read.FirstAudioControl = static_cast<std::uint16_t>(pgc.AudioStream1 << 8);
    read.FirstSubpictureControl = static_cast<std::uint32_t>(pgc.SubStringA) << 16 |
                                  static_cast<std::uint32_t>(pgc.SubStringB & 0xFFFF);
    read.Next = static_cast<std::uint16_t>(pgc.Next_PGC);
    read.Previous = static_cast<std::uint16_t>(pgc.Previous_PGC);
    read.GoUp = static_cast<std::uint16_t>(pgc.GoUp_PGC);
    read.StillTime = static_cast<std::uint8_t>(pgc.Still_Time);
    for (std::size_t i = 0; i < read.Palette.size() && i < pgc.Palette.Count(); ++i) {
        const auto& colour = pgc.Palette.Item(i + 1);
        read.Palette[i] = static_cast<std::uint32_t>(colour.Y << 16 | colour.U << 8 | colour.V);
    }
    const std::pair<std::vector<CommandBytes>*, const Collection<Command_Properties>*> lists[] = {
        {&read.Commands.Pre, &pgc.PRE_COMMANDS}, {&read.Commands.Post, &pgc.POST_COMMAND},
        {&read.Commands.Cell, &pgc.CELL_COMMAND}};
    for (const auto& [commands, list] : lists) {
        for (const auto& command : *list) {
            CommandBytes bytes;
            for (std::size_t b = 0; b < bytes.size(); ++b) bytes[b] = command.Hex.substr(2 * b, 2);
            commands->push_back(bytes);
        }
    }
    for (const auto& program : pgc.PG) {
        read.ProgramMap.push_back(static_cast<std::uint8_t>(read.Positions.size() + 1));
        for (const auto& ref : program.cell_ref) {
            const std::size_t i = read.Positions.size() + 1;
            const auto& played = vts.Video.Item(1).VobId.Item(static_cast<std::size_t>(ref.Vob_Id))
                                     .CellId.Item(static_cast<std::size_t>(ref.CELL_ID));
            read.Positions.push_back({static_cast<std::uint16_t>(ref.Vob_Id), static_cast<std::uint8_t>(ref.CELL_ID)});
            read.Cells.push_back({static_cast<std::uint8_t>(played.Angle),
                                  static_cast<std::uint8_t>(i < pgc.NewCellPause.size() ? pgc.NewCellPause[i] : 0),
                                  static_cast<std::uint8_t>(i < pgc.NewCellCommand.size() ? pgc.NewCellCommand[i] : 0),
                                  static_cast<std::uint32_t>(played.BCD)});
        }
    }
    read.CellCount = static_cast<std::uint8_t>(read.Cells.size());
    return read;
}

void DumpPgc(const PGCI& pgc, const std::string& category, const std::string& id, std::string& out) {
    out += "PGC " + id + " CAT " + category + " PROGRAMS " + N(pgc.ProgramCount) + " CELLS " + N(pgc.CellCount) +
           " NEXT " + N(pgc.Next) + " PREV " + N(pgc.Previous) + " GOUP " + N(pgc.GoUp) + " STILL " +
           N(pgc.StillTime) + " UOP " + pgc.UserOperations + " AUDIO1 " + N(pgc.FirstAudioControl >> 8 & 0x0F) + "\n";
    const std::pair<const char*, const std::vector<CommandBytes>*> lists[] = {
        {"PRE", &pgc.Commands.Pre}, {"POST", &pgc.Commands.Post}, {"CELL", &pgc.Commands.Cell}};
    for (const auto& [word, list] : lists) {
        for (std::size_t i = 0; i < list->size(); ++i) {
            out += "CMD " + id + " " + word + " " + N(static_cast<std::int64_t>(i + 1)) + " " +
                   CommandHex((*list)[i]) + "\n";
        }
    }
    if (pgc.CellCount == 0) return;

    out += "SUB1 " + id + " " + Hex(pgc.FirstSubpictureControl, 8) + "\n";
    out += "PAL " + id;
    for (const std::uint32_t colour : pgc.Palette) out += " " + Hex(colour & 0xFFFFFF, 6);
    out += "\n";
    for (std::size_t p = 0; p < pgc.ProgramMap.size(); ++p) {
        out += "PROG " + id + " " + N(static_cast<std::int64_t>(p + 1)) + " " + N(pgc.ProgramMap[p]) + "\n";
    }
    for (std::size_t i = 0; i < pgc.Cells.size(); ++i) {
        const CellPlayback& cell = pgc.Cells[i];
        out += "CELL " + id + " " + N(static_cast<std::int64_t>(i + 1)) + " VOB " + N(pgc.Positions[i].VobId) +
               " CELL " + N(pgc.Positions[i].CellId) + " CAT0 " + N(cell.Category) + " STILL " + N(cell.StillTime) +
               " CMD " + N(cell.CellCommand) + " TIME " + Hex(cell.PlaybackTime, 8) + "\n";
    }
}

// A PGC of the playback side: the menu lines, then its own playback time,
// which the model keeps for no PGC.
void DumpPlaybackPgc(const PGCI& pgc, const std::string& category, const std::string& id, std::string& out) {
    DumpPgc(pgc, category, id, out);
    out += "PTIME " + id + " " + Hex(pgc.PlaybackTime, 8) + "\n";
}

void DumpMenus(const VTS_Properties& vts, std::string& out) {
    const bool noMenus = vts.Language.Count() == 1 && vts.Language.Item(1).Language_Folder.empty();
    out += "UNITS " + N(noMenus ? 0 : static_cast<std::int64_t>(vts.Language.Count())) + "\n";
    if (!noMenus) {
        for (std::size_t k = 1; k <= vts.Language.Count(); ++k) {
            const auto& unit = vts.Language.Item(k);
            out += "UNIT " + N(static_cast<std::int64_t>(k)) + " LANG " + unit.Language_Folder + " PGCS " +
                   N(static_cast<std::int64_t>(unit.PGC_Number.Count())) + "\n";
            for (std::size_t j = 1; j <= unit.PGC_Number.Count(); ++j) {
                const auto& pgc = unit.PGC_Number.Item(j);
                DumpPgc(PgciOfModel(vts, pgc), pgc.PGC_Type,
                        N(static_cast<std::int64_t>(k)) + "." + N(static_cast<std::int64_t>(j)), out);
            }
        }
    }
    for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) {
        const auto& cells = vts.Vob_Id.Item(v).CELL_ID;
        for (std::size_t c = 1; c <= cells.Count(); ++c) {
            const auto& cell = cells.Item(c);
            // A gap in the table leaves a record that no row filled.
            if (cell.VTSM_START == 0 && cell.VTSM_END == 0) continue;
            out += "CADT " + N(static_cast<std::int64_t>(v)) + " " + N(static_cast<std::int64_t>(c)) + " " +
                   N(static_cast<std::uint32_t>(cell.VTSM_START)) + " " +
                   N(static_cast<std::uint32_t>(cell.VTSM_END)) + "\n";
        }
    }
}

}  // namespace

std::string IfoNameOfDomain(int domain) {
    if (domain <= 1) return "VIDEO_TS.IFO";
    char name[32];
    std::snprintf(name, sizeof name, "VTS_%02d_0.IFO", domain - 1);
    return name;
}

std::string CrossCheckDump(const JobContext& job, const PlaybackPGCs& playback) {
    std::string out;
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        const int domain = static_cast<int>(d);
        out += "IFO " + IfoNameOfDomain(domain) + "\n";
        if (domain == 1) {
            DumpTitles(job, out);
        } else {
            DumpChapters(job, domain - 1, out);
        }
        DumpMenus(job.DiscModel.Item(d), out);
        if (domain == 1 && playback.FP_PGC) DumpPlaybackPgc(*playback.FP_PGC, "0", "FP", out);
        if (domain == 1 || d - 2 >= playback.VTS_PGCIT.size()) continue;
        const auto& titles = playback.VTS_PGCIT[d - 2];
        out += "PGCIT " + N(static_cast<std::int64_t>(titles.size())) + "\n";
        for (std::size_t j = 0; j < titles.size(); ++j) {
            DumpPlaybackPgc(titles[j].Pgc, N(titles[j].Entry.Category), "T" + N(static_cast<std::int64_t>(j + 1)), out);
        }
    }
    return out;
}

}  // namespace kestrova

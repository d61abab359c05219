// The cross-check dump: see crosscheck_dump.h.
#include "dvd/crosscheck_dump.h"

#include <algorithm>
#include <cstdio>
#include <tuple>
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

void DumpPgc(const VTS_Properties& vts, const PGC_Number_Properties& pgc, const std::string& id, std::string& out) {
    std::size_t cells = 0;
    for (const auto& program : pgc.PG) cells += program.cell_ref.Count();
    out += "PGC " + id + " CAT " + pgc.PGC_Type + " PROGRAMS " + N(static_cast<std::int64_t>(pgc.PG.Count())) +
           " CELLS " + N(static_cast<std::int64_t>(cells)) + " NEXT " +
           N(static_cast<std::uint16_t>(pgc.Next_PGC)) + " PREV " + N(static_cast<std::uint16_t>(pgc.Previous_PGC)) +
           " GOUP " + N(pgc.GoUp_PGC) + " STILL " + N(pgc.Still_Time) + " UOP " + pgc.UOPString + " AUDIO1 " +
           N(pgc.AudioStream1) + "\n";
    const std::pair<const char*, const Collection<Command_Properties>*> lists[] = {
        {"PRE", &pgc.PRE_COMMANDS}, {"POST", &pgc.POST_COMMAND}, {"CELL", &pgc.CELL_COMMAND}};
    for (const auto& [word, list] : lists) {
        for (std::size_t i = 1; i <= list->Count(); ++i) {
            out += "CMD " + id + " " + word + " " + N(static_cast<std::int64_t>(i)) + " " + list->Item(i).Hex + "\n";
        }
    }
    if (cells == 0) return;

    out += "SUB1 " + id + " " + Hex(static_cast<std::uint32_t>(pgc.SubStringA), 4) +
           Hex(static_cast<std::uint32_t>(pgc.SubStringB), 4) + "\n";
    out += "PAL " + id;
    for (const auto& colour : pgc.Palette) {
        out += " " + Hex(static_cast<std::uint32_t>(colour.Y << 16 | colour.U << 8 | colour.V), 6);
    }
    out += "\n";
    std::size_t entryCell = 1;
    for (std::size_t p = 1; p <= pgc.PG.Count(); ++p) {
        out += "PROG " + id + " " + N(static_cast<std::int64_t>(p)) + " " +
               N(static_cast<std::int64_t>(entryCell)) + "\n";
        entryCell += pgc.PG.Item(p).cell_ref.Count();
    }
    std::size_t i = 0;
    for (const auto& program : pgc.PG) {
        for (const auto& ref : program.cell_ref) {
            ++i;
            const auto& played = vts.Video.Item(1).VobId.Item(static_cast<std::size_t>(ref.Vob_Id))
                                     .CellId.Item(static_cast<std::size_t>(ref.CELL_ID));
            const int still = i < pgc.NewCellPause.size() ? pgc.NewCellPause[i] : 0;
            const int command = i < pgc.NewCellCommand.size() ? pgc.NewCellCommand[i] : 0;
            out += "CELL " + id + " " + N(static_cast<std::int64_t>(i)) + " VOB " + N(ref.Vob_Id) + " CELL " +
                   N(ref.CELL_ID) + " CAT0 " + N(played.Angle) + " STILL " + N(still) + " CMD " + N(command) +
                   " TIME " + Hex(static_cast<std::uint32_t>(played.BCD), 8) + "\n";
        }
    }
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
                DumpPgc(vts, unit.PGC_Number.Item(j), N(static_cast<std::int64_t>(k)) + "." +
                                                          N(static_cast<std::int64_t>(j)), out);
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

std::string CrossCheckDump(const JobContext& job) {
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
    }
    return out;
}

}  // namespace kestrova

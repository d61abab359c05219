// The IFO reader on the fixture discs made by dvdauthor: the structures each
// disc was built with must come out of the model.
#include "dvd/ifo_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>

#include "disc_reading.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using test::FixtureDisc;
using test::ReadDisc;

const PGC_Number_Properties& Pgc(const JobContext& job, int domain, int unit, int pgc) {
    return job.DiscModel.Item(domain).Language.Item(unit).PGC_Number.Item(pgc);
}

std::vector<std::pair<int, int>> CellRefs(const PGC_Number_Properties& pgc) {
    std::vector<std::pair<int, int>> refs;
    for (const auto& program : pgc.PG) {
        for (const auto& ref : program.cell_ref) refs.emplace_back(ref.Vob_Id, ref.CELL_ID);
    }
    return refs;
}

// Every cell played has an address row, every row is played, rows follow each other without overlapping.
void ExpectCellAddressTableCoversCells(const VTS_Properties& vts) {
    std::set<std::pair<int, int>> played;
    for (const auto& unit : vts.Language) {
        for (const auto& pgc : unit.PGC_Number) {
            for (const auto& ref : CellRefs(pgc)) played.insert(ref);
        }
    }
    std::set<std::pair<int, int>> rows;
    std::int32_t nextSector = 0;
    for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) {
        for (std::size_t c = 1; c <= vts.Vob_Id.Item(v).CELL_ID.Count(); ++c) {
            const auto& cell = vts.Vob_Id.Item(v).CELL_ID.Item(c);
            EXPECT_EQ(cell.VTSM_START, nextSector) << "VOB " << v << " cell " << c;
            EXPECT_GE(cell.VTSM_END, cell.VTSM_START) << "VOB " << v << " cell " << c;
            EXPECT_GE(vts.Video.Item(1).VobId.Item(v).CellId.Count(), c) << "the twin list of cells as played";
            nextSector = cell.VTSM_END + 1;
            rows.insert({static_cast<int>(v), static_cast<int>(c)});
        }
    }
    EXPECT_EQ(played, rows);
}

TEST(IfoReaderOnDiscs, VmgButtonsHasMenusStubAndTitleMap) {
    test::JobFixture fx;
    auto& job = fx.job;
    ReadDisc(job, FixtureDisc("pal-vmg-buttons"));

    ASSERT_EQ(job.DiscModel.Count(), 2u);
    EXPECT_EQ(job.Timing.VideoStandard, "PAL");

    const auto& vmg = job.DiscModel.Item(1);
    ASSERT_EQ(vmg.Language.Count(), 1u);
    EXPECT_EQ(vmg.Language.Item(1).Language_Folder, "en");
    const auto& motion = Pgc(job, 1, 1, 1);
    EXPECT_EQ(motion.PGC_Type, "130") << "entry PGC of the title menu";
    EXPECT_NE(motion.PRE_COMMANDS.Count(), 0u);
    EXPECT_NE(motion.POST_COMMAND.Count(), 0u);
    EXPECT_EQ(CellRefs(motion), (std::vector<std::pair<int, int>>{{1, 1}}));
    EXPECT_EQ(Pgc(job, 1, 1, 2).Still_Time, 255) << "still menu held for ever by the PGC";
    EXPECT_EQ(CellRefs(Pgc(job, 1, 1, 2)), (std::vector<std::pair<int, int>>{{2, 1}}));
    EXPECT_EQ(vmg.Video.Item(1).Size, "720 x 576");
    ASSERT_EQ(vmg.Audio.Count(), 1u);
    EXPECT_EQ(vmg.Audio.Item(1).Audio_Type, "Mpeg1") << "MP2 menu audio";
    ExpectCellAddressTableCoversCells(vmg);

    const auto& vts = job.DiscModel.Item(2);
    ASSERT_EQ(vts.Language.Item(1).PGC_Number.Count(), 3u);
    EXPECT_EQ(Pgc(job, 2, 1, 1).PGC_Type, "131");
    EXPECT_EQ(Pgc(job, 2, 1, 1).NewCellPause, (std::vector<std::int16_t>{0, 255})) << "still in the cell";
    EXPECT_EQ(vts.Video.Item(1).VobId.Item(1).CellId.Item(1).CellPause, 255);
    EXPECT_EQ(Pgc(job, 2, 1, 2).PGC_Type, "133");
    const auto& stub = Pgc(job, 2, 1, 3);
    EXPECT_EQ(stub.PGC_Type, "135");
    EXPECT_EQ(stub.PG.Count(), 0u) << "the chapter-menu stub has no cells";
    ASSERT_EQ(stub.PRE_COMMANDS.Count(), 1u);
    EXPECT_EQ(stub.PRE_COMMANDS.Item(1).Hex, "2004000000000001") << "LinkPGCN 1";
    EXPECT_EQ(stub.Palette.Count(), 0u) << "a PGC without cells is not read past its commands";
    ExpectCellAddressTableCoversCells(vts);
    EXPECT_EQ(vts.OriginalIfo, test::DrivePathOf(job, FixtureDisc("pal-vmg-buttons")) + "\\VTS_01_0.IFO");

    ASSERT_EQ(job.TitleMap.Count(), 1u);
    const auto& titles = job.TitleMap.Item(1).TITLES;
    ASSERT_EQ(titles.Count(), 2u);
    EXPECT_EQ(titles.Item(1).Chapter_Count, 3);
    EXPECT_EQ(titles.Item(2).Chapter_Count, 2);
    EXPECT_EQ(titles.Item(2).PGC_Number.Item(2).PG.Item(2).Chapter, 2);
    EXPECT_EQ(job.State().MaxTitles, 2);
    // Both domains' menus share nothing, so each palette is pooled once.
    EXPECT_EQ(Pgc(job, 1, 1, 1).Palette_Number, 1);
    EXPECT_GE(job.PalettePool.Count(), 2u);
}

TEST(IfoReaderOnDiscs, TwoLanguageUnitsAndATitleSetWithoutMenus) {
    test::JobFixture fx;
    auto& job = fx.job;
    ReadDisc(job, FixtureDisc("ntsc-vts-menus-2lang"));

    ASSERT_EQ(job.DiscModel.Count(), 3u);
    EXPECT_EQ(job.Timing.VideoStandard, "NTSC");
    const auto& vts1 = job.DiscModel.Item(2);
    ASSERT_EQ(vts1.Language.Count(), 2u);
    EXPECT_EQ(vts1.Language.Item(1).Language_Folder, "en");
    EXPECT_EQ(vts1.Language.Item(2).Language_Folder, "fr");
    for (int unit = 1; unit <= 2; ++unit) {
        std::vector<std::string> types;
        for (const auto& pgc : vts1.Language.Item(unit).PGC_Number) types.push_back(pgc.PGC_Type);
        EXPECT_EQ(types, (std::vector<std::string>{"131", "135", "133", "132"})) << "root, ptt, audio, subtitle";
    }
    EXPECT_EQ(vts1.Vob_Id.Count(), 8u) << "four VOB ids per language unit";
    ExpectCellAddressTableCoversCells(vts1);

    // Title set 2 has no menu domain.
    const auto& vts2 = job.DiscModel.Item(3);
    ASSERT_EQ(vts2.Language.Count(), 1u);
    EXPECT_EQ(vts2.Language.Item(1).Language_Folder, "");
    EXPECT_EQ(vts2.Language.Item(1).PGC_Number.Count(), 0u);

    // Title 3 is title 1 of set 2: three programs, chapters at 1 and 3.
    const auto& title3 = job.TitleMap.Item(2).TITLES.Item(1);
    EXPECT_EQ(title3.TitleNumber, 3);
    EXPECT_EQ(title3.Chapter_Count, 2);
    const auto& programs = title3.PGC_Number.Item(1).PG;
    ASSERT_EQ(programs.Count(), 3u);
    EXPECT_EQ(std::vector<int>({programs.Item(1).Chapter, programs.Item(2).Chapter, programs.Item(3).Chapter}),
              std::vector<int>({1, 0, 2}));
}

TEST(IfoReaderOnDiscs, TwoVobIdsInOnePgcAndOneVobInThreeCellsWithLogAndJournal) {
    test::JobFixture fx;
    auto& job = fx.job;
    job.Options().Default_Enable_Log = 1;
    job.RunLog.File("K:\\Kestrova.LOG");
    job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
    ReadDisc(job, FixtureDisc("pal-menu-cells-jumppad"));

    const auto& intro = Pgc(job, 1, 1, 1);
    EXPECT_EQ(CellRefs(intro), (std::vector<std::pair<int, int>>{{1, 1}, {2, 1}}));
    EXPECT_EQ(intro.PG.Count(), 2u);

    const auto& cut = Pgc(job, 1, 1, 2);
    EXPECT_EQ(CellRefs(cut), (std::vector<std::pair<int, int>>{{3, 1}, {3, 2}, {3, 3}}));
    EXPECT_EQ(cut.PG.Count(), 1u);
    EXPECT_EQ(cut.CELL_COMMAND.Count(), 3u);
    EXPECT_EQ(cut.NewCellPause, (std::vector<std::int16_t>{0, 0, 3, 255}));
    EXPECT_EQ(cut.NewCellCommand, (std::vector<std::int16_t>{0, 1, 2, 3}));
    EXPECT_EQ(cut.Read, (std::vector<std::int16_t>{0, 0, 0, 0}));
    const auto& played = job.DiscModel.Item(1).Video.Item(1).VobId.Item(3).CellId;
    EXPECT_EQ(played.Item(3).CellCommand, 3);
    ASSERT_EQ(played.Item(2).PGC_Number.Count(), 2u) << "extended to the PGC's position";
    EXPECT_EQ(played.Item(2).PGC_Number.Item(2).CellPause, 3);
    ExpectCellAddressTableCoversCells(job.DiscModel.Item(1));

    const auto& vts = job.DiscModel.Item(2);
    ASSERT_EQ(vts.Language.Item(1).PGC_Number.Count(), 4u);
    const auto& chapterMenu = Pgc(job, 2, 1, 3);
    EXPECT_EQ(CellRefs(chapterMenu), (std::vector<std::pair<int, int>>{{4, 1}, {4, 2}, {4, 3}}));
    ASSERT_EQ(chapterMenu.PG.Count(), 2u);
    EXPECT_EQ(chapterMenu.PG.Item(2).cell_ref.Count(), 2u);
    EXPECT_EQ(Pgc(job, 2, 1, 4).PGC_Type, "134") << "entry angle";
    ExpectCellAddressTableCoversCells(vts);
    for (const auto& vob : vts.Vob_Id) EXPECT_EQ(vob.Dummy, 0) << "no cell lacks a time";
    EXPECT_EQ(vts.Split_Cell, 0);

    EXPECT_EQ(job.Files.ReadLines("K:\\Kestrova_Recovery.LOG"),
              (std::vector<std::string>{"#VIDEO_TS.VOB", "#VTS_01_0.VOB"}));
    const auto lines = job.Files.ReadLines("K:\\Kestrova.LOG");
    auto count = [&lines](const std::string& text) {
        return std::count(lines.begin(), lines.end(), "2026-11-23 08:00:00\t" + text);
    };
    EXPECT_EQ(count("VTS=1, PGC=4"), 1);
    EXPECT_EQ(count("\t\t##CELL INFO FOR PGC : 2 CELL GROUP 3"), 1);
    EXPECT_EQ(count("\tPGC 4 has cells"), 0) << "the stub PGC";
    EXPECT_EQ(count("\t\t1.CellCommand: " + cut.CELL_COMMAND.Item(1).Command), 1);
}

TEST(IfoReaderOnDiscs, DiscWithoutMenusGivesPlaceholdersAndTitles) {
    test::JobFixture fx;
    auto& job = fx.job;
    job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
    ReadDisc(job, FixtureDisc("pal-titles-only-lpcm"));

    ASSERT_EQ(job.DiscModel.Count(), 2u);
    for (const auto& vts : job.DiscModel) {
        ASSERT_EQ(vts.Language.Count(), 1u);
        EXPECT_EQ(vts.Language.Item(1).Language_Folder, "");
        EXPECT_EQ(vts.Vob_Id.Count(), 0u);
        EXPECT_EQ(vts.OriginalIfo, "") << "a domain without menus ends before the full read";
    }
    const auto& titles = job.TitleMap.Item(1).TITLES;
    ASSERT_EQ(titles.Count(), 2u);
    EXPECT_EQ(titles.Item(1).PGC_Number.Item(1).PG.Count(), 4u);
    EXPECT_EQ(titles.Item(2).PGC_Number.Item(2).PG.Item(1).Chapter, 1);
    EXPECT_FALSE(job.Files.FileExists("K:\\Kestrova_Recovery.LOG")) << "no menu VOB to name in the journal";
}

TEST(IfoReaderOnDiscs, LanguageChoiceAndLightRead) {
    test::JobFixture fx;
    auto& job = fx.job;
    ReadDisc(job, FixtureDisc("ntsc-vts-menus-2lang"), "French");
    const auto& vts1 = job.DiscModel.Item(2);
    ASSERT_EQ(vts1.Language.Count(), 2u);
    EXPECT_EQ(vts1.Language.Item(1).PGC_Number.Count(), 0u) << "the English unit is not read";
    EXPECT_EQ(vts1.Language.Item(1).Language_Folder, "en");
    ASSERT_EQ(vts1.Language.Item(2).PGC_Number.Count(), 4u) << "the unit behind it still finds its PGCs";
    EXPECT_EQ(CellRefs(Pgc(job, 2, 2, 1)), (std::vector<std::pair<int, int>>{{5, 1}}));
    EXPECT_EQ(job.DiscModel.Item(1).Language.Item(1).PGC_Number.Count(), 0u) << "the VMG unit is English";

    test::JobFixture light;
    ReadDisc(light.job, FixtureDisc("ntsc-vts-menus-2lang"), "ALL", false);
    const auto& lightVts = light.job.DiscModel.Item(2);
    ASSERT_EQ(lightVts.Language.Count(), 2u);
    EXPECT_EQ(lightVts.Language.Item(2).PGC_Number.Item(2).PGC_Type, "135");
    EXPECT_EQ(lightVts.Language.Item(2).PGC_Number.Item(2).PG.Count(), 0u);
    EXPECT_EQ(lightVts.Video.Count(), 0u) << "no cell table in a light read";
    EXPECT_EQ(light.job.LanguageScratch.Count(), 0u) << "emptied at each read, and VTS 2, read last, has no units";
}

}  // namespace
}  // namespace kestrova

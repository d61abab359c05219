// The IFO reader on the fixture discs made by dvdauthor: what the model holds
// beyond the PGC structures, which the dvd_reader_crosscheck test compares
// with libdvdread line by line (units, PGC types, commands, programs, cells,
// cell address rows, titles and chapters).
#include "dvd/ifo_reader.h"

#include <gtest/gtest.h>

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

TEST(IfoReaderOnDiscs, StandardAttributesPalettesAndTheCellsAsPlayed) {
    test::JobFixture fx;
    auto& job = fx.job;
    ReadDisc(job, FixtureDisc("pal-vmg-buttons"));

    ASSERT_EQ(job.DiscModel.Count(), 2u);
    EXPECT_EQ(job.Timing.VideoStandard, "PAL");
    const auto& vmg = job.DiscModel.Item(1);
    EXPECT_EQ(vmg.Video.Item(1).Size, "720 x 576");
    ASSERT_EQ(vmg.Audio.Count(), 1u);
    EXPECT_EQ(vmg.Audio.Item(1).Audio_Type, "Mpeg1") << "MP2 menu audio";

    const auto& vts = job.DiscModel.Item(2);
    EXPECT_EQ(vts.Video.Item(1).VobId.Item(1).CellId.Item(1).CellPause, 255) << "the still of the played cell";
    EXPECT_EQ(Pgc(job, 2, 1, 3).Palette.Count(), 0u) << "a PGC without cells is not read past its commands";
    EXPECT_EQ(vts.OriginalIfo, test::DrivePathOf(job, FixtureDisc("pal-vmg-buttons")) + "\\VTS_01_0.IFO");
    EXPECT_EQ(job.State().MaxTitles, 2);
    // Both domains' menus share nothing, so each palette is pooled once.
    EXPECT_EQ(Pgc(job, 1, 1, 1).Palette_Number, 1);
    EXPECT_GE(job.PalettePool.Count(), 2u);

    test::JobFixture ntsc;
    ReadDisc(ntsc.job, FixtureDisc("ntsc-vts-menus-2lang"));
    ASSERT_EQ(ntsc.job.DiscModel.Count(), 3u);
    EXPECT_EQ(ntsc.job.Timing.VideoStandard, "NTSC");
    EXPECT_EQ(ntsc.job.DiscModel.Item(3).Language.Item(1).PGC_Number.Count(), 0u) << "title set 2 has no menus";
}

TEST(IfoReaderOnDiscs, CellCommandsAndPausesReachThePlayedCellsAndTheJournalNamesTheMenus) {
    test::JobFixture fx;
    auto& job = fx.job;
    job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
    ReadDisc(job, FixtureDisc("pal-menu-cells-jumppad"));

    // PGC 2 plays VOB 3 in three cells with cell commands and still times.
    const auto& cut = Pgc(job, 1, 1, 2);
    EXPECT_EQ(cut.Read, (std::vector<std::int16_t>{0, 0, 0, 0}));
    const auto& played = job.DiscModel.Item(1).Video.Item(1).VobId.Item(3).CellId;
    EXPECT_EQ(played.Item(3).CellCommand, 3);
    ASSERT_EQ(played.Item(2).PGC_Number.Count(), 2u) << "extended to the PGC's position";
    EXPECT_EQ(played.Item(2).PGC_Number.Item(2).CellPause, 3);

    const auto& vts = job.DiscModel.Item(2);
    for (const auto& vob : vts.Vob_Id) EXPECT_EQ(vob.Dummy, 0) << "no cell lacks a time";
    EXPECT_EQ(vts.Split_Cell, 0);
    EXPECT_EQ(job.Files.ReadLines("K:\\Kestrova_Recovery.LOG"),
              (std::vector<std::string>{"#VIDEO_TS.VOB", "#VTS_01_0.VOB"}));
}

TEST(IfoReaderOnDiscs, DiscWithoutMenusGivesPlaceholders) {
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
    EXPECT_EQ(job.TitleMap.Item(1).TITLES.Count(), 2u);
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
    EXPECT_EQ(Pgc(job, 2, 2, 1).PG.Item(1).cell_ref.Item(1).Vob_Id, 6) << "after the English unit's five";
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

// The helpers both script writers share: timecodes of the authored
// standard, command targets, the table of titles the menus reach.
#include "authoring/scenario_helpers.h"

#include <gtest/gtest.h>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

struct TimeCase {
    const char *Standard, *Version, *Kind, *Time, *Expected;
    std::int16_t Conversion, ConvertAudio;
};

// Expectations worked out by hand from the drop-frame arithmetic: at 29.97
// a retime turns the dropped label 00:01:00:00 into 00:01:00:02 but keeps
// 00:01:00:01, a mod check moves both to 02, and a retime that adds the drop
// without taking it off first moves 00:01:02:03 by two frames.
TEST(CorrectTime, EveryKindStandardConversionAndVersion) {
    const TimeCase cases[] = {
        // PAL target: only a conversion changes a time, and never D, DET,
        // SUB or FRAMEPAD.
        {"PAL", "3.0", "SCN", "00:01:02:20", "00:01:02;20", 0, 0},
        {"PAL", "3.0", "D", "00:01:02:20", "00:01:02;20", 1, 0},
        {"PAL", "3.0", "SCN", "00:01:02:20", "00:01:02;17", 1, 0},
        {"PAL", "3.0", "SCN", "00:01:02:03", "00:01:14;13", 1, -1},
        {"PAL", "3.0", "DT", "00:00:00:06", "00:00:00;05", 1, 0},
        {"PAL", "3.0", "SUBD", "00:00:01:30", "00:00:01;24", 1, 0},  // 25.0 reaches the limit
        // NTSC target, data lengths and display stops.
        {"NTSC", "3.0", "DT", "00:01:00:00", "00:01:00:02", 0, 0},
        {"NTSC", "3.0", "SV", "00:00:59:29", "00:00:59:29", 0, 0},
        {"NTSC", "3.0", "SD", "00:01:00:00", "00:01:00:00", 1, 0},
        {"NTSC", "3.0", "DET", "00:01:00:00", "00:01:00:02", 1, 0},
        // NTSC target, the other kinds by version.
        {"NTSC", "3.0", "D", "00:01:00:00", "00:01:00:00", 0, 0},
        {"NTSC", "3.0", "D", "00:01:00;00", "00:01:00:02", 0, 0},
        {"NTSC", "2.7", "D", "00:01:00:00", "00:01:00:02", 0, 0},
        {"NTSC", "3.0", "SCN", "00:01:00:01", "00:01:00:02", 0, 0},
        {"NTSC", "2.7", "SCN", "00:01:00:01", "00:01:00:01", 0, 0},
        {"NTSC", "2.7", "FRAMEPAD", "00:01:00:00", "00:01:00:00", 1, 0},
        {"NTSC", "3.0", "FRAMEPAD", "00:01:00:00", "00:01:00:02", 1, 0},
        {"NTSC", "2.7", "D", "00:01:02:03", "00:01:02:03", 1, 0},
        {"NTSC", "3.0", "D", "00:01:02:03", "00:01:02:05", 1, 0},
        {"NTSC", "3.0", "SCN", "00:01:00:00", "00:00:50:00", 1, -1},
        {"NTSC", "2.7", "SCN", "00:01:02:20", "00:01:02:24", 1, 0},
        {"NTSC", "3.0", "SCN", "00:00:01;25", "00:00:01:29", 1, 0},  // 29.97 reaches the limit
    };
    test::JobFixture f;
    for (const TimeCase& c : cases) {
        f.job.Timing.VideoStandard = c.Standard;
        f.job.Timing.Conversion = c.Conversion;
        f.job.ScenaristVersion = c.Version;
        f.job.State().ConvertAudio = c.ConvertAudio;
        EXPECT_EQ(CorrectTime(f.job, c.Time, c.Kind, 0, 0, 0), c.Expected)
            << c.Standard << c.Conversion << " " << c.Version << " audio " << c.ConvertAudio << " " << c.Kind;
    }
}

// VMG: languages en (PGCs 1-2) and fr (PGCs 1-2). VTS 1: one language
// without a folder, PGC 1 with program 1 = cells (1,1) (1,2) of a "Video"
// VOB and program 2 = cell (2,3) of a still VOB. Title map: VTS 1 has
// titles 1 and 2 (title 2: PGC 1 chapters 1-3, PGC 2 chapters 4-5), VTS 2
// has title 1.
void BuildModel(JobContext& job) {
    auto& vmg = job.DiscModel.Add();
    for (const char* code : {"en", "fr"}) {
        auto& language = vmg.Language.Add();
        language.Language_Folder = code;
        for (int p = 0; p < 2; ++p) language.PGC_Number.Add();
    }
    auto& vts = job.DiscModel.Add();
    vts.Vob_Id.Add().Vob_Type = "Video";
    vts.Vob_Id.Add().Vob_Type = "StillMenu";
    auto& pgc = vts.Language.Add().PGC_Number.Add();
    auto& first = pgc.PG.Add();
    first.cell_ref.Add({1, 1});
    first.cell_ref.Add({1, 2});
    pgc.PG.Add().cell_ref.Add({2, 3});

    auto& set1 = job.TitleMap.Add();
    set1.TITLES.Add();
    auto& title2 = set1.TITLES.Add();
    std::int16_t chapter = 0;
    for (int pgs : {3, 2}) {
        auto& titlePgc = title2.PGC_Number.Add();
        for (int g = 0; g < pgs; ++g) titlePgc.PG.Add().Chapter = ++chapter;
    }
    job.TitleMap.Add().TITLES.Add();
}

TEST(CommandToAction, EachMarkerNamesItsTarget) {
    test::JobFixture f;
    f.job.Options().Default_Enable_Log = 1;
    f.job.RunLog.File("K:\\Kestrova.LOG");
    BuildModel(f.job);
    const auto target = [&f](const char* command, int entry = 2) {
        return CommandToAction(f.job, command, "en", entry, 1, 1);
    };
    EXPECT_EQ(CommandToAction(f.job, "LinkPGCN 3", "en", 3, 1, 1), "VTS_2_en_P_3");
    EXPECT_EQ(target("if ( GPRM0 == 1 ) LinkPGN 2, button=1"), "VTS_1_en_P_1_G_2");
    EXPECT_EQ(target("LinkCN 2, button=0"), "VTS_1_001_t_scn_2_c");
    EXPECT_EQ(target("LinkCN 3, button=0"), "VTS_1_002_003_t_scn_1_c");
    EXPECT_EQ(target("LinkCN 4, button=0"), "ERROR");
    EXPECT_EQ(target("JumpVTS_TT 2"), "VTS_1_T_2");
    EXPECT_EQ(target("JumpTT 3", 1), "VTS_2_T_1");
    EXPECT_EQ(target("JumpTT 4", 1), "");
    EXPECT_EQ(target("JumpVTS_PTT ptt_5 @ vts_ttn_2"), "VTS_1_T_2_P_2_G_2");
    EXPECT_EQ(target("if ( GPRM1 == 3 ) JumpVTS_PTT ptt_2 @ vts_ttn_2"), "VTS_1_T_2_P_1_G_2");
    EXPECT_EQ(target("JumpVTS_PTT ptt_6 @ vts_ttn_2"), "ERROR");
    EXPECT_NE(f.temp.Read("Kestrova.LOG").find("\t\t*****THERE IS A VTS_PTT COMMAND ERROR, SETTING TO NOP*****\r\n"),
              std::string::npos);
    // A VMG PGC by its number over all languages, named by the language's
    // name; with RSM 0 the text carries "pgc=" and nothing is found.
    EXPECT_EQ(target("CallSS RSM=2, pgc_3"), "VID_French_P_1");
    EXPECT_EQ(target("CallSS RSM=1, pgc=3"), "");
    EXPECT_EQ(target("JumpSS pgc_2"), "");
}

// Jumps to chapters 4, 9 and 2 of a title make all programs up to the one
// holding chapter 9 needed; a title nothing jumps to keeps its first.
TEST(GetTitleArray, TheHighestChapterReachedAndItsProgram) {
    test::JobFixture f;
    auto& set = f.job.TitleMap.Add();
    for (std::int16_t t = 1; t <= 2; ++t) {
        auto& title = set.TITLES.Add();
        title.VTS = 1;
        title.VTS_TTN = t;
        title.TitleNumber = t;
        auto& pgc = title.PGC_Number.Add();
        for (std::int16_t g = 1; g <= 10; ++g) pgc.PG.Add().Chapter = g;
    }
    for (std::int16_t chapter : {4, 9, 2}) f.job.TitleCommands.Add({"JumpVTS_PTT", 1, chapter, 1});
    f.job.TitleCommands.Add({"JumpVTS_PTT", 1, 7, 2});  // another title set's title 1

    const TitleArray table = GetTitleArray(f.job);
    ASSERT_EQ(table.Rows.size(), 3U);
    EXPECT_EQ(table.Rows[1], (std::array<int, 6>{1, 1, 1, 9, 1, 9}));
    EXPECT_EQ(table.Rows[2], (std::array<int, 6>{2, 1, 2, 1, 1, 1}));
}

}  // namespace
}  // namespace kestrova

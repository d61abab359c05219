// The commands of a Muxman script: each marker of the decoder's texts gets
// the name of the object the script writes, and with RemoveLink a link to a
// menu that shows nothing any more becomes a harmless one.
#include "muxman/command_translation.h"

#include <gtest/gtest.h>

#include "muxman/mxp_names.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

struct Row {
    const char *Command, *Expected;
    bool Changed = false;
};

// VMG: English PGCs 1-3 (PGC 2 plays only the dummy menu VOB 2), French
// PGCs 1-2. VTS 1, English: PGC 1 = PG 1 (1,1) (1,2), PG 2 (2,1), PG 3
// (1,3), going on to PGC 3 and up to PGC 2; PGC 2 plays only VOB 2, PGC 3
// VOB 1, PGC 4 a root menu (131) and PGC 5 a sub-picture menu (132) in VOB 3,
// which is dummy but no menu. VOB 1 is live. Titles: VTS 1 title 1 (chapters
// 1, 2), title 2 (PGC 1 chapter 1, PGC 2 chapters 2, 3); VTS 2 title 1.
class Translation : public ::testing::Test {
protected:
    Translation() {
        f.job.Options().Default_Enable_Log = 1;
        f.job.RunLog.File("K:\\Kestrova.LOG");
        for (int entry = 1; entry <= 2; ++entry) {
            VTS_Properties& domain = f.job.DiscModel.Add();
            for (const std::int16_t menu : {-1, -1, 0}) domain.Vob_Id.Add().IsMenu = menu;
            domain.Vob_Id.Item(2).Dummy = domain.Vob_Id.Item(3).Dummy = -1;
            domain.Language.Add().Language_Folder = "en";
        }
        f.job.DiscModel.Item(1).Language.Add().Language_Folder = "fr";
        for (std::size_t p = 1; p <= 3; ++p) Pgc(1, p).PG.Add().cell_ref.Add({std::int16_t(p == 2 ? 2 : 1), 1});
        for (std::size_t p = 1; p <= 2; ++p) Pgc(1, p, 2).PG.Add().cell_ref.Add({1, 1});

        PGC_Number_Properties& first = Pgc(2, 1);
        first.PG.Add().cell_ref.Add({1, 1});
        first.PG.Item(1).cell_ref.Add({1, 2});
        first.PG.Add().cell_ref.Add({2, 1});
        first.PG.Add().cell_ref.Add({1, 3});
        first.Next_PGC = 3;
        first.GoUp_PGC = 2;
        first.POST_COMMAND.Add().Command = "if ( GPRM3 == 2 ) LinkPGCN 2";
        first.POST_COMMAND.Add().Command = "if ( GPRM3 == 3 ) LinkPGCN 3";
        Pgc(2, 2).PG.Add().cell_ref.Add({2, 2});
        Pgc(2, 3).PG.Add().cell_ref.Add({1, 4});
        for (const std::size_t p : {4, 5}) {
            Pgc(2, p).PGC_Type = p == 4 ? "131" : "132";
            Pgc(2, p).PG.Add().cell_ref.Add({3, 1});
        }

        VTS_Properties& set = f.job.TitleMap.Add();
        for (const std::vector<int>& title : {std::vector<int>{2}, std::vector<int>{1, 2}}) {
            TITLES_Properties& added = set.TITLES.Add();
            std::int16_t chapter = 0;
            for (const int pgs : title) {
                PGC_Number_Properties& pgc = added.PGC_Number.Add();
                for (int g = 0; g < pgs; ++g) pgc.PG.Add().Chapter = ++chapter;
            }
        }
        f.job.TitleMap.Add().TITLES.Add();
    }

    // PGC p of language l of the domain, added when it is the next one.
    PGC_Number_Properties& Pgc(int entry, std::size_t p, std::size_t l = 1) {
        auto& pgcs = f.job.DiscModel.Item(static_cast<std::size_t>(entry)).Language.Item(l).PGC_Number;
        return p > pgcs.Count() ? pgcs.Add() : pgcs.Item(p);
    }

    CommandPlace Place(int entry, int pgc = 1) {
        return {entry, 1, MuxmanLanguage(f.job, entry, 1), pgc, 1, 2};
    }

    void Expect(const std::vector<Row>& rows, const CommandPlace& place, bool buttonCheck = false) {
        for (const Row& row : rows) {
            run.LinkChanged = !row.Changed;
            EXPECT_EQ(TranslateCommand(f.job, run, row.Command, place, buttonCheck), row.Expected) << row.Command;
            EXPECT_EQ(run.LinkChanged, row.Changed) << row.Command;
        }
    }

    test::JobFixture f;
    MuxmanRun run;
};

TEST_F(Translation, LinkPgcnNamesThePgcOfTheCallersLanguage) {
    f.job.Options().Muxman = 1;
    Expect({{"LinkPGCN 1", "LinkPGCN EnglishTitleMenu"},
            {"if ( GPRM1 == 2 ) LinkPGCN 2", "if ( GPRM1 == 2 ) LinkPGCN VMGEnglishPGC2"},
            {"LinkPGCN ", "LinkPGCN "},
            {"", "Nop"}},
           Place(1));
    Expect({{"{ Mov GPRM1, 2 ; LinkPGCN 3 }", "{ Mov GPRM1, 2 ; LinkPGCN VTS001EnglishPGC3 }"},
            {"SPECIAL_MENU_Root Menu", "LinkPGCN VTS001EnglishPGC4"},
            {"if ( GPRM0 == 1 ) SPECIAL_MENU_Subpicture Menu", "if ( GPRM0 == 1 ) LinkPGCN VTS001EnglishPGC5"}},
           Place(2));
}

// PGC 2 of each domain plays only a dummy menu VOB; PGC 4 plays a dummy VOB
// that is no menu, which stays linked.
TEST_F(Translation, RemovedMenusBecomeTheTopCellLink) {
    f.job.Options().RemoveLink = 1;
    Expect({{"LinkPGCN 2", "LinkTopC, button=1", true}, {"LinkPGCN 3", "LinkPGCN VMGEnglishPGC3"}}, Place(1));
    Expect({{"LinkPGCN 2", "LinkTopC, button=1", true},
            {"LinkPGCN 4", "LinkPGCN VTS001EnglishPGC4"},
            {"LinkPGN 2, button=1", "LinkTopC, button=1", true},
            {"LinkPGN 3, button=1", "LinkPGN VTS001EnglishPGC1PG3, button=1"},
            {"{ Mov GPRM1, 2 ; LinkCN 3, button=1 }", "{ Mov GPRM1, 2  LinkTopC, button=1 }", true},
            {"LinkCN 4, button=0", "LinkCN VTS001EnglishPGC1C004, button=0"}},
           Place(2));
    f.job.Options().RemoveLink = 0;
    Expect({{"LinkPGCN 2", "LinkPGCN VTS001EnglishPGC2"}}, Place(2));
}

TEST_F(Translation, LinkCnCountsTheCellsOfTheCallersPgc) {
    Expect({{"LinkCN 3, button=1", "LinkCN VTS001EnglishPGC1C003, button=1"},
            {"if ( GPRM2 != 0 ) LinkCN 5, button=1", "ERROR"},
            {"LinkCN , button=1", "LinkCN , button=1"}},
           Place(2));
    Expect({{"LinkCN 1, button=1", "ERROR"}}, Place(2, 9));
}

// Titles count over the title map's sets; a chapter is the program that
// starts it.
TEST_F(Translation, TitleAndChapterJumpsNameTheTitleObjects) {
    Expect({{"JumpVTS_TT 2", "JumpVTS_TT VTS1T2"},
            {"if ( GPRM0 == 1 ) JumpTT 3", "if ( GPRM0 == 1 ) JumpTT VTS2T1"},
            {"JumpTT 4", "JumpTT 4"},
            {"JumpVTS_PTT ptt_3 @ vts_ttn_2", "JumpVTS_PTT VTS1T2PGC2PG2"},
            {"if ( GPRM1 == 3 ) JumpVTS_PTT ptt_2 @ vts_ttn_1", "if ( GPRM1 == 3 ) JumpVTS_PTT VTS1T1PGC1PG2"},
            {"JumpVTS_PTT ptt_4 @ vts_ttn_2", "ERROR"},
            {"JumpVTS_PTT ptt_1 @ vts_ttn_3", "ERROR"}},
           Place(2));
    EXPECT_NE(f.temp.Read("Kestrova.LOG").find("\t*****THERE IS A VTS_PTT COMMAND ERROR, SETTING TO NOP*****\r\n"),
              std::string::npos);
}

// VMG PGCs count over English's three, then French's two. RSM 0 writes
// "pgc=", which names nothing; a title set menu stands as decoded.
TEST_F(Translation, SystemSpaceJumpsNameTheVmgPgc) {
    Expect({{"JumpSS pgc_2", "JumpSS VMGEnglishPGC2"},
            {"CallSS RSM=2, pgc_4", "CallSS RSM=2, FrenchTitleMenu"},
            {"JumpSS pgc_5", "JumpSS VMGFrenchPGC2"},
            {"JumpSS pgc_6", "JumpSS pgc_6"},
            {"CallSS RSM=1, pgc=3", "CallSS RSM=1, pgc=3"},
            {"JumpSS vts_0, vts_ttn_1 : RootMenu", "JumpSS vts_0, vts_ttn_1 : RootMenu"}},
           Place(2));
}

// The button sits on cell (1,2), the last of PG 1: the next cell and PG
// and the go-up PGC play the dummy menu, the previous cell and the next PGC
// do not, and PG 1 has none before it. The tail link's target is the one
// the post commands choose by GPRM3.
TEST_F(Translation, ButtonCheckFindsRelativeLinksToRemovedMenus) {
    f.job.Options().RemoveLink = 1;
    Expect({{"LinkNextC, button=1", "LinkTopC, button=1", true},
            {"LinkPrevC, button=1", "LinkPrevC, button=1"},
            {"LinkNextPG, button=1", "LinkTopC, button=1", true},
            {"if ( GPRM0 == 1 ) LinkPrevPG, button=1", "if ( GPRM0 == 1 ) LinkPrevPG, button=1"},
            {"LinkNextPGC, button=1", "LinkNextPGC, button=1"},
            {"LinkGoUpPGC, button=1", "LinkTopC, button=1", true},
            {"{ Mov GPRM1, 0 ; LinkGoupPGC, button=1 }", "LinkTopC, button=1", true},
            {"{ Mov GPRM3, 2 ; LinkTailPGC, button=1 }", "LinkTopC, button=1", true},
            {"{ Mov GPRM3, 3 ; LinkTailPGC, button=1 }", "{ Mov GPRM3, 3 ; LinkTailPGC, button=1 }"},
            {"LinkPGN 2, button=1", "LinkTopC, button=1", true},
            {"LinkPGCN 3", "LinkPGCN 3"},
            {"", "Nop"}},
           Place(2), true);
    f.job.Options().RemoveLink = 0;
    Expect({{"LinkNextC, button=1", "LinkNextC, button=1"}}, Place(2), true);
}

TEST(CheckGoto, EveryGotoNamesTheLabelOfItsList) {
    EXPECT_EQ(CheckGoto("GoTo 4", "Pre"), "GoTo Pre4");
    EXPECT_EQ(CheckGoto("if ( GPRM0 == 1 ) GoTo 7", "Cell"), "if ( GPRM0 == 1 ) GoTo Cell7");
    EXPECT_EQ(CheckGoto("LinkPGCN 3", "Post"), "LinkPGCN 3");
}

}  // namespace
}  // namespace kestrova

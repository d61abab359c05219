// The scenario object of a Scenarist script, written from a small model: a
// Video Manager outside the batch and one title set inside it.
#include "scenarist/scenario_object.h"

#include <gtest/gtest.h>

#include "scenarist/script_text.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using test::At;

// VMG (outside the batch): PGC 1 with a pre command and a program. VTS 1:
// PGC 1 plays cells (1,1) (1,2, a dummy cell) then (1,1) again, with two
// pre commands, a resume link and a button; PGC 2 is the root menu; title 1
// is reached up to chapter 2.
void BuildModel(JobContext& job, ScenaristRun& run) {
    job.State().ResumePGC = -1;
    job.State().StreamReduction = 1;

    auto& vmg = job.DiscModel.Add();
    vmg.Video.Add();
    auto& vmgLanguage = vmg.Language.Add();
    vmgLanguage.Language_Folder = "en";
    vmgLanguage.PGC_Quantity = 1;
    auto& vmgPgc = vmgLanguage.PGC_Number.Add();
    vmgPgc.PRE_COMMANDS.Add({"LinkPGCN 1", ""});
    vmgPgc.PG.Add().cell_ref.Add({1, 1});

    auto& vts = job.DiscModel.Add();
    auto& played = vts.Video.Add().VobId.Add();
    played.CellId.Add();
    played.CellId.Add().DummyCell = -1;
    auto& vob = vts.Vob_Id.Add();
    vob.Vob_Type = "Video";
    auto& details = vob.SUB_STREAM.Add().CELL_DETAILS;
    details.Add().bmp.Add().HIGHLIGHT_STREAM.Add().BUTTON_DETAILS.Add().Button_Action = "LinkCN 9, button=1";
    details.Add();

    auto& language = vts.Language.Add();
    language.PGC_Quantity = 2;
    auto& pgc = language.PGC_Number.Add();
    pgc.GoUp_PGC = 65535;
    pgc.AudioStream1 = 1;
    pgc.Stream1_Wide_Uses_ID = 2;
    pgc.PRE_COMMANDS.Add({"SPECIAL_MENU_Root Menu", ""});
    pgc.PRE_COMMANDS.Add({"LinkCN 9, button=0", ""});
    for (int k = 0; k < 2; ++k) pgc.CELL_COMMAND.Add({"Nop", ""});
    auto& program = pgc.PG.Add();
    program.cell_ref.Add({1, 1});
    program.cell_ref.Add({1, 2});
    pgc.PG.Add().cell_ref.Add({1, 1});
    // One element per cell played, element 0 unused: the second cell's
    // command names no entry of the PGC's cell command list.
    pgc.NewCellPause = {0, 5, 0, 255};
    pgc.NewCellCommand = {0, 1, 3, 2};
    pgc.Read = {0, 0, 0, 0};
    language.PGC_Number.Add().PGC_Type = "131";

    auto& title = job.TitleMap.Add().TITLES.Add();
    title.VTS = 1;
    title.VTS_TTN = 1;
    title.TitleNumber = 1;
    auto& titlePgc = title.PGC_Number.Add();
    for (std::int16_t g = 1; g <= 3; ++g) titlePgc.PG.Add().Chapter = g;
    job.TitleCommands.Add({"JumpVTS_PTT ptt_2 @ vts_ttn_1", 1, 2, 1});
    run.Titles = GetTitleArray(job);
    run.BatchFirstVTS = 2;
    run.BatchLastVTS = 2;
}

TEST(GenerateLayout, TheNavigationOfABatchAsObjectsAndActions) {
    test::JobFixture f;
    f.job.Options().Default_Enable_Log = 1;
    f.job.RunLog.File("K:\\Kestrova.LOG");
    ScenaristRun run;
    BuildModel(f.job, run);
    ScriptFile file("K:\\S.SCP");
    GenerateLayout(f.job, run, file);
    const std::string& text = file.Text();
    test::ExpectWellFormed(text);

    const std::string blocks[] = {
        // The VMG outside the batch: a PGC without commands or programs,
        // then a dummy PGC, whose track its menu track list names.
        At(6, {"Left Point=120", "Top Point=160", "Pre Command=List", "{", "}",
               "Next PGC=", "Prev PGC=", "Goup PGC=", "Menu ID=Title Menu"}),
        At(6, {"Name=VID_en_P_2", "Is Visible=Yes", "Left Point=240"}),
        At(3, {"Item=VID_Dummy_Menu_t"}) + At(2, {"}"}),
        At(1, {"VTS List=List", "{"}) + At(2, {"Item=VTS", "{"}) +
            At(3, {"Name=VTS_1", "Is Visible=Yes", "Left Point=360"}),
        // The menu mark reaches the root menu's PGC; a cell that does not
        // exist makes a pre command a Nop but stays on a button; GoUp 65535
        // is the resume PGC.
        At(9, {"Name=VTS_1_en_P_1_Pr_1", "Is Visible=Yes", "Left Point=0", "Top Point=0", "Command=LinkPGCN 2",
               "To Action=VTS_1_en_P_2"}),
        At(9, {"Command=Nop", "To Action="}) + At(8, {"}"}) + At(7, {"}", "Post Command=List"}),
        At(15, {"Command=LinkCN 9, button=1", "To Action=ERROR"}),
        At(7, {"Goup PGC=_Resume_", "Menu ID=No Menu"}),
        At(2, {"Name=_Resume_", "Is Visible=No"}),
        At(9, {"Decoding Stream Number for 4:3 #0=0", "Decoding Stream Number for Wide #0=1"}),
        // Cell (1,1) twice takes the first and then the second use's values;
        // the dummy cell between them shows the dummy scene.
        At(11, {"Cell Still Time=5", "Cell Command=1"}),
        At(11, {"Left Point=480", "Top Point=320", "Linked Scene=VTS1_Dummy_Menu_t_scn", "Menu List=List", "{", "}",
                "Seamless Flag=1"}),
        At(11, {"Cell Still Time=0", "Cell Command=0"}),
        At(11, {"Left Point=600", "Top Point=320", "Linked Scene=VTS_1_001_t_scn_1", "Menu List=List", "{"}) +
            At(12, {"Item=Menu", "{"}) +
            At(13, {"Name=VTS_1_001_t_scn_1_1_m", "Is Visible=Yes", "Left Point=600", "Top Point=400"}),
        At(11, {"Seamless Flag=0", "Access Restriction Flag=Permitted", "Cell Type=Not specified",
                "Cell Still Time=255", "Cell Command=2"}) +
            At(10, {"}"}),
        At(4, {"Item=VTS_1_001_t", "Item=VTS1_Dummy_Menu_t"}) + At(3, {"}"}),
        // Title 1 as dummy programs up to chapter 2.
        At(3, {"{"}) + At(4, {"Item=Dummy_VTS_1_T_1_P_1_G_1", "Item=Dummy_VTS_1_T_1_P_1_G_2"}) + At(3, {"}"}),
        At(5, {"Part of Title=Reference List", "{"}) + At(6, {"Item=VTS_1_T_1_P_1_G_1", "Item=VTS_1_T_1_P_1_G_2"}) +
            At(5, {"}"}) + At(4, {"}"}) + At(3, {"}"}) + At(2, {"}"}) + At(1, {"}", "Parental List=List", "{", "}"}) +
            At(0, {"}"}),
    };
    for (const std::string& block : blocks) EXPECT_NE(text.find(block), std::string::npos) << block;
    EXPECT_EQ(text.find("Name=VM_en_P_1_Pr_1"), std::string::npos);
    EXPECT_TRUE(run.DummySceneLinked.at(2));

    const std::string log = f.temp.Read("Kestrova.LOG");
    for (const char* line :
         {"\t\tPreCommand Action=SPECIAL_MENU_Root Menu\r\n", "\t\tPreCommand ActionToAction = VTS_1_en_P_2\r\n",
          "\t\tPreCommand Action is an error\r\n", "\t\tButtonCommand ActionToAction=ERROR\r\n",
          "\tcell command error\r\n"}) {
        EXPECT_NE(log.find(line), std::string::npos) << line;
    }

    // The cell data were consumed; a second script of the run gets the same.
    ScriptFile again("K:\\S2.SCP");
    GenerateLayout(f.job, run, again);
    EXPECT_EQ(again.Text(), text);
}

// A disc of the Video Manager alone opens no title set list but still
// closes it: the one brace without an opener.
TEST(GenerateLayout, AVideoManagerAloneStillClosesTheTitleSetList) {
    test::JobFixture f;
    ScenaristRun run;
    f.job.DiscModel.Add().Language.Add();
    ScriptFile file("K:\\S.SCP");
    GenerateLayout(f.job, run, file);
    EXPECT_EQ(file.Text().find("VTS List"), std::string::npos);
    EXPECT_NE(file.Text().find(At(2, {"}"}) + At(1, {"}", "}", "Parental List=List"})), std::string::npos);
}

}  // namespace
}  // namespace kestrova

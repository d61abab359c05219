// The Muxman scripts of a hand-built NTSC disc holding what the fixture
// discs lack: a dummy VOB and a PGC that shows only it, a menu whose
// buttons link there (removed, their neighbours rewired across the ends),
// contrasts raised and equalised, a subpicture outliving its cell, a
// language whose name holds ";", and paths with blanks. The FULL script is
// read line by line; the small scripts run against a stand-in engine.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "authoring/script_lint.h"
#include "muxman/layout.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

// Lines at a depth, each closed by CR LF, as a script holds them.
std::string At(int depth, std::initializer_list<std::string> lines) {
    std::string text;
    for (const std::string& line : lines) text += std::string(static_cast<std::size_t>(depth), '\t') + line + "\r\n";
    return text;
}

void ExpectHas(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << part << "\nnot in:\n" << text;
}

// The script reads back and lints without an error: every name it links
// is defined in it, every file it plays is there.
void ExpectLintsClean(const platform::FileSystem& files, const std::string& path) {
    ScriptDiagnostics diagnostics;
    LintMuxmanFile(files, path, diagnostics);
    for (const ScriptDiagnostic& diagnostic : diagnostics.List()) {
        EXPECT_NE(diagnostic.Level, Severity::Error) << diagnostic.Format();
    }
}

Cell_Ref_Properties Ref(int vob, int cell) {
    return {static_cast<std::int16_t>(vob), static_cast<std::int16_t>(cell)};
}

class HandDisc : public test::JobFixture {
public:
    HandDisc() {
        auto& o = job.Options();
        o.Muxman = 1;
        o.RemoveLink = 1;
        o.RemoveButton = 1;
        o.HighContrast = 2;
        o.Equalize = 1;
        o.m = 3;
        o.N = 5;
        o.Default_Enable_Log = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.JobRoot = "K:\\Job";
        job.Timing = {"NTSC", 0, 30};
        Vmg();
        TitleSet();
        TITLES_Properties& title = job.TitleMap.Add().TITLES.Add();
        title = {1, 1, 1, 1, {}};
        title.PGC_Number.Add().PG.Add().Chapter = 1;
    }

    std::string Read(const std::string& path) { return files.ReadText(path); }
    std::string Log() { return files.FileExists("K:\\Kestrova.LOG") ? Read("K:\\Kestrova.LOG") : std::string(); }

    // A "Video" VOB with one cell whose subpicture runs past the cell's end.
    void Vmg() {
        VTS_Properties& vmg = Domain("K:\\Job\\VMG");
        vmg.Video.Item(1).VobId.Add().CellId.Add();
        VOB_ID_Properties& vob = vmg.Vob_Id.Add();
        vob.Vob_Type = "Video";
        vob.Frames = 300;
        vob.TotalSubs = 1;
        CELL_ID_Properties& cell = vob.CELL_ID.Add();
        cell.Track_Scene_StartTime = "00:00:00;01";
        cell.ActualSceneEndTimeWithOutDrop = "00:00:05:00";
        cell.UOPStringForMuxman = "00000001";
        cell.Cell_Sub_Present = -1;
        BMP_Properties& bitmap = vob.SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add();
        bitmap.Cell_FileName = "VID_001_001_1";
        bitmap.FilePath = "K:\\Job\\VMG\\SUBTITLES\\1.bmp";
        bitmap.Track_Start_Time_To_Video = "00:00:01:00";
        bitmap.Track_Duration = "00:00:10:00";
        bitmap.EnableStop = -1;
        bitmap.Display_Mode = "Normal";
        PGC_Number_Properties& pgc = Language(vmg, "en", 1).PGC_Number.Add();
        pgc.GoUp_PGC = 65535;
        pgc.UOPString = "00000002";
        pgc.PG.Add().cell_ref.Add(Ref(1, 1));
        pgc.Read = pgc.NewCellPause = pgc.NewCellCommand = {0, 0};
        temp.Write("Job/VMG/NEW_M2V/001.m2v", std::string(5000, 'v'));
        temp.Write("Job/VMG/NEW_M2V/Dummy.m2v", "");
        temp.Write("Job/VMG/SUBTITLES/1.bmp", "");
    }

    // A still menu whose buttons 1 and 4 link to PGC 2, which shows only
    // the dummy VOB 2.
    void TitleSet() {
        VTS_Properties& vts = Domain("K:\\Job\\VTS 1");
        vts.Video.Item(1).VobId.Add().CellId.Add();
        vts.Video.Item(1).VobId.Add().CellId.Add();
        VOB_ID_Properties& menu = vts.Vob_Id.Add();
        menu.Vob_Type = "StillMenu";
        menu.SubStreamUsed = 1;
        menu.CELL_ID.Add().Cell_Sub_Present = -1;
        BMP_Properties& bitmap = menu.SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add();
        bitmap.Cell_FileName = "VTS_1_001_001_1";
        bitmap.FilePath = "K:\\Job\\VTS 1\\SUBTITLES\\1.bmp";
        bitmap.Language = "bn";
        bitmap.Display_Mode = "Wide";
        HIGHLIGHT_STREAM_Properties& h = bitmap.HIGHLIGHT_STREAM.Add();
        h.Numerical = 4;
        h.Forced_Selected_Button = 1;
        h.Forced_Activated_Button = 3;
        COLOR_GROUP_Properties& group = h.COLOR_GROUP.Add();
        group.Selection_Color_E1 = 1;
        group.Selection_Color_P = 2;
        group.Selection_Color_Bg = 3;
        group.Selection_Contrast_E2 = 8;
        group.Selection_Contrast_E1 = 4;
        group.Selection_Contrast_P = 12;
        group.Selection_Contrast_Bg = 3;
        group.Action_Contrast_E2 = group.Action_Contrast_E1 = group.Action_Contrast_P = 15;
        for (int b = 1; b <= 4; ++b) {
            BUTTON_DETAILS_Properties& button = h.BUTTON_DETAILS.Add();
            button.Button_Action = b == 1 || b == 4 ? "LinkPGCN 2" : "LinkPGCN 1";
            button.Up = button.Left = static_cast<std::int16_t>(b == 1 ? 4 : b - 1);
            button.Down = button.Right = static_cast<std::int16_t>(b == 4 ? 1 : b + 1);
        }
        h.BUTTON_DETAILS.Item(2).HIGH_LIGHT_AREA.Add({10, 100, 20, 40});

        VOB_ID_Properties& dummy = vts.Vob_Id.Add();
        dummy.Dummy = -1;
        dummy.IsMenu = -1;
        dummy.CELL_ID.Add();
        dummy.CELL_ID.Add();

        Language_Properties& bengali = Language(vts, "bn", 2);
        PGC_Number_Properties& root = bengali.PGC_Number.Add();
        root.PGC_Type = "131";
        root.PG.Add().cell_ref.Add(Ref(1, 1));
        root.CELL_COMMAND.Add().Command = "Nop";
        root.Read = {0, 0};
        root.NewCellPause = {0, 5};
        root.NewCellCommand = {0, 1};
        PGC_Number_Properties& empty = bengali.PGC_Number.Add();
        empty.PG.Add().cell_ref.Add(Ref(2, 1));
        empty.PG.Item(1).cell_ref.Add(Ref(2, 2));
        empty.Read = empty.NewCellPause = empty.NewCellCommand = {0, 0, 0};
        temp.Write("Job/VTS 1/NEW_M2V/001_001.m2v", std::string(2000, 's'));
        temp.Write("Job/VTS 1/NEW_M2V/Dummy.m2v", "");
        temp.Write("Job/VTS 1/SUBTITLES/1.bmp", "");
    }

    VTS_Properties& Domain(const std::string& output) {
        VTS_Properties& domain = job.DiscModel.Add();
        domain.Root = "K:\\Job";
        domain.OutputDir = output;
        domain.Authored = -1;
        Video_Properties& video = domain.Video.Add();
        video.Aspect_Ratio = "4 : 3";
        video.Display_Mode = "4 : 3";
        return domain;
    }

    static Language_Properties& Language(VTS_Properties& domain, const char* code, int pgcs) {
        Language_Properties& language = domain.Language.Add();
        language.Language_Folder = code;
        language.PGC_Quantity = static_cast<std::int16_t>(pgcs);
        return language;
    }

    // The engine stand-in: it leaves a one-sector VIDEO_TS.IFO in the "-d"
    // folder, except in the folder it is told to fail in.
    void StandInEngine(const std::string& failIn) {
        const std::string script =
            "fail=$1; shift; while [ $# -gt 0 ]; do [ \"$1\" = -d ] && dest=$2; shift; done; "
            "[ \"$dest\" = \"$fail\" ] && exit 0; "
            "out=\"" + temp.Host("") + "/$(printf '%s' \"$dest\" | cut -c4- | tr '\\\\' '/')\"; "
            "mkdir -p \"$out\" && head -c 2048 /dev/zero > \"$out/VIDEO_TS.IFO\"";
        launcher.AddOverride("Muxman.exe", {{"/bin/sh", "-c", script, "muxman", failIn}, ""});
    }
};

TEST(MuxmanScripts, FullScriptOfAHandBuiltDisc) {
    HandDisc f;
    f.job.Options().SingleMXP = 1;
    f.job.Options().ScenaidMode = 1;
    f.temp.Write("Job/Batch_1/0/VIDEO_TS/VIDEO_TS.IFO", "old");
    ASSERT_FALSE(GenerateMUXMANLayout(f.job));

    const std::string text = f.Read("K:\\Job\\Muxman.MXP");
    ExpectLintsClean(f.files, "K:\\Job\\Muxman.MXP");
    EXPECT_FALSE(f.files.FileExists("K:\\Job\\Batch_1\\0\\VIDEO_TS\\VIDEO_TS.IFO"));
    ExpectHas(text, At(1, {"Destination Folder=K:\\Job\\Batch_1\\0\\VIDEO_TS"}));
    // Only an estimate, no run: the VMG's 5000 bytes of video and a
    // subpicture in 2012-byte payloads plus its 300 frames in GOPs of 15;
    // the still menu's 2000 bytes make no whole payload, its 15 frames one GOP.
    EXPECT_EQ(f.Read("K:\\Job\\Scenaid.dat"), "VMG;49152\r\nVTS001;2048\r\n");
    EXPECT_TRUE(f.runner.History().empty());

    // The VMG: its first scene at 0, its subpicture cut at its cell's end.
    ExpectHas(text, At(4, {"Name=VMG_001_Scene_001", "Scene Time=00:00:00:00", "Uop=00000001"}));
    ExpectHas(text, At(4, {"Start=00:00:01:00", "Forced Start=", "Time Code=NTSC non-drop", "Duration=00:00:04:00"}));
    ExpectHas(text, At(4, {"Uop=00000002", "Next PGC=", "GoUp PGC=resume"}));

    // The language's name is cut at its ";", so no name holds one.
    ExpectHas(text, At(3, {"Name=VTS001Bengali", "Language=bn"}));
    for (std::size_t at = text.find("Name="); at != std::string::npos; at = text.find("Name=", at + 1)) {
        EXPECT_EQ(text.substr(at, text.find('\r', at) - at).find(';'), std::string::npos);
    }
    ExpectHas(text, At(4, {"Name=VTS001BengaliPGC1", "Menu ID=Root Menu"}));
    ExpectHas(text, At(7, {"Linked Scene=VTS1_001_Scene_001"}) + At(7, {"Item=Menu", "{"}) +
                        At(8, {"Nop", "LinkPGCN VTS001BengaliPGC1", "LinkPGCN VTS001BengaliPGC1", "Nop"}) +
                        At(7, {"}", "Command=Cell1", "Cell Still Time=5"}));

    // The dummy VOB: a segment of the dummy still, and the PGC showing it
    // links the domain's dummy menu scene with no still time.
    ExpectHas(text, At(2, {"Name=VTS1_VOBID2", "Display Mode=4:3", "Item=Video Stream", "{"}) +
                        At(3, {"Item=Video Play", "{"}) + At(4, {"File=K:\\Job\\VTS 1\\NEW_M2V\\Dummy.m2v"}));
    ExpectHas(text, At(4, {"Name=VTS1_002_Scene_002", "Scene Time=00:00:00:15"}));
    ExpectHas(text, At(7, {"Name=VTS001BengaliPGC2C002", "Linked Scene=DummyVTS1Scene", "Command=",
                           "Cell Still Time=0"}));

    // Buttons 1 and 4 are gone; 2 and 3 point past them, round either end.
    ExpectHas(text, At(4, {"Numeric Selected Buttons=2", "Forced Selected Button=Nonexistent",
                           "Forced Activated Button=Button3", "Item=Button Color 1", "{"}) +
                        At(5, {"Selection Color=1 2 3 4", "Selection Contr=10 10 10 3", "Action Color=1 1 1 1",
                               "Action Contr=15 15 15 0"}));
    ExpectHas(text, At(5, {"Name=Button2", "Color Index=0", "Auto Action Mode=No", "Area 1=10,20,100,40", "Area 2=",
                           "Area 3=", "Left Button=Button3", "Right Button=Button3", "Up Button=Button3",
                           "Down Button=Button3"}));
    ExpectHas(text, At(5, {"Left Button=Button2", "Right Button=Button2", "Up Button=Button2", "Down Button=Button2"}));
    EXPECT_EQ(text.find("Name=Button1"), std::string::npos);
    EXPECT_EQ(text.find("Name=Button4"), std::string::npos);

    // The title the first PGC reaches, as a dummy still.
    ExpectHas(text, At(2, {"Name=Dummy_VTS1T1PGC1PG1", "Display Mode=4:3"}));
    ExpectHas(text, At(7, {"Name=VTS1T1PGC1PG1C", "Linked Scene=VTS1T1PGC1PG1_scn"}));

    // Stripped UOPs: every mask reads none, and scenes carry none.
    f.job.Options().Strip_UOP = 1;
    ASSERT_FALSE(GenerateMUXMANLayout(f.job));
    const std::string stripped = f.Read("K:\\Job\\Muxman.MXP");
    EXPECT_EQ(stripped.find("Uop=00000001"), std::string::npos);
    ExpectHas(stripped, At(4, {"Uop=00000000", "Next PGC=", "GoUp PGC=resume"}));
    // A second pass reads each cell's still time and command afresh.
    ExpectHas(stripped, At(7, {"Command=Cell1", "Cell Still Time=5"}));
}

TEST(MuxmanScripts, SmallScriptsRunOneByOneUntilARunFails) {
    HandDisc f;
    const std::string smallScript = "K:\\Job\\VTS 1\\MUXMAN\\Muxman001.MXP";
    f.StandInEngine("K:\\Job\\VTS 1\\MUXMAN\\001");
    EXPECT_TRUE(GenerateMUXMANLayout(f.job));
    ASSERT_EQ(f.runner.History().size(), 2U);
    EXPECT_EQ(f.runner.History()[1].CommandLine,
              "K:\\Program\\Muxman.exe \"K:\\Job\\VTS 1\\MUXMAN\\Muxman001.MXP\" -d \"K:\\Job\\VTS 1\\MUXMAN\\001\" -l "
              "\"K:\\Job\\VTS 1\\MUXMAN\\001\\Muxman.log\"  -run");
    EXPECT_FALSE(f.files.FileExists("K:\\Job\\VTS 1\\MUXMAN\\Muxman002.MXP"));
    EXPECT_EQ(f.Log().find("NewUpdateVOBs"), std::string::npos);

    // The title set's still menu authored as a title, inside a VMG with no
    // programs whose dummy PGC shows the script's own scenes.
    const std::string text = f.Read(smallScript);
    ExpectLintsClean(f.files, smallScript);
    EXPECT_EQ(text.find("Destination Folder"), std::string::npos);
    ExpectHas(text, At(3, {"Stream Number=1", "Language=en", "Language Extension=0", "Display Mode=Wide"}));
    ExpectHas(text, At(2, {"Item=Language", "{"}) + At(3, {"Name=VMGEnglish", "Language=en", "Item=PGC", "{"}) +
                        At(4, {"Name=EnglishTitleMenu", "Menu ID=Title Entry", "Uop=00000002", "Next PGC=",
                               "GoUp PGC="}));
    ExpectHas(text, At(4, {"Item=Program List", "{", "}"}) + At(3, {"}", "Item=PGC", "{"}) +
                        At(4, {"Name=DummyPGC"}));
    ExpectHas(text, At(7, {"Name=DummyCell0", "Linked Scene=VTS1_001_Scene_001"}));
    ExpectHas(text, At(2, {"Item=Title", "{"}) + At(3, {"Name=VTS001Bengali", "Item=PGC", "{"}) +
                        At(4, {"Name=VTS001BengaliPGC1", "Menu ID=Title Entry"}));
    ExpectHas(text, At(3, {"Item=Part Of Title List", "{"}) + At(4, {"Item=DummyProgram"}));

    // Every run succeeding, the merge follows; this version has none, so
    // the authoring fails. A kept script is run as it stands.
    f.StandInEngine("");
    f.job.State().MuxScripts = -1;
    f.temp.Write("Job/VTS 1/MUXMAN/Muxman001.MXP", "kept");
    EXPECT_TRUE(GenerateMUXMANLayout(f.job));
    EXPECT_EQ(f.Read(smallScript), "kept");
    ExpectHas(f.Log(), "Starting Muxman.exe, script creation disabled");
    ExpectHas(f.Log(), "NewUpdateVOBs is not yet available");
    const std::string dummy = f.Read("K:\\Job\\VTS 1\\MUXMAN\\Muxman002.MXP");
    ExpectLintsClean(f.files, "K:\\Job\\VTS 1\\MUXMAN\\Muxman002.MXP");
    ExpectHas(dummy, At(4, {"Name=VTS001BengaliPGC2", "Menu ID=No Menu"}));
    // Its units' only programs are their dummy PGCs'.
    std::size_t programs = 0;
    for (std::size_t at = dummy.find("\tItem=Program\r\n"); at != std::string::npos;
         at = dummy.find("\tItem=Program\r\n", at + 1)) {
        ++programs;
    }
    EXPECT_EQ(programs, 2U);
    ExpectHas(dummy, At(7, {"Name=DummyCell1", "Linked Scene=VTS1_002_Scene_002"}));
}

}  // namespace
}  // namespace kestrova

// VOB typing: vobtest.exe's still cells, the verdicts, the frame-count
// fallback, the short-cell and dummy-cell tests, and VobAnalysis around them.
#include "assets/vob_typing.h"

#include <gtest/gtest.h>

#include "asset_stage_fixture.h"
#include "assets/asset_names.h"

namespace kestrova {
namespace {

const std::string kScan = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\VOBAnalysis.txt";

std::vector<std::string> CellTypes(const VOB_ID_Properties& vob) {
    std::vector<std::string> types;
    for (const auto& cell : vob.CELL_ID) types.push_back(cell.VobType);
    return types;
}

class VobTyping : public test::AssetStageFixture {
protected:
    // A VOB id of `cells` one-frame cells, with audio or not, its first cell played for `bcd`.
    VOB_ID_Properties& AddStill(int cells, std::int32_t bcd, bool audio) {
        auto& vob = AddVob(std::vector<std::int32_t>(static_cast<std::size_t>(cells), 1));
        vob.Audio_Present = audio ? -1 : 0;
        Played(Domain().Vob_Id.Count(), 1).BCD = bcd;
        return vob;
    }
    std::int16_t Last() { return static_cast<std::int16_t>(Domain().Vob_Id.Count()); }
    void Scan(const std::string& text) {
        StandIn("vobtest.exe",
                "printf '" + text + "' > '" + temp.Host("Job/D_VTS_01_0/FRAMESERVING/VOBAnalysis.txt") + "'");
    }
};

TEST_F(VobTyping, TheScanFileIsReadAsStillCellTokensUpToEndScan) {
    const struct { std::string Text; bool Completed; std::vector<std::pair<int, int>> Stills; } rows[] = {
        {"v1/c1\nv12/c3 v2/c1End Scan\n", true, {{1, 1}, {12, 3}, {2, 1}}},
        {"End Scan\n", true, {}},
        {"v1/c1\n", false, {{1, 1}}},
        {"", false, {}},
    };
    for (const auto& row : rows) {
        Put("Job/D_VTS_01_0/FRAMESERVING/VOBAnalysis.txt", row.Text);
        const auto scan = ReadVobAnalysis(job, kScan);
        EXPECT_EQ(scan.Completed, row.Completed) << row.Text;
        EXPECT_EQ(scan.Stills, row.Stills) << row.Text;
    }
    files.DeleteFile(kScan);
    EXPECT_FALSE(ReadVobAnalysis(job, kScan).Completed);
    Put("Job/D_VTS_01_0/FRAMESERVING/VOBAnalysis.txt", "v1-c1End Scan");
    EXPECT_THROW(ReadVobAnalysis(job, kScan), Error);
}

TEST_F(VobTyping, VobtestVerdictsTypeEachVobAndTheFrameServerRunsOnRealOnes) {
    AddStill(1, 100, false);
    auto& combo = AddStill(3, 100, true);
    Played(2, 2).Frames = combo.CELL_ID.Item(2).Frames = 50;
    AddVob({100, 100});
    auto& dummy = AddVob({0});
    dummy.Dummy = -1;
    dummy.Vob_Type = "StillMenu";
    for (const char* name : {"001.M2V", "003.M2V", "004.M2V"}) Put(std::string("Job/D_VTS_01_0/DEMUXED/") + name);
    Scan("v1/c1v2/c1\\nv2/c3v4/c1End Scan\\n");
    DetermineVobType(job);

    const auto index = [](const std::string& tool, const std::string& vob) {
        return "K:\\Program\\new.dvd2avi\\" + tool +
               " -IA=1 -FO=0 -Cs=2 -YR=1 -TN=1 -IF=[K:\\Job\\D_VTS_01_0\\DEMUXED\\" + vob +
               ".M2V] -DRC=0 -OF=[K:\\Job\\D_VTS_01_0\\FRAMESERVING\\" + vob + "] -exit";
    };
    EXPECT_EQ(Commands(), (std::vector<std::string>{"K:\\Program\\vobtest.exe \"K:\\Job\\D_VTS_01_0\\SUBTITLES\\"
                                                    "VTS_01_0.VOB\" \"" + kScan + "\"",
                                                    index("dvd2avirb.exe", "001"), index("dvd2avidg.exe", "001"),
                                                    index("dvd2avirb.exe", "003"), index("dvd2avidg.exe", "003")}));
    EXPECT_EQ(Styles().front(), 2);
    EXPECT_EQ(Domain().Vob_Id.Item(1).Vob_Type, "StillMenu");
    EXPECT_EQ(combo.Vob_Type, "Combo");
    EXPECT_EQ(CellTypes(combo), (std::vector<std::string>{"SlideShow", "Video", "SlideShow"}));
    EXPECT_EQ(Domain().Vob_Id.Item(3).Vob_Type, "Video");
    EXPECT_EQ(CellTypes(Domain().Vob_Id.Item(3)), (std::vector<std::string>{"Video", "Video"}));
    EXPECT_EQ(dummy.Vob_Type, "StillMenu") << "a dummy keeps its type";
}

TEST_F(VobTyping, AStillCellTheVobLacksEndsTheTyping) {
    AddVob({1});
    AddVob({1, 1});
    Scan("v1/c5End Scan");
    DetermineVobType(job);
    EXPECT_EQ(Domain().Vob_Id.Item(1).Vob_Type, "");
    EXPECT_EQ(Domain().Vob_Id.Item(2).Vob_Type, "") << "the procedure ended at the unknown cell";
}

TEST_F(VobTyping, WithoutAScanFrameCountsDecide) {
    // One VOB id a row: cells, frames in its log ("" for no log), first cell's BCD, audio, the type it gets.
    const struct { int Cells; std::string Log; std::int32_t Bcd; bool Audio; std::string Type; } rows[] = {
        {1, "D2V=1", 213, false, "StillMenu"}, {1, "D2V=1", 213, true, "SlideShow"},
        {1, "D2V=1", 214, false, "SlideShow"}, {1, "D2V=50", 100, false, "Video"},
        {1, "", 100, false, "Video"},  // no log: F is 0
        {3, "D2V=3", 100, false, "SlideShow"}, {3, "D2V=4", 100, false, "Video"},
        {2, "D2V=0", 100, false, "Video"},  // 0 reads as 1 frame
    };
    for (const auto& row : rows) {
        AddStill(row.Cells, row.Bcd, row.Audio);
        if (!row.Log.empty()) Put("Job/D_VTS_01_0/FRAMESERVING/" + CreateVOBName(Last()) + ".log", row.Log + "\r\n");
    }
    DetermineVobType(job);
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(Domain().Vob_Id.Item(i + 1).Vob_Type, rows[i].Type) << "row " << i;
    }
}

TEST_F(VobTyping, StillVerdictsByCellsAudioAndTheStillMenuLength) {
    const struct {
        int Cells;
        std::int32_t Bcd;
        bool Audio;
        std::string Type;
    } rows[] = {{1, 213, false, "StillMenu"}, {1, 214, false, "SlideShow"}, {1, 0, true, "SlideShow"},
                {2, 0, false, "SlideShow"}};
    for (const auto& row : rows) {
        auto& vob = AddStill(row.Cells, row.Bcd, row.Audio);
        FindVobType(job, "K:\\Job\\none.M2V", Last(), "STILL/SLIDE");
        EXPECT_EQ(vob.Vob_Type, row.Type) << row.Bcd;
    }
    // A combo's still cells follow the VOB's audio, not the cell's.
    for (const bool audio : {false, true}) {
        auto& vob = AddStill(2, 0, audio);
        vob.CELL_ID.Item(2).VobType = "STILL";
        FindVobType(job, "K:\\Job\\none.M2V", Last(), "COMBO");
        EXPECT_EQ(CellTypes(vob), (std::vector<std::string>{"Video", audio ? "SlideShow" : "StillMenu"}));
    }
    EXPECT_TRUE(Commands().empty()) << "no M2V, no frame server";
}

TEST_F(VobTyping, ShortCellsWithBitmapsMakeACombo) {
    job.Timing.VideoStandard = "NTSC";
    const auto withBitmaps = [this](std::vector<std::int32_t> frames, std::vector<std::size_t> cells) {
        auto& vob = AddVob(frames);
        for (const std::size_t cell : cells) vob.CELL_ID.Item(cell).Bmps = -1;
        return Last();
    };
    FindVobType(job, "K:\\Job\\none.M2V", withBitmaps({100, 30}, {1, 2}), "VIDEO");
    EXPECT_EQ(Domain().Vob_Id.Item(1).Vob_Type, "Combo");
    // The first cell has no cell before it; a cell before without bitmaps breaks the pair.
    EXPECT_EQ(ShortCellTest(job, withBitmaps({30, 100}, {1}), true), 0);
    EXPECT_EQ(ShortCellTest(job, withBitmaps({100, 30}, {2}), true), 0);

    // Muxman takes short cells: the verdict path leaves them alone, the
    // frame-count path does not, and types every cell "Video" on a hit.
    job.Options().Muxman = 1;
    FindVobType(job, "K:\\Job\\none.M2V", withBitmaps({100, 30}, {1, 2}), "VIDEO");
    EXPECT_EQ(Domain().Vob_Id.Item(4).Vob_Type, "Video");
    const auto counted = withBitmaps({100, 30}, {1, 2});
    Put("Job/D_VTS_01_0/FRAMESERVING/005.log", "D2V=130\n");
    GetVobType(job, "K:\\Job\\none.M2V", counted);
    EXPECT_EQ(Domain().Vob_Id.Item(5).Vob_Type, "Combo");
    EXPECT_EQ(CellTypes(Domain().Vob_Id.Item(5)), (std::vector<std::string>{"Video", "Video"}));

    // Converted to NTSC, 35 PAL frames become 29, under a second; 36 become 30.
    job.Timing.VideoStandard = "PAL";
    job.Options().Conversion = 1;
    job.State().ConvertAudio = -1;
    EXPECT_EQ(ShortCellTest(job, withBitmaps({35, 500}, {1}), true), 1);
    EXPECT_EQ(ShortCellTest(job, withBitmaps({36, 500}, {1}), true), 0);
    // One cell alone: the verdict path passes it over, the frame-count path does not.
    const auto single = withBitmaps({20}, {1});
    EXPECT_EQ(ShortCellTest(job, single, true), 0);
    EXPECT_EQ(ShortCellTest(job, single, false), 1);
    EXPECT_EQ(Domain().Vob_Id.Item(8).Vob_Type, "Combo");
}

TEST_F(VobTyping, DummyCellsOutweighingRealOnesMakeACombo) {
    AddVob({10, 40});
    Played(1, 2).DummyCell = -1;
    AddVob({40, 40});
    Played(2, 2).DummyCell = -1;
    Put("Job/D_VTS_01_0/FRAMESERVING/001.log", "D2V=50\n");
    Put("Job/D_VTS_01_0/FRAMESERVING/002.log", "D2V=80\n");
    GetVobType(job, "K:\\Job\\none.M2V", 1);
    GetVobType(job, "K:\\Job\\none.M2V", 2);
    EXPECT_EQ(Domain().Vob_Id.Item(1).Vob_Type, "Combo");
    EXPECT_EQ(CellTypes(Domain().Vob_Id.Item(1)), (std::vector<std::string>{"Video", "Video"}));
    EXPECT_EQ(Domain().Vob_Id.Item(2).Vob_Type, "Video") << "equal weight is not enough";
}

// An M2V that starts with a sequence header of 720x576 and the aspect code given.
std::string SequenceHeader(std::uint8_t aspect) {
    return std::string("\0\0\1\xB3\x2D\x02\x40", 7) + static_cast<char>((aspect << 4) | 0x03) +
           std::string("\x05\x86\xE0\0", 4);
}

class Analysis : public test::AssetStageFixture {
protected:
    Analysis() {
        AddVob({1});
        AddVob({100});
        Put("Job/D_VTS_01_0/DEMUXED/VTS_01_0 - VOBID_001.VOB", "A");
        Put("Job/D_VTS_01_0/DEMUXED/VTS_01_0 - VOBID_001 - Video.M2V", SequenceHeader(3));
        Put("Job/D_VTS_01_0/DEMUXED/VTS_01_0 - VOBID_002.VOB", "B");
        Put("Job/D_VTS_01_0/DEMUXED/VTS_01_0 - VOBID_002 - Video.M2V", SequenceHeader(3));
        stages.CreateIFO = [this](JobContext&) { return calls.push_back("CreateIFO"), std::int16_t{3}; };
        stages.NewConvert_SUBS = [this](JobContext&, std::int16_t pgcs) {
            return calls.push_back("NewConvert_SUBS " + std::to_string(pgcs)), std::int16_t{2};
        };
        stages.FindHighlightBitmaps = [this](JobContext&, std::int16_t pgcs) {
            calls.push_back("FindHighlightBitmaps " + std::to_string(pgcs));
            calls.push_back(Logged("Checking for Dummy Vobs") ? "after the dummy check" : "before the dummy check");
        };
    }
    SubpictureStages stages;
    std::vector<std::string> calls;
};

TEST_F(Analysis, NamesJoinsRipsChecksAndTypesInOrderAndJournalsBothEnds) {
    job.Options().ConfirmAR = 1;
    Domain().Video.Item(1).Display_Mode = "4 : 3 (Pan-scan)";
    Domain().Video.Item(1).Display_Pan_Scan = -1;
    job.StreamUse.resize(3);
    job.StreamUse[2].Mode[20] = "Wide";
    job.StreamUse[2].Mode[21] = job.StreamUse[2].Mode[22] = "Pan";

    EXPECT_EQ(VobAnalysis(job, stages), 3);
    EXPECT_EQ(calls, (std::vector<std::string>{"CreateIFO", "NewConvert_SUBS 3", "FindHighlightBitmaps 3",
                                               "before the dummy check"}));
    EXPECT_EQ(job.State().StreamCount, 2);
    EXPECT_EQ(Journal(), (std::vector<std::string>{"DEMUXED VOB ID", "DVD2AVI"}));
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED"),
              (std::vector<std::string>{"001.M2V", "001.VOB", "002.M2V", "002.VOB", "Create_Sub.bat"}));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/DEMUXED/Create_Sub.bat"),
              "Copy /b K:\\Job\\D_VTS_01_0\\DEMUXED\\*.VOB K:\\Job\\D_VTS_01_0\\SUBTITLES\\VTS_01_0.VOB\r\n");
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/SUBTITLES/VTS_01_0.VOB"), "AB");
    EXPECT_EQ(job.State().CurrentFolder, "K:\\Job\\D_VTS_01_0\\SUBTITLES\\VTS_01_0.VOB");

    // The IFO said pan-scan, the stream says 16:9; only the first pan-scan stream becomes letterbox.
    const auto& video = Domain().Video.Item(1);
    EXPECT_EQ(video.Display_Mode, "16 : 9");
    EXPECT_EQ(video.Display, "16 : 9");
    EXPECT_EQ(video.Display_Pan_Scan, 0);
    EXPECT_EQ(job.StreamUse[2].Mode[21], "Letter");
    EXPECT_EQ(job.StreamUse[2].Mode[22], "Pan");

    // The dummy checks come before the typing, which passes dummies over.
    const auto lines = LogLines();
    const auto typing = std::find(lines.begin(), lines.end(), "Executing Dvd2avirb and Dvd2avidg");
    ASSERT_NE(typing, lines.end());
    EXPECT_LT(std::find(lines.begin(), lines.end(), "Checking for Dummy VOBs"), typing);
}

TEST_F(Analysis, AResumedRunKeepsTheNamesAndAStopEndsBeforeTheNextStage) {
    job.State().Recover = -1;
    job.State().RecoveryVTS = 2;
    job.State().RecoveryModule = 0;
    // The videos as the run before named them.
    Put("Job/D_VTS_01_0/DEMUXED/001.M2V", SequenceHeader(3));
    Put("Job/D_VTS_01_0/DEMUXED/002.M2V", SequenceHeader(3));
    stages.CreateIFO = [this](JobContext& stopped) {
        calls.push_back("CreateIFO");
        stopped.StopRequested = -1;
        return std::int16_t{4};
    };
    EXPECT_EQ(VobAnalysis(job, stages), 4);
    EXPECT_EQ(calls, (std::vector<std::string>{"CreateIFO"}));
    EXPECT_EQ(Journal(), (std::vector<std::string>{"DEMUXED VOB ID"}));
    EXPECT_TRUE(Has("Job/D_VTS_01_0/DEMUXED/VTS_01_0 - VOBID_001.VOB"));
    EXPECT_FALSE(Logged("Checking for Dummy Vobs"));
}

TEST_F(Analysis, APanScanDomainStaysSoWhenTheStreamAgreesOrCannotBeRead) {
    Domain().Video.Item(1).Display_Mode = "4 : 3 (Pan-scan)";
    Put("Job/D_VTS_01_0/DEMUXED/001.m2v", SequenceHeader(2));
    Put("Job/D_VTS_01_0/DEMUXED/003.m2v", "no header here");
    ConfirmPanScan(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.m2v");
    ConfirmPanScan(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\003.m2v");
    EXPECT_EQ(Domain().Video.Item(1).Display_Mode, "4 : 3 (Pan-scan)");
}

}  // namespace
}  // namespace kestrova

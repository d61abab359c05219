// The subpicture lists: the time correction under each target, the
// rewriter against a recorded result, and whole lists read into the model.
#include "subpicture/sst.h"

#include <gtest/gtest.h>

#include <tuple>

#include <fstream>
#include <sstream>

#include "assets/asset_stage_fixture.h"

namespace kestrova {
namespace {

class Sst : public test::AssetStageFixture {
public:
    Sst() {
        Domain().OutputDir = "K:\\Job\\VTS_01";
        // VOB 1, "Video": two cells of 250 frames, the second from frame 251.
        auto& video = AddVob({250, 250});
        video.Vob_Type = "Video";
        SetCell(video, 1, 0, 250, "00:00:00:00");
        SetCell(video, 2, 251, 500, "00:00:10:01");
        // VOB 2, not "Video": two cells of 100 frames, each counted from 0.
        auto& menu = AddVob({100, 100});
        menu.Vob_Type = "Combo";
        SetCell(menu, 1, 0, 100, "00:00:00:00");
        SetCell(menu, 2, 0, 100, "00:00:00:00");
        // VOB 3, "Video": a first cell of 20 frames with a bitmap, then a long one.
        auto& shortFirst = AddVob({20, 280});
        shortFirst.Vob_Type = "Video";
        SetCell(shortFirst, 1, 0, 20, "00:00:00:00");
        SetCell(shortFirst, 2, 21, 300, "00:00:00:21");
        shortFirst.SUB_STREAM.Add().CELL_DETAILS.Add().bmp.Add();
        // VOB 4, "Video": one cell of a minute at 30 frames a second.
        auto& minute = AddVob({1800});
        minute.Vob_Type = "Video";
        SetCell(minute, 1, 0, 1800, "00:00:00:00");
    }

    static void SetCell(VOB_ID_Properties& vob, std::size_t cell, std::int32_t start, std::int32_t end,
                        const std::string& sceneStart) {
        auto& record = vob.CELL_ID.Item(cell);
        record.StartFrame = start;
        record.EndFrame = end;
        record.Track_Scene_StartTime = sceneStart;
    }

    void Target(const std::string& standard, std::int16_t conversion, std::int16_t convertAudio, std::int16_t muxman) {
        job.Timing.VideoStandard = standard;
        job.Timing.Conversion = conversion;
        job.Options().Conversion = conversion;
        job.State().ConvertAudio = convertAudio;
        job.Options().Muxman = muxman;
    }

    // Gives stream position 1 of the VOB's cell `count` bitmaps, as the .idx would.
    void Bitmaps(std::int16_t vob, std::int16_t cell, std::size_t count) {
        auto& streams = Domain().Vob_Id.Item(static_cast<std::size_t>(vob)).SUB_STREAM;
        if (streams.Count() == 0) streams.Add();
        auto& cells = streams.Item(1).CELL_DETAILS;
        while (cells.Count() < static_cast<std::size_t>(cell)) cells.Add();
        auto& bitmaps = cells.Item(static_cast<std::size_t>(cell)).bmp;
        while (bitmaps.Count() < count) bitmaps.Add();
    }

    static std::string Golden(const std::string& name) {
        std::ifstream in(std::string(KESTROVA_TEST_SOURCE_DIR) + "/subpicture/golden/" + name, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    const BMP_Properties& Bitmap(std::size_t vob, std::size_t stream, std::size_t cell, std::size_t k) {
        return Domain().Vob_Id.Item(vob).SUB_STREAM.Item(stream).CELL_DETAILS.Item(cell).bmp.Item(k);
    }
};

TEST_F(Sst, TimesAreCorrectedForEachTarget) {
    const struct Row {
        const char* Standard;
        std::int16_t Conversion, ConvertAudio, Muxman;
        const char* Mode;
        std::int16_t Vob, Cell, BmpIndex, Bitmaps;
        const char* Time;
        const char* Next;
        const char* Expected;
        std::int16_t EnableStop;
        const char* Why;
    } rows[] = {
        {"PAL", 0, 0, 0, "S", 1, 1, 1, 2, "00:00:00:15", "", "00:00:00;00", 0, "under T of a first cell: 0"},
        {"PAL", 0, 0, 0, "S", 1, 1, 1, 2, "00:00:01:00", "", "00:00:01;00", 0, "at T or later: kept"},
        {"PAL", 0, 0, 0, "S", 1, 1, 1, 2, "-00:00:01:00", "", "00:00:00;00", 0, "a negative time"},
        {"PAL", 0, 0, 0, "S", 1, 2, 2, 2, "00:00:10:05", "", "00:00:11;04", 0, "near a later cell's start: S + 1.75 T"},
        {"PAL", 0, 0, 0, "S", 1, 2, 1, 2, "00:00:09:00", "", "00:00:10;01", 0, "before the scene start: S"},
        {"PAL", 0, 0, 0, "S", 3, 2, 1, 1, "00:00:00:22", "", "00:00:01;08", 0, "behind a short cell: + 0.75 T"},
        {"PAL", 0, 0, 1, "S", 3, 2, 1, 1, "00:00:00:22", "", "00:00:00;21", 0, "the same for Muxman: S"},
        {"PAL", 0, 0, 0, "S", 2, 2, 1, 1, "00:00:00:00", "", "00:00:04;01", 0, "0 in a later cell: P + 1"},
        {"PAL", 0, 0, 0, "S", 2, 2, 1, 1, "00:00:05:00", "", "00:00:01;00", 0, "a later cell: minus P"},
        {"PAL", 0, 0, 0, "E", 1, 1, 2, 2, "99:99:99:99", "", "00:00:10;00", 0, "open on the last: cell end"},
        {"PAL", 0, 0, 0, "E", 1, 1, 1, 2, "00:00:02:00", "00:00:05:00", "00:00:01;24", -1, "a real end: minus 1"},
        {"PAL", 0, 0, 0, "E", 1, 1, 1, 2, "00:00:06:00", "00:00:05:00", "00:00:04;24", -1, "past the next start"},
        {"PAL", 0, 0, 0, "E", 1, 1, 1, 2, "99:99:99:99", "00:00:00:10", "00:00:01;02", 0, "next moved to 1.75 T"},
        {"PAL", 0, 0, 0, "E", 1, 1, 2, 2, "00:00:09:20", "", "00:00:10;00", 0, "within 7 of the cell end"},
        {"PAL", 0, 0, 0, "E", 2, 2, 1, 1, "00:00:07:00", "", "00:00:04;00", 0, "past the cell end"},
        {"PAL", 0, 0, 1, "E", 2, 2, 1, 1, "00:00:07:00", "", "00:00:07;00", 0, "Muxman: the VOB's end so far"},
        {"NTSC", 0, 0, 0, "E", 4, 1, 1, 1, "99:99:99:99", "", "00:01:00:02", 0, "kept off a dropped label"},
        {"NTSC", 0, 0, 1, "E", 4, 1, 1, 1, "99:99:99:99", "", "00:01:00:00", 0, "Muxman: as counted"},
        {"NTSC", 0, 0, 0, "S", 4, 1, 1, 1, "00:00:00:19", "", "00:00:00:00", 0, "T is 20 for NTSC"},
        {"PAL", 1, 0, 0, "S", 1, 1, 1, 2, "00:00:01:05", "", "00:00:01:06", 0, "converted: scaled to 30"},
        {"PAL", 1, -1, 0, "S", 1, 1, 1, 2, "00:00:01:05", "", "00:00:01:05", 0, "audio converted: labels kept"},
        {"NTSC", 1, 0, 0, "S", 4, 1, 1, 1, "00:00:01:06", "", "00:00:01;05", 0, "converted: scaled to 25"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.Why);
        Target(row.Standard, row.Conversion, row.ConvertAudio, row.Muxman);
        Bitmaps(row.Vob, row.Cell, static_cast<std::size_t>(row.Bitmaps));
        std::string next = row.Next;
        std::int16_t enableStop = 0;
        EXPECT_EQ(CheckSSTTime(job, row.Time, row.Mode, row.Vob, row.Cell, 1, row.BmpIndex, next, enableStop),
                  row.Expected);
        EXPECT_EQ(enableStop, row.EnableStop);
    }
    EXPECT_TRUE(Logged("*****Error in SST file, cell#2 has a 0 starttime - set to end of previous cell*****"));
    EXPECT_TRUE(Logged(" PreviousCell < 2*Threshold - Adding 12 frames to StartTime"));
    EXPECT_TRUE(Logged("CheckTime has STOP but is within 7 frames of CELLEND; Reset EnableStop = False"));
}

TEST_F(Sst, DurationsAreTakenInTheTargetsTimeCode) {
    const struct Row {
        const char* Standard;
        std::int16_t Conversion;
        const char* Scenarist;
        const char* Start;
        const char* End;
        bool Raw;
        const char* Expected;
    } rows[] = {
        {"PAL", 0, "", "00:00:01;00", "00:00:03;10", false, "00:00:02;10"},
        {"PAL", 1, "", "00:00:01:00", "00:00:02:00", false, "00:00:01:00"},
        // A minute's frames 00 and 01 do not exist in drop-frame time: the end takes 00.
        {"NTSC", 0, "", "00:00:00:00", "00:01:00:02", false, "00:01:00:02"},
        {"NTSC", 0, "", "00:00:00:00", "00:01:00:02", true, "00:01:00:00"},
        // An end on a whole minute counts the start's dropped labels only, except for Scenarist 3.0.
        {"NTSC", 0, "4.0", "00:02:00:00", "00:03:00:00", false, "00:01:00:04"},
        {"NTSC", 0, "3.0", "00:02:00:00", "00:03:00:00", false, "00:00:59:28"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.Standard) + " " + row.Start + " " + row.End);
        Target(row.Standard, row.Conversion, 0, 0);
        job.ScenaristVersion = row.Scenarist;
        EXPECT_EQ(SSTDuration(job, row.Start, row.End, row.Raw), row.Expected);
    }
}

TEST_F(Sst, TheRewriterThinsRunsOfShortBitmapsAndKeepsTheOriginal) {
    Target("PAL", 0, 0, 0);
    job.Options().Default_SSTSingle = 10;
    const std::string list = "K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_10x21.sst";
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x21.sst", Golden("rewrite_in.sst"));
    CheckSSTFor2SecondBMP(job, 1, 2);
    EXPECT_EQ(files.ReadText(list), Golden("rewrite_out.sst"));
    EXPECT_EQ(files.ReadText(list + ".Original.sst"), Golden("rewrite_in.sst"));
    // A second run starts again from the saved original.
    CheckSSTFor2SecondBMP(job, 1, 2);
    EXPECT_EQ(files.ReadText(list), Golden("rewrite_out.sst"));
    EXPECT_EQ(files.ReadText(list + ".Original.sst"), Golden("rewrite_in.sst"));
}

// The 16 head lines vsconv writes, with the display area's bottom at 95.
std::string SstHead(const std::string& subtitle) {
    return "st_format\t2\r\nDisplay_Start\tnon_forced\r\nTV_Type\tPAL\r\nTape_Type\tNON_DROP\r\n"
           "Pixel_Area\t(0 575)\r\nDirectory\tK:\\Job\\D_VTS_01_0\\SUBTITLES\r\nSubtitle\t" + subtitle +
           "\r\nDisplay_Area\t(0 2 719 95)\r\nContrast\t(15 15 15 0)\r\n#\r\n# Palette entries:\r\n"
           "# 00 : RGB(  0,  0,  0)\r\n# 01 : RGB( 85, 85, 85)\r\n# 02 : RGB(170,170,170)\r\n"
           "# 03 : RGB(255,255,255)\r\nSP_NUMBER\tSTART\tEND\tFILE_NAME\r\n";
}

TEST_F(Sst, ListsBecomeBitmapsOfTheirStreamsAndCells) {
    Target("PAL", 0, 0, 0);
    Played(1, 1).BCD = 0x00001040;
    job.StreamUse.resize(3);
    job.StreamUse[2].Mode[20] = job.StreamUse[2].Mode[21] = "Normal";
    job.StreamUse[2].FirstUse[20].Language_Folder = "fr";
    job.StreamUse[2].FirstUse[21].Language_Folder = "de";
    // A third stream the .idx listed but no list came for.
    auto& vob = Domain().Vob_Id.Item(1);
    while (vob.SUB_STREAM.Count() < 3) vob.SUB_STREAM.Add();
    vob.SUB_STREAM.Item(3).CELL_DETAILS.Add().bmp.Add();
    Put("Program/PAL.bmp", "the PAL frame");

    Put("Job/D_VTS_01_0/SUBTITLES/PGC_1.idx", "# VobSub index file, v7 (do not modify this line!)\r\n"
                                             "size: 720x576\r\norg: 10, 24\r\n");
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x20.sst",
        SstHead("PGC_10x20") +
            "Color\tpalette (1 2 0 3)\r\nContrast\t(15 15 0 15)\r\n"
            "0001\t00:00:00:15\t00:00:02:00\tP1_S0_10001_V1_C1.bmp\r\n"
            "0002\t00:00:05:00\t99:99:99:99\tP1_S0_10002_V1_C1.bmp\r\n"
            "0003\t00:00:10:05\t99:99:99:99\tP1_S0_10003_V1_C2.bmp\tHighlight\r\n");
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x21.sst",
        SstHead("PGC_10x21") + "0001\t00:00:10:07\t00:00:12:00\tP1_S1_10001_V1_C2.bmp\tHighlight\r\n");
    // No .idx for PGC 2: its list is not read.
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_20x20.sst", "not a list");
    // The rip's bitmaps per stream and cell, as the pass before counts them.
    for (const auto& [stream, cell, count] : {std::tuple{1, 1, 2}, {1, 2, 1}, {2, 2, 1}}) {
        while (vob.SUB_STREAM.Item(stream).CELL_DETAILS.Count() < 2) vob.SUB_STREAM.Item(stream).CELL_DETAILS.Add();
        for (int k = 0; k < count; ++k) vob.SUB_STREAM.Item(stream).CELL_DETAILS.Item(cell).bmp.Add();
    }

    ProcessSST(job, 2, 2);

    // The head lines' words (area, colours, contrasts) reach the scripts of
    // the fixture discs' goldens; here the times, names and the conversion.
    const BMP_Properties& first = Bitmap(1, 1, 1, 1);
    EXPECT_EQ(first.Track_Start_Time_To_Video, "00:00:00;00");  // under the threshold of a first cell
    EXPECT_EQ(first.Track_Duration, "00:00:01;24");             // ends a frame before its end
    EXPECT_EQ(first.EnableStop, -1);
    EXPECT_EQ(first.Stop_Duration, "00:00:01;00");
    EXPECT_EQ(first.Cell_FileName, "VTS1_S_1_10001");
    EXPECT_EQ(first.FilePath, "K:\\Job\\D_VTS_01_0\\SUBTITLES\\P1_S0_10001_V1_C1.bmp");
    EXPECT_EQ(first.BCD_Duration, 0x00001040);
    EXPECT_EQ(first.Language, "fr");
    EXPECT_EQ(first.Height, 574);
    // Vertical values in the other standard's lines; horizontal ones as read.
    EXPECT_EQ((std::vector<int>{first.ConvertedWidth, first.ConvertedOriginX, first.ConvertedHeight,
                                first.ConvertedOriginY, first.ConvertedDisplay_Area_Y2,
                                first.ConvertedPixel_Area_Bottom}),
              (std::vector<int>{720, 10, 480, 20, 79, 479}));

    const BMP_Properties& open = Bitmap(1, 1, 1, 2);
    EXPECT_EQ(open.Track_Start_Time_To_Video, "00:00:05;00");
    EXPECT_EQ(open.Track_Duration, "00:00:05;00");  // to the cell's end
    EXPECT_EQ(open.EnableStop, 0);

    const BMP_Properties& highlight = Bitmap(1, 1, 2, 1);
    EXPECT_EQ(highlight.Track_Start_Time_To_Video, "00:00:10;01");  // the cell's start
    EXPECT_EQ(highlight.EndFrame, "00:00:20;00");
    EXPECT_EQ(highlight.Track_Duration, "00:00:09;24");
    EXPECT_EQ(highlight.HighLight_Present, -1);
    EXPECT_EQ(vob.SUB_STREAM.Item(1).CELL_DETAILS.Item(2).HighLights, -1);

    // The second stream's highlight shows with the first's, whatever its own times.
    const BMP_Properties& second = Bitmap(1, 2, 2, 1);
    EXPECT_EQ(second.Track_Start_Time_To_Video, "00:00:10;01");
    EXPECT_EQ(second.Track_Duration, "00:00:09;24");
    EXPECT_EQ(second.Cell_FileName, "VTS1_S_2_10001");
    EXPECT_EQ(second.Language, "de");

    // The stream without a list: the first stream's bitmap, drawn blank.
    const BMP_Properties& dummy = Bitmap(1, 3, 1, 1);
    EXPECT_EQ(dummy.Track_Start_Time_To_Video, "00:00:00;00");
    EXPECT_EQ(dummy.FilePath, "K:\\Job\\VTS_01\\SUBTITLES\\Dummy.bmp");
    EXPECT_EQ(dummy.Cell_FileName, "VTS1_1_3_1");
    EXPECT_EQ(dummy.Language, "en");
    EXPECT_EQ(files.ReadText("K:\\Job\\VTS_01\\SUBTITLES\\Dummy.bmp"), "the PAL frame");

    EXPECT_EQ(vob.TotalSubs, 4);
    EXPECT_EQ((std::vector<int>{vob.SUB_STREAM.Item(1).StreamUsed, vob.SUB_STREAM.Item(2).StreamUsed,
                                vob.SUB_STREAM.Item(3).StreamUsed}),
              (std::vector<int>{-1, -1, 0}));
    EXPECT_EQ(vob.CELL_ID.Item(2).Cell_Sub_Present, -1);
    EXPECT_FALSE(Logged("PGC Number = 2")) << "PGC 2 has no .idx";
    EXPECT_EQ(job.Stages.FailedStage(), std::nullopt);
}

TEST_F(Sst, ConvertedBitmapsAreResizedAndCommentedEventsOnlyMarked) {
    Target("PAL", 1, 0, 0);
    StandIn("BitmapResize.exe", "exit 0");
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_1.idx", "size: 720x576\r\norg: 0, 0\r\n");
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x20.sst",
        SstHead("PGC_10x20") + "0001\t00:00:01:00\t99:99:99:99\tP1_S0_10001_V2_C1.bmp\r\n"
                               "#0002\t00:00:02:05\t00:00:02:10\tP1_S0_10002_V2_C1.bmp\tHighlight\r\n"
                               "0003\t00:00:03:00\t99:99:99:99\tP1_S0_10003_V2_C2.bmp\r\n");
    ProcessSST(job, 1, 1);
    ASSERT_EQ(Commands().size(), 2u);
    EXPECT_EQ(Commands().front(), "\"K:\\Program\\BitmapResize.exe\" K:\\Job\\D_VTS_01_0\\SUBTITLES\\P1_S0_10001_V2_C1.bmp "
                                  "K:\\Job\\D_VTS_01_0\\SUBTITLES\\P1_S0_10001_V2_C1.New.bmp PAL2NTSC");
    const BMP_Properties& resized = Bitmap(2, 1, 1, 1);
    EXPECT_EQ(resized.FilePath, "K:\\Job\\D_VTS_01_0\\SUBTITLES\\P1_S0_10001_V2_C1.New.bmp");
    EXPECT_EQ(resized.ConvertedSubSizeX, 720);
    EXPECT_EQ(resized.ConvertedSubSizeY, 478);
    EXPECT_EQ(resized.Height, 478);
    EXPECT_EQ(resized.Resolution, "NTSC");
    EXPECT_EQ(resized.Stop_Duration, "00:00:01:00");
    // Behind it only a commented-out event of its cell, then another cell's:
    // it is its cell's last and runs to the cell's end, 100 frames, 120 at 30.
    EXPECT_EQ(resized.Track_Start_Time_To_Video, "00:00:01:00");
    EXPECT_EQ(resized.Track_Duration, "00:00:03:00");
    const BMP_Properties& commented = Bitmap(2, 1, 1, 2);
    EXPECT_EQ(commented.HighLight_Present, -1);
    EXPECT_EQ(commented.Cell_FileName, "");
    EXPECT_EQ(Domain().Vob_Id.Item(2).TotalSubs, 2);
    // The NTSC lines of a PAL bitmap, and back: 574 and 478 scaled, truncated.
    EXPECT_EQ(BitmapResize(job, "K:\\a.bmp", "K:\\b.bmp", "NTSC2PAL", 478), 573);
}

TEST_F(Sst, AMalformedEventFailsTheStageNamingFileAndLine) {
    Target("PAL", 0, 0, 0);
    Put("Job/D_VTS_01_0/SUBTITLES/PGC_1.idx", "size: 720x576\r\n");
    const std::string list = "K:\\Job\\D_VTS_01_0\\SUBTITLES\\PGC_10x20.sst";
    const struct { const char* Event; const char* Fault; } rows[] = {
        {"0001\t00:00:0a:00\t00:00:02:00\tP1_S0_10001_V1_C1.bmp", "the start \"00:00:0a:00\" is not a time"},
        {"0001\t00:00:01:00\tP1_S0_10001_V1_C1.bmp", "four tab-separated fields, this line 3"},
        {"0001\t00:00:01:00\t00:00:02:00\tP1_S0_10001_V9_C1.bmp", "VOB id 9 is not one of the domain's 4"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Event);
        job.Stages.Clear();
        job.Stages.Begin(RunStage::Subpictures);
        Put("Job/D_VTS_01_0/SUBTITLES/PGC_10x20.sst", SstHead("PGC_10x20") + row.Event + "\r\n");
        ProcessSST(job, 1, 1);
        EXPECT_EQ(job.Stages.FailedStage(), RunStage::Subpictures);
        EXPECT_NE(job.Stages.FailureReason().find(list + ", line 17"), std::string::npos) << job.Stages.FailureReason();
        EXPECT_NE(job.Stages.FailureReason().find(row.Fault), std::string::npos) << job.Stages.FailureReason();
        // The rewriter refuses the same list and leaves it as it is.
        job.Stages.Clear();
        job.Stages.Begin(RunStage::Subpictures);
        CheckSSTFor2SecondBMP(job, 1, 1);
        EXPECT_EQ(job.Stages.FailedStage(), RunStage::Subpictures);
        EXPECT_FALSE(files.FileExists(list + ".Original.sst"));
    }
    EXPECT_EQ(Domain().Vob_Id.Item(1).TotalSubs, 0);
}

}  // namespace
}  // namespace kestrova

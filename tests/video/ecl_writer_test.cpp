// The Encoder Control List writer: the lists of a job of three assets in
// each of the five dialects against golden files written by hand from the
// tables of the list format; then the batch numbering, the GOP correction,
// the bitrate ceiling, the pulldown arithmetic and a format conversion.
#include "video/ecl_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "assets/asset_stage_fixture.h"
#include "platform/text.h"

namespace kestrova {
namespace {

const std::string kFrameserving = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\";

class EclWriter : public test::AssetStageFixture {
public:
    EclWriter() {
        auto& o = job.Options();
        job.State().ProductName = "Kestrova";
        o.ECL_Assets = 25;
        o.CCE_Method = 2;
        o.CCE_Average_Bitrate = 2000;
        o.CCE_Q_Factor = 20;
        o.Procoder_CQ = 15;
        o.CCE_Passes = 3;
        o.Intra = 9;
        o.ScanningFlag = 1;
        o.ProgressiveFlag = 0;
        o.Sequence = 1;
        o.Compliant = 1;
        o.Close_Gops = 1;
        o.CCE_Matrix = 2;
        o.AutoGopSize = 1;
        o.m = 3;
        o.N = 5;
        o.Detailed = 1;
        o.Low_Pass = 1;
        o.Low_Pass_Filter = 6;
        o.Vertical = 1;
        o.Vertical_Filter = 5;
        o.Dither = 1;
        o.Dithered = 10;
        o.Quantizer = 13;
        Domain().Video.Item(1).Display_Mode = "4 : 3";
    }

    // VOB id 1: "Video" of three cells starting at `starts`, 300 frames at
    // `videoFps`, one 448 kbit/s audio stream. VOB id 2: a "StillMenu" of
    // one cell. VOB id 3: a "Combo" whose cell 2 is 120 frames of video,
    // with one 192 kbit/s stream.
    void AddAssets(const std::string& standard, double videoFps, std::vector<std::int32_t> starts = {0, 100, 250}) {
        job.Timing.VideoStandard = standard;
        const bool pal = standard == "PAL";
        const double cellFps = pal ? 25 : 29.97;
        const bool film = videoFps == 23.976;

        auto& video = AddVob({100, 150, 50});
        video.Vob_Type = "Video";
        video.Frames = 300;
        video.Fps = videoFps;
        video.PalOrFilm = pal || film ? -1 : 0;
        video.Pulldown = film ? -1 : 0;
        video.Audio.Add().Bitrate = 448;
        for (std::size_t c = 1; c <= 3; ++c) video.CELL_ID.Item(c).StartFrame = starts[c - 1];

        auto& still = AddVob({1});
        still.Vob_Type = "StillMenu";
        auto& picture = still.CELL_ID.Item(1);
        picture.VobType = "StillMenu";
        picture.Fps = cellFps;

        auto& combo = AddVob({1, 120});
        combo.Vob_Type = "Combo";
        combo.PalOrFilm = pal ? -1 : 0;
        combo.Audio.Add().Bitrate = 192;
        combo.CELL_ID.Item(1).VobType = "StillMenu";
        auto& motion = combo.CELL_ID.Item(2);
        motion.VobType = "Video";
        motion.Fps = cellFps;
        motion.Field_Order = 1;
    }

    void WriteAssets() {
        MakeECL(job, kFrameserving + "001", 1, false, 0);
        MakeECL(job, kFrameserving + "002_001", 2, true, 1);
        MakeECL(job, kFrameserving + "003_002", 3, false, 2);
    }

    std::string List(const std::string& name) const { return temp.Read("Job/ECLs/" + name); }
    std::vector<std::string> ListLines(const std::string& name) const {
        return files.ReadLines("K:\\Job\\ECLs\\" + name);
    }
    static bool Holds(const std::vector<std::string>& lines, const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    // The lists as written, in CR LF lines, against the golden file's.
    static void ExpectGolden(const std::string& written, const std::string& name) {
        ASSERT_FALSE(written.empty());
        EXPECT_EQ(written.substr(written.size() - 2), "\r\n");
        std::string lines = written;
        platform::ReplaceAll(lines, "\r\n", "\n");
        EXPECT_EQ(lines.find('\r'), std::string::npos) << "every line ends CR LF";

        const std::string golden = std::string(KESTROVA_TEST_SOURCE_DIR) + "/video/golden/" + name;
        std::ifstream in(golden, std::ios::binary);
        ASSERT_TRUE(in) << golden;
        std::stringstream expected;
        expected << in.rdbuf();
        EXPECT_EQ(lines, expected.str()) << "the list differs from " << golden;
    }
};

TEST_F(EclWriter, Ecl25GoldenList) {
    job.State().CCEVersion = "2.50.01.00";
    job.Options().Detailed = 0;
    AddAssets("PAL", 25);
    WriteAssets();
    ExpectGolden(List("CCE1.ecl"), "ecl25.ecl");
    // The encoder drivers cut the chapters at these points; the last cell has none.
    EXPECT_EQ(Domain().Vob_Id.Item(1).CELL_ID.Item(3).ChapterPoint, 0);
}

TEST_F(EclWriter, Ecl266GoldenList) {
    // A version resource gives four fields: not exactly "2.67".
    job.State().CCEVersion = "2.67.0.11";
    job.Options().CCE_Quality_Setting = 1;
    job.Options().AutoGopSize = 0;
    AddAssets("PAL", 25);
    WriteAssets();
    ExpectGolden(List("CCE1.ecl"), "ecl266.ecl");
}

TEST_F(EclWriter, Ecl267GoldenList) {
    job.Options().CCE_Quality_Setting = 2;
    Domain().Video.Item(1).Line_21_Switch_2 = -1;
    AddAssets("NTSC", 29.97);
    WriteAssets();
    ExpectGolden(List("CCE1.ecl"), "ecl267.ecl");
}

TEST_F(EclWriter, Ecl27GoldenListOfFilm) {
    job.State().CCEVersion = "2.70.02.05";
    job.Options().CCE_Quality_Setting = 3;
    // Cells 2 and 3 start at display frames 103 (3 past a cycle) and 254 (4 past).
    AddAssets("NTSC", 23.976, {0, 103, 254});
    WriteAssets();
    ExpectGolden(List("CCE1.ecl"), "ecl27.ecl");
    auto& film = Domain().Vob_Id.Item(1);
    EXPECT_EQ(film.Pulldown, 0) << "CCE 2.7 takes the pulldown over";
    EXPECT_EQ(film.CELL_ID.Item(2).PulldownType, " -3_2");
    EXPECT_EQ(film.CELL_ID.Item(3).PulldownType, "");
    EXPECT_EQ(film.PulldownType, " -3_2");
}

TEST_F(EclWriter, EclBasicGoldenListsOneAssetEach) {
    job.State().CCEVersion = "2.70.02.05";
    job.State().CCEBasic = -1;
    job.Options().CCE_Quality_Setting = 3;  // quantizer 13, which Basic rounds up to 16
    AddAssets("PAL", 25);
    WriteAssets();
    ExpectGolden(List("CCE.(VTS001)001.ecl") + List("CCE.(VTS001)002_001.ecl") + List("CCE.(VTS001)003_002.ecl"),
                 "eclbasic.ecl");
    EXPECT_EQ(Names("K:\\Job\\ECLs").size(), 3u);
}

// The golden lists cover a plain version of each dialect; these are the choices around them.
TEST_F(EclWriter, DialectByEncoderAndVersion) {
    const struct {
        std::int16_t Procoder, Basic;
        std::string Version;
        EclDialect Dialect;
    } rows[] = {
        {1, 0, "2.70.02.05", EclDialect::Ecl25}, {0, -1, "", EclDialect::Ecl267},
        {0, -1, "2.67", EclDialect::EclBasic},   {0, 0, "2.67", EclDialect::Ecl267},
        {0, 0, "2.66.01.07", EclDialect::Ecl266},
    };
    for (const auto& row : rows) {
        job.Options().UseProcoder = row.Procoder;
        job.State().CCEBasic = row.Basic;
        job.State().CCEVersion = row.Version;
        EXPECT_EQ(GetEclDialect(job), row.Dialect) << row.Version;
    }
}

TEST_F(EclWriter, ThreeAssetsAListWithPreviewMarks) {
    job.Options().ECL_Assets = 3;
    job.Options().PreviewVOBS = 1;
    AddAssets("PAL", 25);
    WriteAssets();
    MakeECL(job, kFrameserving + "001", 1, false, 0);

    const auto& s = job.State();
    EXPECT_EQ(s.CCEBatch, 4);
    EXPECT_EQ(s.CCEInstance, 2);
    EXPECT_EQ(s.CCEBatchPath, "K:\\Job\\ECLs\\CCE2.ecl");
    EXPECT_EQ(s.VideoCount, 4);

    // A new list opens with "#000" and its header; each item is marked with
    // its domain and its VOB, or its cell for an asset of one cell.
    const auto first = ListLines("CCE1.ecl");
    const std::string header = "; Kestrova -- Encoder Control List";
    EXPECT_EQ(std::count(first.begin(), first.end(), "[item]"), 3);
    EXPECT_EQ(std::vector<std::string>(first.begin(), first.begin() + 6),
              (std::vector<std::string>{"#000", header, "", "#VTS001", "#VOB001", "[item]"}));
    EXPECT_TRUE(Holds(first, "#CELL002_001") && Holds(first, "#CELL003_002"));
    const auto second = ListLines("CCE2.ecl");
    EXPECT_EQ(std::count(second.begin(), second.end(), "[item]"), 1);
    EXPECT_EQ(std::vector<std::string>(second.begin(), second.begin() + 5),
              (std::vector<std::string>{"#000", header, "", "#VTS001", "#VOB001"}));
}

TEST_F(EclWriter, ShortGopIsCorrectedInTheSettings) {
    auto& o = job.Options();
    o.AutoGopSize = 0;
    o.m = 2;
    o.N = 2;
    AddAssets("PAL", 25);
    MakeECL(job, kFrameserving + "001", 1, false, 0);
    EXPECT_TRUE(Logged("\tCorrecting Gop Length N*M=4"));
    EXPECT_EQ(o.m, 2);
    EXPECT_EQ(o.N, 3);
    const auto lines = ListLines("CCE1.ecl");
    EXPECT_TRUE(Holds(lines, "gop_m=2"));
    EXPECT_TRUE(Holds(lines, "gop_nm=3"));
    EXPECT_TRUE(Holds(lines, "gop_hdr=12"));

    // Product 6 stands: the next asset logs no correction.
    MakeECL(job, kFrameserving + "003_002", 3, false, 2);
    const auto log = LogLines();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& line) { return line.starts_with("\tCorrecting Gop Length"); }),
              1);
}

TEST_F(EclWriter, FourAc3StreamsOf448LeaveA8008Ceiling) {
    AddAssets("PAL", 25);
    auto& audio = Domain().Vob_Id.Item(1).Audio;
    for (int i = 0; i < 3; ++i) audio.Add().Bitrate = 448;
    MakeECL(job, kFrameserving + "001", 1, false, 0);
    const auto lines = ListLines("CCE1.ecl");
    EXPECT_TRUE(Holds(lines, "opv_brate_max=8008"));
    EXPECT_TRUE(Holds(lines, "vbr_brate_max=8008"));
}

TEST_F(EclWriter, PulldownUnderScenaristAndMuxman) {
    AddAssets("NTSC", 23.976);
    auto& vob = Domain().Vob_Id.Item(1);

    // Display frame 3 is three past a cycle: Scenarist takes film frame 2 and a -3_2 switch.
    EXPECT_EQ(NewGetPulldown(job, 3, "R", "2_3", 1, 2), 2);
    EXPECT_EQ(vob.PulldownType, " -3_2");
    EXPECT_EQ(vob.CELL_ID.Item(2).PulldownType, " -3_2");
    const auto log = LogLines();
    EXPECT_EQ(std::vector<std::string>(log.end() - 3, log.end()),
              (std::vector<std::string>{"Frames=3:CalcValue=0:Adjust=0", "Vob=1:Cellid=2 flagged for -3_2 pulldown",
                                        "NewCalcValue=2"}));

    // Muxman takes frame 3 without one, and needs the switch four past a cycle.
    vob.PulldownType = vob.CELL_ID.Item(2).PulldownType = "";
    job.Options().Muxman = 1;
    EXPECT_EQ(NewGetPulldown(job, 3, "R", "2_3", 1, 2), 3);
    EXPECT_EQ(vob.PulldownType, "");
    EXPECT_EQ(NewGetPulldown(job, 9, "R", "2_3", 1, 3), 7);
    EXPECT_EQ(vob.CELL_ID.Item(3).PulldownType, " -3_2");
    EXPECT_TRUE(Logged("Vob=1:Cellid=3 flagged for -3_2 pulldown [muxman requires it]"));

    // Film to display.
    EXPECT_EQ(NewGetPulldown(job, 6, "F", "2_3", 1, 1), 7);
    EXPECT_EQ(NewGetPulldown(job, 6, "F", "3_2", 1, 1), 8);
    EXPECT_EQ(NewGetPulldown(job, 7, "F", "2_3", 1, 1), 9);
}

TEST_F(EclWriter, PalToNtscConversionRetimesTheCells) {
    job.Options().Conversion = 1;
    job.Timing.Conversion = 1;
    AddAssets("PAL", 25);
    auto& slides = Domain().Vob_Id.Item(2);
    slides.Vob_Type = "SlideShow";
    auto& slide = slides.CELL_ID.Item(1);
    slide.VobType = "SlideShow";
    slide.Track_Duration = "00:00:05:12";
    slide.Data_End_Time = "00:00:05:11";

    MakeECL(job, kFrameserving + "001", 1, false, 0);
    MakeECL(job, kFrameserving + "002_001", 2, true, 1);

    // 300 frames at 25 are 360 at 29.97; the last cell ends there, at 30.
    const auto& last = Domain().Vob_Id.Item(1).CELL_ID.Item(3);
    EXPECT_EQ(last.EndFrame, 360);
    EXPECT_EQ(last.Data_End_Time, "00:00:11;29");
    EXPECT_EQ(last.Track_Duration, "00:00:12;00");
    // The slide's times take their frames to 30 a second.
    EXPECT_EQ(slide.Data_End_Time, "00:00:05:13");
    EXPECT_EQ(slide.Track_Duration, "00:00:05:14");
    EXPECT_EQ(slide.EndFrame, 139);

    const auto lines = ListLines("CCE1.ecl");
    for (const char* line : {"title=K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.Conversion.avs", "height=480",
                             "frame_rate_idx=4", "drop_frame=1", "encode_last=360", "chapter=120:", "chapter=300:",
                             "title=K:\\Job\\D_VTS_01_0\\FRAMESERVING\\002_001.Conversion.avs", "encode_last=1"}) {
        EXPECT_TRUE(Holds(lines, line)) << line;
    }
}

TEST_F(EclWriter, AListThatCannotBeWrittenIsLoggedAndSkipped) {
    AddAssets("PAL", 25);
    files.MakeFolder("K:\\Job\\ECLs\\CCE1.ecl");
    EXPECT_NO_THROW(MakeECL(job, kFrameserving + "001", 1, false, 0));
    const auto log = LogLines();
    EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const std::string& line) {
        return line.starts_with("\tERROR WRITING ECL FILE K:\\Job\\ECLs\\CCE1.ecl: ");
    }));
    EXPECT_EQ(job.State().CCEBatch, 0) << "the next asset opens the list again";
}

TEST_F(EclWriter, BlankClipIsWrittenAnew) {
    files.MakeFolder(job.ProgramFolder);
    BlankClip(job);
    BlankClip(job);
    const auto lines = files.ReadLines("K:\\Program\\SoftEncodeTest.ecl");
    ASSERT_EQ(lines.size(), 78u);
    EXPECT_EQ(lines.front(), "; Kestrova -- Encoder Control List");
    EXPECT_EQ(lines[3], "title=K:\\Program\\SoftEncodeTest.avs");
    EXPECT_EQ(lines.back(), "encode_last=1000");
}

}  // namespace
}  // namespace kestrova

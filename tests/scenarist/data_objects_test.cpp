// The data folder of a script on a hand-built title set: video items of
// whole VOBs and of cells, the dummy stills, a converted subpicture, and
// the repair of a damaged AC3 file by the ac3fix stand-in on a stream
// made by ffmpeg.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "assets/mpeg_test_streams.h"
#include "job/tool_table.h"
#include "scenarist/data_objects.h"
#include "scenarist/script_text.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using test::At;
using test::ExpectHas;
using test::Item;

struct DataJob : test::JobFixture {
    DataJob() {
        job.Options().Default_Enable_Log = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.JobRoot = "K:\\Job";
        job.Timing.VideoStandard = "NTSC";
        job.DiscModel.Add();  // the VMG: no Video entry, no VOBs
        VTS_Properties& domain = job.DiscModel.Add();
        domain.OutputDir = "K:\\Job\\D_VTS_01_0";
        Video_Properties& video = domain.Video.Add();
        video.Size = "720x480";
        video.Mpeg_Type = "MPEG 2";
        video.Display_Mode = "4 : 3";
        run.TargetStandard = "NTSC";
        run.TimecodeSeparator = ":";
        run.BatchFirstVTS = 1;
        run.BatchLastVTS = 2;
    }

    VTS_Properties& Domain() { return job.DiscModel.Item(2); }
    // A VOB of title set 1 with its cells in both cell lists.
    VOB_ID_Properties& AddVob(const char* type, int cells) {
        VOB_ID_Properties& vob = Domain().Vob_Id.Add();
        vob.Vob_Type = type;
        VobID_Properties& played = Domain().Video.Item(1).VobId.Add();
        for (int c = 0; c < cells; ++c) {
            vob.CELL_ID.Add().Data_End_Time = "00:00:04:00";
            played.CellId.Add();
        }
        return vob;
    }
    std::string Log() const { return temp.Read("Kestrova.LOG"); }
    ScenaristRun run;
    ScriptFile file{"K:\\Job\\test.SCP"};
};

TEST(ScenaristData, VideoItemsOfWholeVobsCellsAndDummyStills) {
    DataJob f;
    f.Domain().Video.Item(1).Line_21_Switch_1 = -1;
    f.AddVob("Video", 2).Line_21_FilePath_1 = "K:\\Job\\cc.scc";
    VOB_ID_Properties& combo = f.AddVob("Combo", 2);
    combo.CELL_ID.Item(1).VobType = "Video";
    combo.CELL_ID.Item(2).VobType = "StillMenu";
    f.AddVob("StillMenu", 1);
    f.AddVob("Video", 1).Dummy = -1;
    GenerateVideoData(f.job, f.run, f.file);
    const std::string& text = f.file.Text();

    const std::string whole = Item(text, "VTS_1_001");
    EXPECT_EQ(whole.rfind(At(4, {"Item=Video"}), 0), 0u) << whole;
    ExpectHas(whole, At(5, {"File=K:\\Job\\D_VTS_01_0\\NEW_M2V\\001.m2v"}));
    ExpectHas(whole, At(5, {"Bit rate=9800000", "Average Bitrate=6000000", "Minimum Bitrate=4000000",
                            "Bitrate Type=Variable", "Icon Time=00:00:00:00", "Line21 Switch1=Yes",
                            "Line21 File1=K:\\Job\\cc.scc"}));
    const std::string videoCell = Item(text, "VTS_1_002_001");
    EXPECT_EQ(videoCell.rfind(At(4, {"Item=Video"}), 0), 0u) << videoCell;
    ExpectHas(videoCell, At(5, {"Minimum Bitrate=4000000", "Bit rate=9800000", "Bitrate Type=Variable"}));
    EXPECT_EQ(Item(text, "VTS_1_003_001"),
              At(4, {"Item=Encoded Still", "{"}) +
                  At(5, {"Place Holder=No", "Comment=", "Name=VTS_1_003_001", "Resolution=NTSC",
                         "Drop Type=Non-drop frame", "Data Start Time=00:00:00:00", "Data End Time=00:00:09:29",
                         "File=K:\\Job\\D_VTS_01_0\\NEW_M2V\\003_001.m2v", "Width=720", "Height=480",
                         "Is Encoded=Yes", "Encode Type=MPEG 2", "Size=720 x 480", "Aspect Ratio=4 : 3",
                         "Picture Structure=Frame Structure", "GOP Size=15 frames", "GOP Structure=N/A",
                         "Bit rate=4587200", "Average Bitrate=6000000", "Minimum Bitrate=4000000"}) +
                  At(4, {"}"}));
    EXPECT_EQ(text.find("VTS_1_004"), std::string::npos) << "a dummy VOB has no item";
    EXPECT_NE(f.Log().find("\t\tCellId=2"), std::string::npos);

    // Every domain's dummy still, also outside the batch; one without Video
    // entries shows the title dummy under the job root.
    ExpectHas(Item(text, "VID_Dummy"), At(5, {"File=K:\\Job\\Title_Dummy.m2v", "Aspect Ratio=4 : 3 (Pan-scan)"}));
    ExpectHas(Item(text, "VTS1_Dummy"),
              At(5, {"File=K:\\Job\\D_VTS_01_0\\NEW_M2V\\Dummy.m2v", "Aspect Ratio=4 : 3", "Resolution=NTSC"}));
}

// A converted subpicture takes the converted sizes, its image area's far
// corner computed; contrasts are kept as they are whatever HighContrast
// says. A timed bitmap of a cell without a pause gets its stop; a bitmap
// without a name and a dummy cell's get no item.
TEST(ScenaristData, AConvertedSubpictureTakesTheConvertedAreas) {
    DataJob f;
    f.job.Timing.Conversion = 1;
    f.job.Timing.VideoStandard = f.run.TargetStandard = "PAL";
    f.run.TimecodeSeparator = ";";
    f.job.Options().HighContrast = 6;
    VOB_ID_Properties& vob = f.AddVob("Video", 2);
    f.Domain().Video.Item(1).VobId.Item(1).CellId.Item(2).DummyCell = -1;
    SUB_STREAM_Properties& stream = vob.SUB_STREAM.Add();
    BMP_Properties& b = stream.CELL_DETAILS.Add().bmp.Add();
    stream.CELL_DETAILS.Item(1).bmp.Add();  // no name
    stream.CELL_DETAILS.Add().bmp.Add().Cell_FileName = "dummy cell";
    b.Cell_FileName = "VTS_1_001_1_sub";
    b.EnableStop = -1;
    b.Data_Duration = b.Stop_Time_To_Video = b.Stop_Duration = "00:00:02;00";
    b.Width = 720;
    b.ConvertedSubSizeX = 700;
    b.ConvertedSubSizeY = 500;
    b.ConvertedOriginX = 10;
    b.ConvertedOriginY = 20;
    b.ConvertedWidth = 720;
    b.ConvertedHeight = 576;
    b.Contrast_E2 = 15;
    b.Contrast_E1 = 10;
    GenerateSubData(f.job, f.run, f.file);
    const std::string& text = f.file.Text();

    EXPECT_EQ(text.find("dummy cell"), std::string::npos);
    EXPECT_EQ(text.find("Item=Sub-Picture"), text.rfind("Item=Sub-Picture"));
    const std::string item = Item(text, "VTS_1_001_1_sub");
    ExpectHas(item, At(5, {"Width=700", "Height=500", "Is Encoded=No", "Screen Size=Size", "{"}) +
                        At(6, {"X=720", "Y=576"}));
    ExpectHas(item, At(6, {"Color 3(P)=Conversion", "{"}) + At(7, {"Red=and"}));
    ExpectHas(item, At(7, {"Duration=00:00:00;01", "Forced Start=", "Image Area=Image Area", "{"}) +
                        At(8, {"X1=10", "Y1=20", "X2=709", "Y2=519"}));
    ExpectHas(item, At(8, {"Color 1(E2)=100 %", "Color 2(E1)=67 %", "Color 3(P)=0 %"}));
    ExpectHas(item, At(6, {"Item=Display Stop"}));
    ExpectHas(item, At(5, {"}", "Size Type=720 x 576", "Type=menu", "Image Type=Image"}) + At(4, {"}"}));
    EXPECT_TRUE(text.ends_with(At(3, {"}"}) + At(2, {"}"}) + At(1, {"}"}) + At(0, {"}"})));
}

// An AC3 stream whose first frame header is damaged is repaired by
// ac3fix.exe: the original is kept as ".broken" and the item shows the
// repaired stream. A stream ac3fix cannot repair stays where it was, and
// its item shows the values the domain's first stream set.
TEST(ScenaristData, ADamagedAc3StreamIsRepairedBeforeItsItemIsWritten) {
    KESTROVA_REQUIRE_FFMPEG();
    DataJob f;
    AddStandInTools(f.launcher, KESTROVA_HOST_PROGRAMS);
    VOB_ID_Properties& vob = f.AddVob("Video", 1);
    vob.Audio_Present = -1;
    vob.Audio_Stream_Quantity = 3;  // stream 3 was never demultiplexed
    const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=f=440:d=1:sample_rate=48000 "
                                "-ac 2 -c:a ac3 -b:a 192k -f ac3 '" + f.temp.Host("tone.ac3") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    const std::string tone = f.temp.Read("tone.ac3");
    std::string firstBad = tone;
    firstBad[4] = static_cast<char>(firstBad[4] | 0x3F);  // a frame size code the table lacks
    std::string allBad = firstBad;
    for (std::size_t at = 0; at < allBad.size(); at += 768) allBad[at + 400] ^= 0x5A;  // 192 kbit/s frames
    f.temp.Write("Job/D_VTS_01_0/DEMUXED/1-001.ac3", firstBad);
    f.temp.Write("Job/D_VTS_01_0/DEMUXED/2-001.ac3", allBad);

    GenerateAudioData(f.job, f.run, f.file);
    const std::string& text = f.file.Text();
    ExpectHas(f.Log(), "Corrupt ac3 stream found - fixing K:\\Job\\D_VTS_01_0\\DEMUXED\\2-001.ac3");
    EXPECT_EQ(f.temp.Read("Job/D_VTS_01_0/DEMUXED/1-001.broken"), firstBad);
    EXPECT_NE(f.temp.Read("Job/D_VTS_01_0/DEMUXED/1-001.ac3"), firstBad);
    EXPECT_EQ(f.temp.Read("Job/D_VTS_01_0/DEMUXED/2-001.ac3"), allBad);
    EXPECT_FALSE(f.temp.Exists("Job/D_VTS_01_0/DEMUXED/2-001.broken"));

    ExpectHas(Item(text, "VTS_1_1_001_80"),
              At(5, {"File=K:\\Job\\D_VTS_01_0\\DEMUXED\\1-001.ac3", "Audio Type=AC3", "Bit rate=192000",
                     "Channel=2 : 0", "LFE On=No"}));
    ExpectHas(Item(text, "VTS_1_2_001_81"), At(5, {"Bit rate=192000", "Channel=2 : 0"}));
    EXPECT_EQ(text.find("VTS_1_3_001_82"), std::string::npos);
}

}  // namespace
}  // namespace kestrova

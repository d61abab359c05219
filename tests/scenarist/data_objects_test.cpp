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
#include "support/job_fixture.h"

namespace kestrova {
namespace {

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

// The item block that holds the line "Name=<name>".
std::string Item(const std::string& text, const std::string& name) {
    const std::size_t at = text.find("\t\t\t\t\tName=" + name + "\r\n");
    if (at == std::string::npos) return "no item " + name;
    const std::size_t begin = text.rfind("\t\t\t\tItem=", at);
    const std::size_t end = text.find("\r\n\t\t\t\t}\r\n", at);
    return text.substr(begin, end + 9 - begin);
}

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
    EXPECT_EQ(whole.rfind("\t\t\t\tItem=Video\r\n", 0), 0u) << whole;
    for (const char* line : {"\tDrop Type=Drop frame\r\n", "\tFile=K:\\Job\\D_VTS_01_0\\NEW_M2V\\001.m2v\r\n",
                             "\tBit rate=9800000\r\n\t\t\t\t\tAverage Bitrate=6000000\r\n",
                             "\tLine21 Switch1=Yes\r\n\t\t\t\t\tLine21 File1=K:\\Job\\cc.scc\r\n"}) {
        EXPECT_NE(whole.find(line), std::string::npos) << line << whole;
    }
    const std::string videoCell = Item(text, "VTS_1_002_001");
    EXPECT_EQ(videoCell.rfind("\t\t\t\tItem=Video\r\n", 0), 0u) << videoCell;
    EXPECT_NE(videoCell.find("\tAverage Bitrate=6000000\r\n\t\t\t\t\tMinimum Bitrate=4000000\r\n\t\t\t\t\tBit rate=9800000"),
              std::string::npos);
    EXPECT_NE(Item(text, "VTS_1_002_002").find("\tMinimum Bitrate=4000000\r\n\t\t\t\t\tBit rate=4587200\r\n"),
              std::string::npos);
    EXPECT_EQ(Item(text, "VTS_1_003_001"),
              "\t\t\t\tItem=Encoded Still\r\n\t\t\t\t{\r\n"
              "\t\t\t\t\tPlace Holder=No\r\n\t\t\t\t\tComment=\r\n\t\t\t\t\tName=VTS_1_003_001\r\n"
              "\t\t\t\t\tResolution=NTSC\r\n\t\t\t\t\tDrop Type=Non-drop frame\r\n"
              "\t\t\t\t\tData Start Time=00:00:00:00\r\n\t\t\t\t\tData End Time=00:00:09:29\r\n"
              "\t\t\t\t\tFile=K:\\Job\\D_VTS_01_0\\NEW_M2V\\003_001.m2v\r\n\t\t\t\t\tWidth=720\r\n"
              "\t\t\t\t\tHeight=480\r\n\t\t\t\t\tIs Encoded=Yes\r\n\t\t\t\t\tEncode Type=MPEG 2\r\n"
              "\t\t\t\t\tSize=720 x 480\r\n\t\t\t\t\tAspect Ratio=4 : 3\r\n"
              "\t\t\t\t\tPicture Structure=Frame Structure\r\n\t\t\t\t\tGOP Size=15 frames\r\n"
              "\t\t\t\t\tGOP Structure=N/A\r\n\t\t\t\t\tBit rate=4587200\r\n\t\t\t\t\tAverage Bitrate=6000000\r\n"
              "\t\t\t\t\tMinimum Bitrate=4000000\r\n\t\t\t\t}\r\n");
    EXPECT_EQ(text.find("VTS_1_004"), std::string::npos) << "a dummy VOB has no item";
    EXPECT_NE(f.Log().find("\t\tCellId=2"), std::string::npos);

    // Every domain's dummy still, also outside the batch; one without Video
    // entries shows the title dummy under the job root.
    EXPECT_NE(Item(text, "VID_Dummy").find("\tFile=K:\\Job\\Title_Dummy.m2v\r\n\t\t\t\t\tAspect Ratio=4 : 3 (Pan-scan)"),
              std::string::npos);
    EXPECT_NE(Item(text, "VTS1_Dummy").find("\tFile=K:\\Job\\D_VTS_01_0\\NEW_M2V\\Dummy.m2v\r\n\t\t\t\t\tAspect Ratio=4 : 3\r\n"),
              std::string::npos);
    EXPECT_NE(text.find("\t\t\t\t\tName=Title_Dummy\r\n"), std::string::npos);
    EXPECT_LT(text.find("Name=VTS1_Dummy"), text.find("Name=Title_Dummy"));
    EXPECT_TRUE(text.ends_with("\t\t\t\t}\r\n\t\t\t}\r\n\t\t}\r\n")) << "the video folder is closed";
}

// A converted subpicture takes the converted sizes and areas, its image
// area's far corner computed; contrasts are kept as they are whatever
// HighContrast says. The stop is written for a timed bitmap of a cell
// without a pause; a bitmap without a name and a dummy cell's have no item.
TEST(ScenaristData, AConvertedSubpictureTakesTheConvertedAreas) {
    DataJob f;
    f.job.Timing.Conversion = 1;
    f.job.Timing.VideoStandard = "PAL";
    f.job.Options().HighContrast = 6;
    f.run.TargetStandard = "PAL";
    f.run.TimecodeSeparator = ";";
    VOB_ID_Properties& vob = f.AddVob("Video", 2);
    f.Domain().Video.Item(1).VobId.Item(1).CellId.Item(2).DummyCell = -1;
    SUB_STREAM_Properties& stream = vob.SUB_STREAM.Add();
    BMP_Properties& b = stream.CELL_DETAILS.Add().bmp.Add();
    stream.CELL_DETAILS.Item(1).bmp.Add();  // no name
    stream.CELL_DETAILS.Add().bmp.Add().Cell_FileName = "dummy cell";
    b.Cell_FileName = "VTS_1_001_1_sub";
    b.FilePath = "K:\\Job\\D_VTS_01_0\\SUBTITLES\\1.bmp";
    b.Resolution = "PAL";
    b.EnableStop = -1;
    b.Data_Duration = b.Stop_Time_To_Video = b.Stop_Duration = "00:00:02;00";
    b.Width = 720;
    b.Height = 480;
    b.ConvertedSubSizeX = 700;
    b.ConvertedSubSizeY = 500;
    b.ConvertedOriginX = 10;
    b.ConvertedOriginY = 20;
    b.ConvertedWidth = 720;
    b.ConvertedHeight = 576;
    b.ConvertedDisplay_Area_X1 = 11;
    b.ConvertedDisplay_Area_Y1 = 21;
    b.ConvertedDisplay_Area_X2 = 31;
    b.ConvertedDisplay_Area_Y2 = 41;
    b.Contrast_E2 = 15;
    b.Contrast_E1 = 10;
    GenerateSubData(f.job, f.run, f.file);
    const std::string& text = f.file.Text();

    EXPECT_EQ(text.find("dummy cell"), std::string::npos);
    const std::string item = Item(text, "VTS_1_001_1_sub");
    for (const char* part :
         {"\tDrop Type=Non-drop frame\r\n", "\tWidth=700\r\n\t\t\t\t\tHeight=500\r\n",
          "\tScreen Size=Size\r\n\t\t\t\t\t{\r\n\t\t\t\t\t\tX=720\r\n\t\t\t\t\t\tY=576\r\n\t\t\t\t\t}\r\n",
          "\t\t\t\t\t\tColor 3(P)=Conversion\r\n\t\t\t\t\t\t{\r\n\t\t\t\t\t\t\tRed=and\r\n",
          "\t\t\t\t\t\t\tDuration=00:00:00;01\r\n\t\t\t\t\t\t\tForced Start=\r\n",
          "\tImage Area=Image Area\r\n\t\t\t\t\t\t\t{\r\n\t\t\t\t\t\t\t\tX1=10\r\n\t\t\t\t\t\t\t\tY1=20\r\n"
          "\t\t\t\t\t\t\t\tX2=709\r\n\t\t\t\t\t\t\t\tY2=519\r\n",
          "\tDisplay Area=Display Area\r\n\t\t\t\t\t\t\t{\r\n\t\t\t\t\t\t\t\tX1=11\r\n\t\t\t\t\t\t\t\tY1=21\r\n"
          "\t\t\t\t\t\t\t\tX2=31\r\n\t\t\t\t\t\t\t\tY2=41\r\n",
          "\tColor 1(E2)=100 %\r\n\t\t\t\t\t\t\t\tColor 2(E1)=67 %\r\n\t\t\t\t\t\t\t\tColor 3(P)=0 %\r\n",
          "\t\t\t\t\t\tItem=Display Stop\r\n",
          "\t\t\t\t\t}\r\n\t\t\t\t\tSize Type=720 x 576\r\n\t\t\t\t\tType=menu\r\n\t\t\t\t\tImage Type=Image\r\n"
          "\t\t\t\t}\r\n"}) {
        EXPECT_NE(item.find(part), std::string::npos) << part << item;
    }
    std::size_t items = 0;
    for (std::size_t p = 0; (p = text.find("Item=Sub-Picture", p)) != std::string::npos; ++p) ++items;
    EXPECT_EQ(items, 1u);
    EXPECT_TRUE(text.ends_with("\t\t\t}\r\n\t\t}\r\n\t}\r\n}\r\n")) << "the data folder object is closed";
}

// An AC3 stream whose first frame header is damaged is repaired by
// ac3fix.exe: the original is kept as ".broken" and the item shows the
// repaired stream. A stream ac3fix cannot repair stays where it was, and
// its item shows the values the domain's first stream set.
TEST(ScenaristData, ADamagedAc3StreamIsRepairedBeforeItsItemIsWritten) {
    KESTROVA_REQUIRE_FFMPEG();
    DataJob f;
    AddStandInTools(f.launcher, KESTROVA_STANDIN_PATH);
    VOB_ID_Properties& vob = f.AddVob("Video", 1);
    vob.Audio_Present = -1;
    vob.Audio_Stream_Quantity = 3;  // stream 3 was never demultiplexed
    const std::string made = f.temp.Host("tone.ac3");
    const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=f=440:d=1:sample_rate=48000 "
                                "-ac 2 -c:a ac3 -b:a 192k -f ac3 '" + made + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    const std::string tone = f.temp.Read("tone.ac3");
    constexpr std::size_t kFrame = 768;  // 192 kbit/s at 48 kHz
    ASSERT_EQ(tone.size() % kFrame, 0u);
    std::string firstBad = tone;
    firstBad[4] = static_cast<char>(firstBad[4] | 0x3F);  // a frame size code the table lacks
    std::string allBad = firstBad;
    for (std::size_t at = 0; at < allBad.size(); at += kFrame) allBad[at + kFrame / 2] ^= 0x5A;
    f.temp.Write("Job/D_VTS_01_0/DEMUXED/1-001.ac3", firstBad);
    f.temp.Write("Job/D_VTS_01_0/DEMUXED/2-001.ac3", allBad);

    GenerateAudioData(f.job, f.run, f.file);
    const std::string& text = f.file.Text();
    const std::string log = f.Log();
    const std::string folder = "K:\\Job\\D_VTS_01_0\\DEMUXED\\";
    EXPECT_NE(log.find("Corrupt ac3 stream found - fixing " + folder + "1-001.ac3"), std::string::npos);
    EXPECT_NE(log.find("Corrupt ac3 stream found - fixing " + folder + "2-001.ac3"), std::string::npos);
    EXPECT_EQ(f.temp.Read("Job/D_VTS_01_0/DEMUXED/1-001.broken"), firstBad);
    EXPECT_NE(f.temp.Read("Job/D_VTS_01_0/DEMUXED/1-001.ac3"), firstBad);
    EXPECT_EQ(f.temp.Read("Job/D_VTS_01_0/DEMUXED/2-001.ac3"), allBad);
    EXPECT_FALSE(f.temp.Exists("Job/D_VTS_01_0/DEMUXED/2-001.broken"));

    const std::string first = Item(text, "VTS_1_1_001_80");
    for (const char* line : {"\tDrop Type=Drop frame\r\n", "\tFile=K:\\Job\\D_VTS_01_0\\DEMUXED\\1-001.ac3\r\n",
                             "\tAudio Type=AC3\r\n\t\t\t\t\tBit rate=192000\r\n\t\t\t\t\tChannel=2 : 0\r\n"
                             "\t\t\t\t\tLFE On=No\r\n"}) {
        EXPECT_NE(first.find(line), std::string::npos) << line << first;
    }
    EXPECT_NE(Item(text, "VTS_1_2_001_81").find("\tBit rate=192000\r\n\t\t\t\t\tChannel=2 : 0\r\n"), std::string::npos);
    EXPECT_EQ(text.find("VTS_1_3_001_82"), std::string::npos);
}

}  // namespace
}  // namespace kestrova

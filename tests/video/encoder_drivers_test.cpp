// The per-asset encoder drivers: chapter trims, part files and their join,
// the QuEnc lines and the HC settings, with small shell stand-ins.
#include <gtest/gtest.h>

#include "assets/asset_stage_fixture.h"
#include "assets/mpeg_test_streams.h"
#include "video/encode_retry.h"
#include "video/encoder_drivers.h"

namespace kestrova {
namespace {

constexpr const char* kFrameServing = "Job/D_VTS_01_0/FRAMESERVING/";

class EncoderDrivers : public test::AssetStageFixture {
public:
    EncoderDrivers() {
        job.DiscModel.Item(1).Root = "K:\\Job";
        Domain().OutputDir = job.WorkFolder;
        Domain().Video.Item(1).Display_Mode = "16 : 9";
    }

    // A "Video" VOB id of three cells, chapters at 100 and 250, with its script.
    VOB_ID_Properties& ThreeChapters() {
        auto& vob = AddVob({100, 150, 80});
        vob.Vob_Type = "Video";
        vob.CCE_Encoded = -1;
        vob.Frames = 330;
        vob.QuencAVS = job.WorkFolder + "\\FRAMESERVING\\001.avs";
        vob.CELL_ID.Item(1).ChapterPoint = 100;
        vob.CELL_ID.Item(2).ChapterPoint = 250;
        Put(std::string(kFrameServing) + "001.avs",
            "import(\"K:\\Program\\new.avs\\addaudio.avs\")\r\nMpeg2Source(\"001.d2v\")\r\n\r\nTrim(5,6)\r\n"
            "AddAudio()\r\nConvertToYUY2()\r\n");
        return vob;
    }
};

TEST_F(EncoderDrivers, AVideoVobIdIsEncodedOnceAChapterAndItsPartsJoined) {
    ThreeChapters();
    // The encoder leaves the script's Trim line as the VOB id's stream.
    const std::string folder = temp.Host(kFrameServing);
    StandIn("EclPro.exe", "grep Trim '" + folder + "001.avs' > '" + folder + "001.mpv'");
    EnableEncodingProcess(job, "K:\\Procoder\\EclPro.exe");

    EXPECT_EQ(Commands().front(), "K:\\Procoder\\EclPro.exe -ecl \"K:\\Job\\ECLs\\CCE.(VTS001)001.ecl\" -batch");
    EXPECT_EQ(temp.Read(std::string(kFrameServing) + "001.pt.001.mpv"), "Trim(0,99)\r\n");
    EXPECT_EQ(temp.Read(std::string(kFrameServing) + "001.pt.003.mpv"), "Trim(250,0)\r\n");
    EXPECT_EQ(temp.Read(std::string(kFrameServing) + "001.mpv"), "Trim(0,99)\r\nTrim(100,249)\r\nTrim(250,0)\r\n");
    // The Trim stands right above the "Audio" line, below the source; the
    // header's "addaudio.avs" is not that line, and blank lines are gone.
    EXPECT_EQ(temp.Read(std::string(kFrameServing) + "001.avs"),
              "import(\"K:\\Program\\new.avs\\addaudio.avs\")\r\nMpeg2Source(\"001.d2v\")\r\nTrim(250,0)\r\n"
              "AddAudio()\r\nConvertToYUY2()\r\n");
    EXPECT_FALSE(job.State().Encoding);
}

TEST_F(EncoderDrivers, QuencLinesCarryTheFieldTwiceAndAStillTakesTheStillRate) {
    auto& video = ThreeChapters();
    video.QuencProg = " -interlaced";
    video.Audio.Add().Bitrate = 448;
    auto& still = AddVob({1});
    still.Vob_Type = "StillMenu";
    still.Field_Order = 1;
    still.CELL_ID.Item(1).CCE_Encoded = -1;
    still.CELL_ID.Item(1).QuencAVS = job.WorkFolder + "\\FRAMESERVING\\002_001.avs";
    Put(std::string(kFrameServing) + "002_001.avs", "AddAudio()\r\n");
    auto& o = job.Options();
    o.QuencPath = "K:\\QuEnc\\QuEnc.exe";
    o.CCE_Average_Bitrate = 6000;
    o.CCE_Method = 2;
    o.Close_Gops = 1;
    o.Intra = 10;
    o.m = 3;
    o.N = 5;
    StandIn("QuEnc.exe", "true");
    EnableQuenc(job);

    const auto commands = Commands();
    ASSERT_EQ(commands.size(), 5u) << "three chapters, their join, one still";
    EXPECT_EQ(commands[1],
              "K:\\QuEnc\\QuEnc.exe -i \"K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.avs\" -o "
              "\"K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.pt.002.m2v\" -tff -maxbitrate 9352 -interlaced -b 6000 -2 "
              "-cgop -aspectratio 16:9 -tff -dc 10 -gopsize 15 -noextreme -notrell -mpeg2mux nomux -maxbframes 2 "
              "-vbr -mpeg2 -hq -scene -auto -close");
    EXPECT_NE(commands[3].find("JoinM2V.bat"), std::string::npos);
    EXPECT_EQ(temp.Read(std::string(kFrameServing) + "JoinM2V.bat"),
              "Copy /b K:\\Job\\D_VTS_01_0\\FRAMESERVING\\*001.pt.*.m2v K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.mpv\r\n");
    EXPECT_NE(commands[4].find("002_001.m2v\" -bff -maxbitrate 9800 -b 7500 -2"), std::string::npos) << commands[4];
}

TEST_F(EncoderDrivers, HcSettingsHoldTheChaptersOneFrameOnAndTheNamedMatrix) {
    auto& vob = ThreeChapters();
    vob.QuencProg = " -interlaced";
    vob.Field_Order = 1;
    auto& o = job.Options();
    o.HCPath = "K:\\HC\\HCbatch_015a.exe";
    o.HCMatrix = 2;
    o.HCProfile = 2;
    o.Intra = 9;
    o.CCE_Average_Bitrate = 5000;
    StandIn("HCbatch_015a.exe", "true");
    EnableHCProcess(job);

    EXPECT_EQ(Commands(), std::vector<std::string>{"K:\\HC\\HCbatch_015a.exe -ini K:\\Job\\ECLs\\001.ini"});
    EXPECT_TRUE(Shown(" *Encoding: VTS# 1, VOB# 1"));
    EXPECT_EQ(temp.Read("Job/ECLs/001.ini"),
              "*ASPECT 16:9\r\n*INTERLACED\r\n*BFF\r\n*BITRATE 5000\r\n*DC_PREC 9\r\n"
              "*INFILE K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.avs\r\n*MAXBITRATE 9800\r\n"
              "*OUTFILE K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.mpv\r\n*BIAS 30\r\n*LASTIFRAME\r\n"
              "*LOGFILE K:\\Job\\ECLs\\HCEncoder.log\r\n*MATRIX NOTCH\r\n*PROFILE Best\r\n*WAIT 0\r\n"
              "*CHAPTER 2\r\n101\r\n251\r\n");
}

TEST_F(EncoderDrivers, TheRepairListHoldsTheItemsWithoutAWholeStream) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = test::MpegTestStreams::Get();
    ASSERT_FALSE(streams.Progressive25().empty());
    std::string whole = streams.Folder().Read("p25.m2v");
    whole += std::string("\x00\x00\x01\xB7", 4);
    Put(std::string(kFrameServing) + "001.mpv", whole);
    Put(std::string(kFrameServing) + "002.mpv", whole.substr(0, whole.size() / 2));  // the batch died in it
    const auto item = [](const std::string& name) {
        const std::string base = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\" + name;
        return "[item]\r\ntitle=" + base + ".avs\r\nvid_file0=" + base + ".mpv\r\n\r\n[file]\r\nname=" + base +
               ".avs\r\nencode_last=37\r\n";
    };
    Put("Job/ECLs/CCE1.ecl", "; Kestrova -- Encoder Control List\r\n\r\n" + item("001") + item("002") + item("003"));
    Put("Job/ECLs/CCE1 Original.ecl", item("004"));
    auto& o = job.Options();
    o.UseCCE = 1;
    job.State().CCEVersion = "2.70.2.8";
    job.State().CCEPath = "K:\\CCE\\cctspt.exe";
    StandIn("cctspt.exe", "true");

    EXPECT_TRUE(ConfirmAssetEncoding(job, 1));
    // Each item's own lines from its title on, the comment line, a blank-bearing line after the list.
    const auto lines = [&item](const std::string& name) {
        const std::string text = item(name);
        return text.substr(text.find("title="));
    };
    EXPECT_EQ(temp.Read("Job/ECLs/Repair.ecl"), "; Kestrova -- Encoder Control List\r\n[item]\r\n" + lines("002") +
                                                   "[item]\r\n" + lines("003") + " \r\n");
    EXPECT_EQ(Commands(), std::vector<std::string>{"K:\\CCE\\cctspt.exe -ecl \"K:\\Job\\ECLs\\Repair.ecl\" -batch"});
    EXPECT_TRUE(Logged("ASSETS WERE NOT ENCODED - RECREATED ECL FILE TO RETRY RUN#1"));

    // Once every stream is whole, the list is written and removed again.
    Put(std::string(kFrameServing) + "002.mpv", whole);
    Put(std::string(kFrameServing) + "003.mpv", whole);
    EXPECT_FALSE(ConfirmAssetEncoding(job, 2));
    EXPECT_FALSE(Has("Job/ECLs/Repair.ecl"));
    EXPECT_TRUE(Logged("Removing this ECL - nothing written to it: Repair.ecl"));
}

}  // namespace
}  // namespace kestrova

// The stream flag stage through the native revpulldown on streams ffmpeg
// made: the command lines each kind of asset gets, what the patched files
// show to ffprobe, the dummy stream, the pan-scan copy, and the strip list.
#include "video/mpeg_patching.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "assets/asset_stage_fixture.h"
#include "assets/mpeg_test_streams.h"
#include "job/tool_table.h"

namespace kestrova {
namespace {

namespace fs = std::filesystem;
using test::MpegTestStreams;

constexpr const char* kFrameServing = "K:\\Job\\D_VTS_01_0\\FRAMESERVING";

class UpdateMpv : public test::AssetStageFixture {
public:
    UpdateMpv() {
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        // The dummy streams the build made beside the stand-in.
        const fs::path build = fs::path(KESTROVA_STANDIN_PATH).parent_path();
        files.MakeFolder(job.ProgramFolder);
        for (const char* name : {"PAL.mpv", "NTSC.mpv"}) fs::copy_file(build / name, temp.Host("Program/") + name);
        Domain().OutputDir = job.WorkFolder;
        Domain().Video.Item(1).Display_Mode = "4 : 3";
    }
    std::string Host(const std::string& drivePath) const { return files.Paths().ToHost(drivePath); }
};

TEST_F(UpdateMpv, FlagsEveryAssetForAnNtscTargetAndMakesTheDummyStream) {
    KESTROVA_REQUIRE_FFMPEG();
    job.Timing.VideoStandard = "NTSC";
    job.Options().UseHC = 1;  // an encoder whose 23.976 streams get their pulldown here
    const std::string video = std::string(kFrameServing) + "\\001.mpv";
    const std::string cell = std::string(kFrameServing) + "\\002_01.mpv";
    fs::copy_file(MpegTestStreams::Get().Film(), Host(video));
    fs::copy_file(MpegTestStreams::Get().InterlacedTff30(), Host(cell));
    auto& first = AddVob({37});
    first.Vob_Type = "Video";
    first.CCE_AVS = video;
    auto& second = AddVob({37, 5});
    second.Vob_Type = "StillMenu";
    second.CELL_ID.Item(1).CCE_AVS = cell;
    second.CELL_ID.Item(1).VobType = "StillMenu";
    Played(2, 2).DummyCell = -1;

    UpdateMPV(job, "", "", "", 2);

    const std::string rev = "K:\\Program\\revpulldown.exe ";
    EXPECT_EQ(Commands(),
              (std::vector<std::string>{
                  rev + video + " " + video + ".m2v -drop_frame true -ignoresequenceendcode",
                  rev + cell + " " + cell + ".m2v -nopulldown -drop_frame true -framerate 29.97 -ignoresequenceendcode",
                  rev + "K:\\Program\\NTSC.mpv K:\\Job\\D_VTS_01_0\\NEW_M2V\\Dummy.M2V -nopulldown -drop_frame true "
                        "-framerate 29.97 -aspect_ratio 4:3 -ignoresequenceendcode"}));
    EXPECT_TRUE(Logged("\tFrameRate is 23.976"));
    EXPECT_TRUE(Logged("Processing StillMenu File VOBID: 2 CELLID: 1"));
    EXPECT_FALSE(files.FileExists(video));
    EXPECT_FALSE(files.FileExists(cell));

    // The film leaves at 29.97 in 2:3 cadence: two fields, three, two, three.
    const auto frames = test::ProbeFrames(Host(video + ".m2v"));
    ASSERT_EQ(frames.size(), 37u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].RepeatPict, i % 2 == 1 ? 1 : 0) << "frame " << i;
        EXPECT_EQ(frames[i].TopFieldFirst, i % 4 < 2) << "frame " << i;
    }
    const std::string probe = test::CaptureCommand("ffprobe -v error -show_entries stream=r_frame_rate:frame_side_data="
                                                   "timecode -of compact '" + Host(video + ".m2v") + "'");
    EXPECT_NE(probe.find("00:00:00;00"), std::string::npos) << probe;
    EXPECT_TRUE(files.FileExists("K:\\Job\\D_VTS_01_0\\NEW_M2V\\Dummy.M2V"));
    EXPECT_TRUE(files.FileExists("K:\\Job\\D_VTS_01_0\\Title_Dummy.M2V"));
    EXPECT_TRUE(files.FileExists("K:\\Job\\Title_Dummy.M2V"));
    EXPECT_TRUE(Shown("Processing with RevPulldown Complete"));
}

TEST_F(UpdateMpv, PalWithoutPanScanIsOnlyRenamedAndStreamsWithoutHeadersStayQuiet) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string video = std::string(kFrameServing) + "\\001.mpv";
    fs::copy_file(MpegTestStreams::Get().Progressive25(), Host(video));
    auto& vob = AddVob({37});
    vob.Vob_Type = "Video";
    vob.CCE_AVS = video;

    UpdateMPV(job, "", "", "", 2);

    EXPECT_TRUE(Logged("File is PAL and P-S not needed"));
    EXPECT_TRUE(files.FileExists(video + ".m2v"));
    EXPECT_EQ(Commands().size(), 1u);  // the dummy stream only

    // A header beyond the first 2048 bytes is not looked for: no rate is reported.
    std::ofstream late(Host("K:\\late.m2v"), std::ios::binary);
    late << std::string(3000, '\xFF') << std::ifstream(MpegTestStreams::Get().Progressive25(), std::ios::binary).rdbuf();
    late.close();
    const std::size_t before = LogLines().size();
    EXPECT_FALSE(GetEncodedFrameRate(job, "K:\\late.m2v"));
    EXPECT_EQ(LogLines().size(), before);
    EXPECT_FALSE(GetEncodedFrameRate(job, ""));
    EXPECT_TRUE(Logged("\tVobid not re-encoded - file does not exist"));
}

TEST_F(UpdateMpv, APanScanCopyIsMadeInTwoRunsWithFreshExtensionsAndNoTemporaryLeft) {
    KESTROVA_REQUIRE_FFMPEG();
    Domain().Video.Item(1).Display_Mode = "16 : 9 (Pan-scan)";
    const std::string source = "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.m2v";
    const std::string target = "K:\\Job\\D_VTS_01_0\\NEW_M2V\\001.m2v";
    fs::copy_file(MpegTestStreams::Get().InterlacedTff25(), Host(source));

    UpdateMPV(job, source, target, "VOB 1", 2);

    const std::string flags = " -aspect_ratio 16:9 -nopulldown -ignoresequenceendcode -drop_frame false -framerate 25";
    EXPECT_EQ(Commands(), (std::vector<std::string>{
                                "K:\\Program\\revpulldown.exe " + source + " " + target + "temp.m2v" + flags +
                                    " -ps_remove -novif",
                                "K:\\Program\\revpulldown.exe " + target + "temp.m2v " + target + flags + " -ps_add"}));
    EXPECT_FALSE(files.FileExists(target + "temp.m2v"));
    std::ifstream in(Host(target), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    EXPECT_EQ(test::ExtensionOffsets(bytes, 7).size(), 37u);  // a picture display extension a picture
    EXPECT_EQ(test::ExtensionOffsets(bytes, 2).size(), test::StartCodeOffsets(bytes, 0xB3).size());
    EXPECT_EQ(static_cast<unsigned char>(bytes[7]) >> 4, 3);  // 16:9
}

TEST_F(UpdateMpv, RevpulldownRefusesASwitchItDoesNotKnowOrOneWithoutItsValue) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string source = "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.m2v";
    fs::copy_file(MpegTestStreams::Get().Progressive25(), Host(source));
    for (const std::string switches : {" -ps_add -pulldown", " -drop_frame true -framerate"}) {
        runner.ShellAndWait("K:\\Program\\revpulldown.exe " + source + " K:\\out.m2v" + switches, 0);
        EXPECT_EQ(runner.History().back().ExitCode, 1) << switches;
        EXPECT_FALSE(files.FileExists("K:\\out.m2v")) << switches;
    }
}

TEST_F(UpdateMpv, VobStrippingWithoutAPreviewAppliesTheLastStripList) {
    job.Options().PreviewVOBS = 1;
    job.State().Root = "K:\\Job";
    AddVob({10}).Vob_Type = "Video";
    AddVob({10}).Vob_Type = "Video";
    Put("Job/DummyVobs.txt", "VTS=2,VOB=2\r\nVOB=1\r\nVTS=2,VOB=9\r\n");

    VobStripping(job);

    EXPECT_EQ(Domain().Vob_Id.Item(1).Dummy, 0);
    EXPECT_NE(Domain().Vob_Id.Item(2).Dummy, 0);
    EXPECT_NE(Domain().Vob_Id.Item(2).ForcedStrip, 0);
    EXPECT_NE(Domain().ForcedStrip, 0);
    EXPECT_TRUE(Logged("Initiating VOB stripping"));
    EXPECT_TRUE(Logged("K:\\Job\\DummyVobs.txt line 2 is not \"VTS=d,VOB=v\" and is passed over: VOB=1"));
}

}  // namespace
}  // namespace kestrova

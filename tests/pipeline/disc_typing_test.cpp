// The asset stage over real discs with the native tools: each menu VOB is
// split, typed as its content is, and a zero-length cell is found and
// measured.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

// "Final VOBTYPE for VOBID: 002 is StillMenu" lines, per domain in order.
std::vector<std::string> FinalTypes(const test::PipelineFixture& f) {
    std::vector<std::string> types;
    const std::string mark = "Final VOBTYPE for VOBID: ";
    for (const auto& line : f.RunLogLines()) {
        if (line.rfind(mark, 0) == 0) types.push_back(line.substr(mark.size()));
    }
    return types;
}

void RunWithNativeTools(test::PipelineFixture& f) {
    BeginRoutines(f.job);
    ASSERT_TRUE(f.job.Stages.Ended()) << f.job.Stages.FailureReason();
}

TEST(DiscTyping, MotionAndStillMenusAreTypedAsTheyAre) {
    test::PipelineFixture buttons;
    RunWithNativeTools(buttons);
    // VMG: a motion menu with audio and a still menu; VTS 1: two still menus.
    EXPECT_EQ(FinalTypes(buttons), (std::vector<std::string>{"001 is Video", "002 is StillMenu", "001 is StillMenu",
                                                             "002 is StillMenu"}));
    EXPECT_TRUE(buttons.files.FileExists("K:\\OUT\\D_VIDEO_TS\\DEMUXED\\001.M2V"));
    EXPECT_TRUE(buttons.files.FileExists("K:\\OUT\\D_VIDEO_TS\\DEMUXED\\001DELAY[-10].MP2"));

    test::PipelineFixture languages("ntsc-vts-menus-2lang");
    RunWithNativeTools(languages);
    // VMG: one still menu; VTS 1: four still menus per language and, fifth in
    // English, a motion menu with two AC3 streams.
    std::vector<std::string> expected{"001 is StillMenu"};
    for (int vob = 1; vob <= 9; ++vob) {
        expected.push_back("00" + std::to_string(vob) + (vob == 5 ? " is Video" : " is StillMenu"));
    }
    EXPECT_EQ(FinalTypes(languages), expected);
    // Its streams start 115 ms after the video (120 ms of offset less the AC3
    // encoder's 256 samples of priming); the audio stage finishes both.
    const auto lines = languages.RunLogLines();
    for (const char* stream : {"80", "81"}) {
        const std::string renamed = std::string("Renamed to = K:\\OUT\\D_VTS_01_0\\DEMUXED\\005-") + stream + "-DELAY[115].AC3";
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [&](const std::string& line) { return line.find(renamed) != std::string::npos; }),
                  1)
            << renamed;
    }
    EXPECT_TRUE(languages.files.FileExists("K:\\OUT\\D_VTS_01_0\\DEMUXED\\2-005.ac3"));
}

TEST(DiscTyping, AZeroLengthCellIsFoundAndMeasured) {
    test::PipelineFixture f("pal-menu-dummy-cells");
    RunWithNativeTools(f);
    EXPECT_EQ(f.CountRunLog("Dummy Cell detected VIDEO_TS  vob =3 cell =2"), 1);
    EXPECT_EQ(f.CountRunLog("VTs=2, Vob=2=Dummy"), 1);
    // The cell was split out and indexed; its index counts real pictures.
    ASSERT_TRUE(f.files.FileExists("K:\\OUT\\D_VIDEO_TS\\DEMUXED_CELLID\\003_002.M2V"));
    const auto log = f.files.ReadLines("K:\\OUT\\D_VIDEO_TS\\FRAMESERVING\\003_002.log");
    ASSERT_FALSE(log.empty());
    ASSERT_EQ(log[0].rfind("D2V=", 0), 0u) << log[0];
    EXPECT_GT(std::stoi(log[0].substr(4)), 1) << "the cell the IFO calls empty holds motion video";
}

}  // namespace
}  // namespace kestrova

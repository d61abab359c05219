// The two progress bars.
#include "job/progress.h"

#include <gtest/gtest.h>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

TEST(Progress, JobBarStepsByMenuCountAndStageBarFollowsTheTool) {
    test::JobFixture f;
    auto& state = f.job.State();
    state.TotalMenus = 2;
    SetProgressMax(f.job);
    EXPECT_EQ(state.ProgressCounter, 3);  // 90 / 26
    state.cProcedure = "Demuxing";
    SetProgress(f.job, false);
    SetProgress(f.job, true);
    EXPECT_EQ(state.Progress, 8);
    EXPECT_EQ(f.view.JobValue, 8);
    EXPECT_EQ(f.view.StageValue, 0);

    UpdateProgress(f.job, 1, 3, "Encoding", false, false);
    EXPECT_EQ(f.view.StageValue, 33);
    EXPECT_EQ(f.view.JobValue, 8);
    EXPECT_EQ(state.cProcedure, "Encoding");
    UpdateProgress(f.job, 2, 3, "Encoding", false, true);
    EXPECT_EQ(f.view.JobValue, 67);  // mirrors the stage bar
    UpdateProgress(f.job, 5, 3, "Encoding", false, false);  // past the maximum: the bar stays
    EXPECT_EQ(f.view.StageValue, 67);
    UpdateProgress(f.job, 0, 0, "x", true, false);
    EXPECT_EQ(f.view.StageValue, 0);

    // Many big steps never push the bar past its end.
    for (int i = 0; i < 30; ++i) SetProgress(f.job, true);
    EXPECT_EQ(f.view.JobValue, 100);

    state.TotalMenus = 0;  // a job without menus has no steps
    SetProgressMax(f.job);
    EXPECT_EQ(state.ProgressCounter, 0);
}

TEST(Progress, DemuxAndEncodingReadWhatTheToolsWrote) {
    test::JobFixture f;
    auto& state = f.job.State();
    state.CurrentFolder = "K:\\W\\DEMUXED";
    DemuxProgress(f.job);  // FolderSize not set: nothing moves
    EXPECT_EQ(f.view.Caption, "");

    f.temp.Write("W/DEMUXED/001.VOB", std::string(250, 'x'));
    state.FolderSize = 1000;
    DemuxProgress(f.job);
    EXPECT_EQ(f.view.Caption, "Demuxing");
    EXPECT_EQ(f.view.StageValue, 25);

    f.job.WorkFolder = "K:\\W";
    f.temp.Write("W/FRAMESERVING/001.mpv", "x");
    f.temp.Write("W/DEMUXED_CELLID/001_001.MPV", "x");
    f.temp.Write("W/DEMUXED_CELLID/001_002.mpv", "x");
    state.VideoCount = 4;
    f.job.FileList = {"", "kept"};
    VideoConversionProgress(f.job);
    EXPECT_EQ(f.view.Caption, "Encoding");
    EXPECT_EQ(f.view.StageValue, 25);
    EXPECT_EQ(f.job.FileList, (std::vector<std::string>{"", "kept"}));
    f.job.RejigMode = -1;
    VideoConversionProgress(f.job);
    EXPECT_EQ(f.view.StageValue, 50);
}

}  // namespace
}  // namespace kestrova

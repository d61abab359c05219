// EnableScenes: cell frames and scene times of motion and still VOB ids, the
// widening of short cells, the running total across VOB ids.
#include <gtest/gtest.h>

#include "asset_stage_fixture.h"
#include "assets/frameserving.h"

namespace kestrova {
namespace {

class SceneTimes : public test::AssetStageFixture {
protected:
    // A VOB id of that type whose cells play for these frame counts.
    VOB_ID_Properties& AddTimedVob(const std::string& type, const std::vector<std::int32_t>& cellFrames) {
        auto& vob = AddVob(cellFrames);
        vob.Vob_Type = type;
        for (std::size_t c = 1; c <= cellFrames.size(); ++c) {
            Played(Domain().Vob_Id.Count(), c).BCD = Frames_To_DVD_TimeCode(job.Timing, cellFrames[c - 1], false);
        }
        return vob;
    }
};

template <typename Field>
std::vector<Field> Of(const VOB_ID_Properties& vob, Field CELL_ID_Properties::*field) {
    std::vector<Field> values;
    for (const auto& cell : vob.CELL_ID) values.push_back(cell.*field);
    return values;
}

using Frames = std::vector<std::int32_t>;
using Times = std::vector<std::string>;

TEST_F(SceneTimes, ShortCellsAreWidenedAndTheTotalRunsOnIntoTheNextVob) {
    // 10 frames: 5 taken from the cell before; exactly 15: starts where it
    // did, yet the cell before ends a frame early; 16: left alone.
    auto& video = AddTimedVob("Video", {40, 10, 15, 16});
    auto& slides = AddTimedVob("SlideShow", {25, 50});
    auto& unplayed = AddTimedVob("Video", {30, 30});
    Domain().Video.Item(1).VobId.Item(3).CellId.Remove(2);
    EnableScenes(job);

    EXPECT_EQ(Of(video, &CELL_ID_Properties::StartFrame), (Frames{0, 35, 50, 65}));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::EndFrame), (Frames{34, 49, 65, 81}));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::Track_Scene_StartTime),
              (Times{"00:00:00;00", "00:00:01;10", "00:00:02;00", "00:00:02;15"}));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::ActualSceneTimeWithoutDrop),
              Of(video, &CELL_ID_Properties::Track_Scene_StartTime));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::ActualSceneEndTimeWithOutDrop),
              (Times{"00:00:01;15", "00:00:02;00", "00:00:02;15", "00:00:03;06"}));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::Data_End_Time),
              (Times{"00:00:01;14", "00:00:01;24", "00:00:02;14", "00:00:03;05"}));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::Track_Duration),
              Of(video, &CELL_ID_Properties::ActualSceneEndTimeWithOutDrop));
    EXPECT_EQ(Of(video, &CELL_ID_Properties::TotalFrames), (Frames{0, 39, 49, 64}));

    // Every cell of another type counts from 0; its total starts at the
    // frames of the VOB ids before.
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::StartFrame), (Frames{0, 0}));
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::EndFrame), (Frames{25, 50}));
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::Data_End_Time), (Times{"00:00:00;24", "00:00:01;24"}));
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::Track_Duration), (Times{"00:00:01;00", "00:00:02;00"}));
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::ActualSceneTimeWithDrop), (Times{"00:00:00;00", "00:00:00;00"}));
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::ActualSceneEndTimeWithDrop), (Times{"00:00:00;24", "00:00:01;24"}));
    EXPECT_EQ(Of(slides, &CELL_ID_Properties::TotalFrames), (Frames{81, 106}));

    // A cell without its playback entry keeps what it had.
    EXPECT_EQ(Of(unplayed, &CELL_ID_Properties::EndFrame), (Frames{30, 0}));
    EXPECT_TRUE(Logged("EnableScenes: VOB id 3 cell 2 has no playback time in the model - its scene times are not set"));
}

TEST_F(SceneTimes, NtscTimesWithDropFrameSkipTwoLabelsAMinute) {
    job.Timing.VideoStandard = "NTSC";
    auto& video = AddTimedVob("Video", {1800, 30});
    EnableScenes(job);
    const auto& second = video.CELL_ID.Item(2);
    EXPECT_EQ(second.StartFrame, 1800);
    EXPECT_EQ(second.ActualSceneTimeWithoutDrop, "00:01:00:00");
    EXPECT_EQ(second.ActualSceneTimeWithDrop, "00:01:00:02");
    EXPECT_EQ(second.ActualSceneEndTimeWithOutDrop, "00:01:01:00");
    EXPECT_EQ(second.ActualSceneEndTimeWithDrop, "00:01:01:02");
}

}  // namespace
}  // namespace kestrova

// The dummy scan without the asset stage: VOBs without frames are dummy,
// nothing is split for them, and a zero-length cell among real ones is marked
// but keeps its length when nothing can measure it. (The measurement itself is
// tested with the asset stage in tests/assets/dummy_test.cpp.)
#include "dvd/dummy_scan.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

// A domain of VOBs whose cells have the given frame counts, the twin cell
// lists extended together as the reader does.
void AddDomain(JobContext& job, const std::vector<std::vector<std::int32_t>>& vobs) {
    auto& vts = job.DiscModel.Add();
    auto& video = vts.Video.Add();
    for (const auto& cells : vobs) {
        auto& asset = vts.Vob_Id.Add();
        auto& played = video.VobId.Add();
        for (std::int32_t frames : cells) {
            asset.CELL_ID.Add().Frames = frames;
            played.CellId.Add().Frames = frames;
        }
    }
}

class DummyScanTest : public testing::Test {
protected:
    void SetUp() override {
        fx.job.JobRoot = "K:\\Job";
        fx.job.Timing.VideoStandard = "PAL";
    }
    test::JobFixture fx;
};

TEST_F(DummyScanTest, VobsWithoutFramesAreDummyAndNothingIsSplit) {
    auto& job = fx.job;
    AddDomain(job, {{0, 0}, {}, {3}});
    int calls = 0;
    DummyCellStages stages;
    stages.DemuxByCell = [&calls](JobContext&, const std::string&) { ++calls; };
    stages.MeasureCell = [&calls](JobContext&, std::int16_t, std::int16_t) { return ++calls; };
    DummyScan(job, 1, "K:\\DVD\\VIDEO_TS\\VIDEO_TS.IFO", stages);

    const auto& vts = job.DiscModel.Item(1);
    EXPECT_EQ(vts.Vob_Id.Item(1).Dummy, -1);
    EXPECT_EQ(vts.Vob_Id.Item(2).Dummy, -1) << "a VOB without cells";
    EXPECT_EQ(vts.Vob_Id.Item(3).Dummy, 0);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(vts.Split_Cell, 0);
    EXPECT_FALSE(job.Files.FolderExists("K:\\Job\\D_VIDEO_TS"));
}

TEST_F(DummyScanTest, WithoutTheAssetStageCellsAreMarkedButKeepTheirLength) {
    auto& job = fx.job;
    AddDomain(job, {{0, 25}});
    DummyScan(job, 1, "K:\\DVD\\VIDEO_TS\\VIDEO_TS.IFO", {});

    const auto& vts = job.DiscModel.Item(1);
    EXPECT_EQ(vts.Split_Cell, -1);
    EXPECT_EQ(vts.Video.Item(1).VobId.Item(1).CellId.Item(1).DummyCell, -1);
    EXPECT_EQ(vts.Video.Item(1).VobId.Item(1).CellId.Item(1).Frames, 0);
    EXPECT_EQ(job.WorkFolder, "") << "nothing to demultiplex with, so no work folder";
    const std::string shown = "Dummy Cell detected VIDEO_TS  vob =1 cell =1";
    EXPECT_TRUE(std::any_of(fx.view.Lines.begin(), fx.view.Lines.end(), [&shown](const std::string& line) {
        return line.ends_with(shown);
    })) << "the detection is shown";
}

}  // namespace
}  // namespace kestrova

// The dummy scan: VOBs without frames are dummy, zero-length cells among
// real ones are measured once the domain's menu VOB is split by cell.
#include "dvd/dummy_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "disc_reading.h"
#include "job/timecode.h"
#include "support/fixtures.h"
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

struct Calls {
    std::vector<std::tuple<int, std::string>> Prepared;
    std::vector<std::tuple<int, int, int>> Measured;
};

DummyCellStages Recording(Calls& calls) {
    DummyCellStages stages;
    stages.DemuxByCell = [&calls](JobContext& job, const std::string& vob) {
        calls.Prepared.emplace_back(job.DomainIndex, vob);
    };
    stages.MeasureCell = [&calls](JobContext& job, std::int16_t vob, std::int16_t cell) {
        calls.Measured.emplace_back(job.DomainIndex, vob, cell);
        return 40 + cell;
    };
    return stages;
}

std::vector<std::string> LogLines(const JobContext& job) {
    std::vector<std::string> lines;
    for (const auto& line : job.Files.ReadLines("K:\\Kestrova.LOG")) lines.push_back(line.substr(line.find('\t') + 1));
    return lines;
}

bool Has(const std::vector<std::string>& lines, const std::string& text) {
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

class DummyScanTest : public testing::Test {
protected:
    void SetUp() override {
        fx.job.Options().Default_Enable_Log = 1;
        fx.job.RunLog.File("K:\\Kestrova.LOG");
        fx.job.JobRoot = "K:\\Job";
        fx.job.Timing.VideoStandard = "PAL";
    }
    test::JobFixture fx;
    Calls calls;
};

TEST_F(DummyScanTest, ZeroCellsBesideRealOnesAreMeasuredAfterOneSplit) {
    auto& job = fx.job;
    AddDomain(job, {{5}});                // the VMG
    AddDomain(job, {{0, 0, 100}, {7}});  // title set 1
    DummyScan(job, 2, "K:\\DVD\\VIDEO_TS\\VTS_01_0.IFO", Recording(calls));

    const auto& vts = job.DiscModel.Item(2);
    EXPECT_EQ(vts.Vob_Id.Item(1).Dummy, 0);
    EXPECT_EQ(vts.Split_Cell, -1);
    EXPECT_EQ(calls.Prepared, (std::vector<std::tuple<int, std::string>>{{2, "K:\\DVD\\VIDEO_TS\\VTS_01_0.VOB"}}));
    EXPECT_EQ(calls.Measured, (std::vector<std::tuple<int, int, int>>{{2, 1, 1}, {2, 1, 2}}));
    EXPECT_EQ(job.DomainIndex, 2);
    EXPECT_TRUE(job.Files.FolderExists("K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID"));

    const auto& cells = vts.Video.Item(1).VobId.Item(1).CellId;
    EXPECT_EQ(std::vector<int>({cells.Item(1).Frames, cells.Item(2).Frames, cells.Item(3).Frames}),
              std::vector<int>({41, 42, 100}));
    EXPECT_EQ(cells.Item(2).BCD, Frames_To_DVD_TimeCode(job.Timing, 42, false));
    EXPECT_EQ(cells.Item(1).DummyCell, -1);
    EXPECT_EQ(cells.Item(3).DummyCell, 0);
    EXPECT_TRUE(Has(LogLines(job), "Dummy Cell detected VTS =1 vob =1 cell =2"));
    EXPECT_EQ(fx.view.Lines.size(), 2u) << "each detection is shown too";
}

TEST_F(DummyScanTest, VobsWithoutFramesAreDummyAndNothingIsSplit) {
    auto& job = fx.job;
    AddDomain(job, {{0, 0}, {}, {3}});
    DummyScan(job, 1, "K:\\DVD\\VIDEO_TS\\VIDEO_TS.IFO", Recording(calls));

    const auto& vts = job.DiscModel.Item(1);
    EXPECT_EQ(vts.Vob_Id.Item(1).Dummy, -1);
    EXPECT_EQ(vts.Vob_Id.Item(2).Dummy, -1) << "a VOB without cells";
    EXPECT_EQ(vts.Vob_Id.Item(3).Dummy, 0);
    EXPECT_TRUE(calls.Prepared.empty());
    EXPECT_TRUE(calls.Measured.empty());
    EXPECT_EQ(vts.Split_Cell, 0);
    EXPECT_TRUE(Has(LogLines(job), "VideoTs, Vob=2=Dummy"));

    AddDomain(job, {{0}});
    DummyScan(job, 2, "K:\\DVD\\VIDEO_TS\\VTS_01_0.IFO", Recording(calls));
    EXPECT_TRUE(Has(LogLines(job), "VTs=2, Vob=1=Dummy"));
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
    EXPECT_TRUE(Has(LogLines(job), "Dummy Cell detected VIDEO_TS  vob =1 cell =1"));
    EXPECT_TRUE(Has(LogLines(job), "ForceD2V is not yet available in this version - stage passed over"));
}

}  // namespace
}  // namespace kestrova

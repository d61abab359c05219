// Progress bars: see progress.h.
#include "job/progress.h"

#include <algorithm>
#include <cmath>

#include "job/folders.h"
#include "job/tool_runner.h"

namespace kestrova {

namespace {

// Counts with GetFileCount's rule while leaving the job's file list as it
// was: the count runs inside tool waits, between a stage's own uses of it.
std::int32_t CountQuietly(JobContext& job, const std::string& folder, const std::string& word) {
    std::vector<std::string> kept = job.FileList;
    const std::int32_t count = GetFileCount(job, folder, word);
    job.FileList = std::move(kept);
    return count;
}

}  // namespace

void SetProgressMax(JobContext& job) {
    auto& state = job.State();
    job.StageBar = 0;
    job.JobBar = 0;
    job.View.ShowStageBar(0, 100);
    job.View.ShowJobBar(0, 100);
    state.Progress = 0;
    state.ProgressCounter = state.TotalMenus > 0 ? static_cast<std::int16_t>(90 / (state.TotalMenus * 13)) : 0;
}

void SetProgress(JobContext& job, bool bigStep) {
    auto& state = job.State();
    state.Progress = static_cast<std::int16_t>(state.Progress + (bigStep ? 5 : state.ProgressCounter));
    UpdateProgress(job, 0, 0, state.cProcedure, true, false);
}

void AdvanceProgress(JobContext& job, std::int16_t position) {
    auto& state = job.State();
    if (state.Progress >= position) return;
    state.Progress = position;
    UpdateProgress(job, 0, 0, state.cProcedure, true, false);
}

void UpdateProgress(JobContext& job, std::int64_t value, std::int64_t maximum, const std::string& caption, bool reset,
                    bool mirror) {
    auto& state = job.State();
    job.View.ShowCaption(caption);
    state.cProcedure = caption;
    if (reset) {
        job.StageBar = 0;
    } else if (maximum >= 1 && value >= 1 && value <= maximum) {
        const double percent = static_cast<double>(value) / static_cast<double>(maximum) * 100.0;
        if (percent <= 100.0) job.StageBar = static_cast<int>(std::nearbyint(percent));
    }
    // The bar cannot show more than its maximum, however many steps a long
    // job adds up.
    job.JobBar = mirror ? job.StageBar : std::clamp<int>(state.Progress, 0, 100);
    job.View.ShowStageBar(job.StageBar, 100);
    job.View.ShowJobBar(job.JobBar, 100);
    ServeMessages(job);
}

void DemuxProgress(JobContext& job) {
    auto& state = job.State();
    if (state.FolderSize <= 0) return;
    UpdateProgress(job, GetDirectorySize(job, state.CurrentFolder), state.FolderSize, "Demuxing", false, false);
}

void VideoConversionProgress(JobContext& job) {
    std::int32_t count = 0;
    if (job.RejigMode != 0) {
        count = CountQuietly(job, job.WorkFolder + "\\DEMUXED", "M2V") +
                CountQuietly(job, job.WorkFolder + "\\DEMUXED_CELLID", "M2V");
    } else {
        count = CountQuietly(job, job.WorkFolder + "\\FRAMESERVING", "M2V");
    }
    UpdateProgress(job, count, job.State().VideoCount, "Encoding", false, false);
}

void ResetProgress(JobContext& job) {
    job.StageBar = 0;
    job.View.ShowStageBar(0, 100);
}

}  // namespace kestrova

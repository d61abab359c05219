// The stage bar and the job bar. Both run from 0 to 100; the job bar moves
// a fixed step per stage, the stage bar follows what a tool has written so
// far (bytes demultiplexed, files encoded).
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Prepares both bars at the start of a job; the job bar's step is the whole
// part of 90 / (TotalMenus x 13).
void SetProgressMax(JobContext& job);
// Moves the job bar by 5 (a big step) or by the normal step.
void SetProgress(JobContext& job, bool bigStep);
// Moves the job bar forward to the position (0 to 100) where it stands
// below it: to a domain's share of the run, which the whole-number steps
// fall short of, and to the end of the run.
void AdvanceProgress(JobContext& job, std::int16_t position);
// Shows the caption and moves the stage bar to value / maximum, or to 0 with
// `reset`; the job bar then follows the stage bar (`mirror`) or the job's
// progress.
void UpdateProgress(JobContext& job, std::int64_t value, std::int64_t maximum, const std::string& caption, bool reset,
                    bool mirror);
// The size of the folder being demultiplexed into, against FolderSize.
void DemuxProgress(JobContext& job);
// The number of encoded files so far, against VideoCount.
void VideoConversionProgress(JobContext& job);
// Puts the stage bar back to 0.
void ResetProgress(JobContext& job);

}  // namespace kestrova

// The end of a run in one block, in the run log and the log list: what
// became of each stage, how the run ended, and where its results are.
#pragma once

#include "job/context.h"

namespace kestrova {

void WriteRunSummary(JobContext& job);

}  // namespace kestrova

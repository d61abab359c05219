// The merge of the small Muxman results into the source's structure: the
// NAV packs of each small VOB renumbered and appended to its domain's menu
// VOB, then the domain's IFO rebuilt around the new cells (ifo_patching.h).
// This version does not have the merge yet: it says so and leaves the run
// failed, so a job never takes an unmerged heap of small results for an
// authored disc.
#pragma once

#include "job/context.h"
#include "muxman/mxp_run.h"

namespace kestrova {

// Merges every small result; sets run.MuxmanFailed when a domain yields
// no cells (and, in this version, always).
void NewUpdateVOBs(JobContext& job, MuxmanRun& run);

}  // namespace kestrova

// The merge of the small Muxman results into the source's structure: the
// NAV packs of each small VOB renumbered and appended to its domain's menu
// VOB, then the domain's IFO rebuilt around the new cells. This version
// does not have them yet: both say so and leave the run failed, so a job
// never takes an unmerged heap of small results for an authored disc.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "job/context.h"
#include "muxman/mxp_run.h"

namespace kestrova {

// Merges every small result; sets run.MuxmanFailed when a domain yields
// no cells (and, in this version, always).
void NewUpdateVOBs(JobContext& job, MuxmanRun& run);

// Rebuilds the menu part of the domain's IFO (entry of DiscModel) from the
// sectors of its new NAV packs and its cells (DiscModel index, VOB, cell,
// first sector, last sector, last NAV pack sector); true when it failed.
bool CorrectMuxmanIfo(JobContext& job, int entry, const std::vector<std::int32_t>& navArray,
                      const std::vector<std::array<std::int32_t, 6>>& finishedNavs);

}  // namespace kestrova

// The menu part of a domain's IFO rebuilt around the cells of its merged
// Muxman results: the source's menu PGC table with every cell re-pointed
// at the new NAV packs, a new cell address table and VOBU address map, and
// the pointers behind them moved.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "job/context.h"

namespace kestrova {

// Rebuilds the menu part of the domain's IFO (entry of DiscModel) from the
// sectors of its new NAV packs and its cells (DiscModel index, VOB, cell,
// first sector, last sector, last NAV pack sector); true when it failed.
bool CorrectMuxmanIfo(JobContext& job, int entry, const std::vector<std::int32_t>& navArray,
                      const std::vector<std::array<std::int32_t, 6>>& finishedNavs);

}  // namespace kestrova

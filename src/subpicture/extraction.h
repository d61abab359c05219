// Subpicture extraction of a menu domain: the made-up IFO and the vsrip run
// over the joined VOB, then the vsconv conversion of each PGC's streams.
#pragma once

#include <cstdint>

#include "job/context.h"

namespace kestrova {

// Writes the IFO vsrip reads and runs vsrip; returns the number of PGCs.
std::int16_t CreateIFO(JobContext& job);

// Runs vsconv for every PGC and stream id; returns the number of stream ids seen.
std::int16_t NewConvert_SUBS(JobContext& job, std::int16_t pgcCount);

}  // namespace kestrova

// The Muxman back end's driver. With SingleMXP 1 one FULL script,
// Root "\Muxman.MXP", holds the whole disc and one run authors it into
// Root "\Batch_1\0\VIDEO_TS" (with ScenaidMode set, no run: Root
// "\Scenaid.dat" gets each authored domain's size estimate instead). With
// SingleMXP 0 each VOB is scripted and authored by itself and the small
// results are merged.
#pragma once

#include "job/context.h"

namespace kestrova {

// Writes the Muxman scripts and runs the authoring; true when authoring
// failed: the FULL run left no VIDEO_TS.IFO (or an empty one), a small
// run stopped the walk, the merge failed, or the model could not be
// written.
bool GenerateMUXMANLayout(JobContext& job);

}  // namespace kestrova

// Closed captions of a menu domain. vsrip leaves each PGC's line-21
// captions, and vobsub2scc turns them into one Scenarist caption file for
// the PGC (SUBTITLES\PGC_<i>.scc); the authoring wants one caption file an
// asset, timed from the asset's start, so ProcessCC cuts each PGC's file
// up along the domain's cells.
#pragma once

#include <cstdint>

#include "job/context.h"

namespace kestrova {

// Writes SUBTITLES\<vob>.scc for a VOB of type "Video" and
// SUBTITLES\<vob>_<cell>.scc for a cell of another VOB, and names them in
// Line_21_FilePath_1 (with Line_21_Switch_1 set) of the Vob_Id or the
// CELL_ID record. pgcCount is the number of PGCs CreateIFO made. A caption
// line that cannot be read is passed over with a warning in the run log
// naming the file and the line.
void ProcessCC(JobContext& job, std::int16_t pgcCount);

}  // namespace kestrova

// The dummy scan at the end of each IFO read: VOBs whose cells all have no
// frames are marked dummy, and a cell with no frames inside a VOB that has
// real cells is measured from its demultiplexed video (through the job's
// dummy-cell hooks) and marked as a dummy cell.
#pragma once

#include <string>

#include "job/context.h"

namespace kestrova {

// Scans domain `domain` of DiscModel, read from the IFO file at `path`.
void DummyScan(JobContext& job, int domain, const std::string& path);

}  // namespace kestrova

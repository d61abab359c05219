// The asset stage's part in dummy detection: the false-PGC check after the
// highlights are known, and the two stages the dummy scan of the IFO reader
// is handed to demultiplex a domain by cell and measure a cell.
#pragma once

#include <cstdint>
#include <string>

#include "dvd/dummy_scan.h"
#include "job/context.h"

namespace kestrova {

// Marks PGCs without commands and without highlights as dummy, and VOB ids
// that only dummy PGCs use as dummy, in the domain DomainIndex.
void FalsePgcCheck(JobContext& job);

// The dummy scan's stages: the menu VOB split by cell into the work
// folder's DEMUXED_CELLID, and the frames of one cell's M2V there.
DummyCellStages DummyCellMeasurement();

}  // namespace kestrova

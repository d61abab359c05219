// The dummy scan at the end of each IFO read: VOBs whose cells all have no
// frames are marked dummy, and a cell with no frames inside a VOB that has
// real cells is measured from its demultiplexed video and marked as a dummy
// cell.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "job/context.h"

namespace kestrova {

// The demultiplexing and measuring of zero-length cells. They live in the
// asset library, which builds on this one, so the caller hands them in.
struct DummyCellStages {
    // Splits the menu VOB at `VobPath` cell by cell into WorkFolder's
    // DEMUXED_CELLID (PgcDemux, or DVD Decrypter and the renaming).
    std::function<void(JobContext&, const std::string& VobPath)> DemuxByCell;
    // Indexes the cell's M2V in DEMUXED_CELLID (ForceD2V); returns its frame
    // count.
    std::function<std::int32_t(JobContext&, std::int16_t VobId, std::int16_t CellId)> MeasureCell;
};

// Scans domain `domain` of DiscModel, read from the IFO file at `path`.
void DummyScan(JobContext& job, int domain, const std::string& path, const DummyCellStages& stages);

}  // namespace kestrova

// The asset stage's part in dummy detection: the false-PGC check after the
// highlights are known, and the two hooks through which the dummy scan of
// the IFO reader demultiplexes a domain by cell and measures a cell.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Marks PGCs without commands and without highlights as dummy, and VOB ids
// that only dummy PGCs use as dummy, in the domain DomainIndex.
void FalsePgcCheck(JobContext& job);

// The dummy scan's preparer: makes the domain's work folder and its
// DEMUXED_CELLID, makes it the job's WorkFolder and DomainIndex, and
// demultiplexes the domain's menu VOB by cell.
void DemuxDomainForDummyCells(JobContext& job, int domain, const std::string& menuVob);

// The dummy scan's measurer: the frames of a cell's demultiplexed M2V.
std::int32_t MeasureDummyCellFrames(JobContext& job, int domain, int vob, int cell);

// Sets both hooks in the job, so a run measures its dummy cells.
void ConnectDummyCellHooks(JobContext& job);

}  // namespace kestrova

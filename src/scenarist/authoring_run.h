// Scenarist's authoring run and the IFO update after it.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Runs Scenarist over the scripts.
void StartAuthoring(JobContext& job, std::int16_t batchCount);

// Corrects the authored IFO files, or writes only the batch file when authoring failed.
void EnableUpdateIFO(JobContext& job, std::int16_t batchCount, bool failed);

// Settles the Scenarist version at start.
void SetScenarist(JobContext& job);

}  // namespace kestrova

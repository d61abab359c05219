// Scenes and frame serving of each asset.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Works out the scene times of every cell.
void EnableScenes(JobContext& job);

// Indexes each asset, decides whether it is encoded and writes its script and list entry.
void NewDVD2AVIProc(JobContext& job);

}  // namespace kestrova

// IFO correction after authoring.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Rewrites the sector fields of every IFO in the folder, and their BUP.
void GetVTSSectors(JobContext& job, const std::string& folder);

}  // namespace kestrova

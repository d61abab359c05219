// The Muxman scripts and run.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Writes the Muxman scripts and runs the authoring; true when authoring failed.
bool GenerateMUXMANLayout(JobContext& job);

}  // namespace kestrova

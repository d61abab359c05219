// Handing the result over.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Makes the ISO image; true when an image was made.
bool GenerateImage(JobContext& job, const std::string& folder, bool rebuilder);

// Starts DoItFast4U; true when the process is to end.
bool StartDIF4U(JobContext& job);

// Hands the result to DVD-Rebuilder.
void ReBuilderHandOff(JobContext& job, const std::string& source, const std::string& root);

}  // namespace kestrova

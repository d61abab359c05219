// The encoder runs.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Chooses in-place encoding with Rejig for the domain.
void EnableRejig(JobContext& job);

// Runs the chosen encoder over all encoder lists.
void EnableVideoEncoding(JobContext& job);

}  // namespace kestrova

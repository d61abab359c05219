// The Scenarist script files.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Writes one script per batch of title sets; returns the highest batch index.
std::int16_t CreateSCP(JobContext& job);

}  // namespace kestrova

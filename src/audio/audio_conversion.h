// Audio conversion of a menu domain.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Runs the audio batches of the domain.
void EnableAudioProcess(JobContext& job);

}  // namespace kestrova

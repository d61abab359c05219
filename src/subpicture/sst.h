// The timed lists of the subpicture bitmaps.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Rewrites lists whose bitmaps are too short.
void CheckSSTFor2SecondBMP(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount);

// Corrects the lists and enters every bitmap into the model.
void ProcessSST(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount);

}  // namespace kestrova

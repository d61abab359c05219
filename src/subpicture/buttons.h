// Buttons and highlights recovered from the NAV packs.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Marks the cells that carry highlight bitmaps and gives the bitmaps their
// PTS, before the VOBs are typed.
void FindHighlightBitmaps(JobContext& job, std::int16_t pgcCount);

// Settles the display mode of the domain's subpictures.
void CheckDisplayMode(JobContext& job);

// Reads buttons, highlights and their commands from the NAV packs.
void VobParse(JobContext& job, const std::string& bovPath);

}  // namespace kestrova

// What both script writers share about the pictures of a disc: a palette
// entry as red, green and blue, the default palette, a contrast raised by
// the HighContrast setting, and a button's Y on the authored picture.
#pragma once

#include <array>
#include <cstdint>

#include "job/context.h"

namespace kestrova {

// Red, green, blue.
using Rgb = std::array<int, 3>;

// A colour value limited to 0 to 255, cut to an integer.
std::int16_t CheckMaxMin(double value);

// A palette entry (Y, Cr, Cb) as red, green and blue: each channel by the
// BT.601 formula in double precision, rounded half to even, then limited
// by CheckMaxMin.
Rgb PaletteColour(const Palette_Properties& entry);

// The sixteen colours of the palette a PGC without one of its own takes,
// colour 0 first.
const std::array<Rgb, 16>& DefaultPaletteColours();

// A contrast (0 to 15) raised by HighContrast: 1 to 5 multiply it by 1.15,
// 1.25, 1.35, 1.5 or 1.75 (cut to an integer), 6 sets it to 15, anything
// else leaves it; the result is at most 15. The caller's value is a copy.
int ScaleContrast(const JobContext& job, int contrast);

// A button's Y on the authored picture: scaled by 1.2 when the job
// converts between PAL and NTSC.
int ConvertButtonY(const JobContext& job, int y);

}  // namespace kestrova

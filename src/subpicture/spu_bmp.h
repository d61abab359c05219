// An SPU's decoded bitmap as a BMP file, for looking at what the decoder
// made: 8 bits a pixel, four palette entries, one per pixel index. The
// disc's own colours are not used (they live in the PGC's palette, not in
// the SPU); the entries are a grey ramp instead, index 0 black, 1 dark
// grey (85), 2 light grey (170), 3 white, so every index stays apart.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "subpicture/spu_decoder.h"

namespace kestrova {

// The whole file: BITMAPFILEHEADER, BITMAPINFOHEADER, the palette and the
// lines bottom up, each padded to 4 bytes. An empty bitmap is an Error.
std::string SpuBitmapAsBmp(const SpuBitmap& bitmap);

// The same file for any 8-bit picture, `pixels` line by line from the top
// left, with the palette entries given as 0xRRGGBB.
std::string IndexedBmp(std::uint32_t width, std::uint32_t height, std::span<const std::uint8_t> pixels,
                       std::span<const std::uint32_t> palette);

}  // namespace kestrova

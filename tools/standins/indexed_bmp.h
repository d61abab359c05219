// Indexed BMP files as the subpicture stand-ins write and read them: the
// whole-frame bitmaps of vsconv, the blank PAL.bmp and NTSC.bmp of the
// program folder, and the rows BitmapResize moves. Fields are
// little-endian; the rows of a file lie bottom up, each padded to 4 bytes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kestrova::standin {

// The 16 palette entries every bitmap here carries: entries 0-3 a grey
// ramp, one per subpicture pixel index (0 background, 1 pattern, 2
// emphasis 1, 3 emphasis 2), the rest black. As 0xRRGGBB.
inline constexpr std::array<std::uint32_t, 16> kSubpicturePalette = {0x000000, 0x555555, 0xAAAAAA, 0xFFFFFF};

// An 8-bit indexed picture, rows top down.
struct IndexedFrame {
    std::uint32_t Width = 0;
    std::uint32_t Height = 0;
    std::vector<std::uint8_t> Pixels;  // Width * Height indices

    std::uint8_t* Row(std::uint32_t y) { return Pixels.data() + std::size_t{y} * Width; }
};

// A frame of `width` x `height` all at index 0.
IndexedFrame BlankFrame(std::uint32_t width, std::uint32_t height);

// The BMP file of a frame: 8 bits a pixel, the 16 entries of kSubpicturePalette.
std::string IndexedBmp(const IndexedFrame& frame);

// The blank BMP of one frame size (PAL.bmp 720x576, NTSC.bmp 720x480).
std::string BlankBmp(std::uint32_t width, std::uint32_t height);

// A 4- or 8-bit indexed BMP as read: its header and palette bytes kept as
// they stand, its rows top down as stored (packed, padded).
struct IndexedBmpFile {
    std::string Head;  // file header, info header and palette
    std::int32_t Width = 0;
    std::uint32_t Height = 0;  // rows
    bool BottomUp = true;      // a positive height in the file
    std::uint16_t BitsPerPixel = 0;
    std::uint32_t Stride = 0;       // bytes of a row, padding included
    std::vector<std::string> Rows;  // top down

    // The whole file, with the header's height and sizes made to fit Rows.
    std::string Bytes() const;
};

// Reads a BMP of 4 or 8 bits a pixel, not compressed. Throws Error naming
// `name` and the byte offset when a field lies past the file's end or is
// not what such a file holds.
IndexedBmpFile ReadIndexedBmp(const std::string& bytes, const std::string& name);

}  // namespace kestrova::standin

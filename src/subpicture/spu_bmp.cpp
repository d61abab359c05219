// The BMP writer of SPU bitmaps: see spu_bmp.h. BMP fields are little-endian.
#include "subpicture/spu_bmp.h"

#include <cstdint>

#include "platform/error.h"

namespace kestrova {

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;   // BITMAPFILEHEADER
constexpr std::uint32_t kInfoHeaderBytes = 40;   // BITMAPINFOHEADER
constexpr std::uint32_t kPaletteEntries = 4;
constexpr std::uint8_t kGreys[kPaletteEntries] = {0, 85, 170, 255};

void Put(std::string& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
}

}  // namespace

std::string SpuBitmapAsBmp(const SpuBitmap& bitmap) {
    if (bitmap.Width == 0 || bitmap.Height == 0 ||
        bitmap.Pixels.size() != std::size_t{bitmap.Width} * bitmap.Height) {
        throw Error("An SPU bitmap of " + std::to_string(bitmap.Width) + "x" + std::to_string(bitmap.Height) +
                    " holding " + std::to_string(bitmap.Pixels.size()) + " pixels cannot be written as a BMP file.");
    }
    const std::uint32_t stride = (bitmap.Width + 3) / 4 * 4;
    const std::uint32_t dataOffset = kFileHeaderBytes + kInfoHeaderBytes + 4 * kPaletteEntries;
    const std::uint32_t dataBytes = stride * bitmap.Height;
    std::string bytes;
    bytes.reserve(dataOffset + dataBytes);
    bytes += "BM";
    Put(bytes, dataOffset + dataBytes, 4);
    Put(bytes, 0, 4);  // reserved
    Put(bytes, dataOffset, 4);
    Put(bytes, kInfoHeaderBytes, 4);
    Put(bytes, bitmap.Width, 4);
    Put(bytes, bitmap.Height, 4);  // positive: the lines bottom up
    Put(bytes, 1, 2);              // planes
    Put(bytes, 8, 2);              // bits a pixel
    Put(bytes, 0, 4);              // BI_RGB, not compressed
    Put(bytes, dataBytes, 4);
    Put(bytes, 2835, 4);           // 72 dpi, as pixels a metre
    Put(bytes, 2835, 4);
    Put(bytes, kPaletteEntries, 4);  // entries used
    Put(bytes, kPaletteEntries, 4);  // entries important
    for (const std::uint8_t grey : kGreys) Put(bytes, grey * 0x010101u, 4);  // blue, green, red, 0
    for (std::uint32_t line = bitmap.Height; line-- > 0;) {
        const auto* row = bitmap.Pixels.data() + std::size_t{line} * bitmap.Width;
        bytes.append(reinterpret_cast<const char*>(row), bitmap.Width);
        bytes.append(stride - bitmap.Width, '\0');
    }
    return bytes;
}

}  // namespace kestrova

// The BMP writer of SPU bitmaps: see spu_bmp.h. BMP fields are little-endian.
#include "subpicture/spu_bmp.h"

#include <cstdint>

#include "platform/error.h"

namespace kestrova {

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;   // BITMAPFILEHEADER
constexpr std::uint32_t kInfoHeaderBytes = 40;   // BITMAPINFOHEADER
constexpr std::uint32_t kGreys[] = {0x000000, 0x555555, 0xAAAAAA, 0xFFFFFF};

void Put(std::string& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
}

}  // namespace

std::string SpuBitmapAsBmp(const SpuBitmap& bitmap) {
    return IndexedBmp(bitmap.Width, bitmap.Height, bitmap.Pixels, kGreys);
}

std::string IndexedBmp(std::uint32_t width, std::uint32_t height, std::span<const std::uint8_t> pixels,
                       std::span<const std::uint32_t> palette) {
    if (width == 0 || height == 0 || pixels.size() != std::size_t{width} * height) {
        throw Error("A bitmap of " + std::to_string(width) + "x" + std::to_string(height) + " holding " +
                    std::to_string(pixels.size()) + " pixels cannot be written as a BMP file.");
    }
    const auto entries = static_cast<std::uint32_t>(palette.size());
    const std::uint32_t stride = (width + 3) / 4 * 4;
    const std::uint32_t dataOffset = kFileHeaderBytes + kInfoHeaderBytes + 4 * entries;
    const std::uint32_t dataBytes = stride * height;
    std::string bytes;
    bytes.reserve(dataOffset + dataBytes);
    bytes += "BM";
    Put(bytes, dataOffset + dataBytes, 4);
    Put(bytes, 0, 4);  // reserved
    Put(bytes, dataOffset, 4);
    Put(bytes, kInfoHeaderBytes, 4);
    Put(bytes, width, 4);
    Put(bytes, height, 4);  // positive: the lines bottom up
    Put(bytes, 1, 2);       // planes
    Put(bytes, 8, 2);       // bits a pixel
    Put(bytes, 0, 4);       // BI_RGB, not compressed
    Put(bytes, dataBytes, 4);
    Put(bytes, 2835, 4);    // 72 dpi, as pixels a metre
    Put(bytes, 2835, 4);
    Put(bytes, entries, 4);  // entries used
    Put(bytes, entries, 4);  // entries important
    for (const std::uint32_t rgb : palette) Put(bytes, rgb, 4);  // blue, green, red, 0
    for (std::uint32_t line = height; line-- > 0;) {
        bytes.append(reinterpret_cast<const char*>(pixels.data() + std::size_t{line} * width), width);
        bytes.append(stride - width, '\0');
    }
    return bytes;
}

}  // namespace kestrova

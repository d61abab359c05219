// Indexed BMP files: see indexed_bmp.h.
#include "indexed_bmp.h"

#include "platform/error.h"
#include "subpicture/spu_bmp.h"

namespace kestrova::standin {

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;  // BITMAPFILEHEADER
constexpr std::uint32_t kInfoHeaderBytes = 40;  // BITMAPINFOHEADER
// Offsets of the fields read and rewritten.
constexpr std::size_t kFileSizeField = 2;
constexpr std::size_t kDataOffsetField = 10;
constexpr std::size_t kInfoSizeField = 14;
constexpr std::size_t kWidthField = 18;
constexpr std::size_t kHeightField = 22;
constexpr std::size_t kBitsField = 28;
constexpr std::size_t kCompressionField = 30;
constexpr std::size_t kImageSizeField = 34;

void PutAt(std::string& bytes, std::size_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + static_cast<std::size_t>(i)] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

std::uint32_t Stride(std::uint32_t width, std::uint32_t bits) { return (width * bits + 31) / 32 * 4; }

// Little-endian fields of a file being read, each checked against its size.
class BmpReader {
public:
    BmpReader(const std::string& bytes, const std::string& name) : bytes_(bytes), name_(name) {}

    std::uint32_t Field(std::size_t at, int count, const char* what) const {
        if (at + static_cast<std::size_t>(count) > bytes_.size()) {
            Fail(at, std::string(what) + " (" + std::to_string(count) + " bytes) lies past the file's end at byte " +
                         std::to_string(bytes_.size()));
        }
        std::uint32_t value = 0;
        for (int i = count; i-- > 0;) {
            value = (value << 8) | static_cast<std::uint8_t>(bytes_[at + static_cast<std::size_t>(i)]);
        }
        return value;
    }

    [[noreturn]] void Fail(std::size_t at, const std::string& what) const {
        throw Error("\"" + name_ + "\" at byte " + std::to_string(at) + ": " + what);
    }

private:
    const std::string& bytes_;
    const std::string& name_;
};

}  // namespace

IndexedFrame BlankFrame(std::uint32_t width, std::uint32_t height) {
    return {width, height, std::vector<std::uint8_t>(std::size_t{width} * height, 0)};
}

std::string IndexedBmp(const IndexedFrame& frame) {
    return kestrova::IndexedBmp(frame.Width, frame.Height, frame.Pixels, kSubpicturePalette);
}

std::string BlankBmp(std::uint32_t width, std::uint32_t height) { return IndexedBmp(BlankFrame(width, height)); }

std::string IndexedBmpFile::Bytes() const {
    std::string bytes = Head;
    const auto rows = static_cast<std::uint32_t>(Rows.size());
    PutAt(bytes, kFileSizeField, static_cast<std::uint32_t>(Head.size()) + Stride * rows);
    PutAt(bytes, kHeightField, BottomUp ? rows : static_cast<std::uint32_t>(-static_cast<std::int64_t>(rows)));
    PutAt(bytes, kImageSizeField, Stride * rows);
    bytes.reserve(bytes.size() + std::size_t{Stride} * rows);
    if (BottomUp) {
        for (auto row = Rows.rbegin(); row != Rows.rend(); ++row) bytes += *row;
    } else {
        for (const std::string& row : Rows) bytes += row;
    }
    return bytes;
}

IndexedBmpFile ReadIndexedBmp(const std::string& bytes, const std::string& name) {
    const BmpReader reader(bytes, name);
    if (reader.Field(0, 2, "the signature") != 0x4D42) reader.Fail(0, "the file does not begin with \"BM\"");
    const std::uint32_t dataOffset = reader.Field(kDataOffsetField, 4, "the offset of the pixel data");
    const std::uint32_t infoSize = reader.Field(kInfoSizeField, 4, "the size of the info header");
    if (infoSize < kInfoHeaderBytes) {
        reader.Fail(kInfoSizeField, "the info header is " + std::to_string(infoSize) + " bytes, expected at least 40");
    }
    IndexedBmpFile file;
    file.Width = static_cast<std::int32_t>(reader.Field(kWidthField, 4, "the width"));
    const auto height = static_cast<std::int32_t>(reader.Field(kHeightField, 4, "the height"));
    file.BitsPerPixel = static_cast<std::uint16_t>(reader.Field(kBitsField, 2, "the bits a pixel"));
    if (file.BitsPerPixel != 4 && file.BitsPerPixel != 8) {
        reader.Fail(kBitsField,
                    std::to_string(file.BitsPerPixel) + " bits a pixel; an indexed bitmap of 4 or 8 was expected");
    }
    if (reader.Field(kCompressionField, 4, "the compression") != 0) {
        reader.Fail(kCompressionField, "the bitmap is compressed; only uncompressed rows are read");
    }
    if (file.Width <= 0 || file.Width > 65535 || height == 0 || height < -65535 || height > 65535) {
        reader.Fail(kWidthField, "a bitmap of " + std::to_string(file.Width) + "x" + std::to_string(height) +
                                     " pixels cannot be resized");
    }
    if (dataOffset < kFileHeaderBytes + infoSize || dataOffset > bytes.size()) {
        reader.Fail(kDataOffsetField, "the pixel data is said to start at byte " + std::to_string(dataOffset) +
                                          ", outside the file's " + std::to_string(bytes.size()) +
                                          " bytes behind its headers");
    }
    file.BottomUp = height > 0;
    file.Height = static_cast<std::uint32_t>(height > 0 ? height : -height);
    file.Stride = Stride(static_cast<std::uint32_t>(file.Width), file.BitsPerPixel);
    const std::size_t dataEnd = dataOffset + std::size_t{file.Stride} * file.Height;
    if (dataEnd > bytes.size()) {
        reader.Fail(bytes.size(), "the file ends before its " + std::to_string(file.Height) + " rows of " +
                                      std::to_string(file.Stride) + " bytes from byte " + std::to_string(dataOffset) +
                                      " (they would end at byte " + std::to_string(dataEnd) + ")");
    }
    file.Head = bytes.substr(0, dataOffset);
    file.Rows.resize(file.Height);
    for (std::uint32_t stored = 0; stored < file.Height; ++stored) {
        const std::uint32_t y = file.BottomUp ? file.Height - 1 - stored : stored;
        file.Rows[y] = bytes.substr(dataOffset + std::size_t{stored} * file.Stride, file.Stride);
    }
    return file;
}

}  // namespace kestrova::standin

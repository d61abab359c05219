// The sequence header of an MPEG-1/2 video stream (00 00 01 B3), read in one
// place: the stream scanner, the aspect check of the asset stage, the
// frame server's picture size and the matrix dump all come here.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/files.h"

namespace kestrova {

// The byte after 00 00 01 that starts a sequence header.
inline constexpr std::uint8_t kSequenceHeaderCode = 0xB3;
// Bytes after the start code a sequence header can take: the fixed fields
// and both quantiser matrices.
inline constexpr std::size_t kSequenceHeaderMaxBytes = 8 + 64 + 64;

// Reads the bits of one header, most significant first. Running past the
// bytes the header has before the next start code (or the end of the file)
// means the header is cut short. `where` begins every error sentence.
class HeaderBits {
public:
    HeaderBits(std::span<const std::uint8_t> bytes, std::string where, const char* header)
        : bytes_(bytes), where_(std::move(where)), header_(header) {}

    std::uint32_t Read(int count);
    bool Flag() { return Read(1) != 0; }
    void Marker(const char* after);
    [[noreturn]] void Fail(const std::string& what) const;

private:
    std::span<const std::uint8_t> bytes_;
    std::string where_;
    const char* header_;
    std::size_t position_ = 0;
};

// A quantiser matrix in raster order: row by row, 8 values a row.
using QuantiserMatrix = std::array<std::uint8_t, 64>;

// The raster position of each coefficient in the zigzag scan. Matrices are
// coded in this order whatever scan the pictures use.
inline constexpr std::array<std::uint8_t, 64> kZigzagScan = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
};

// Reads the 64 values of one matrix as coded (zigzag order) into raster
// order. Fails through `bits` for a value of 0, which the syntax forbids.
QuantiserMatrix ReadQuantiserMatrix(HeaderBits& bits, const char* name);

// A sequence header with the extensions the stream scanner adds.
struct SequenceHeader {
    std::uint64_t Offset = 0;
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    // MPEG-2: the display aspect (1 square pixels, 2 4:3, 3 16:9, 4 2.21:1); MPEG-1: the pixel aspect.
    std::uint8_t AspectRatioCode = 0;
    std::uint8_t FrameRateCode = 0;    // 1 23.976 ... 8 59.94
    std::uint8_t FrameRateExtensionN = 0;
    std::uint8_t FrameRateExtensionD = 0;
    std::uint32_t BitRate = 0;         // in units of 400 bit/s
    bool Mpeg2 = false;                // a sequence extension follows the header
    bool ProgressiveSequence = true;   // MPEG-1 streams are progressive
    std::uint8_t ChromaFormat = 1;     // 1 4:2:0, 2 4:2:2, 3 4:4:4
    std::uint8_t MatrixCoefficients = 0;  // from the sequence display extension; 0 when it is absent
    // The quantiser matrices this header loads; empty for a kind it leaves
    // at the default (which a sequence header without a load restores).
    std::optional<QuantiserMatrix> IntraQuantiserMatrix;
    std::optional<QuantiserMatrix> NonIntraQuantiserMatrix;
};

// The fields after the start code. Fails through `bits` for a zero picture
// size, a forbidden aspect code, a reserved rate code or a matrix value of 0.
SequenceHeader ReadSequenceHeader(HeaderBits& bits);

// The first sequence header that starts in the first `searchBytes` bytes
// of the file at the drive path `path`, or nothing when none does. Throws
// Error naming the file and the offset when it cannot be read, or the
// header found is cut short or damaged.
std::optional<SequenceHeader> FindFirstSequenceHeader(const platform::FileSystem& files, const std::string& path,
                                                      std::size_t searchBytes);

// The first sequence header in the first `searchBytes` bytes of the file at
// the drive path `path` (an elementary or program stream). Throws Error
// naming the file and the offset when it cannot be read, holds no header
// there, or the header is cut short or damaged.
SequenceHeader ReadFirstSequenceHeader(const platform::FileSystem& files, const std::string& path,
                                       std::size_t searchBytes);

}  // namespace kestrova

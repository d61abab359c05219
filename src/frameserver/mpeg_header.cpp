// The MPEG sequence header: see mpeg_header.h.
#include "frameserver/mpeg_header.h"

#include <algorithm>
#include <vector>

#include "platform/error.h"
#include "platform/stream_files.h"

namespace kestrova {

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;

}  // namespace

std::uint32_t HeaderBits::Read(int count) {
    if (position_ + static_cast<std::size_t>(count) > bytes_.size() * 8) {
        Fail("is cut short after " + std::to_string(bytes_.size()) + " bytes; it needs at least " +
             std::to_string((position_ + static_cast<std::size_t>(count) + 7) / 8));
    }
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i, ++position_) {
        value = (value << 1) | ((bytes_[position_ / 8] >> (7 - position_ % 8)) & 1u);
    }
    return value;
}

void HeaderBits::Marker(const char* after) {
    if (Read(1) != 1) Fail(std::string("has a marker bit of 0 after its ") + after + "; expected 1");
}

void HeaderBits::Fail(const std::string& what) const { throw Error(where_ + ": the " + header_ + " " + what); }

QuantiserMatrix ReadQuantiserMatrix(HeaderBits& bits, const char* name) {
    QuantiserMatrix matrix{};
    for (std::size_t coded = 0; coded < matrix.size(); ++coded) {
        const auto value = static_cast<std::uint8_t>(bits.Read(8));
        if (value == 0) {
            bits.Fail(std::string("has the forbidden value 0 at position ") + std::to_string(coded) + " of its " +
                      name + "; expected 1 to 255");
        }
        matrix[kZigzagScan[coded]] = value;
    }
    return matrix;
}

SequenceHeader ReadSequenceHeader(HeaderBits& bits) {
    SequenceHeader header;
    header.Width = static_cast<std::int32_t>(bits.Read(12));
    header.Height = static_cast<std::int32_t>(bits.Read(12));
    header.AspectRatioCode = static_cast<std::uint8_t>(bits.Read(4));
    header.FrameRateCode = static_cast<std::uint8_t>(bits.Read(4));
    header.BitRate = bits.Read(18);
    bits.Marker("bit rate");
    bits.Read(10);  // vbv_buffer_size_value
    bits.Read(1);   // constrained_parameters_flag
    if (bits.Flag()) header.IntraQuantiserMatrix = ReadQuantiserMatrix(bits, "intra quantiser matrix");
    if (bits.Flag()) header.NonIntraQuantiserMatrix = ReadQuantiserMatrix(bits, "non-intra quantiser matrix");

    if (header.Width == 0 || header.Height == 0) {
        bits.Fail("gives a picture size of " + std::to_string(header.Width) + "x" + std::to_string(header.Height) +
                  "; expected both above 0");
    }
    if (header.AspectRatioCode == 0 || header.AspectRatioCode == 15) {
        bits.Fail("has the forbidden aspect ratio code " + std::to_string(header.AspectRatioCode));
    }
    if (header.FrameRateCode == 0 || header.FrameRateCode > 8) {
        bits.Fail("has the reserved frame rate code " + std::to_string(header.FrameRateCode) + "; expected 1 to 8");
    }
    return header;
}

std::optional<SequenceHeader> FindFirstSequenceHeader(const platform::FileSystem& files, const std::string& path,
                                                      std::size_t searchBytes) {
    // The header may start near the end of the searched bytes, so read its
    // longest form beyond them.
    const std::size_t wanted = searchBytes + 4 + kSequenceHeaderMaxBytes;
    const auto reader = platform::OpenFileReader(files.Paths(), path);
    std::vector<std::uint8_t> bytes;
    std::size_t filled = 0;
    while (filled < wanted) {
        bytes.resize(std::min(wanted, filled + kReadChunk));
        const std::size_t got = reader->Read(std::span<std::uint8_t>(bytes.data() + filled, bytes.size() - filled));
        if (got == 0) break;
        filled += got;
    }
    bytes.resize(filled);

    const std::size_t searched = std::min(filled, searchBytes);
    for (std::size_t at = 0; at + 4 <= searched; ++at) {
        if (bytes[at] != 0 || bytes[at + 1] != 0 || bytes[at + 2] != 1 || bytes[at + 3] != kSequenceHeaderCode) {
            continue;
        }
        // The header ends where the next start code begins.
        std::size_t end = std::min(filled, at + 4 + kSequenceHeaderMaxBytes);
        for (std::size_t next = at + 4; next + 2 < end; ++next) {
            if (bytes[next] == 0 && bytes[next + 1] == 0 && bytes[next + 2] == 1) {
                end = next;
                break;
            }
        }
        HeaderBits bits(std::span<const std::uint8_t>(bytes.data() + at + 4, end - at - 4),
                        "The MPEG video file \"" + path + "\" at offset " + std::to_string(at), "sequence header");
        SequenceHeader header = ReadSequenceHeader(bits);
        header.Offset = at;
        return header;
    }
    return std::nullopt;
}

SequenceHeader ReadFirstSequenceHeader(const platform::FileSystem& files, const std::string& path,
                                       std::size_t searchBytes) {
    if (auto header = FindFirstSequenceHeader(files, path, searchBytes)) return *header;
    throw Error("The MPEG video file \"" + path + "\" holds no sequence header (00 00 01 B3) in its first " +
                std::to_string(searchBytes) + " bytes");
}

}  // namespace kestrova

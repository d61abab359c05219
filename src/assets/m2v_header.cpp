// The sequence header of an M2V: see m2v_header.h.
#include "assets/m2v_header.h"

#include <algorithm>

#include "platform/error.h"

namespace kestrova {

namespace {

constexpr std::uint8_t kSequenceHeaderCode[] = {0x00, 0x00, 0x01, 0xB3};
// From the first byte of the start code: 4 code bytes, 12 bits width, 12
// bits height, then aspect and frame rate in one byte.
constexpr std::size_t kAspectByteOffset = 7;

}  // namespace

std::uint8_t SequenceHeaderAspectByte(const std::vector<std::uint8_t>& bytes, const std::string& path) {
    const auto limit = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), kSequenceHeaderSearchBytes));
    const auto code = std::search(bytes.begin(), limit, std::begin(kSequenceHeaderCode), std::end(kSequenceHeaderCode));
    if (code == limit) {
        throw Error("\"" + path + "\" has no MPEG sequence header (00 00 01 B3) in its first " +
                    std::to_string(kSequenceHeaderSearchBytes) + " bytes");
    }
    const auto offset = static_cast<std::size_t>(code - bytes.begin());
    if (offset + kAspectByteOffset >= bytes.size()) {
        throw Error("\"" + path + "\" ends at byte " + std::to_string(bytes.size()) +
                    ", inside the sequence header that starts at byte " + std::to_string(offset) +
                    "; its aspect byte is at " + std::to_string(offset + kAspectByteOffset));
    }
    return bytes[offset + kAspectByteOffset];
}

bool ReadAspectFromM2v(JobContext& job, const std::string& Path) {
    return (SequenceHeaderAspectByte(job.Files.ReadBytes(Path), Path) >> 4) == 3;
}

}  // namespace kestrova

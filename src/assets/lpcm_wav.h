// DVD LPCM audio to a WAV file. DVD LPCM is big-endian; 16-bit samples
// become little-endian 16-bit WAV samples. 20- and 24-bit samples come in
// groups of two samples per channel: first the upper 16 bits of each of the
// group's samples (big-endian, channel by channel, sample by sample), then
// their low bits in the same order, one byte per sample at 24 bits, one
// nibble per sample at 20 bits (the earlier sample in the high nibble).
// Both become 24-bit WAV samples; 20-bit ones with four zero bits below.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/byte_streams.h"

namespace kestrova {

struct LpcmFormat {
    int BitsPerSample = 16;  // 16, 20 or 24
    int SampleRate = 48000;  // 48000 or 96000
    int Channels = 2;        // 1 to 8
    bool operator==(const LpcmFormat&) const = default;
};

// The format from an LPCM sub-stream header (the 6 bytes behind the
// sub-stream id: frame count, first access unit, frame number byte, the
// quantisation / sampling / channels byte, dynamic range). Throws Error
// naming `where` for a short header or reserved values.
LpcmFormat ReadLpcmFormat(std::span<const std::uint8_t> substreamHeader, const std::string& where);

inline constexpr std::size_t kWavHeaderBytes = 44;

// Turns the payloads of one LPCM stream, in order, into a WAV file. A
// sample cut between two packets is carried over to the next. The writer
// may be closed and a new one opened on the same file in between (the
// conversion goes on behind what the file holds).
class LpcmWavWriter {
public:
    // Writes the WAV header first when `out` is empty; throws Error naming
    // the file when the format differs from the stream's first packet.
    void Add(const LpcmFormat& format, std::span<const std::uint8_t> payload, platform::ByteWriter& out);

    // Puts the RIFF and data sizes into the header; call before each close.
    // Bytes of an unfinished sample group at the very end are dropped.
    void Finish(platform::ByteWriter& out) const;

    const std::optional<LpcmFormat>& Format() const { return format_; }

private:
    void Convert(std::span<const std::uint8_t> groups);

    std::optional<LpcmFormat> format_;
    std::size_t groupBytes_ = 0;              // LPCM bytes of one sample group
    std::array<std::uint8_t, 64> carry_{};    // the start of an unfinished group
    std::size_t carried_ = 0;
    std::vector<std::uint8_t> converted_;
};

}  // namespace kestrova

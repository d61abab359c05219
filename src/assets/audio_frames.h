// The frame headers of the coded audio formats the audio scanner reads:
// AC3 syncinfo and the start of its bsi (ATSC A/52), MPEG audio frame
// headers (ISO 11172-3, 13818-3 and the 2.5 extension), and the DTS core
// frame header. Each reader takes the format's fixed number of header bytes,
// already checked to be there, and says whether they start a valid frame;
// a refusal names the field, its value and what it may be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "assets/audio_stream.h"

namespace kestrova {

// An AC3 frame size code (frmsizecod): the nominal bit rate and the 16-bit
// words of a syncframe at 32, 44.1 and 48 kHz. At 44.1 kHz the odd code of
// a pair adds one word, so that the frames average out to the bit rate.
struct Ac3FrameSize {
    std::uint16_t Kbps;
    std::uint16_t Words32;
    std::uint16_t Words44;
    std::uint16_t Words48;
};

// The row of a code from 0 to 37; nullptr for any other.
const Ac3FrameSize* FindAc3FrameSize(unsigned frmsizecod);

struct FrameHeader {
    std::uint32_t Size = 0;       // bytes of the whole frame
    std::uint32_t Samples = 0;    // per channel
    std::int32_t SampleRate = 0;  // Hz
    std::int64_t BitRate = 0;     // bit/s; 0 for a rate the header leaves open
    std::int32_t Channels = 0;    // LFE included
    bool Lfe = false;
    const char* Coding = "";
    const char* Layout = "";
    // What the frames of one stream share (the sample rate, for MPEG also
    // version and layer): a header that follows a frame must agree.
    std::uint32_t Family = 0;
    // AC3 only.
    std::uint8_t Fscod = 0;
    std::uint8_t Frmsizecod = 0;
    std::uint8_t Bsid = 0;
    std::uint8_t Acmod = 0;
    std::uint32_t Crc1Bytes = 0;  // bytes from the sync word to the end of crc1's 5/8
};

// Why a header was refused.
struct HeaderFault {
    const char* Field = "";
    std::uint32_t Value = 0;
    const char* Expected = "";
};

// "invalid frmsizecod 0x3F; expected 0x00 to 0x25".
std::string Describe(const HeaderFault& fault);

enum class HeaderRead { Ok, NoSync, Invalid };

// Header bytes a format's reader needs; the sync word's bytes.
std::size_t HeaderBytes(AudioFormat format);
std::size_t SyncBytes(AudioFormat format);

// The sync word as hex bytes, "0B 77".
const char* SyncText(AudioFormat format);

// The first position in [from, end) where the whole sync word lies; end when there is none.
const std::uint8_t* FindSync(AudioFormat format, const std::uint8_t* from, const std::uint8_t* end);

// Reads the header at the start of `bytes` (HeaderBytes(format) of them).
HeaderRead ReadFrameHeader(AudioFormat format, std::span<const std::uint8_t> bytes, FrameHeader& header,
                           HeaderFault& fault);

}  // namespace kestrova

// What the AC3 personalities share (delaycut, ac3fix): the format of a
// frame in words, the test for a frame of the same stream, a silent frame
// of a frame's format made by ffmpeg, and the bytes of a file's frames and
// of what lies between them, read in file order.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "assets/audio_stream.h"
#include "platform/byte_streams.h"
#include "standin.h"

namespace kestrova::standin {

// 48000, 44100 or 32000, by fscod.
long SampleRateOf(const Ac3Frame& frame);

// "48000 Hz, 192 kbit/s, 3/2+LFE, 768-byte frames".
std::string FormatOf(const Ac3Frame& frame);

// Whether two frames share rate, bitrate and channels (44.1 kHz frames of
// one bitrate differ in size by a padding word).
bool SameStream(const Ac3Frame& a, const Ac3Frame& b);

// Whether both CRCs of the frame hold.
bool PassesCrcs(const Ac3Frame& frame);

// One silent frame of the model frame's format (rate, bitrate, channels,
// LFE and size): the middle frame of a short silence that ffmpeg encodes.
// Throws Error naming `source` when ffmpeg is missing or cannot make one
// (dual mono, for one, it does not encode).
std::vector<std::uint8_t> SilentFrame(const Invocation& call, const std::string& source, const Ac3Frame& model);

// The bytes of an AC3 file on a drive path, taken in file order.
class Ac3FileBytes {
public:
    Ac3FileBytes(const Invocation& call, const std::string& path);

    // The frame's bytes; the bytes before it that were not asked for are passed over.
    std::span<const std::uint8_t> Frame(const Ac3Frame& frame);

    // Hands the bytes from the read position up to `offset` (to the end of
    // the file when there is none) to `take`, a block at a time.
    void Pass(std::uint64_t offset, const std::function<void(std::span<const std::uint8_t>)>& take);
    void PassToEnd(const std::function<void(std::span<const std::uint8_t>)>& take);

private:
    std::size_t Take(std::size_t count);
    void TakeAll(std::size_t count, const Ac3Frame& frame);

    std::unique_ptr<platform::ByteReader> reader_;
    std::string tool_;
    std::string path_;
    std::vector<std::uint8_t> bytes_;
    std::uint64_t position_ = 0;
};

}  // namespace kestrova::standin

// The MPEG-2 sequence header of an elementary video stream, read directly:
// the display aspect a stream really carries, whatever its IFO says.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// How far into a stream the sequence header is looked for.
inline constexpr std::size_t kSequenceHeaderSearchBytes = 2048;

// The byte that holds aspect_ratio_information (upper 4 bits) and
// frame_rate_code (lower 4 bits) of the first sequence header (00 00 01 B3)
// in the first 2048 bytes of `bytes`. Throws a sentence naming `path` when
// there is no header there, or it is cut short.
std::uint8_t SequenceHeaderAspectByte(const std::vector<std::uint8_t>& bytes, const std::string& path);

// True when the stream's first sequence header says 16:9 (aspect code 3).
bool ReadAspectFromM2v(JobContext& job, const std::string& Path);

}  // namespace kestrova

// The display aspect an M2V really carries, whatever its IFO says, read
// from its first sequence header.
#pragma once

#include <cstddef>
#include <string>

#include "job/context.h"

namespace kestrova {

// How far into a stream the sequence header is looked for.
inline constexpr std::size_t kSequenceHeaderSearchBytes = 2048;

// True when the stream's first sequence header says 16:9 (aspect code 3).
// Throws a sentence naming the file when it holds no header in its first
// 2048 bytes, or a damaged one.
bool ReadAspectFromM2v(JobContext& job, const std::string& Path);

}  // namespace kestrova

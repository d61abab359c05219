// What the frame server says of an Avisynth script: whether it opens, and
// its length and frame rate.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// The marker of a script the frame server could not run.
inline constexpr std::int32_t kScriptFailed = 99999;

// The script's length when it opens at a width of 720, 1 when it opens at
// another width, and kScriptFailed when the frame server gave its error clip
// (rate 24, length 240).
std::int32_t OpenAviFile(JobContext& job, const std::string& scriptPath);

struct AviFrames {
    std::int32_t Frames = 0;
    double Rate = 0;  // 23.976, 29.97, 25, or the stream's own rate
    // The frame server's message when it gave its error clip instead.
    std::string Error;
};

// The script's length and rate; with `forceFilm` the rate is 23.976.
AviFrames GetFrames(JobContext& job, const std::string& scriptPath, bool forceFilm);

}  // namespace kestrova

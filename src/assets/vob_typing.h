// Typing of a domain's VOBs and the subpicture rip around it.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Renames the demultiplexed files, rips and converts the subpictures, checks for dummies and types each VOB; returns the stream count the subpicture rip found.
std::int16_t VobAnalysis(JobContext& job);

}  // namespace kestrova

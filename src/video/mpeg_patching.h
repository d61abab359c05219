// Flags of the encoded streams and the stripping of unwanted VOBs.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// With an empty source, the pulldown and header stage over all assets; otherwise a copy of one file.
void UpdateMPV(JobContext& job, const std::string& Source, const std::string& Target, const std::string& Label, std::int16_t DomainIndex);

// Replaces the VOBs the user stripped by their placeholders.
void VobStripping(JobContext& job);

}  // namespace kestrova

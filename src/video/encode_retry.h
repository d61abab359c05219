// Verification of the encoder's results and its retries. An encoder batch
// can die half way and say nothing, so the job does not trust it: each
// output named in the lists must be a whole stream with the frames its
// script delivers; the items without one go into "Repair.ecl" and through
// the encoder again. When that fails too, the originals take their place.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// The frames of the stream at a drive path when the scanner reads it whole
// (with `requireEnd`, to its sequence end code, which every encoder writes);
// -1 when it is missing, cut short or garbled (`why` then says which).
std::int32_t CountEncodedFrames(const JobContext& job, const std::string& path, std::string* why = nullptr,
                                bool requireEnd = true);

// True when assets were still missing and the encoder ran again over them.
bool ConfirmAssetEncoding(JobContext& job, std::int16_t Attempt);

// Puts the original assets in place of what the encoder never made.
void ConfirmEncoding(JobContext& job);

}  // namespace kestrova

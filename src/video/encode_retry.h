// Verification of the encoder's results and its retries.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// True when assets were still missing and the encoder ran again over them.
bool ConfirmAssetEncoding(JobContext& job, std::int16_t Attempt);

// Puts the original assets in place of what the encoder never made.
void ConfirmEncoding(JobContext& job);

}  // namespace kestrova

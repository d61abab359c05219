// The closing line of a block of run-log lines that a WLF banner opened.
#pragma once

#include "job/context.h"
#include "job/log_writers.h"
#include "job/run_log.h"

namespace kestrova {

// Closes a block that WLF opened: the banner's rule of hyphens once more.
inline void WLFC(JobContext& job) { WLOG(job, kBannerRule); }

}  // namespace kestrova

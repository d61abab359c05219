// The options echo at the head of the run log.
#pragma once

#include "job/context.h"

namespace kestrova {

void SettingsEcho(JobContext& job);

}  // namespace kestrova

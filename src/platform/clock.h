// The wall clock as the logs show it.
#pragma once

#include <string>

namespace kestrova::platform {

// Local date and time, "2026-11-23 08:00:51".
std::string LocalDateTimeText();
// Local time of day, "08:00:51".
std::string LocalTimeText();

}  // namespace kestrova::platform

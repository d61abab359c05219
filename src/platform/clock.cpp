// Wall clock texts: see clock.h.
#include "platform/clock.h"

#include <ctime>

namespace kestrova::platform {

namespace {

std::string Format(const char* format) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, format, &local);
    return std::string(text, length);
}

}  // namespace

std::string LocalDateTimeText() { return Format("%Y-%m-%d %H:%M:%S"); }
std::string LocalTimeText() { return Format("%H:%M:%S"); }

}  // namespace kestrova::platform

// The wrapping millisecond counter: see ticks.h.
#include "platform/ticks.h"

#include <chrono>

namespace kestrova::platform {

namespace {

constexpr Ticks kTickMask = kTickWrap - 1;

}  // namespace

Ticks TickCount() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    return static_cast<Ticks>(static_cast<std::uint64_t>(ms) & kTickMask);
}

TickClock SystemTickClock() { return [] { return TickCount(); }; }

Ticks TicksElapsed(Ticks start, Ticks now) { return (now - start) & kTickMask; }

bool TimeoutPassed(Ticks start, Ticks now, std::uint32_t timeoutMs) {
    return TicksElapsed(start, now) >= timeoutMs;
}

std::uint32_t TimeLeft(Ticks start, Ticks now, std::uint32_t timeoutMs) {
    const Ticks elapsed = TicksElapsed(start, now);
    return elapsed >= timeoutMs ? 0 : timeoutMs - elapsed;
}

}  // namespace kestrova::platform

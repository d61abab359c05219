// The millisecond tick counter of the wait loops. It counts modulo 2^31
// (it wraps at 2147483648 ms, about 24.8 days), so every deadline is worked
// out as a difference of ticks, which stays right across the wrap as long
// as the time-out itself is below 2^31 ms.
#pragma once

#include <cstdint>
#include <functional>

namespace kestrova::platform {

using Ticks = std::uint32_t;

// The counter wraps here: ticks run from 0 to kTickWrap - 1.
inline constexpr Ticks kTickWrap = 0x80000000u;

// Milliseconds of a monotonic clock, modulo kTickWrap.
Ticks TickCount();

// A source of ticks; the wait loops take one so that tests can move the
// counter to just before its wrap.
using TickClock = std::function<Ticks()>;

// The real counter as a TickClock.
TickClock SystemTickClock();

// Ticks from start to now, going forward through the wrap.
Ticks TicksElapsed(Ticks start, Ticks now);

// True once timeoutMs have passed between start and now.
bool TimeoutPassed(Ticks start, Ticks now, std::uint32_t timeoutMs);

// Milliseconds left of the time-out, 0 once it has passed.
std::uint32_t TimeLeft(Ticks start, Ticks now, std::uint32_t timeoutMs);

}  // namespace kestrova::platform

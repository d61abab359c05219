// The wrapping tick counter: deadline arithmetic across the wrap at 2^31 ms.
#include "platform/ticks.h"

#include <gtest/gtest.h>

namespace kestrova::platform {
namespace {

TEST(Ticks, ElapsedAndTimeLeftGoForwardThroughTheWrap) {
    struct Case {
        Ticks start, now;
        std::uint32_t timeout;
        Ticks elapsed;
        bool passed;
        std::uint32_t left;
    };
    const Case cases[] = {
        {1000, 1000, 0, 0, true, 0},
        {1000, 1499, 500, 499, false, 1},
        {1000, 1500, 500, 500, true, 0},
        // Started 100 ms before the wrap; 99 ms after it, 199 have passed.
        {kTickWrap - 100, 99, 200, 199, false, 1},
        {kTickWrap - 100, 100, 200, 200, true, 0},
        // Just after the wrap a short time-out from before the wrap is
        // not "long passed" (the naive now < start sum would say so).
        {kTickWrap - 1, 0, 5000, 1, false, 4999},
        // A start just after the wrap and a now far on.
        {5, kTickWrap - 1, 1000, kTickWrap - 6, true, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TicksElapsed(c.start, c.now), c.elapsed) << c.start << " -> " << c.now;
        EXPECT_EQ(TimeoutPassed(c.start, c.now, c.timeout), c.passed) << c.start << " -> " << c.now;
        EXPECT_EQ(TimeLeft(c.start, c.now, c.timeout), c.left) << c.start << " -> " << c.now;
    }
}

TEST(Ticks, CounterStaysBelowTheWrapAndMovesForward) {
    const Ticks first = TickCount();
    const Ticks second = SystemTickClock()();
    EXPECT_LT(first, kTickWrap);
    EXPECT_LT(second, kTickWrap);
    EXPECT_LT(TicksElapsed(first, second), 1000u);
}

}  // namespace
}  // namespace kestrova::platform

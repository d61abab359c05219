// The wrapping tick counter: deadline arithmetic across the wrap at 2^31 ms.
#include "platform/ticks.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <vector>

#include "platform/launcher.h"
#include "platform/process.h"

namespace kestrova::platform {
namespace {

TEST(Ticks, ElapsedAndTimeLeftGoForwardThroughTheWrap) {
    // Just after the wrap a short time-out from before it is not "long passed", as a naive sum would say.
    const struct {
        Ticks start, now;
        std::uint32_t timeout;
        Ticks elapsed;
        bool passed;
        std::uint32_t left;
    } cases[] = {
        {1000, 1499, 500, 499, false, 1},          {1000, 1500, 500, 500, true, 0},
        {kTickWrap - 100, 99, 200, 199, false, 1}, {kTickWrap - 100, 100, 200, 200, true, 0},
        {kTickWrap - 1, 0, 5000, 1, false, 4999},  {5, kTickWrap - 1, 1000, kTickWrap - 6, true, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TicksElapsed(c.start, c.now), c.elapsed) << c.start << " -> " << c.now;
        EXPECT_EQ(TimeoutPassed(c.start, c.now, c.timeout), c.passed) << c.start << " -> " << c.now;
        EXPECT_EQ(TimeLeft(c.start, c.now, c.timeout), c.left) << c.start << " -> " << c.now;
    }
    const Ticks first = TickCount();
    const Ticks second = SystemTickClock()();
    EXPECT_LT(second, kTickWrap);
    EXPECT_LT(TicksElapsed(first, second), 1000u);
}

TEST(Ticks, ATimedWaitAcrossTheWrapEndsNeitherEarlyNorLate) {
    PathSpace paths;
    Launcher launcher(paths);
    ProcessRunner runner(launcher);
    // The runner's counter is 100 ms short of its wrap as the wait starts.
    const Ticks offset = (kTickWrap - 100 - TickCount()) & (kTickWrap - 1);
    const TickClock clock = [offset] { return (TickCount() + offset) & (kTickWrap - 1); };
    runner.SetClock(clock);
    std::vector<Ticks> pumpTicks;
    const auto start = std::chrono::steady_clock::now();
    const auto elapsedMs = [&] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    };
    runner.SetPump([&] {
        pumpTicks.push_back(clock());
        if (elapsedMs() > 2000) throw std::runtime_error("the wait did not end");
    });
    EXPECT_EQ(runner.MsgWaitObj(300), ProcessRunner::kWaitTimeout);
    EXPECT_GE(elapsedMs(), 299);  // whole milliseconds
    EXPECT_LT(elapsedMs(), 380);
    ASSERT_GE(pumpTicks.size(), 2u);
    EXPECT_GT(pumpTicks.front(), kTickWrap - 200) << "the pump saw the counter on both sides of the wrap";
    EXPECT_LT(pumpTicks.back(), 300u);
}

}  // namespace
}  // namespace kestrova::platform

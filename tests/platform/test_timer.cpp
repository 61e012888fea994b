#include "platform/timer.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>
#include <time.h>

namespace
{

TEST(Timer, CountsMicrosecondsOfTheMonotonicClock)
{
    test::Camera camera;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    uint64_t before =
        static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
    uint64_t first = get_sys_timer_utick();
    EXPECT_GE(first, before);
    EXPECT_LT(first - before, 10000000U);
    EXPECT_GE(get_sys_timer_utick(), first);
}

} // namespace

#include "platform/timer.h"

#include "tests/support/camera.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <time.h>

namespace
{

uint64_t monotonic_us()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

// The timer goes at least as far as the clock between its two readings, and at most as far as the
// clock around them; each reading cuts a part of a microsecond off.
void expect_speed(uint64_t factor)
{
    uint64_t outer = monotonic_us();
    uint64_t first = get_sys_timer_utick();
    uint64_t inner = monotonic_us();
    test::wait_for([&] { return monotonic_us() - inner > 2000; });
    uint64_t inner_length = monotonic_us() - inner;
    uint64_t length = get_sys_timer_utick() - first;
    uint64_t outer_length = monotonic_us() - outer;

    EXPECT_GE(length + factor, factor * inner_length);
    EXPECT_LE(length, factor * (outer_length + 1));
}

TEST(Timer, CountsMicroseconds)
{
    test::Camera camera;
    expect_speed(1);
}

TEST(Timer, RunsAtTheCamerasSpeed)
{
    test::Camera camera;
    camera.speed(1000);
    get_sys_timer_utick();
    expect_speed(1000);
    uint64_t fast = get_sys_timer_utick();
    camera.speed(1);
    EXPECT_GE(get_sys_timer_utick(), fast);
}

TEST(Timer, CountsAsItsFileSays)
{
    test::Camera camera;
    camera.write("/virtual/timer.play", "5\n0xffffffff\n");
    EXPECT_EQ(get_sys_timer_utick(), 5U);
    EXPECT_EQ(get_sys_timer_utick(), 0xffffffffU);
    EXPECT_EQ(get_sys_timer_utick(), 0xffffffffU);
    camera.remove("/virtual/timer");
    expect_speed(1);
}

TEST(Timer, CountsWithoutACamera)
{
    unsetenv("ROVA_SYSROOT");
    expect_speed(1);
}

} // namespace

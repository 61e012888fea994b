#include "platform/virtual/root.h"

#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

TEST(Root, AbsolutePathsLieBelowTheCamera)
{
    test::Camera camera;
    EXPECT_EQ(virt::path("/sdcard/a"), camera.root().string() + "/sdcard/a");
    EXPECT_EQ(virt::path("memory/a"), "memory/a");
    EXPECT_EQ(virt::path("/sdcard/../../../etc/a"), camera.root().string() + "/etc/a");
    EXPECT_EQ(virt::path("/.."), camera.root().string() + "/");
    EXPECT_EQ(virt::path("/sdcard/..a"), camera.root().string() + "/sdcard/..a");
    EXPECT_EQ(virt::path("/dev/null"), "/dev/null");
    EXPECT_EQ(virt::file("speed"), camera.root().string() + "/virtual/speed");
}

TEST(Root, PlacesHaveTheCamerasNames)
{
    test::Camera camera;
    EXPECT_EQ(virt::camera_path(camera.root().string() + "/sdcard/a"), "/sdcard/a");
    EXPECT_EQ(virt::camera_path(camera.root().string()), "/");
    EXPECT_EQ(virt::camera_path(camera.root().string() + "2/a"), camera.root().string() + "2/a");
    EXPECT_EQ(virt::camera_path("/etc/passwd"), "/etc/passwd");
}

TEST(Root, FollowsTheVariableAndResolvesLinks)
{
    test::Camera first;
    {
        test::Camera second;
        EXPECT_EQ(virt::root(), second.root());
        setenv("ROVA_SYSROOT", (first.root() / "mnt/../").c_str(), 1);
        EXPECT_EQ(virt::root(), first.root());
    }
    EXPECT_EQ(virt::root(), first.root());
}

TEST(Root, WithoutACameraPathsStayAndServicesSayWhy)
{
    test::Outcome outcome =
        test::run({"/usr/bin/env", "-u", "ROVA_SYSROOT", PLATFORM_PROGRAM, "get", "a"});
    EXPECT_EQ(outcome.out, "-2\n");
    EXPECT_EQ(outcome.err, "ROVA_SYSROOT is not set: there is no camera here\n");
    ASSERT_EQ(getenv("ROVA_SYSROOT"), nullptr);
    EXPECT_EQ(virt::path("/sdcard/a"), "/sdcard/a");
}

TEST(Root, SpeedIsOneUnlessANumberAboveZeroIsGiven)
{
    test::Camera camera;
    EXPECT_EQ(virt::speed(), 1);
    camera.speed(12.5);
    EXPECT_EQ(virt::speed(), 12.5);
    for (const char *text : {"", "fast", "0", "-3"}) {
        camera.write("/virtual/speed", text);
        EXPECT_EQ(virt::speed(), 1) << text;
    }
}

TEST(Root, AChildOfABusyProcessFindsTheCamera)
{
#ifdef ROVA_SANITIZE_ADDRESS
    GTEST_SKIP() << "a child hangs in the address sanitizer's own heap when fork() finds it locked";
#endif
    test::Camera camera;
    std::atomic<bool> busy{true};
    std::thread asking([&] {
        while (busy)
            virt::root();
    });
    for (int count = 0; count < 100; count++) {
        pid_t child = fork();
        if (child == 0) {
            alarm(20); // ends one that waits for a lock for ever
            _exit(virt::root() == camera.root().string() ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << "child " << count;
        if (status != 0)
            break;
    }
    busy = false;
    asking.join();
}

} // namespace

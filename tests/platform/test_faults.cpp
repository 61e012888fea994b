#include "platform/virtual/faults.h"

#include "platform/device.h"
#include "platform/sys.h"
#include "platform/vconf.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace
{

TEST(Fault, EveryCallFailsUntilItIsCleared)
{
    test::Camera camera;
    camera.fault("device_get_property", "-7");
    int value = 5;
    for (int count = 0; count < 3; count++)
        EXPECT_EQ(device_get_property(1, 2, &value), -7);
    EXPECT_EQ(value, 5);
    camera.clear_fault("device_get_property");
    EXPECT_EQ(device_get_property(1, 2, &value), 0);
}

TEST(Fault, NumbersAreDecimalOrHexadecimal)
{
    test::Camera camera;
    int value = 0;
    camera.fault("device_get_property", "010");
    EXPECT_EQ(device_get_property(1, 2, &value), 10);
    camera.fault("device_get_property", "-0x10 at 0x1");
    EXPECT_EQ(device_get_property(1, 2, &value), -16);
}

TEST(Fault, OnlyTheNthCallFailsAndSettingItAnewCountsAnew)
{
    test::Camera camera;
    int value = 0;
    for (int round = 0; round < 2; round++) {
        camera.fault("device_get_property", "-1 at 2");
        EXPECT_EQ(device_get_property(1, 2, &value), 0);
        EXPECT_EQ(device_get_property(1, 2, &value), -1);
        EXPECT_EQ(device_get_property(1, 2, &value), 0);
    }
}

TEST(Fault, CallsAreCountedOverAllProcesses)
{
    test::Camera camera;
    camera.fault("device_get_property", "-1 at 4");
    int value = 0;
    EXPECT_EQ(device_get_property(1, 1, &value), 0);
    EXPECT_EQ(test::run({PLATFORM_PROGRAM, "properties", "2"}).out, "0\n0\n");
    EXPECT_EQ(device_get_property(1, 1, &value), -1);
    EXPECT_EQ(test::run({PLATFORM_PROGRAM, "properties", "1"}).out, "0\n");
}

TEST(Fault, ErrnoIsSetAndLeftAloneOtherwise)
{
    test::Camera camera;
    camera.fault("sys_access", "-1 errno EIO");
    errno = 0;
    EXPECT_EQ(sys_access("/sdcard", R_OK), -1);
    EXPECT_EQ(errno, EIO);
    camera.fault("sys_access", "-1 at 2 errno EIO");
    errno = 77;
    EXPECT_EQ(sys_access("/sdcard", R_OK), 0);
    EXPECT_EQ(errno, 77);
}

TEST(Fault, OnlyCallsWithTheTextCount)
{
    test::Camera camera;
    camera.fault("vconf_set_int", "-1 at 2 on my key");
    EXPECT_EQ(vconf_set_int("my key", 1), 0);
    EXPECT_EQ(vconf_set_int("other", 1), 0);
    EXPECT_EQ(vconf_set_int("not my key", 1), -1);
    EXPECT_EQ(vconf_set_int("my key", 1), 0);
}

TEST(Fault, DescriptorsCountByThePathBehindThem)
{
    test::Camera camera;
    camera.fault("sys_write", "-1 errno ENOSPC on /sdcard/");
    int card = sys_open("/sdcard/a", O_WRONLY | O_CREAT, 0644);
    int other = sys_open("/tmp/a", O_WRONLY | O_CREAT, 0644);
    EXPECT_EQ(sys_write(card, "x", 1), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(sys_write(other, "x", 1), 1);
    close(card);
    close(other);
    EXPECT_EQ(camera.read("/sdcard/a"), "");
}

TEST(Fault, PointersFailAsNullAndSemaphoresInTheirOwnWay)
{
    test::Camera camera;
    camera.fault("sys_fopen", "0 errno EACCES");
    camera.fault("sys_opendir", "0");
    camera.fault("sys_sem_open", "0");
    EXPECT_EQ(sys_fopen("/sdcard/a", "w"), nullptr);
    EXPECT_EQ(sys_opendir("/sdcard"), nullptr);
    EXPECT_EQ(sys_sem_open("a", O_CREAT, 0600, 0), SEM_FAILED);
    EXPECT_FALSE(camera.exists("/sdcard/a"));
}

TEST(Fault, AFailedCallIsRecordedWithItsResult)
{
    test::Camera camera;
    camera.fault("device_set_property", "-3");
    EXPECT_EQ(device_set_property(4, 21, 1), -3);
    ASSERT_EQ(camera.calls().size(), 1U);
    EXPECT_EQ(camera.calls()[0]["result"], -3);
    EXPECT_FALSE(camera.exists("/virtual/property/4.21"));
}

TEST(Fault, AFileThatIsNotUnderstoodIsToldAndTheCallWorks)
{
    test::Camera camera;
    for (const char *how :
         {"", "fail", "-1 at", "-1 at 0", "-1 at x", "-1 errno EWHAT", "-1 now 3", "-1 on"}) {
        camera.write("/virtual/fail/device_get_property", how);
        int value = 0;
        testing::internal::CaptureStderr();
        EXPECT_EQ(device_get_property(1, 1, &value), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("virtual/fail/device_get_property: not understood: ") + how + "\n");
    }
}

TEST(Fault, SettingOneThatIsNotUnderstoodIsRefused)
{
    test::Camera camera;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(virt::set_fault("pref_save", "-1 at never"));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(camera.exists("/virtual/fail/pref_save"));
}

} // namespace

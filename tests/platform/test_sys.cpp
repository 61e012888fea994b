#include "platform/sys.h"

#include "platform/virtual/root.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <thread>
#include <unistd.h>

namespace
{

using Texts = std::vector<std::string>;

double seconds_of(const std::function<void()> &work)
{
    auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(SysFiles, LieBelowTheCamera)
{
    test::Camera camera;
    int fd = sys_open("/sdcard/a", O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(sys_write(fd, "text", 4), 4);
    EXPECT_EQ(sys_fdatasync(fd), 0);
    close(fd);
    EXPECT_EQ(camera.read("/sdcard/a"), "text");
    EXPECT_EQ(sys_access("/mnt/mmc/a", R_OK), 0);
    EXPECT_EQ(sys_mkdir("/tmp/folder", 0755), 0);
    EXPECT_EQ(sys_rename("/sdcard/a", "/tmp/folder/b"), 0);
    struct stat status = {};
    EXPECT_EQ(sys_stat("/tmp/folder/b", &status), 0);
    EXPECT_EQ(status.st_size, 4);
    EXPECT_EQ(sys_unlink("/tmp/folder/b"), 0);
    EXPECT_EQ(sys_access("/tmp/folder/b", F_OK), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(SysFiles, StreamsAndFoldersToo)
{
    test::Camera camera;
    FILE *out = sys_fopen("/tmp/a", "w");
    ASSERT_NE(out, nullptr);
    std::fputs("x", out);
    std::fclose(out);
    EXPECT_EQ(camera.read("/tmp/a"), "x");
    DIR *folder = sys_opendir("/tmp");
    ASSERT_NE(folder, nullptr);
    closedir(folder);
    EXPECT_EQ(sys_opendir("/nowhere"), nullptr);
}

TEST(SysFiles, ANullPathIsRefusedNotFollowed)
{
    test::Camera camera;
    const char *nothing = nullptr;
    EXPECT_EQ(sys_open(nothing, O_RDONLY, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(sys_access(nothing, R_OK), -1);
}

TEST(SysFiles, RelativePathsCountFromTheWorkingDirectory)
{
    test::Camera camera;
    EXPECT_EQ(sys_access(".", R_OK), 0);
    EXPECT_EQ(sys_access("sdcard", R_OK), -1);
}

TEST(SysFiles, OpeningForReadingIsOneReadingOfAScriptedValue)
{
    test::Camera camera;
    camera.write("/sys/key", "0\n");
    camera.write("/sys/key.play", "1\n2\n");
    close(sys_open("/sys/key", O_RDONLY, 0));
    EXPECT_EQ(camera.read("/sys/key"), "1\n");
    close(sys_open("/sys/key", O_WRONLY, 0));
    EXPECT_EQ(camera.read("/sys/key"), "1\n");
    std::fclose(sys_fopen("/sys/key", "r"));
    EXPECT_EQ(camera.read("/sys/key"), "2\n");
}

TEST(SysFiles, EachCallCanFail)
{
    test::Camera camera;
    camera.write("/tmp/a", "x");
    for (const char *call : {"sys_open", "sys_access", "sys_stat", "sys_rename", "sys_unlink",
                             "sys_mkdir", "sys_fdatasync", "sys_ftok", "sys_msgget", "sys_msgctl",
                             "sys_sem_unlink", "sys_usleep", "sys_time"})
        camera.fault(call, "-1 errno EPERM");
    struct stat status = {};
    EXPECT_EQ(sys_open("/tmp/a", O_RDONLY, 0), -1);
    EXPECT_EQ(sys_access("/tmp/a", R_OK), -1);
    EXPECT_EQ(sys_stat("/tmp/a", &status), -1);
    EXPECT_EQ(sys_rename("/tmp/a", "/tmp/b"), -1);
    EXPECT_EQ(sys_unlink("/tmp/a"), -1);
    EXPECT_EQ(sys_mkdir("/tmp/c", 0755), -1);
    EXPECT_EQ(sys_fdatasync(1), -1);
    EXPECT_EQ(sys_ftok("/tmp", 1), -1);
    EXPECT_EQ(sys_msgget(IPC_PRIVATE, 0600), -1);
    EXPECT_EQ(sys_msgctl(0, IPC_RMID, nullptr), -1);
    EXPECT_EQ(sys_sem_unlink("a"), -1);
    EXPECT_EQ(sys_usleep(1), -1);
    EXPECT_EQ(sys_time(nullptr), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_TRUE(camera.exists("/tmp/a"));
    EXPECT_FALSE(camera.exists("/tmp/c"));
}

TEST(SysIoctl, ARequestOfADeviceIsRecordedWithItsNumbers)
{
    test::Camera camera;
    camera.write("/dev/fb0", "");
    int fd = sys_open("/dev/fb0", O_RDWR, 0);
    int request[2] = {1, -1};
    EXPECT_EQ(sys_ioctl(fd, 0x40087410, request), 0);
    EXPECT_EQ(sys_ioctl(fd, 0x7412, nullptr), 0);
    camera.fault("sys_ioctl", "-1 errno EIO on /dev/fb0");
    EXPECT_EQ(sys_ioctl(fd, 0x40087411, request), -1);
    EXPECT_EQ(errno, EIO);
    close(fd);
    EXPECT_EQ(camera.call_texts(), (Texts{"sys_ioctl(\"/dev/fb0\", \"0x40087410\", [1,-1])",
                                          "sys_ioctl(\"/dev/fb0\", \"0x00007412\", [])",
                                          "sys_ioctl(\"/dev/fb0\", \"0x40087411\", [1,-1])"}));
}

TEST(SysIoctl, ARequestThatReadsIsAnsweredFromAFile)
{
    test::Camera camera;
    camera.write("/dev/lsm", "");
    camera.write("/virtual/ioctl/lsm.0x800c6c01", "1 2 3\n");
    camera.write("/virtual/ioctl/lsm.0x800c6c01.play", "-4 5\n");
    int fd = sys_open("/dev/lsm", O_RDONLY, 0);
    int axes[4] = {9, 9, 9, 9};
    EXPECT_EQ(sys_ioctl(fd, 0x800c6c01, axes), 0);
    EXPECT_EQ((std::vector<int>{-4, 5, 0, 9}), std::vector<int>(axes, axes + 4));
    int temperature = 9;
    EXPECT_EQ(sys_ioctl(fd, 0x80046c03, &temperature), 0);
    EXPECT_EQ(temperature, 0);
    close(fd);
    EXPECT_TRUE(camera.calls().empty());
}

TEST(SysIoctl, AFileThatIsNoDeviceRefusesIt)
{
    test::Camera camera;
    camera.write("/tmp/a", "");
    int fd = sys_open("/tmp/a", O_RDWR, 0), value = 0;
    EXPECT_EQ(sys_ioctl(fd, 0x40047410, &value), -1);
    EXPECT_EQ(errno, ENOTTY);
    close(fd);
}

TEST(SysFtok, KeysAreOnesOfThisCameraAlone)
{
    test::Camera first;
    key_t key = sys_ftok("/tmp", 1501901107);
    EXPECT_NE(key, -1);
    EXPECT_NE(key, IPC_PRIVATE);
    EXPECT_EQ(sys_ftok("/tmp", 1501901107), key);
    EXPECT_EQ(sys_ftok("/tmp/", 1501901107), key);
    EXPECT_NE(sys_ftok("/tmp", 2), key);
    EXPECT_NE(sys_ftok("/sdcard", 1501901107), key);
    EXPECT_EQ(sys_ftok("/sdcard", 3), sys_ftok("/mnt/mmc", 3 + 256));
    EXPECT_EQ(test::run({PLATFORM_PROGRAM, "ftok", "/tmp"}).out,
              std::to_string(sys_ftok("/tmp", 1)) + "\n");
    test::Camera second;
    EXPECT_NE(sys_ftok("/tmp", 1501901107), key);
}

TEST(SysFtok, AMissingPathFails)
{
    test::Camera camera;
    EXPECT_EQ(sys_ftok("/missing", 1), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(SysSemaphores, OfTwoCamerasAreTwo)
{
    test::Camera first;
    sem_t *mine = sys_sem_open("sem_test", O_CREAT, 0600, 0);
    ASSERT_NE(mine, SEM_FAILED);
    sem_post(mine);
    {
        test::Camera second;
        EXPECT_EQ(sys_sem_open("sem_test", 0, 0, 0), SEM_FAILED);
        sem_t *other = sys_sem_open("/sem_test", O_CREAT, 0600, 0);
        ASSERT_NE(other, SEM_FAILED);
        EXPECT_EQ(sem_trywait(other), -1);
        sem_close(other);
    }
    EXPECT_EQ(sem_trywait(mine), 0);
    sem_close(mine);
    EXPECT_EQ(sys_sem_unlink("sem_test"), 0);
    EXPECT_EQ(sys_sem_open("sem_test", 0, 0, 0), SEM_FAILED);
}

TEST(SysTime, SleepsAndDeadlinesRunAtTheCamerasSpeed)
{
    test::Camera camera;
    camera.speed(1000);
    EXPECT_LT(seconds_of([] { EXPECT_EQ(sys_usleep(100000000), 0); }), 20);
    timespec deadline = {}, now = {};
    sys_deadline(3600000, &deadline);
    clock_gettime(CLOCK_REALTIME, &now);
    EXPECT_LE(deadline.tv_sec - now.tv_sec, 4);
    camera.speed(0.5);
    sys_deadline(3600250, &deadline);
    clock_gettime(CLOCK_REALTIME, &now);
    double wait = static_cast<double>(deadline.tv_sec - now.tv_sec) +
                  static_cast<double>(deadline.tv_nsec - now.tv_nsec) / 1e9;
    EXPECT_NEAR(wait, 7200.5, 20);
    EXPECT_LT(deadline.tv_nsec, 1000000000);
}

// Real seconds until the deadline, counted from before it was asked for.
static double wait_until(unsigned int seconds, timespec *deadline)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    sys_deadline_seconds(seconds, deadline);
    return static_cast<double>(deadline->tv_sec - now.tv_sec) +
           static_cast<double>(deadline->tv_nsec - now.tv_nsec) / 1e9;
}

TEST(SysTime, ADeadlineInSecondsFallsOnAFullSecond)
{
    test::Camera camera;
    timespec deadline = {};
    double wait = wait_until(360, &deadline);
    EXPECT_EQ(deadline.tv_nsec, 0);
    EXPECT_GT(wait, 359);
    EXPECT_LT(wait, 380);
}

TEST(SysTime, ADeadlineInSecondsLeavesAWaitAtAnySpeed)
{
    test::Camera camera;
    timespec deadline = {};
    for (double speed : {100.0, 1000.0}) {
        camera.speed(speed);
        double wait = wait_until(60, &deadline);
        EXPECT_GT(wait, 59 / speed);
        EXPECT_LT(wait, 20);
        EXPECT_LT(deadline.tv_nsec, 1000000000);
    }
    camera.speed(0.5);
    EXPECT_GT(wait_until(60, &deadline), 118);
}

TEST(SysTime, ASleepIsAtLeastAsLongAsAsked)
{
    test::Camera camera;
    EXPECT_GE(seconds_of([] { sys_usleep(5000); }), 0.005);
    EXPECT_NEAR(static_cast<double>(sys_time(nullptr)), static_cast<double>(time(nullptr)), 2);
}

TEST(SysTime, ASleepCanBeCancelled)
{
#ifdef ROVA_SANITIZE_THREAD
    GTEST_SKIP() << "the thread sanitizer loses count of threads cancelled in a sleep";
#endif
    test::Camera camera;
    for (int type : {PTHREAD_CANCEL_DEFERRED, PTHREAD_CANCEL_ASYNCHRONOUS}) {
        pthread_t thread;
        auto body = [](void *argument) -> void * {
            pthread_setcanceltype(*static_cast<int *>(argument), nullptr);
            for (;;)
                sys_usleep(900000);
        };
        ASSERT_EQ(pthread_create(&thread, nullptr, body, &type), 0);
        pthread_cancel(thread);
        void *result = nullptr;
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
    }
}

TEST(SysSync, IsRecordedAndLeavesThePcAlone)
{
    test::Camera camera;
    sys_sync();
    EXPECT_EQ(camera.call_texts(), Texts{"sys_sync()"});
}

} // namespace

#include "platform/sys.h"
#include "tests/support/camera.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

// Opens, and closes at once.
bool opens(const char *path)
{
    int fd = sys_open(path, O_RDWR, 0);
    if (fd >= 0)
        close(fd);
    return fd >= 0;
}

} // namespace

TEST(Memory, FirstOpeningMakesAllThatA32BitAddressReaches)
{
    test::Camera camera;
    int fd = sys_open("/dev/mem", O_RDWR, 0);
    ASSERT_GE(fd, 0);
    struct stat status = {};
    fstat(fd, &status);
    EXPECT_EQ(status.st_size, off_t{1} << 32);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_LT(status.st_blocks * 512, 1 << 20) << "the file is not sparse";

    char last = 'x';
    EXPECT_EQ(pread(fd, &last, 1, (off_t{1} << 32) - 1), 1);
    EXPECT_EQ(last, '\0');
    close(fd);
}

TEST(Memory, KeepsWhatWasWritten)
{
    test::Camera camera;
    int fd = sys_open("/dev/mem", O_RDWR, 0);
    ASSERT_EQ(pwrite(fd, "pin", 3, 0x10401000), 3);
    close(fd);

    fd = sys_open("/dev/mem", O_RDONLY, 0);
    char text[4] = {};
    EXPECT_EQ(pread(fd, text, 3, 0x10401000), 3);
    EXPECT_STREQ(text, "pin");
    close(fd);
}

TEST(Memory, FileOfAnotherSizeIsLeftAlone)
{
    test::Camera camera;
    camera.write("/dev/mem", "abc");
    EXPECT_TRUE(opens("/dev/mem"));
    EXPECT_EQ(camera.read("/dev/mem"), "abc");
}

TEST(Memory, LeavesNoOtherFileBehind)
{
    test::Camera camera;
    EXPECT_TRUE(opens("/dev/mem"));
    EXPECT_TRUE(opens("/dev/mem"));
    auto entries = fs::directory_iterator(camera.path("/dev"));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST(Memory, CameraWithoutADevFolderHasNone)
{
    test::Camera camera;
    fs::remove_all(camera.path("/dev"));
    EXPECT_FALSE(opens("/dev/mem"));
    EXPECT_EQ(errno, ENOENT);
}

TEST(Memory, OtherNodesAreNotMade)
{
    test::Camera camera;
    EXPECT_FALSE(opens("/dev/memory"));
    EXPECT_FALSE(camera.exists("/dev/memory"));
    EXPECT_FALSE(camera.exists("/dev/mem"));
}

TEST(Memory, FaultComesBeforeTheFile)
{
    test::Camera camera;
    camera.fault("sys_open", "-1 errno EACCES on /dev/mem");
    EXPECT_FALSE(opens("/dev/mem"));
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(camera.exists("/dev/mem"));
}

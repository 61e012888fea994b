#include "lib/pim/rova_pim_raw.h"

#include "lib/pim/rova_pim.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{

constexpr char FOLDER[] = "/mnt/mmc/DCIM_YUVRAW";

struct Raw : testing::Test {
    test::Camera camera;
    test::Planes planes{96 * 10 * 2};

    // The folder's mode keeps others than root from removing it.
    ~Raw() override
    {
        if (camera.exists(FOLDER) && fs::is_directory(camera.path(FOLDER)))
            fs::permissions(camera.path(FOLDER), fs::perms::owner_all);
    }
    std::string contents() const { return {planes.bytes().begin(), planes.bytes().end()}; }
    std::string address() const
    {
        char text[16];
        std::snprintf(text, sizeof(text), "0x%08x", planes.address());
        return text;
    }
};

} // namespace

TEST_F(Raw, TheFullImageIsWrittenWithItsChroma)
{
    testing::internal::CaptureStdout();
    saveYuvRawMain(7, planes.data(), 96, 10);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Main  7th  : 96 x 10 = 960\nMain Start Address : " + address() + "\n");
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXF_0007.yuv.raw"), contents());
    EXPECT_EQ(camera.calls("sys_sync").size(), 1u);
}

TEST_F(Raw, TheScreenNailIsWrittenUnderItsOwnName)
{
    testing::internal::CaptureStdout();
    saveYuvRawScreen(12345, planes.data(), 96, 10);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ScreenNail 12345th  : 96 x 10 = 960\nScreenNail Start Address : " + address() +
                  "\n");
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXS_12345.yuv.raw"), contents());
}

TEST_F(Raw, TheFolderIsMadeWithADecimalMode)
{
    const mode_t mask = umask(0);
    saveYuvRawMain(1, planes.data(), 96, 10);
    umask(mask);
    struct stat status = {};
    ASSERT_EQ(stat(camera.path(FOLDER).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 755u);
}

TEST_F(Raw, ALaterDumpOfTheSameNumberReplacesTheFirst)
{
    saveYuvRawMain(1, planes.data(), 96, 10);
    saveYuvRawMain(1, planes.data(), 96, 5);
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXF_0001.yuv.raw"), contents().substr(0, 960));
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Raw, AFailedOpenIsPrintedWithTheMode)
{
    SetPIMode(PI_MODE_DUST);
    camera.fault("sys_open", "-1 errno EROFS on HVX");
    testing::internal::CaptureStdout();
    saveYuvRawMain(1, planes.data(), 96, 10);
    EXPECT_THAT(
        testing::internal::GetCapturedStdout(),
        testing::ContainsRegex("\nsaveYuvRawMain, [0-9]+: piMode = 2, file open error. fp -1\n"));
    testing::internal::CaptureStdout();
    saveYuvRawScreen(1, planes.data(), 96, 10);
    EXPECT_THAT(
        testing::internal::GetCapturedStdout(),
        testing::ContainsRegex("\nsaveYuvRawScreen, [0-9]+: piMode = 2, file open error. fp -1\n"));
    EXPECT_TRUE(camera.calls("sys_sync").empty());
}

TEST_F(Raw, AFolderThatCannotBeMadeIsLogged)
{
    camera.fault("sys_mkdir", "-1 errno EACCES");
    saveYuvRawMain(1, planes.data(), 96, 10);
    EXPECT_TRUE(camera.logged("failed to make /mnt/mmc/DCIM_YUVRAW (Permission denied)"));
}

TEST_F(Raw, AFullCardLeavesNoHalfDump)
{
    camera.fault("sys_write", "-1 errno ENOSPC on HVXF");
    saveYuvRawMain(1, planes.data(), 96, 10);
    EXPECT_FALSE(camera.exists("/mnt/mmc/DCIM_YUVRAW/HVXF_0001.yuv.raw"));
    EXPECT_TRUE(camera.logged(
        "failed to write /mnt/mmc/DCIM_YUVRAW/HVXF_0001.yuv.raw (No space left on device)"));
}

TEST_F(Raw, AnInterruptedWriteGoesOn)
{
    camera.fault("sys_write", "-1 at 1 errno EINTR on HVXF");
    saveYuvRawMain(1, planes.data(), 96, 10);
    EXPECT_EQ(camera.read("/mnt/mmc/DCIM_YUVRAW/HVXF_0001.yuv.raw"), contents());
}

TEST_F(Raw, AWriteThatTakesNothingEnds)
{
    camera.fault("sys_write", "0 on HVXF");
    saveYuvRawMain(1, planes.data(), 96, 10);
    EXPECT_FALSE(camera.exists("/mnt/mmc/DCIM_YUVRAW/HVXF_0001.yuv.raw"));
    EXPECT_TRUE(camera.logged("HVXF_0001.yuv.raw (No space left on device)"));
}

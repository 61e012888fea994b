#define ROVA_LOG_TAG ROVA_TAG_GYRO
#include "common/rova_log.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

TEST(LogTag, AFileMayLogUnderItsOwn)
{
    test::Camera camera;
    testing::internal::CaptureStderr();
    ROVA_LOG_ERR("drift\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[SYS_GYRO  ] \033[31mdrift\033[m\n");
    EXPECT_TRUE(camera.logged(" 6 SYS_GYRO test_rova_log_tag.cpp: "));
}

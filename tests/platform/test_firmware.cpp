#include "platform/firmware.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

namespace
{

TEST(BoardVersion, IsOneUnlessTheFileSaysOtherwise)
{
    test::Camera camera;
    EXPECT_EQ(get_board_version(), 1);
    camera.write("/virtual/firmware/board_version", "0\n");
    EXPECT_EQ(get_board_version(), 0);
    camera.fault("get_board_version", "-1");
    EXPECT_EQ(get_board_version(), -1);
}

} // namespace

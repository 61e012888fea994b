#include "platform/dlog.h"

#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace
{

TEST(Dlog, ALineHasTimeProcessThreadPriorityTagAndText)
{
    test::Camera camera;
    EXPECT_GT(__dlog_print(3, 6, "SYS_ROVA", "%s: %d\033[m\n", "a.cpp", 7), 0);
    EXPECT_THAT(camera.platform_log(),
                testing::MatchesRegex("[0-9]+\\.[0-9]+ " + std::to_string(getpid()) + " " +
                                      std::to_string(gettid()) +
                                      " 6 SYS_ROVA a\\.cpp: 7\033\\[m\n"));
}

TEST(Dlog, OneCallIsOneLineWhateverTheText)
{
    test::Camera camera;
    __dlog_print(3, 4, "A", "one\n\033[m\n");
    __dlog_print(3, 4, "A", "two");
    __dlog_print(3, 4, "A", "%s", "");
    std::string log = camera.platform_log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 3);
    EXPECT_TRUE(camera.logged("A one\\n\033[m\n"));
    EXPECT_TRUE(camera.logged("A two\n"));
}

TEST(Dlog, LongTextsAreCut)
{
    test::Camera camera;
    __dlog_print(3, 4, "A", "%s", std::string(10000, 'x').c_str());
    EXPECT_TRUE(camera.logged(std::string(4095, 'x') + "\n"));
}

TEST(Dlog, CanFail)
{
    test::Camera camera;
    camera.fault("__dlog_print", "-1");
    EXPECT_EQ(__dlog_print(3, 4, "A", "text"), -1);
    EXPECT_EQ(camera.platform_log(), "");
}

} // namespace

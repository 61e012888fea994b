#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{

constexpr char FILE_NAME[] = "/mnt/mmc/log.txt";

class LogSink : public testing::Test
{
protected:
    test::Camera camera;

    LogSink() { rova_pim_log_close(); }
    ~LogSink() override
    {
        rova_pim_log_close();
        gLogPrintOnOff = 0;
    }
    std::string file() const { return camera.read(FILE_NAME); }
    std::string flushed_file() const
    {
        std::fflush(gLogFp);
        return file();
    }
};

void open(int32_t mode)
{
    gLogPrintOnOff = mode;
    ASSERT_EQ(rova_pim_log_open(FILE_NAME), 0);
}

} // namespace

TEST_F(LogSink, ModeOneHoldsTheTextUntilTheClose)
{
    camera.write(FILE_NAME, "old\n");
    open(PIM_DEBUG_BUFFERED);
    rova_pim_log("one %d\n", 1);
    EXPECT_EQ(flushed_file(), "old\n");
    rova_pim_log_close();
    EXPECT_EQ(file(), "old\none 1\n");
    EXPECT_EQ(gLogFpState, 0);
    EXPECT_EQ(gLogFp, nullptr);
}

TEST_F(LogSink, AMessageThatWouldBringTheBufferToItsSizeWritesItFirst)
{
    open(PIM_DEBUG_BUFFERED);
    rova_pim_log("%s", std::string(8000, 'a').c_str());
    EXPECT_EQ(flushed_file(), "");
    rova_pim_log("%s", std::string(192, 'b').c_str());
    EXPECT_EQ(flushed_file(), std::string(8000, 'a'));
    rova_pim_log("%s", std::string(8192, 'c').c_str());
    rova_pim_log_close();
    EXPECT_EQ(file(), std::string(8000, 'a') + std::string(192, 'b') + std::string(8192, 'c'));
}

TEST_F(LogSink, ModeTwoPrintsStraightToTheFile)
{
    open(PIM_DEBUG_DIRECT);
    rova_pim_log("%d\n", 42);
    EXPECT_EQ(flushed_file(), "42\n");
}

TEST_F(LogSink, ModeFourPrintsToTheStandardOutputWithoutAFile)
{
    gLogPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output([] { rova_pim_log("one\n"); }), "one\n");
}

TEST_F(LogSink, OtherModesAndFilesThatAreShutPrintNothing)
{
    for (const int32_t mode : {0, 3, -1, 5}) {
        open(mode);
        EXPECT_EQ(test::captured_output([] { rova_pim_log("text"); }), "") << mode;
        rova_pim_log_close();
    }
    for (const int32_t mode : {PIM_DEBUG_BUFFERED, PIM_DEBUG_DIRECT}) {
        gLogPrintOnOff = mode;
        EXPECT_EQ(test::captured_output([] { rova_pim_log("text"); }), "") << mode;
        open(mode);
        gLogFpState = 0;
        rova_pim_log("text");
        rova_pim_log_close();
    }
    EXPECT_EQ(file(), "");
}

TEST_F(LogSink, IsNotTheDebugSink)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    open(PIM_DEBUG_BUFFERED);
    EXPECT_EQ(test::captured_output([] { rova_pim_log("log"); }), "");
    EXPECT_EQ(test::captured_output([] { rova_pim_debug("debug"); }), "debug");
    gDbgPrintOnOff = 0;
    rova_pim_log_close();
    EXPECT_EQ(file(), "log");
}

TEST_F(LogSink, AFileThatCannotBeOpenedLeavesTheSinkWithoutOne)
{
    gLogPrintOnOff = PIM_DEBUG_DIRECT;
    EXPECT_EQ(rova_pim_log_open("/mnt/mmc/missing/log.txt"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(gLogFpState, 0);
    rova_pim_log("lost");
}

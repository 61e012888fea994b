#include "lib/pim/rova_pim_debug.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <unistd.h>

namespace
{

constexpr char FILE_NAME[] = "/mnt/mmc/debug.txt";

class Debug : public testing::Test
{
protected:
    test::Camera camera;

    Debug() { rova_pim_debug_close(); }
    ~Debug() override
    {
        rova_pim_debug_close();
        gDbgPrintOnOff = 0;
    }
    void open(int32_t mode) const
    {
        gDbgPrintOnOff = mode;
        ASSERT_EQ(rova_pim_debug_open(FILE_NAME), 0);
    }
    std::string file() const { return camera.read(FILE_NAME); }
    // What the process's own stream may still hold.
    std::string flushed_file() const
    {
        std::fflush(gDbgFp);
        return file();
    }
};

std::string printed(const std::string &text)
{
    return test::captured_output([&] { rova_pim_debug("%s", text.c_str()); });
}

void report(const std::string &text)
{
    rova_pim_report("%s", text.c_str());
}

void report_chart()
{
    rova_pim_report(" WRONG %d : %s \n\n", 3, "chart");
}

} // namespace

TEST_F(Debug, TheStandardOutputIsOfItsOwn)
{
    open(PIM_DEBUG_BUFFERED);
    EXPECT_EQ(test::captured_output([] { rova_pim_print("%s %d\n", "seen", 7); }), "seen 7\n");
    EXPECT_EQ(gDbgCnt, 0);
}

TEST_F(Debug, ModeFourPrintsToTheStandardOutputWithAndWithoutAFile)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(printed("one\n"), "one\n");
    open(PIM_DEBUG_STDOUT);
    EXPECT_EQ(printed("two\n"), "two\n");
    rova_pim_debug_close();
    EXPECT_EQ(file(), "");
}

TEST_F(Debug, OtherModesPrintNothing)
{
    for (int32_t mode : {0, 3, 5, -1, 99}) {
        open(mode);
        EXPECT_EQ(printed("text"), "") << mode;
        EXPECT_EQ(gDbgCnt, 0) << mode;
        rova_pim_debug_close();
    }
    EXPECT_EQ(file(), "");
}

TEST_F(Debug, TheModesOfFilesPrintNothingWithoutOne)
{
    for (int32_t mode : {PIM_DEBUG_BUFFERED, PIM_DEBUG_DIRECT}) {
        gDbgPrintOnOff = mode;
        EXPECT_EQ(printed("text"), "") << mode;
        EXPECT_EQ(gDbgCnt, 0) << mode;
    }
}

TEST_F(Debug, TheModesOfFilesPrintNothingWhileTheStateIsZero)
{
    for (int32_t mode : {PIM_DEBUG_BUFFERED, PIM_DEBUG_DIRECT}) {
        open(mode);
        gDbgFpState = 0;
        rova_pim_debug("text");
        EXPECT_EQ(gDbgCnt, 0) << mode;
        rova_pim_debug_close();
    }
    EXPECT_EQ(file(), "");
}

TEST_F(Debug, ModeTwoPrintsStraightToTheFile)
{
    open(PIM_DEBUG_DIRECT);
    rova_pim_debug("%d\n", 42);
    EXPECT_EQ(gDbgCnt, 0);
    EXPECT_EQ(flushed_file(), "42\n");
}

TEST_F(Debug, ModeOneHoldsTheTextUntilTheClose)
{
    open(PIM_DEBUG_BUFFERED);
    rova_pim_debug("one %d\n", 1);
    rova_pim_debug("two\n");
    EXPECT_STREQ(pDbgData, "one 1\ntwo\n");
    EXPECT_EQ(gDbgCnt, 10);
    EXPECT_EQ(flushed_file(), "");
    rova_pim_debug_close();
    EXPECT_EQ(file(), "one 1\ntwo\n");
    EXPECT_EQ(gDbgCnt, 0);
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_EQ(pDbgData[0], '\0');
}

TEST_F(Debug, TheBufferIsFilledToOneByteBelowItsSize)
{
    open(PIM_DEBUG_BUFFERED);
    const std::string most(8191, 'a');
    rova_pim_debug("%s", most.c_str());
    EXPECT_EQ(gDbgCnt, 8191);
    EXPECT_EQ(flushed_file(), "");
    rova_pim_debug("b");
    EXPECT_EQ(gDbgCnt, 1);
    EXPECT_EQ(flushed_file(), most);
    rova_pim_debug_close();
    EXPECT_EQ(file(), most + "b");
}

TEST_F(Debug, AMessageThatWouldBringTheBufferToItsSizeWritesItFirst)
{
    open(PIM_DEBUG_BUFFERED);
    rova_pim_debug("%s", std::string(8000, 'a').c_str());
    rova_pim_debug("%s", std::string(192, 'b').c_str());
    EXPECT_EQ(gDbgCnt, 192);
    EXPECT_EQ(flushed_file(), std::string(8000, 'a'));
}

TEST_F(Debug, AMessageLongerThanTheBufferIsNotCut)
{
    open(PIM_DEBUG_BUFFERED);
    rova_pim_debug("before ");
    rova_pim_debug("%s %d", std::string(8192, 'a').c_str(), 5);
    rova_pim_debug(" behind");
    rova_pim_debug_close();
    EXPECT_EQ(file(), "before " + std::string(8192, 'a') + " 5 behind");
}

TEST_F(Debug, TheFileIsAppendedTo)
{
    camera.write(FILE_NAME, "old\n");
    open(PIM_DEBUG_BUFFERED);
    rova_pim_debug("new\n");
    rova_pim_debug_close();
    EXPECT_EQ(file(), "old\nnew\n");
}

TEST_F(Debug, AFileThatIsStillOpenIsFinishedFirst)
{
    open(PIM_DEBUG_BUFFERED);
    rova_pim_debug("one\n");
    ASSERT_EQ(rova_pim_debug_open("/mnt/mmc/other.txt"), 0);
    EXPECT_EQ(file(), "one\n");
    rova_pim_debug("two\n");
    rova_pim_debug_close();
    EXPECT_EQ(camera.read("/mnt/mmc/other.txt"), "two\n");
}

TEST_F(Debug, AFileThatCannotBeOpenedLeavesTheSinkWithoutOne)
{
    open(PIM_DEBUG_BUFFERED);
    EXPECT_EQ(rova_pim_debug_open("/mnt/mmc/missing/debug.txt"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_EQ(gDbgFp, nullptr);
    rova_pim_debug("lost");
    rova_pim_debug_close();
    EXPECT_EQ(gDbgCnt, 0);
}

TEST_F(Debug, TheCloseGivesTheDescriptorBack)
{
    const int before = dup(STDERR_FILENO);
    close(before);
    open(PIM_DEBUG_DIRECT);
    rova_pim_debug_close();
    const int behind = dup(STDERR_FILENO);
    close(behind);
    EXPECT_EQ(behind, before);
}

TEST_F(Debug, AWriteThatFailedBeforeIsToldAtTheClose)
{
    std::filesystem::create_symlink("/dev/full", camera.path(FILE_NAME));
    open(PIM_DEBUG_DIRECT);
    std::setvbuf(gDbgFp, nullptr, _IONBF, 0); // nothing is left for the close to write
    rova_pim_debug("text\n");
    rova_pim_debug_close();
    EXPECT_TRUE(camera.logged("failed to write a text of the picture tests"));
}

TEST_F(Debug, AFullCardIsToldOnceAtTheClose)
{
    std::filesystem::create_symlink("/dev/full", camera.path(FILE_NAME));
    open(PIM_DEBUG_DIRECT);
    rova_pim_debug("text\n");
    rova_pim_debug_close();
    EXPECT_TRUE(
        camera.logged("failed to write a text of the picture tests (No space left on device)"));
}

TEST_F(Debug, AReportGoesToTheSinkAndAsOneLineToTheLog)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output(report_chart), " WRONG 3 : chart \n\n");
    EXPECT_THAT(test::lines_of(camera.platform_log()),
                testing::ElementsAre(testing::EndsWith("mWRONG 3 : chart\x1B[m")));
}

TEST_F(Debug, AReportIsLoggedWhereTheSinkPrintsNothing)
{
    EXPECT_EQ(test::captured_output([] { report(" FILE OPEN ERROR : a \n\n"); }), "");
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : a"));
}

TEST_F(Debug, AReportOfBlanksOrOfAnyLengthIsSafe)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output([] { report(" \n\n"); }), " \n\n");
    const std::string text = test::captured_output([] { report(std::string(2000, 'x')); });
    EXPECT_EQ(text, std::string(511, 'x'));
}

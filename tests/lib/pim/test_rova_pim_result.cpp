#include "lib/pim/rova_pim_result.h"
#include "tests/support/camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace
{

constexpr char FILE_NAME[] = "/mnt/mmc/result.csv";

class Result : public testing::Test
{
protected:
    test::Camera camera;

    Result() { start(PIM_RESULT_BUFFERED); }
    ~Result() override { start(PIM_RESULT_BUFFERED); }
    static void start(int32_t mode)
    {
        rova_pim_result_close();
        rova_pim_result_clear();
        gRstPrintOpt = mode;
    }
    static void open(int32_t mode)
    {
        start(mode);
        ASSERT_EQ(rova_pim_result_open(FILE_NAME), 0);
    }
    std::string file() const { return camera.read(FILE_NAME); }
    std::string flushed_file() const
    {
        std::fflush(gRstFp);
        return file();
    }
};

void print(std::size_t length, char letter)
{
    rova_pim_result_print("%s", std::string(length, letter).c_str());
}

} // namespace

TEST_F(Result, ModeZeroHoldsThePiecesUntilTheClose)
{
    open(PIM_RESULT_BUFFERED);
    rova_pim_result_print("%4d,", 7);
    rova_pim_result_print("OK,\n");
    EXPECT_STREQ(pRstData, "   7,OK,\n");
    EXPECT_EQ(gRstCnt, 9);
    EXPECT_EQ(flushed_file(), "");
    rova_pim_result_close();
    EXPECT_EQ(file(), "   7,OK,\n");
    EXPECT_EQ(gRstFpState, 0);
    EXPECT_EQ(gRstCnt, 0);
    EXPECT_STREQ(pRstData, "");
}

TEST_F(Result, ModeZeroWritesWhenAPieceWouldBringTheBufferToItsSize)
{
    open(PIM_RESULT_BUFFERED);
    print(4095, 'a');
    EXPECT_EQ(gRstCnt, 4095);
    EXPECT_EQ(flushed_file(), "");
    print(1, 'b');
    EXPECT_EQ(gRstCnt, 1);
    EXPECT_EQ(flushed_file(), std::string(4095, 'a'));
    rova_pim_result_close();
    EXPECT_EQ(file(), std::string(4095, 'a') + "b");
}

TEST_F(Result, ModeOneWritesAtOnce)
{
    open(PIM_RESULT_DIRECT);
    rova_pim_result_print("%d,", 1);
    EXPECT_EQ(gRstCnt, 0);
    EXPECT_EQ(flushed_file(), "1,");
    rova_pim_result_close();
    EXPECT_EQ(file(), "1,");
    EXPECT_STREQ(pRstData, "");
}

TEST_F(Result, ModeTwoKeepsTheTextBehindTheClose)
{
    start(PIM_RESULT_KEPT);
    rova_pim_result_print("%d,", 1);
    rova_pim_result_print("%d\n", 2);
    rova_pim_result_close();
    EXPECT_STREQ(pRstData, "1,2\n");
    EXPECT_EQ(gRstCnt, 4);
    EXPECT_FALSE(camera.exists(FILE_NAME));
}

TEST_F(Result, ModeTwoDropsAPieceItHasNoRoomForAndSaysSo)
{
    start(PIM_RESULT_KEPT);
    print(4090, 'a');
    print(6, 'b');
    EXPECT_EQ(std::string(pRstData), std::string(4090, 'a'));
    EXPECT_EQ(gRstCnt, 4090);
    EXPECT_TRUE(camera.logged("no room for a piece of the result behind 4090 bytes"));
    print(5, 'c');
    EXPECT_EQ(std::string(pRstData), std::string(4090, 'a') + "ccccc");
}

TEST_F(Result, APieceLongerThanTheBufferIsDroppedBehindWhatWasHeld)
{
    open(PIM_RESULT_BUFFERED);
    print(10, 'a');
    print(4096, 'b');
    EXPECT_TRUE(camera.logged("no room for a piece of the result behind 0 bytes"));
    EXPECT_STREQ(pRstData, "");
    rova_pim_result_close();
    EXPECT_EQ(file(), "aaaaaaaaaa");
}

TEST_F(Result, TheModesOfFilesPrintNothingWithoutOne)
{
    for (int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        start(mode);
        rova_pim_result_print("text");
        EXPECT_EQ(gRstCnt, 0) << mode;
        EXPECT_STREQ(pRstData, "") << mode;
    }
}

TEST_F(Result, TheModesOfFilesPrintNothingWhileTheStateIsZero)
{
    for (int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        open(mode);
        gRstFpState = 0;
        rova_pim_result_print("text");
        EXPECT_EQ(gRstCnt, 0) << mode;
        rova_pim_result_close();
    }
    EXPECT_EQ(file(), "");
}

TEST_F(Result, OtherModesPrintNothing)
{
    for (int32_t mode : {-1, 3, 99}) {
        open(mode);
        rova_pim_result_print("text");
        rova_pim_result_close();
        EXPECT_EQ(file(), "") << mode;
        EXPECT_STREQ(pRstData, "") << mode;
    }
}

TEST_F(Result, AnOpenKeepsWhatIsHeldAndAppends)
{
    camera.write(FILE_NAME, "old\n");
    open(PIM_RESULT_BUFFERED);
    rova_pim_result_print("one\n");
    ASSERT_EQ(rova_pim_result_open(FILE_NAME), 0);
    rova_pim_result_print("two\n");
    rova_pim_result_close();
    EXPECT_EQ(file(), "old\none\ntwo\n");
}

TEST_F(Result, AClearForgetsEveryByte)
{
    start(PIM_RESULT_KEPT);
    print(4000, 'a');
    rova_pim_result_clear();
    EXPECT_EQ(gRstCnt, 0);
    EXPECT_TRUE(std::ranges::all_of(pRstData, [](char c) { return c == '\0'; }));
}

TEST_F(Result, AFileThatCannotBeOpenedLeavesTheSinkWithoutOne)
{
    open(PIM_RESULT_DIRECT);
    EXPECT_EQ(rova_pim_result_open("/mnt/mmc/missing/result.csv"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(gRstFpState, 0);
    rova_pim_result_print("lost");
    rova_pim_result_close();
    EXPECT_EQ(file(), "");
}

#include "lib/pim/rova_pim_bmp.h"

#include "lib/pim/rova_pim_debug.h"
#include "platform/sys.h"
#include "tests/lib/pim/file_limit.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t HEAD = 1078;

struct Bmp : testing::Test {
    test::Camera camera;

    std::vector<uint8_t> picture(int32_t width, int32_t height) const
    {
        std::vector<uint8_t> bytes(static_cast<std::size_t>(width * height));
        for (std::size_t i = 0; i < bytes.size(); i++)
            bytes[i] = static_cast<uint8_t>(i + 1);
        return bytes;
    }
};

uint32_t number(const std::string &file, std::size_t at, int bytes)
{
    uint32_t value = 0;
    for (int i = 0; i < bytes; i++)
        value |= static_cast<uint32_t>(static_cast<uint8_t>(file[at + static_cast<std::size_t>(i)]))
                 << (8 * i);
    return value;
}

void expect_head(const std::string &file, uint32_t width, uint32_t height)
{
    ASSERT_GE(file.size(), HEAD);
    EXPECT_EQ(file.substr(0, 2), "BM");
    EXPECT_EQ(number(file, 0, 2), 19778u);
    EXPECT_EQ(number(file, 2, 4), width * height + 1078);
    EXPECT_EQ(number(file, 6, 4), 0u);
    EXPECT_EQ(number(file, 10, 4), 1078u);
    EXPECT_EQ(number(file, 14, 4), 40u);
    EXPECT_EQ(number(file, 18, 4), width);
    EXPECT_EQ(number(file, 22, 4), height);
    EXPECT_EQ(number(file, 26, 2), 1u);
    EXPECT_EQ(number(file, 28, 2), 8u);
    EXPECT_EQ(number(file, 30, 4), 0u);
    EXPECT_EQ(number(file, 34, 4), width * height * 3);
    for (std::size_t at = 38; at < 54; at += 4)
        EXPECT_EQ(number(file, at, 4), 0u);
    for (uint32_t i = 0; i < 256; i++)
        EXPECT_EQ(number(file, 54 + i * 4, 4), i * 0x010101) << i;
}

std::string text(std::initializer_list<int> bytes)
{
    return {bytes.begin(), bytes.end()};
}

} // namespace

TEST_F(Bmp, APictureHasItsHeadAndItsRowsFromBelow)
{
    EXPECT_EQ(SaveBmp("/sdcard/a.bmp", picture(4, 3), 4, 3), 0);
    const std::string file = camera.read("/sdcard/a.bmp");
    expect_head(file, 4, 3);
    EXPECT_EQ(file.substr(HEAD), text({9, 10, 11, 12, 5, 6, 7, 8, 1, 2, 3, 4}));
}

TEST_F(Bmp, TheWidthOfAPictureIsCutToAMultipleOfFour)
{
    EXPECT_EQ(SaveBmp("/sdcard/a.bmp", picture(7, 2), 7, 2), 0);
    const std::string file = camera.read("/sdcard/a.bmp");
    expect_head(file, 4, 2);
    EXPECT_EQ(file.substr(HEAD), text({8, 9, 10, 11, 1, 2, 3, 4}));
}

TEST_F(Bmp, AFileThatCannotBeOpenedIsPrinted)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(SaveBmp("/no/such/folder/a.bmp", picture(4, 1), 4, 1), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " FILE OPEN ERROR : /no/such/folder/a.bmp \n\n");
}

TEST_F(Bmp, NoFileIsMadeOfAPictureThatIsNone)
{
    EXPECT_EQ(SaveBmp("/sdcard/a.bmp", picture(3, 4), 3, 4), -1); // nothing is left of the width
    EXPECT_EQ(SaveBmp("/sdcard/a.bmp", picture(4, 4), 4, 5), -1);
    EXPECT_EQ(SaveBmp("/sdcard/a.bmp", picture(4, 4), 4, 0), -1);
    EXPECT_EQ(SaveBmp("/sdcard/a.bmp", picture(4, 4), -4, 4), -1);
    EXPECT_FALSE(camera.exists("/sdcard/a.bmp"));
    EXPECT_TRUE(camera.logged("no picture of 4 x 5 in 16 bytes"));
}

TEST_F(Bmp, AFullCardLeavesNoHalfPicture)
{
    for (int32_t side : {4, 100}) { // found out at the end only, and on the way
        int result = 0;
        {
            test::FileLimit limit(1000);
            result = SaveBmp("/sdcard/a.bmp", picture(side, side), side, side);
        }
        EXPECT_EQ(result, -1) << side;
        EXPECT_FALSE(camera.exists("/sdcard/a.bmp")) << side;
    }
}

TEST_F(Bmp, RowsFromTheTopMakeTheSameFile)
{
    const std::vector<uint8_t> bytes = picture(8, 3);
    std::FILE *stream = sys_fopen("/sdcard/rows.bmp", "wb");
    ASSERT_NE(stream, nullptr);
    for (int32_t y = 0; y < 3; y++)
        EXPECT_EQ(SaveBmpRow(stream, std::span(bytes).subspan(static_cast<std::size_t>(y) * 8, 8),
                             8, 3, y),
                  0);
    std::fclose(stream);
    EXPECT_EQ(SaveBmp("/sdcard/whole.bmp", bytes, 8, 3), 0);
    EXPECT_EQ(camera.read("/sdcard/rows.bmp"), camera.read("/sdcard/whole.bmp"));
}

TEST_F(Bmp, RowsOfAnyWidthMayComeInAnyOrder)
{
    const std::vector<uint8_t> bytes = picture(5, 3);
    std::FILE *stream = sys_fopen("/sdcard/rows.bmp", "wb");
    ASSERT_NE(stream, nullptr);
    for (const int32_t y : {1, 0, 2})
        EXPECT_EQ(SaveBmpRow(stream, std::span(bytes).subspan(static_cast<std::size_t>(y) * 5, 5),
                             5, 3, y),
                  0);
    std::fclose(stream);
    const std::string file = camera.read("/sdcard/rows.bmp");
    expect_head(file, 5, 3);
    EXPECT_EQ(file.substr(HEAD), text({11, 12, 13, 14, 15, 6, 7, 8, 9, 10, 1, 2, 3, 4, 5}));
}

TEST_F(Bmp, ARowBringsNoMoreThanTheWidth)
{
    std::FILE *stream = sys_fopen("/sdcard/rows.bmp", "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(SaveBmpRow(stream, picture(20, 1), 4, 1, 0), 0);
    std::fclose(stream);
    EXPECT_EQ(camera.read("/sdcard/rows.bmp").substr(HEAD), text({1, 2, 3, 4}));
}

TEST_F(Bmp, NoRowIsWrittenOutsideOfThePicture)
{
    std::FILE *stream = sys_fopen("/sdcard/rows.bmp", "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(SaveBmpRow(stream, picture(8, 1), 8, 3, 3), -1);
    EXPECT_EQ(SaveBmpRow(stream, picture(8, 1), 8, 3, -1), -1);
    EXPECT_EQ(SaveBmpRow(stream, picture(7, 1), 8, 3, 0), -1);
    EXPECT_EQ(SaveBmpRow(stream, picture(8, 1), 0, 3, 0), -1);
    EXPECT_EQ(SaveBmpRow(nullptr, picture(8, 1), 8, 3, 0), -1);
    std::fclose(stream);
    EXPECT_EQ(camera.read("/sdcard/rows.bmp"), "");
    EXPECT_TRUE(camera.logged("no row 3 of 8 x 3 in 8 bytes"));
}

TEST_F(Bmp, ARowThatCannotBeWrittenIsLogged)
{
    camera.write("/sdcard/rows.bmp", "");
    std::FILE *stream = sys_fopen("/sdcard/rows.bmp", "rb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(SaveBmpRow(stream, picture(8, 1), 8, 3, 0), -1);
    EXPECT_EQ(SaveBmpRow(stream, picture(8, 1), 8, 3, 1), -1);
    std::fclose(stream);
    EXPECT_TRUE(camera.logged("failed to write row 0 of a picture"));
    EXPECT_TRUE(camera.logged("failed to write row 1 of a picture"));
}

TEST_F(Bmp, ANumberIsAddedToTheDigitsOfAName)
{
    struct numbered {
        const char *name;
        int32_t n;
        const char *result;
    };
    const numbered rows[] = {
        {"/mnt/mmc/dust_0000.bmp", 1, "/mnt/mmc/dust_0001.bmp"},
        {"/mnt/mmc/dust_0009.bmp", 12, "/mnt/mmc/dust_0021.bmp"},
        {"/mnt/mmc/dust_9999.bmp", 1, "/mnt/mmc/dust_10000.bmp"},
        {"/mnt/mmc/my_dust_7.x.bmp", 1, "/mnt/mmc/my_dust_0008.bmp"},
        {"/mnt/mmc/dust_.bmp", 3, "/mnt/mmc/dust_0003.bmp"},
        {"/mnt/mmc/dust_123456.bmp", 1, "/mnt/mmc/dust_1235.bmp"}, // four digits at most
        {"/mnt/mmc/dust_5", 1, "/mnt/mmc/dust_0006"},
        {"/mnt/mmc/dust.bmp", 1, "/mnt/mmc/dust_0001.bmp"},
        {"/mnt/my_card.d/dust", 1, "/mnt/my_card.d/dust_0001"},
        {"", 1, "_0001"},
        {"a_9999.b", INT_MAX, "a_2147493646.b"},
        {"a_0000.b", INT_MIN, "a_-2147483648.b"},
    };
    for (const numbered &row : rows) {
        char out[64];
        MakeNumberedName(row.name, out, row.n);
        EXPECT_STREQ(out, row.result) << row.name;
    }
}

TEST_F(Bmp, ANumberedNameIsPrintedAndCutAtItsRoom)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    char out[9];
    const std::string printed =
        test::captured_output([&] { MakeNumberedName("dust_0001.bmp", out, 1); });
    gDbgPrintOnOff = 0;
    EXPECT_EQ(printed, ">>> Output FIle : dust_000 \n\n");
}

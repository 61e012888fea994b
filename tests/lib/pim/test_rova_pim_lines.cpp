#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_lines.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace
{

constexpr char FILE_NAME[] = "/mnt/mmc/test.cfg";

struct Record {
    int32_t numbers[8];
    float floats[5];
    char word[8];
    int32_t behind;
};

#define FIELD(member) ROVA_PIM_FIELD(Record, member)

const char *even_word(int32_t value)
{
    return value % 2 == 0 ? "EVEN" : "ODD";
}

constexpr rova_pim_row TWO[] = {
    {"%d %d", ROVA_PIM_FIELDS(Record, numbers[0], numbers[1]), " TWO : %d x %d \n", nullptr}};
constexpr rova_pim_row THREE_FLOATS[] = {
    {"%f %f %f", ROVA_PIM_FIELDS(Record, floats[0], floats[2]), " F : %.2f %.2f %.2f\n", nullptr}};
constexpr rova_pim_row WORD[] = {{"%s", FIELD(word), " WORD : %s \n", nullptr}};

static_assert(rova_pim_rows_are_sound(TWO, sizeof(Record)));
static_assert(rova_pim_rows_are_sound(THREE_FLOATS, sizeof(Record)));
static_assert(rova_pim_rows_are_sound(WORD, sizeof(Record)));

constexpr rova_pim_row WRONG_SIZE[] = {{"%d %d", FIELD(behind), nullptr, nullptr}};
constexpr rova_pim_row NO_FORM[] = {{"", FIELD(behind), nullptr, nullptr}};
constexpr rova_pim_row NO_ROOM_FOR_A_WORD[] = {{"%s", {0, 1}, nullptr, nullptr}};
constexpr rova_pim_row OUTSIDE[] = {{"%d", {sizeof(Record), 4}, nullptr, nullptr}};
static_assert(!rova_pim_rows_are_sound(WRONG_SIZE, sizeof(Record)));
static_assert(!rova_pim_rows_are_sound(NO_FORM, sizeof(Record)));
static_assert(!rova_pim_rows_are_sound(NO_ROOM_FOR_A_WORD, sizeof(Record)));
static_assert(!rova_pim_rows_are_sound(OUTSIDE, sizeof(Record)));
constexpr rova_pim_row NO_WORD[] = {{"%d", FIELD(behind), " N = %d [ %s ]\n", nullptr}};
constexpr rova_pim_row WORD_TOO_MANY[] = {{"%d", FIELD(behind), " N = %d\n", even_word}};
constexpr rova_pim_row LABEL_OF_ONE[] = {
    {"%d %d", ROVA_PIM_FIELDS(Record, numbers[0], numbers[1]), " N = %d\n", nullptr}};
constexpr rova_pim_row SHOWN_OF_TWO[] = {
    {"%d", FIELD(behind), " N = %d\n", nullptr, ROVA_PIM_FIELDS(Record, numbers[0], numbers[1])}};
static_assert(!rova_pim_rows_are_sound(NO_WORD, sizeof(Record)));
static_assert(!rova_pim_rows_are_sound(WORD_TOO_MANY, sizeof(Record)));
static_assert(!rova_pim_rows_are_sound(LABEL_OF_ONE, sizeof(Record)));
static_assert(!rova_pim_rows_are_sound(SHOWN_OF_TWO, sizeof(Record)));
static_assert(rova_pim_tables_are_sound(sizeof(Record), TWO, THREE_FLOATS, WORD));
static_assert(!rova_pim_tables_are_sound(sizeof(Record), NO_WORD, TWO));
static_assert(!rova_pim_tables_are_sound(sizeof(Record), TWO, NO_WORD));

bool fail_read = false; // the next fread

class Lines : public testing::Test
{
protected:
    test::Camera camera;
    rova_pim_lines lines = {};
    Record record = {};

    Lines() { gDbgPrintOnOff = PIM_DEBUG_STDOUT; }
    ~Lines() override
    {
        fail_read = false;
        gDbgPrintOnOff = 0;
    }
    int read(const std::string &text)
    {
        camera.write(FILE_NAME, text);
        return rova_pim_lines_read(FILE_NAME, lines);
    }
    // What a failing read reports.
    std::string failing_read(const std::string &text)
    {
        int result = 0;
        std::string printed = test::captured_output([&] { result = read(text); });
        EXPECT_EQ(result, -1);
        return printed;
    }
    // All value lines of a text.
    std::vector<std::string> value_lines(const std::string &text)
    {
        std::vector<std::string> all;
        EXPECT_EQ(read(text), 0);
        gDbgPrintOnOff = 0;
        while (rova_pim_lines_next(lines) == 0)
            all.emplace_back(tLn);
        return all;
    }
    Record take(std::span<const rova_pim_row> rows, const std::string &line)
    {
        record = {};
        EXPECT_EQ(read(line + "\n"), 0);
        EXPECT_EQ(rova_pim_read_rows(lines, rows, &record), 0);
        return record;
    }
};

// The lowest one that is free: a file left open would have taken it.
int next_descriptor()
{
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

std::string size_error(std::size_t size)
{
    return " FILE SIZE ERROR : " + std::to_string(size) + " - " + FILE_NAME + " \n";
}

} // namespace

extern "C" std::size_t __real_fread(void *data, std::size_t size, std::size_t count, FILE *stream);
extern "C" std::size_t __wrap_fread(void *data, std::size_t size, std::size_t count, FILE *stream)
{
    if (!std::exchange(fail_read, false))
        return __real_fread(data, size, count, stream);
    errno = EIO;
    return 0;
}

using testing::ElementsAre;

TEST_F(Lines, AFileThatCannotBeOpenedIsReported)
{
    int result = 0;
    EXPECT_EQ(
        test::captured_output([&] { result = rova_pim_lines_read("/mnt/mmc/none.cfg", lines); }),
        " FILE OPEN ERROR : /mnt/mmc/none.cfg \n\n");
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/none.cfg"));
}

TEST_F(Lines, AnEmptyFileIsReported)
{
    EXPECT_EQ(failing_read(""), size_error(0));
    EXPECT_TRUE(camera.logged("FILE SIZE ERROR : 0 - /mnt/mmc/test.cfg"));
}

TEST_F(Lines, AFolderIsNoFile)
{
    std::filesystem::create_directory(camera.path(FILE_NAME));
    int result = 0;
    EXPECT_THAT(test::captured_output([&] { result = rova_pim_lines_read(FILE_NAME, lines); }),
                testing::MatchesRegex(" FILE SIZE ERROR : -?[0-9]+ - /mnt/mmc/test.cfg \n"));
    EXPECT_EQ(result, -1);
}

TEST_F(Lines, AFileOfMoreThan32BitsIsReportedWithTheGreatestSize)
{
    camera.write(FILE_NAME, "1\n");
    std::filesystem::resize_file(camera.path(FILE_NAME), (uintmax_t{1} << 32) + 2);
    int result = 0;
    EXPECT_EQ(test::captured_output([&] { result = rova_pim_lines_read(FILE_NAME, lines); }),
              size_error(INT32_MAX));
    EXPECT_EQ(result, -1);
}

TEST_F(Lines, AReadThatEndsEarlyIsReported)
{
    camera.write(FILE_NAME, "1\n2\n");
    fail_read = true;
    int result = 0;
    EXPECT_EQ(test::captured_output([&] { result = rova_pim_lines_read(FILE_NAME, lines); }),
              "failed to read /mnt/mmc/test.cfg (Input/output error)\n");
    EXPECT_EQ(result, -1);
}

TEST_F(Lines, TheFileIsClosed)
{
    const int next = next_descriptor();
    EXPECT_EQ(read("1\n"), 0);
    EXPECT_EQ(next_descriptor(), next);
    EXPECT_EQ(failing_read(""), size_error(0));
    EXPECT_EQ(next_descriptor(), next);
}

TEST_F(Lines, AFileOfTheWholeBufferIsReadAndALongerOneIsNot)
{
    std::string text;
    while (text.size() < PIM_FILE_SIZE)
        text += std::string(199, 'x') + "\n";
    ASSERT_EQ(text.size(), PIM_FILE_SIZE);
    EXPECT_EQ(read(text), 0);
    EXPECT_EQ(pLnTemp[PIM_FILE_SIZE], '\0');
    EXPECT_EQ(pLnTemp[PIM_FILE_SIZE + 1], '\n');
    EXPECT_STREQ(pLnData[127], std::string(199, 'x').c_str());
    EXPECT_EQ(failing_read(text + "y"), size_error(PIM_FILE_SIZE + 1));
}

TEST_F(Lines, TwoHundredLinesAreReadAndMoreAreNot)
{
    std::string text;
    for (int i = 1; i <= 200; i++)
        text += std::to_string(i) + "\n";
    EXPECT_EQ(read(text), 0);
    EXPECT_STREQ(pLnData[199], "200");
    for (int i = 1; i <= 200; i++)
        ASSERT_EQ(rova_pim_lines_next(lines), 0) << i;
    EXPECT_STREQ(tLn, "200");
    EXPECT_EQ(failing_read(text + "//\n"), size_error(text.size() + 3));
    EXPECT_TRUE(camera.logged("line 201 is outside of 200 lines of 255 characters"));
}

TEST_F(Lines, ALineOf255CharactersIsReadAndALongerOneIsNot)
{
    const std::string longest(255, '7');
    EXPECT_EQ(read("1\n" + longest + "\n"), 0);
    EXPECT_STREQ(pLnData[1], longest.c_str());
    EXPECT_EQ(failing_read("1\n" + longest + "7\n"), size_error(259));
    EXPECT_TRUE(camera.logged("line 2 is outside of 200 lines of 255 characters"));
    EXPECT_EQ(failing_read(std::string(256, '7')), size_error(256));
}

TEST_F(Lines, AnEarlierFileLeavesNothingBehind)
{
    ASSERT_EQ(read("first\nsecond\nthird\n"), 0);
    ASSERT_EQ(read("1\n"), 0);
    EXPECT_STREQ(pLnData[0], "1");
    EXPECT_STREQ(pLnData[1], "");
    EXPECT_STREQ(pLnTemp, "1\n");
    EXPECT_EQ(pLnTemp[3], '\n');
    EXPECT_EQ(pLnTemp[4], '\0');
}

TEST_F(Lines, TheSplitEndsAtTheFirstNul)
{
    EXPECT_THAT(value_lines(std::string("1\n2") + '\0' + "3\n4\n"), ElementsAre("1", "2"));
}

TEST_F(Lines, TheLastLineNeedsNoLineFeed)
{
    EXPECT_THAT(value_lines("1\n2"), ElementsAre("1", "2"));
}

TEST_F(Lines, CommentsAndEmptyLinesAreSkipped)
{
    EXPECT_THAT(value_lines("// a\n1\n/* b */ 7\n* c\n*/\n\n\r\n2 // d\n/ 3\n"),
                ElementsAre("1", "2 // d", "/ 3"));
}

TEST_F(Lines, ABlockCommentCoversItsFirstLineOnly)
{
    EXPECT_THAT(value_lines("/* one\n2\n* three\n*/\n4\n"), ElementsAre("2", "4"));
}

TEST_F(Lines, ABlankInFrontOfACommentMakesItAValueLine)
{
    EXPECT_THAT(value_lines(" // a\n1\n"), ElementsAre(" // a", "1"));
}

TEST_F(Lines, CarriageReturnsStayInTheLines)
{
    EXPECT_THAT(value_lines("1\r\n\r\n2\r\n"), ElementsAre("1\r", "2\r"));
}

TEST_F(Lines, LinesOfBlanksAreValueLines)
{
    EXPECT_THAT(value_lines("   \n1\n  \r\n  "), ElementsAre("   ", "1", "  \r", "  "));
}

TEST_F(Lines, BlanksUpToALineFeedHoldNoValues)
{
    EXPECT_FALSE(rova_pim_is_value_line("   \n"));
    EXPECT_FALSE(rova_pim_is_value_line("\n"));
    EXPECT_TRUE(rova_pim_is_value_line("   "));
    EXPECT_TRUE(rova_pim_is_value_line("  1\n"));
    EXPECT_TRUE(rova_pim_is_value_line(" \t\n"));
    EXPECT_TRUE(rova_pim_is_value_line(" \r\n"));
}

TEST_F(Lines, RunningOutOfLinesIsReportedWithTheFile)
{
    ASSERT_EQ(read("1\n// end\n"), 0);
    ASSERT_EQ(rova_pim_lines_next(lines), 0);
    int result = 0;
    EXPECT_EQ(test::captured_output([&] { result = rova_pim_lines_next(lines); }), size_error(9));
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(camera.logged("FILE SIZE ERROR : 9 - /mnt/mmc/test.cfg"));
    EXPECT_EQ(rova_pim_lines_next(lines), -1);
}

TEST_F(Lines, RowsThatFindNoLineFail)
{
    ASSERT_EQ(read("1 2\n"), 0);
    ASSERT_EQ(rova_pim_read_rows(lines, TWO, &record), 0);
    EXPECT_EQ(rova_pim_read_rows(lines, TWO, &record), -1);
    EXPECT_EQ(rova_pim_read_and_print_rows(lines, TWO, &record), -1);
}

TEST_F(Lines, NumbersAreReadAsAScanWould)
{
    struct Case {
        const char *line;
        int32_t first;
        int32_t second;
    };
    const Case cases[] = {
        {"1 2", 1, 2},    {"  \t-3\t \v\f +4 5 remark", -3, 4},
        {"1-2", 1, -2},   {"12abc 7", 12, 0},
        {"abc 7", 0, 0},  {"1.5 7", 1, 0},
        {"8", 8, 0},      {"8\r", 8, 0},
        {"9 // 7", 9, 0}, {"+-3 1", 0, 0},
        {"+ 3", 0, 0},    {"-", 0, 0},
        {"+", 0, 0},      {"0x10 2", 0, 0},
        {"   ", 0, 0},    {"2147483647 -2147483648", INT32_MAX, INT32_MIN},
    };
    for (const Case &c : cases) {
        const Record read = take(TWO, c.line);
        EXPECT_EQ(read.numbers[0], c.first) << c.line;
        EXPECT_EQ(read.numbers[1], c.second) << c.line;
    }
}

TEST_F(Lines, ANumberOfMoreThan32BitsIsNone)
{
    for (const char *line : {"2147483648 1", "-2147483649 1", "99999999999999999999999999 1"}) {
        EXPECT_EQ(take(TWO, line).numbers[0], 0) << line;
        EXPECT_EQ(record.numbers[1], 0) << line;
    }
}

TEST_F(Lines, FloatsAreRead)
{
    const Record read = take(THREE_FLOATS, "1.5 -2 +2.5e2 remark");
    EXPECT_EQ(read.floats[0], 1.5F);
    EXPECT_EQ(read.floats[1], -2.0F);
    EXPECT_EQ(read.floats[2], 250.0F);
}

TEST_F(Lines, AFloatThatIsNoFiniteNumberIsNone)
{
    for (const char *line : {"nan 1 1", "inf 1 1", "-infinity 1 1", "1e99 1 1", "x 1 1"}) {
        const Record read = take(THREE_FLOATS, line);
        EXPECT_EQ(read.floats[0], 0.0F) << line;
        EXPECT_EQ(read.floats[1], 0.0F) << line;
    }
}

TEST_F(Lines, AWordEndsAtWhiteSpaceOrWithItsField)
{
    EXPECT_STREQ(take(WORD, "  abc\t def").word, "abc");
    EXPECT_STREQ(take(WORD, "abc\r").word, "abc");
    EXPECT_STREQ(take(WORD, "   ").word, "");
    EXPECT_STREQ(take(WORD, "abcdefg").word, "abcdefg");
    EXPECT_STREQ(take(WORD, "abcdefghi").word, "abcdefg");
    EXPECT_STREQ(take(WORD, std::string(255, 'x')).word, "xxxxxxx");
    EXPECT_EQ(record.behind, 0);
}

TEST_F(Lines, LabelsArePrintedAsTheLinesAreRead)
{
    constexpr rova_pim_row ROWS[] = {
        {"%s", FIELD(word), " WORD : %s \n", nullptr},
        {"%d", FIELD(behind), " BEHIND = %d [ %s ] \n", even_word},
        {"%f %f %f %f %f", FIELD(floats), " F %.1f %.1f %.1f / %.1f %.1f \n", nullptr},
        {"%d %d %d %d %d %d %d %d", FIELD(numbers), " N %d %d %d %d %d %d %d %d \n", nullptr},
        {"%d", FIELD(behind), nullptr, nullptr},
        {"%d", PIM_DROPPED, " DROPPED : %d \n", nullptr},
        {"%d", FIELD(numbers[1]), " SHOWN : %d %d \n", nullptr,
         ROVA_PIM_FIELDS(Record, numbers[0], numbers[1])},
    };
    static_assert(rova_pim_rows_are_sound(ROWS, sizeof(Record)));
    ASSERT_EQ(read("abc\n3\n1 2 3 4 5\n1 2 3 4 5 6 7 8\n4\n99\n20\n"), 0);
    int result = -1;
    EXPECT_EQ(
        test::captured_output([&] { result = rova_pim_read_and_print_rows(lines, ROWS, &record); }),
        " WORD : abc \n BEHIND = 3 [ ODD ] \n F 1.0 2.0 3.0 / 4.0 5.0 \n N 1 2 3 4 5 6 7 8 \n"
        " DROPPED : 99 \n SHOWN : 1 20 \n");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(record.behind, 4);
    EXPECT_EQ(record.numbers[0], 1);
}

TEST_F(Lines, LabelsArePrintedOfARecord)
{
    record.numbers[0] = 6;
    record.numbers[1] = 7;
    EXPECT_EQ(test::captured_output([&] { rova_pim_print_rows(TWO, &record); }), " TWO : 6 x 7 \n");
    constexpr rova_pim_row SHOWN[] = {{"%d", FIELD(numbers[1]), " SHOWN : %d %d \n", nullptr,
                                       ROVA_PIM_FIELDS(Record, numbers[0], numbers[1])}};
    EXPECT_EQ(test::captured_output([&] { rova_pim_print_rows(SHOWN, &record); }),
              " SHOWN : 6 7 \n");
}

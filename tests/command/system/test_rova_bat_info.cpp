#include "command/system/rova_bat_info.h"

#include "tests/command/system/battery_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

// "level voltage name" of each row.
std::vector<std::string> rows_of(const rova_bat_info_table &table)
{
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < table.count; i++) {
        const rova_bat_info_row &row = table.rows[i];
        texts.push_back(std::to_string(row.level) + " " + std::to_string(row.voltage) + " " +
                        row.name);
    }
    return texts;
}

} // namespace

class BatInfo : public BatteryTest
{
protected:
    static constexpr char INCOMPLETE[] = "is no level, voltage and name";

    std::vector<std::string> rows_from(const std::string &text)
    {
        camera.write(SPEC, text);
        return rows_of(rova_bat_info_read());
    }
};

TEST_F(BatInfo, EachLineIsARow)
{
    EXPECT_THAT(rows_from("5 8400 full\n-1 -200  empty\n"),
                ElementsAre("5 8400 full", "-1 -200 empty"));
    EXPECT_THAT(rows_from("5 8400 full"), ElementsAre("5 8400 full"));
    EXPECT_FALSE(camera.logged(INCOMPLETE));
}

TEST_F(BatInfo, LineEndsMayBeOfEitherKindAndLinesBlank)
{
    EXPECT_THAT(rows_from("\n5 8400 full\r\n\r\n1 6600 empty\r\n"),
                ElementsAre("5 8400 full", "1 6600 empty"));
    EXPECT_FALSE(camera.logged(INCOMPLETE));
}

TEST_F(BatInfo, TakesSixLines)
{
    EXPECT_THAT(rows_from("0 1 a\n1 2 b\n2 3 c\n3 4 d\n4 5 e\n5 6 f\n6 7 g\n"),
                ElementsAre("0 1 a", "1 2 b", "2 3 c", "3 4 d", "4 5 e", "5 6 f"));
}

TEST_F(BatInfo, ANameHasSevenCharacters)
{
    EXPECT_THAT(rows_from("1 6600 1234567\n2 6900 12345678\n3 7200 almost-empty!\n"),
                ElementsAre("1 6600 1234567", "2 6900 1234567", "3 7200 almost-"));
}

TEST_F(BatInfo, WhatALineLacksIsZeroOrEmptyAndTold)
{
    EXPECT_THAT(rows_from("3 7200\n4\nfull\n5 8400 full\n"),
                ElementsAre("3 7200 ", "4 0 ", "0 0 ", "5 8400 full"));
    EXPECT_EQ(times_logged(INCOMPLETE), 3U);
    EXPECT_TRUE(camera.logged("\"3 7200\" is no level"));
}

// The 95th byte is the last that counts: the second line is cut behind its name's "f".
TEST_F(BatInfo, LongFilesAreCut)
{
    const std::string first = "1 6600 empty" + std::string(74, ' ');
    ASSERT_EQ(first.size(), 86U);
    EXPECT_THAT(rows_from(first + "\n5 8400 full\n"), ElementsAre("1 6600 empty", "5 8400 f"));
    EXPECT_THAT(rows_from(first + "           \n5 8400 full\n"), ElementsAre("1 6600 empty"));
}

TEST_F(BatInfo, FilesBeyondTheHelpersRoomAreCutTheSame)
{
    for (std::size_t size : {96U, 255U, 256U, 257U, 5000U})
        EXPECT_THAT(rows_from("1 6600 empty\n" + std::string(size, 'x')),
                    ElementsAre("1 6600 empty", "0 0 "))
            << size;
}

TEST_F(BatInfo, AnEmptyFileHasNoRows)
{
    EXPECT_THAT(rows_from(""), IsEmpty());
    EXPECT_THAT(rows_from("\n\n"), IsEmpty());
    EXPECT_FALSE(camera.logged("failed to open"));
}

TEST_F(BatInfo, AFileThatCannotBeReadIsTold)
{
    camera.remove(SPEC);
    EXPECT_THAT(rows_of(rova_bat_info_read()), IsEmpty());
    EXPECT_TRUE(
        camera.logged("failed to open \"" + std::string(SPEC) + "\" (No such file or directory) "));
}

// ------------------------------------------------------------------------- get

TEST_F(BatInfo, TheLastRowOfALevelIsTaken)
{
    rova_bat_info_row row = {};
    EXPECT_EQ(rova_bat_info_get(1, &row), 1);
    EXPECT_EQ(row.level, 1);
    EXPECT_EQ(row.voltage, 6600);
    EXPECT_STREQ(row.name, "EMPTY");
}

TEST_F(BatInfo, ALevelThatIsMissingLeavesTheRowAlone)
{
    for (int level : {4, 0, -1, 7}) {
        rova_bat_info_row row = {9, 99, "mine"};
        EXPECT_EQ(rova_bat_info_get(level, &row), 0) << level;
        EXPECT_EQ(row.level, 9);
        EXPECT_STREQ(row.name, "mine");
    }
}

TEST_F(BatInfo, TheFileIsReadOnce)
{
    rova_bat_info_row row = {};
    EXPECT_EQ(rova_bat_info_get(3, &row), 1);
    camera.write(SPEC, "3 1 other\n");
    EXPECT_EQ(rova_bat_info_get(3, &row), 1);
    EXPECT_STREQ(row.name, "half");
    camera.remove(SPEC);
    EXPECT_EQ(rova_bat_info_get(5, &row), 1);
    EXPECT_EQ(row.voltage, 8400);
    EXPECT_FALSE(camera.logged("failed to open"));
}

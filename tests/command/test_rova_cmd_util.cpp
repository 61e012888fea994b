#include "command/rova_cmd_util.h"

#include "tests/command/command_test.h"

#include <climits>

using CmdAnswer = test::CommandTest;

TEST_F(CmdAnswer, TellsTheResultAndPassesTheStreamOn)
{
    rova_resp_stream stream = {.stream_type = 2, .text = "text"};
    EXPECT_EQ(rova_cmd_answer(ROVA_CMD_PTP, true, &stream), 1);
    EXPECT_EQ(camera.key_int("memory/private/pmode_Param2"), 0);
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "text");
    EXPECT_EQ(rova_cmd_answer(ROVA_CMD_PTP, false), 1);
    EXPECT_EQ(camera.key_int("memory/private/pmode_Param2"), 1);
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
}

TEST(CmdParam, GivesAnEmptyTextForAParameterThatIsNotThere)
{
    cmd_data record = test::record_of("osd string 3");
    EXPECT_STREQ(rova_cmd_param(&record, 1), "3");
    EXPECT_STREQ(rova_cmd_param(&record, 2), "");
    EXPECT_STREQ(rova_cmd_param(&record, 4000), "");
}

TEST(CmdParam, StaysInsideTheRecordWhenTheCountIsTooHigh)
{
    cmd_data record = test::record_of("a 0 1 2 3 4 5 6 7 8 9");
    record.p_count = 0xffffffff;
    EXPECT_STREQ(rova_cmd_param(&record, 9), "9");
    EXPECT_STREQ(rova_cmd_param(&record, 10), "");
}

TEST(CmdOnOff, TakesTheTwoWordsExactly)
{
    uint8_t on = 7;
    EXPECT_TRUE(rova_cmd_on_off("on", &on));
    EXPECT_EQ(on, 1);
    EXPECT_TRUE(rova_cmd_on_off("off", &on));
    EXPECT_EQ(on, 0);
}

TEST(CmdOnOff, LeavesTheFlagAloneForAnyOtherWord)
{
    uint8_t on = 7;
    for (const char *word : {"", "o", "On", "OFF", "onn", "1"})
        EXPECT_FALSE(rova_cmd_on_off(word, &on)) << word;
    EXPECT_EQ(on, 7);
}

TEST(CmdNumber, ReadsDecimalUpToTheFirstOtherCharacter)
{
    EXPECT_EQ(rova_cmd_number("12"), 12);
    EXPECT_EQ(rova_cmd_number("-5"), -5);
    EXPECT_EQ(rova_cmd_number("012"), 12);
    EXPECT_EQ(rova_cmd_number("7x"), 7);
    EXPECT_EQ(rova_cmd_number("0x1f"), 0);
    EXPECT_EQ(rova_cmd_number("abc"), 0);
    EXPECT_EQ(rova_cmd_number(""), 0);
}

TEST(CmdNumber, KeepsANumberBeyondAnIntAtTheNearestInt)
{
    EXPECT_EQ(rova_cmd_number("99999999999"), INT_MAX);
    EXPECT_EQ(rova_cmd_number("-99999999999"), INT_MIN);
    EXPECT_EQ(rova_cmd_number("9999999999999999999999999999999"), INT_MAX);
}

TEST(CmdJoinWords, PutsSingleBlanksBetween)
{
    cmd_data record = test::record_of("osd string 3 one two  three");
    char text[64];
    rova_cmd_join_words(&record, 2, text);
    EXPECT_STREQ(text, "one two three");
}

TEST(CmdJoinWords, GivesAnEmptyTextWithoutWords)
{
    cmd_data record = test::record_of("osd string 3");
    char text[64] = "old";
    rova_cmd_join_words(&record, 2, text);
    EXPECT_STREQ(text, "");
}

TEST(CmdJoinWords, CutsAtTheEndOfTheBuffer)
{
    cmd_data record = test::record_of("osd string 3 abcdef ghijkl mnopqr");
    char text[10];
    rova_cmd_join_words(&record, 2, text);
    EXPECT_STREQ(text, "abcdef gh");
}

TEST(CmdJoinWords, CutsAtABlankAsWell)
{
    cmd_data record = test::record_of("osd string 3 abcdef ghijkl mnopqr");
    for (std::size_t size = 1; size <= 8; size++) {
        char text[8] = {};
        rova_cmd_join_words(&record, 2, std::span(text, size));
        EXPECT_EQ(std::string(text), std::string("abcdef ").substr(0, size - 1));
    }
}

TEST(CmdJoinWords, StopsAtTheTenthParameterWhenTheCountIsTooHigh)
{
    cmd_data record = test::record_of("a 0 1 2 3 4 5 6 7 8 9");
    record.p_count = 4000;
    char text[200];
    rova_cmd_join_words(&record, 2, text);
    EXPECT_STREQ(text, "2 3 4 5 6 7 8 9");
}

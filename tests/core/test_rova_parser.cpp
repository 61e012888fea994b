#include "core/rova_parser.h"

#include "tests/support/camera.h"

#include <cstring>
#include <gtest/gtest.h>

namespace
{

struct Parsed {
    int status;
    cmd_data record;
};

Parsed parse(std::string line)
{
    Parsed parsed = {};
    parsed.status =
        rova_parse_cmd_data(line.data(), static_cast<uint32_t>(line.size() + 1), &parsed.record);
    return parsed;
}

// The record as one text: words separated by '|'.
std::string words(const std::string &line)
{
    const Parsed parsed = parse(line);
    EXPECT_EQ(parsed.status, 0);
    std::string text = parsed.record.cmd;
    for (uint32_t i = 0; i < parsed.record.p_count; i++)
        text += std::string("|") + parsed.record.p[i];
    return text;
}

} // namespace

TEST(Parser, SplitsAtAnyWhiteSpace)
{
    EXPECT_EQ(words("key click ok"), "key|click|ok");
    EXPECT_EQ(words(" \t\v\fkey\r\nclick\t\tok \r\n"), "key|click|ok");
    EXPECT_EQ(words("led"), "led");
}

TEST(Parser, LineWithoutATokenIsAComment)
{
    for (const char *line : {"", "   ", "\n", "   // remark", "//", "//x y z"}) {
        const Parsed parsed = parse(line);
        EXPECT_EQ(parsed.status, 0) << line;
        EXPECT_STREQ(parsed.record.cmd, "comment") << line;
        EXPECT_EQ(parsed.record.p_count, 0u) << line;
    }
}

TEST(Parser, LineWithoutATokenLeavesTheRestOfTheRecordAlone)
{
    cmd_data record;
    std::memset(&record, 'x', sizeof(record));
    char line[] = "// remark";
    EXPECT_EQ(rova_parse_cmd_data(line, sizeof(line), &record), 0);
    EXPECT_STREQ(record.cmd, "comment");
    EXPECT_EQ(record.p[0][0], 'x');
    EXPECT_EQ(record.data_path[127], 'x');
}

TEST(Parser, CommandZeroesTheWholeRecordFirst)
{
    cmd_data record;
    std::memset(&record, 'x', sizeof(record));
    char line[] = "led on";
    EXPECT_EQ(rova_parse_cmd_data(line, sizeof(line), &record), 0);
    EXPECT_EQ(record.p[1][0], '\0');
    EXPECT_EQ(record.e[3], 0);
    EXPECT_EQ(record.data_path[0], '\0');
}

TEST(Parser, ThirteenTokensLoseTheLastTwo)
{
    const Parsed parsed = parse("wifi tx 1 2 3 4 5 6 7 8 9 10 11");
    EXPECT_STREQ(parsed.record.cmd, "wifi");
    EXPECT_EQ(parsed.record.p_count, 10u);
    EXPECT_STREQ(parsed.record.p[9], "9");
}

TEST(Parser, ElevenTokensBeforeACommentAreAllKept)
{
    EXPECT_EQ(words("a 1 2 3 4 5 6 7 8 9 10 // comment"), "a|1|2|3|4|5|6|7|8|9|10");
    EXPECT_EQ(words("a 1 2 3 4 5 6 7 8 9 10"), "a|1|2|3|4|5|6|7|8|9|10");
}

TEST(Parser, LongTokenIsCutAt31Characters)
{
    const std::string forty(40, 'w');
    EXPECT_EQ(words(forty + " " + forty), std::string(31, 'w') + "|" + std::string(31, 'w'));
    EXPECT_EQ(words(std::string(31, 'v') + " x"), std::string(31, 'v') + "|x");
}

TEST(Parser, SlashesInsideATokenAreOrdinary)
{
    EXPECT_EQ(words("a//b c"), "a//b|c");
    EXPECT_EQ(words("a //b c"), "a");
    EXPECT_EQ(words("a /b / c/"), "a|/b|/|c/");
}

TEST(Parser, TheWordCommentIsAnOrdinaryWord)
{
    EXPECT_EQ(words("comment foo"), "comment|foo");
}

TEST(Parser, BytesOutsideAsciiAreNoWhiteSpace)
{
    EXPECT_EQ(words("k\xc3\xa4se \xa0\xff"), "k\xc3\xa4se|\xa0\xff");
}

TEST(Parser, CutsTheLineInPlace)
{
    char line[] = "led on";
    cmd_data record = {};
    ASSERT_EQ(rova_parse_cmd_data(line, sizeof(line), &record), 0);
    EXPECT_STREQ(line, "led");
    ASSERT_EQ(rova_parse_cmd_data(line, sizeof(line), &record), 0);
    EXPECT_EQ(record.p_count, 0u);
}

TEST(Parser, NullOrZeroArgumentIsRefused)
{
    test::Camera camera;
    char line[] = "led on";
    cmd_data record = {};
    EXPECT_EQ(rova_parse_cmd_data(nullptr, 4, &record), -3);
    EXPECT_EQ(rova_parse_cmd_data(line, 0, &record), -3);
    EXPECT_EQ(rova_parse_cmd_data(line, sizeof(line), nullptr), -3);
    EXPECT_STREQ(line, "led on");
    EXPECT_TRUE(camera.logged("Invalid parameter"));
}

#include "tests/e2e/line.h"

#include <gtest/gtest.h>

using e2e::Line;

namespace
{

constexpr char SCRIPT_CMD[] = "memory/rova/script_cmd";

using Lines = std::vector<std::string>;

} // namespace

TEST(Script, LeavesTheTraceOfAGoodAFailingAndASkippedCommand)
{
    Line line;
    line.write("/sdcard/../three.adj", "delay 100\nosd string 9 x\ndelay 200\n");
    const auto run = line.vcam({"run", line.path("/three.adj")});
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(line.trace(), (Lines{"----------------- rovad starts (card) ----------------- ",
                                   "cmd[0001]: <card> delay 100", "resp : OK ",
                                   "cmd[0002]: <card> osd string 9 x", "resp : NG ",
                                   "----------------- rovad end (card) ----------------- "}));
    EXPECT_EQ(line.told("1th cmd done [OK]"), 1);
    EXPECT_EQ(line.told("2th cmd done [NG]"), 1);
    EXPECT_EQ(line.told("3th cmd skipped [card]"), 1);
}

TEST(Script, AnUnknownWordSkipsAllLinesBehindIt)
{
    Line line;
    line.write("/bad.adj", "delay 1\nnosuchword x\ndelay 1\ndelay 1\n");
    EXPECT_EQ(line.vcam({"run", line.path("/bad.adj")}).status, 1);
    EXPECT_TRUE(line.tells("Not found on command table, so skip all next command!"));
    EXPECT_EQ(line.told("3th cmd skipped [card]"), 1);
    EXPECT_EQ(line.told("4th cmd skipped [card]"), 1);
    EXPECT_TRUE(line.tells("rova-client: reached to end-of-file."));
}

TEST(Script, RunsALastLineWithoutALineFeedAndDropsWordsWithoutParameter)
{
    Line line;
    line.write("/odd.adj", "// heading\n\ndelay\r\n   \t \ncomment foo bar");
    EXPECT_EQ(line.vcam({"run", line.path("/odd.adj")}).status, 1);
    const Lines trace = line.trace();
    ASSERT_EQ(trace.size(), 3U);
    EXPECT_EQ(trace[1], "cmd[0001]: <card> comment foo bar");
}

TEST(Script, ReadsALineOfMoreThan1023BytesInTwoParts)
{
    Line line;
    // 1015 blanks put the cut behind the first token: 1023 bytes are "delay 1" and blanks.
    line.write("/long.adj", "delay 1" + std::string(1016, ' ') + "delay 2\n");
    EXPECT_EQ(line.vcam({"run", line.path("/long.adj")}).status, 0);
    const Lines trace = line.trace();
    ASSERT_EQ(trace.size(), 6U);
    EXPECT_EQ(trace[1], "cmd[0001]: <card> delay 1");
    EXPECT_EQ(trace[3], "cmd[0002]: <card> delay 2");
}

TEST(Script, RepeatsACommandWithADelayBehindEach)
{
    Line line;
    line.write("/repeat.adj", "repeat 2 200 delay 100\n");
    EXPECT_EQ(line.vcam({"run", line.path("/repeat.adj")}).status, 0);
    const Lines trace = line.trace();
    ASSERT_EQ(trace.size(), 10U);
    EXPECT_EQ(trace[1], "cmd[0001]: <card> delay 100");
    EXPECT_EQ(trace[3], "cmd[0002]: <card> delay 200");
    EXPECT_EQ(trace[5], "cmd[0003]: <card> delay 100");
    EXPECT_EQ(trace[7], "cmd[0004]: <card> delay 200");
}

TEST(Script, ARefusedRepeatLosesTheRestOfTheScript)
{
    Line line;
    line.write("/refused.adj", "delay 1\nrepeat 8093 0 delay 1\ndelay 2\n");
    line.vcam({"run", line.path("/refused.adj")});
    EXPECT_TRUE(line.tells("repeat count (8093) is not supported!"));
    EXPECT_TRUE(line.tells("failed to send command (num: 2)"));
    EXPECT_EQ(line.trace().size(), 4U);
}

TEST(Script, StopsNothingWhenTheCardGoesAwayAfterTheStart)
{
    Line line;
    line.card_script("away.adj", "delay 20000\nosd string 1 still here\n");
    line.start({});
    ASSERT_TRUE(line.hears("1th cmd recieved [card]"));
    EXPECT_EQ(line.vcam({"card", "remove"}).status, 0);
    EXPECT_TRUE(line.hears("2th cmd done [OK]"));
}

TEST(ScriptKey, RunsALineInEveryMode)
{
    for (const char *mode : {"--test", "--ptp"}) {
        Line line;
        line.start({mode});
        EXPECT_EQ(line.rova({"osd", "string", "1", "hello"}).status, 0);
        EXPECT_TRUE(line.hears("1th cmd done [OK]"));
        EXPECT_NE(line.vcam({"screen", "--text"}).out.find("hello"), std::string::npos);
    }
    Line line;
    line.card_script("one.adj", "delay 1\n");
    line.start({});
    ASSERT_TRUE(line.hears("rova-client: thread exited"));
    ASSERT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_EQ(line.rova({"delay", "1"}).status, 0);
    EXPECT_TRUE(line.hears("2th cmd done [OK]"));
    EXPECT_EQ(line.trace().at(3), "cmd[0002]: <script> delay 1");
}

TEST(SkipRule, IsClearedByAPtpCommandThatAnswersOk)
{
    Line line;
    line.start();
    line.key(SCRIPT_CMD, "osd string 9 wrong row");
    ASSERT_TRUE(line.hears("1th cmd done [NG]"));
    line.key(SCRIPT_CMD, "delay 1");
    ASSERT_TRUE(line.hears("2th cmd skipped [script]"));

    EXPECT_EQ(line.vcam({"pc", "osd string 9 wrong again"}).status, 1);
    line.key(SCRIPT_CMD, "delay 1");
    ASSERT_TRUE(line.hears("4th cmd skipped [script]"));

    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
    line.key(SCRIPT_CMD, "delay 1");
    EXPECT_TRUE(line.hears("6th cmd done [OK]"));
}

TEST(ScriptKey, TakesAWordWithoutParameterAndDropsComments)
{
    Line line;
    line.start();
    line.key(SCRIPT_CMD, "// remark");
    line.key(SCRIPT_CMD, "");
    line.key(SCRIPT_CMD, "comment foo");
    line.key(SCRIPT_CMD, "delay");
    ASSERT_TRUE(line.hears("1th cmd done [NG]"));
    EXPECT_EQ(line.trace().at(1), "cmd[0001]: <script> delay");
}

TEST(Feedback, ShowsTheWordAndItsResultOnScreen)
{
    Line line;
    line.write("/sdcard/gone.txt", "x");
    line.start();
    line.key(SCRIPT_CMD, "control osd on");
    line.key(SCRIPT_CMD, "file delete gone.txt");
    ASSERT_TRUE(line.hears("2th cmd done [OK]"));
    ASSERT_TRUE(test::wait_for([&] {
        return line.vcam({"screen", "--text"}).out.find("file: OK") != std::string::npos;
    }));
    line.key(SCRIPT_CMD, "file delete gone.txt");
    ASSERT_TRUE(test::wait_for([&] {
        return line.vcam({"screen", "--text"}).out.find("file: NG") != std::string::npos;
    }));
}

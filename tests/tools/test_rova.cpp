#include <gtest/gtest.h>

#include "tests/tools/tool.h"

using tool::rova;

namespace
{

constexpr char SCRIPT_KEY[] = "memory/rova/script_cmd";

testing::AssertionResult refused(const test::Outcome &outcome, int status, const std::string &text)
{
    if (outcome.status == status && outcome.out.empty() && outcome.err.starts_with("rova: " + text))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "status " << outcome.status << ", error " << outcome.err;
}

} // namespace

TEST(Rova, JoinsItsWordsWithBlanksAndHandsThemOver)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_EQ(rova({"osd", "string", "1", "two words", "-5"}).status, 0);
    EXPECT_EQ(camera.key_string(SCRIPT_KEY), "osd string 1 two words -5");
    EXPECT_EQ(rova({"--", "--odd"}).status, 0);
    EXPECT_EQ(camera.key_string(SCRIPT_KEY), "--odd");
}

TEST(Rova, BlankLinesCommentsAndLineFeedsAreHandedOverAsTheyStand)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    for (const char *line : {"", "// only a comment", "delay\n100"}) {
        EXPECT_EQ(rova({line}).status, 0);
        EXPECT_EQ(camera.key_string(SCRIPT_KEY), line);
    }
}

TEST(Rova, WithoutADaemonNothingIsHandedOver)
{
    const test::Camera other;
    const auto others_daemon = tool::stand_in(tool::DAEMON);
    const test::Camera camera;
    EXPECT_TRUE(refused(rova({"delay", "1"}), 1, "rovad is not running\n"));
    EXPECT_EQ(camera.key_string(SCRIPT_KEY), std::nullopt);
}

TEST(Rova, AKeyThatCannotBeWrittenIsTold)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    camera.fault("vconf_set_str", "-1");
    EXPECT_TRUE(refused(rova({"delay", "1"}), 1, "key memory/rova/script_cmd cannot be written\n"));
}

TEST(Rova, WrongUsageIsTold)
{
    const test::Camera camera;
    EXPECT_TRUE(refused(rova({}), 2, "no command line given"));
    EXPECT_TRUE(refused(rova({"--"}), 2, "no command line given"));
    EXPECT_TRUE(refused(rova({"--fly", "delay"}), 2, "unknown option '--fly'"));
}

TEST(Rova, HelpIsPrintedWithoutADaemon)
{
    for (const char *option : {"-h", "--help"}) {
        const test::Outcome help = rova({option});
        EXPECT_TRUE(tool::succeeded(help));
        EXPECT_TRUE(help.out.starts_with("Usage: rova "));
    }
}

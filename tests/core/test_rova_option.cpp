#include "core/rova_option.h"

#include "common/rova_util.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace
{

using OptionPtr = std::unique_ptr<rova_option, void (*)(rova_option *)>;

constexpr char HINT[] = "Try `rovad --help' for more information. \n";

class Option : public testing::Test
{
protected:
    ~Option() override
    {
        test::wrap_clear();
        rova_set_alt_mode("");
    }

    // Parses `rovad arguments...`; standard error goes to `err`.
    OptionPtr parse(std::vector<std::string> arguments = {})
    {
        arguments_ = std::move(arguments);
        arguments_.insert(arguments_.begin(), "rovad");
        argv_.clear();
        for (std::string &argument : arguments_)
            argv_.push_back(argument.data());
        argv_.push_back(nullptr);
        testing::internal::CaptureStderr();
        OptionPtr option(rova_option_parse(static_cast<int>(arguments_.size()), argv_.data()),
                         rova_option_free);
        err = testing::internal::GetCapturedStderr();
        return option;
    }

    test::Camera camera;
    std::string err;

private:
    std::vector<std::string> arguments_;
    std::vector<char *> argv_;
};

using ModeFromCard = Option;

std::string mode(const OptionPtr &option)
{
    return option == nullptr ? "refused" : rova_option_mode_name(option.get());
}

} // namespace

TEST_F(Option, HelpPrintsTheUsage)
{
    const OptionPtr option = parse({"--help"});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->help, 1);
    EXPECT_EQ(
        err,
        "Usage: rovad [OPTION] [ARGS]... \n"
        "\n"
        "Launch factory-mode daemon. \n"
        "\n"
        "Commands: \n"
        "  -p|--ptp                 Launch daemon with ptp mode. \n"
        "  -c|--card [SCRIPT_FILE]  Launch daemon with script mode. \n"
        "                           Ex) rovad --card script.adj \n"
        "                           NOTE: if script file isn't given, try it with file given by "
        "/sdcard/info.tg \n"
        "  -t|--test                Launch daemon with test mode. \n"
        "                           NOTE: It's useful in case you use `rova' command. \n"
        "  -h|--help                Show this help screen \n"
        "NOTES: \n"
        "  - If there are no arguments, launch daemon corresponding to file in sdcard: \n"
        "    Try to launch daemon with script mode, if there are info.tg and script file in "
        "sdcard. \n"
        "    Try to launch daemon with ptp mode, if there are info.tgw in sdcard. \n"
        "\n");
}

TEST_F(Option, HelpAmongOthersActsWhenTheScannerReachesIt)
{
    const OptionPtr option = parse({"-p", "-h", "--log", "x", "--test"});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->help, 1);
    EXPECT_EQ(option->ptp, 1);
    EXPECT_EQ(option->test, 0);
    EXPECT_EQ(err.find("Try `"), std::string::npos);
}

TEST_F(Option, LogIsRefusedAlthoughTheScannerKnowsIt)
{
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"--log", "x"}, {"-l", "x"}, {"--log=x"}}) {
        EXPECT_EQ(parse(arguments), nullptr);
        EXPECT_EQ(err, HINT);
    }
}

TEST_F(Option, UnknownOptionIsRefused)
{
    EXPECT_EQ(parse({"--what"}), nullptr);
    EXPECT_TRUE(err.ends_with(HINT)) << err;
    EXPECT_EQ(parse({"-x"}), nullptr);
    EXPECT_TRUE(err.ends_with(HINT)) << err;
}

TEST_F(Option, CardWithoutAnArgumentIsRefused)
{
    EXPECT_EQ(parse({"--card"}), nullptr);
    EXPECT_TRUE(err.ends_with(HINT)) << err;
    EXPECT_EQ(parse({"-c"}), nullptr);
}

TEST_F(Option, ShortAndLongOptionsSetTheModes)
{
    for (const char *argument : {"-p", "--ptp"})
        EXPECT_EQ(mode(parse({argument})), "ptp");
    for (const char *argument : {"-t", "--test"})
        EXPECT_EQ(mode(parse({argument})), "test");
    EXPECT_EQ(mode(parse({"-c", "/tmp/x.adj"})), "card");
    EXPECT_EQ(mode(parse({"--card=/tmp/x.adj"})), "card");
}

TEST_F(Option, ModeNameIsTheFirstFlagSet)
{
    EXPECT_EQ(mode(parse({"-t", "-c", "/tmp/x.adj", "-p"})), "ptp");
    EXPECT_EQ(mode(parse({"-t", "-c", "/tmp/x.adj"})), "card");
    const rova_option none = {};
    EXPECT_STREQ(rova_option_mode_name(&none), "unknown");
}

TEST_F(Option, CardTakesEightyBytesOfItsArgument)
{
    const std::string name = "/tmp/" + std::string(100, 'n');
    const OptionPtr option = parse({"--card", name});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->script_file, name.substr(0, 80));
}

TEST_F(Option, SecondCardReplacesTheFirst)
{
    const OptionPtr option = parse({"-c", "/sdcard/a-long-name.adj", "-c", "/tmp/b"});
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->script_file, "/tmp/b");
}

TEST_F(Option, CardNamingALifeTestScriptIsNoLifeTest)
{
    const OptionPtr option = parse({"--card", "/sdcard/alt.adj"});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->alt, 0);
    EXPECT_EQ(rova_get_alt_mode(), 0);
}

TEST_F(Option, OtherArgumentsAreCollected)
{
    const OptionPtr option = parse({"one", "--test", "two", "--", "-p"});
    ASSERT_NE(option, nullptr);
    ASSERT_EQ(option->extra_count, 3u);
    EXPECT_STREQ(option->extra_args[0], "one");
    EXPECT_STREQ(option->extra_args[1], "two");
    EXPECT_STREQ(option->extra_args[2], "-p");
    EXPECT_EQ(option->extra_args[3], nullptr);
    EXPECT_EQ(mode(option), "test");
    EXPECT_STREQ(option->program, "rovad");
    EXPECT_EQ(option->reserved, 0);
}

TEST_F(Option, OptionBeatsEveryMarker)
{
    camera.write("/sdcard/info.tg", "foo.adj\n");
    const OptionPtr option = parse({"--test"});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(mode(option), "test");
    EXPECT_EQ(option->card, 0);
    EXPECT_STREQ(option->script_file, "");
}

TEST_F(Option, FailedAllocationsAreReported)
{
    test::wrap_fail("g_try_malloc0", 0, ENOMEM);
    EXPECT_EQ(parse({"--test"}), nullptr);
    EXPECT_EQ(err, std::string("rovad: option structure allocation failed (") +
                       std::strerror(ENOMEM) + ") \n");
    test::wrap_fail("g_try_malloc0", 0, ENOMEM, 2);
    EXPECT_EQ(parse({"--test"}), nullptr);
    EXPECT_EQ(err, std::string("rovad: option structure argv allocation failed (") +
                       std::strerror(ENOMEM) + ") \n");
}

TEST_F(Option, NullIsFreedToo)
{
    rova_option_free(nullptr);
}

TEST_F(ModeFromCard, WithoutAMarkerThereIsAHint)
{
    EXPECT_EQ(parse(), nullptr);
    EXPECT_EQ(err, HINT);
}

TEST_F(ModeFromCard, WithoutACardThereIsAHint)
{
    camera.remove("/sdcard");
    EXPECT_EQ(parse(), nullptr);
    EXPECT_EQ(err, HINT);
}

TEST_F(ModeFromCard, InfoTgNamesTheScript)
{
    camera.write("/sdcard/info.tg", "foo.adj\r\nbar.adj\r\n");
    const OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(mode(option), "card");
    EXPECT_STREQ(option->script_file, "/sdcard/foo.adj");
    EXPECT_EQ(option->alt, 0);
    EXPECT_EQ(err, "");
}

TEST_F(ModeFromCard, BlanksAroundALifeTestScriptDoNotMatter)
{
    camera.write("/sdcard/info.tg", "  \talt.adj  \n");
    const OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->script_file, "/sdcard/alt.adj");
    EXPECT_EQ(option->alt, 1);
    EXPECT_EQ(rova_get_alt_mode(), 1);
}

TEST_F(ModeFromCard, InfoTgIsReadUpTo39Characters)
{
    camera.write("/sdcard/info.tg", std::string(50, 'n'));
    const OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->script_file, "/sdcard/" + std::string(39, 'n'));
}

TEST_F(ModeFromCard, EmptyInfoTgIsRefused)
{
    camera.write("/sdcard/info.tg", "");
    EXPECT_EQ(parse(), nullptr);
    EXPECT_EQ(err, "rovad: info.tg cannot be read (Success). \n");
}

TEST_F(ModeFromCard, FolderNamedInfoTgIsRefused)
{
    std::filesystem::create_directory(camera.path("/sdcard/info.tg"));
    EXPECT_EQ(parse(), nullptr);
    EXPECT_EQ(err,
              std::string("rovad: info.tg cannot be read (") + std::strerror(EISDIR) + "). \n");
}

TEST_F(ModeFromCard, InfoTgThatCannotBeOpenedIsRefused)
{
    camera.write("/sdcard/info.tg", "foo.adj\n");
    camera.fault("sys_fopen", "0 errno EIO");
    EXPECT_EQ(parse(), nullptr);
    EXPECT_EQ(err, std::string("rovad: info.tg cannot be opened (") + std::strerror(EIO) + "). \n");
}

TEST_F(ModeFromCard, BlankInfoTgNamesTheCardItself)
{
    camera.write("/sdcard/info.tg", "   \n");
    const OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->script_file, "/sdcard/");
}

TEST_F(ModeFromCard, InfoTgwAsksForPtp)
{
    camera.write("/sdcard/info.tgw", "");
    EXPECT_EQ(mode(parse()), "ptp");
}

TEST_F(ModeFromCard, InfoTgBeatsInfoTgw)
{
    camera.write("/sdcard/info.tg", "foo.adj\n");
    camera.write("/sdcard/info.tgw", "");
    camera.write("/sdcard/qz_cs.adj", "");
    const OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->card, 1);
    EXPECT_EQ(option->ptp, 0);
}

TEST_F(ModeFromCard, InfoTgwBeatsTheServiceScript)
{
    camera.write("/sdcard/info.tgw", "");
    camera.write("/sdcard/qz_cs.adj", "");
    EXPECT_EQ(mode(parse()), "ptp");
}

TEST_F(ModeFromCard, ServiceScriptIsChosenByItsNumber)
{
    const char *const names[] = {"cis_dot_data", "simple_shutter", "iso",  "awb",          "efs",
                                 "vfpn_defect",  "color_shading",  "gyro", "country_code", "sn_mac",
                                 "paf"};
    camera.write("/sdcard/qz_cs.adj", "");
    for (std::size_t i = 0; i < std::size(names); i++) {
        camera.write("/opt/share/rova/cs_mode.type", std::to_string(i));
        const OptionPtr option = parse();
        ASSERT_NE(option, nullptr);
        EXPECT_EQ(mode(option), "card");
        EXPECT_EQ(option->script_file,
                  "/sdcard/adjustment/qz700/" + std::to_string(i) + "." + names[i] + ".adj");
    }
}

TEST_F(ModeFromCard, ServiceNumberMayBeHexadecimalOrMissing)
{
    camera.write("/sdcard/qz_cs.adj", "");
    OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->script_file, "/sdcard/adjustment/qz700/0.cis_dot_data.adj");
    camera.write("/opt/share/rova/cs_mode.type", "0xa");
    option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->script_file, "/sdcard/adjustment/qz700/10.paf.adj");
}

TEST_F(ModeFromCard, ServiceNumberElevenLeavesTheScriptEmpty)
{
    camera.write("/sdcard/qz_cs.adj", "");
    camera.write("/opt/share/rova/cs_mode.type", "11");
    const OptionPtr option = parse();
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(mode(option), "card");
    EXPECT_STREQ(option->script_file, "");
}

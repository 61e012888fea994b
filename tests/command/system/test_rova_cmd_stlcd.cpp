#include "tests/command/command_test.h"

#include <filesystem>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char STATUS[] = "/sys/devices/platform/m7-keys/tnlcd_status";
constexpr char BAD_WORDS[] = "Not found on stlcd command table ";

std::string pattern_call(int number)
{
    return "set_statusLCD_production(" + std::to_string(number) + ")";
}

} // namespace

class Stlcd : public CommandTest
{
};

TEST_F(Stlcd, OnShowsThePatternOfTheWord)
{
    std::vector<std::string> calls;
    for (auto [word, number] : std::initializer_list<std::pair<const char *, int>>{
             {"1", 11}, {"2", 12}, {"3", 13}, {"4", 14}, {"all", 1}}) {
        EXPECT_EQ(run(std::string("stlcd on ") + word), OK) << word;
        calls.push_back(pattern_call(number));
        EXPECT_EQ(camera.call_texts(), calls);
    }
    EXPECT_EQ(run("STLCD ON 2 more", ROVA_CMD_PTP), PTP_OK);
}

TEST_F(Stlcd, OnRefusesOtherWords)
{
    for (const char *line : {"stlcd on", "stlcd on 0", "stlcd on 5", "stlcd on ALL"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre(BAD_WORDS)) << line;
    }
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(Stlcd, OffTakesThePatternAway)
{
    for (const char *line : {"stlcd off", "stlcd off now"})
        EXPECT_EQ(run(line), OK) << line;
    EXPECT_THAT(camera.call_texts(), ElementsAre(pattern_call(0), pattern_call(0)));
}

TEST_F(Stlcd, OffRefusesMoreWords)
{
    EXPECT_EQ(run("stlcd off right now"), NG);
    EXPECT_THAT(messages(), ElementsAre(BAD_WORDS));
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(Stlcd, DisplayThatRefusesIsNg)
{
    camera.fault("set_statusLCD_production", "-1");
    EXPECT_EQ(run("stlcd on all"), NG);
    EXPECT_EQ(run("stlcd off"), NG);
    constexpr char FAILED[] = "set_statusLCD_production() failed (ret = -1) ";
    EXPECT_THAT(messages(), ElementsAre(FAILED, FAILED));
}

TEST_F(Stlcd, BacklightWritesTheAttribute)
{
    for (const char *line : {"stlcd backlight", "stlcd backlight off"}) {
        camera.write(STATUS, "");
        EXPECT_EQ(run(line), OK) << line;
        EXPECT_EQ(camera.read(STATUS), "0");
    }
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Stlcd, BacklightWithoutItsAttributeIsNg)
{
    EXPECT_EQ(run("stlcd backlight"), NG);
    EXPECT_THAT(messages(), ElementsAre("failed to read \"" + std::string(STATUS) + "\""));
}

TEST_F(Stlcd, BacklightThatCannotBeWrittenIsNg)
{
    camera.write(STATUS, "");
    camera.fault("sys_write", "-1 errno EIO on tnlcd_status");
    EXPECT_EQ(run("stlcd backlight", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(times_logged("failed to read \"" + std::string(STATUS) + "\""), 1U);
}

TEST_F(Stlcd, BacklightRefusesMoreWordsInSmallLetters)
{
    camera.write(STATUS, "");
    EXPECT_EQ(run("stlcd backlight right now"), NG);
    EXPECT_THAT(messages(), ElementsAre("not found on stlcd command table "));
    EXPECT_EQ(camera.read(STATUS), "");
}

TEST_F(Stlcd, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("stlcd blink"), NO_ANSWER);
    EXPECT_EQ(messages().front(), BAD_WORDS);
}

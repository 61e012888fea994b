#include "common/rova_card_mode.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

namespace
{

struct CardMode : testing::Test {
    // What the call returned and the mode it gave.
    std::pair<int, int> look()
    {
        int mode = -1;
        int result = rova_check_card_mode(&mode);
        return {result, mode};
    }
    test::Camera camera;
};

using Answer = std::pair<int, int>;

} // namespace

TEST_F(CardMode, AnEmptyCardHasNoMode)
{
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, AScriptMarkerWithItsScriptIsMode2)
{
    camera.write("/sdcard/info.tg", "line.adj\r\nmore\n");
    camera.write("/sdcard/line.adj", "");
    EXPECT_EQ(look(), Answer(1, 2));
}

TEST_F(CardMode, BlanksAroundTheScriptsNameDoNotCount)
{
    camera.write("/sdcard/info.tg", "  alt.adj \t\n");
    camera.write("/sdcard/alt.adj", "");
    EXPECT_EQ(look(), Answer(1, 2));
}

TEST_F(CardMode, AMissingScriptIsNoModeAlthoughThePcMarkerIsThere)
{
    camera.write("/sdcard/info.tg", "line.adj\n");
    camera.write("/sdcard/info.tgw", "");
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, AnEmptyMarkerIsNoMode)
{
    camera.write("/sdcard/info.tg", "");
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, ABlankMarkerNamesTheCardItselfWhichIsNoScript)
{
    camera.write("/sdcard/info.tg", " \n");
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, AMarkerThatCannotBeOpenedIsNoMode)
{
    camera.write("/sdcard/info.tg", "line.adj\n");
    camera.write("/sdcard/line.adj", "");
    camera.fault("sys_fopen", "0 errno EIO on info.tg");
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, ThePathOfAScriptEndsAt79Characters)
{
    std::string name(79 - 8, 's');
    camera.write("/sdcard/" + name, "");
    camera.write("/sdcard/info.tg", name + "\n");
    EXPECT_EQ(look(), Answer(1, 2));
    camera.write("/sdcard/info.tg", name + "tail\n");
    EXPECT_EQ(look(), Answer(1, 2)); // cut to the same name
}

TEST_F(CardMode, ThePcMarkerIsMode3)
{
    camera.write("/sdcard/info.tgw", "");
    camera.write("/sdcard/rova.tg", "factory-mode\n");
    EXPECT_EQ(look(), Answer(1, 3));
}

TEST_F(CardMode, TheFactoryMarkerMustSayFactoryMode)
{
    camera.write("/sdcard/rova.tg", "start factory-mode now\n");
    EXPECT_EQ(look(), Answer(1, 1));
    camera.write("/sdcard/rova.tg", "Factory-Mode\nfactory-mode\n");
    EXPECT_EQ(look(), Answer(0, 0));
    camera.fault("sys_fopen", "0 errno EIO on rova.tg");
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, OnlyTheFirst80BytesOfTheFactoryMarkerCount)
{
    camera.write("/sdcard/rova.tg", std::string(68, ' ') + "factory-mode\n");
    EXPECT_EQ(look(), Answer(1, 1));
    camera.write("/sdcard/rova.tg", std::string(69, ' ') + "factory-mode\n");
    EXPECT_EQ(look(), Answer(0, 0));
}

TEST_F(CardMode, NobodyNeedsToAskForTheMode)
{
    EXPECT_EQ(rova_check_card_mode(nullptr), 0);
    EXPECT_EQ(rova_check_cs_mode(nullptr), 0);
    camera.write("/sdcard/info.tgw", "");
    EXPECT_EQ(rova_check_card_mode(nullptr), 1);
}

TEST_F(CardMode, TheServiceMarkerIsMode2)
{
    int mode = -1;
    EXPECT_EQ(rova_check_cs_mode(&mode), 0);
    EXPECT_EQ(mode, 0);
    camera.write("/sdcard/qz_cs.adj", "");
    EXPECT_EQ(rova_check_cs_mode(&mode), 1);
    EXPECT_EQ(mode, 2);
}

#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

static const char row_error[] = "Error : Row must be digit number between 1 and 8.";

class Osd : public CommandTest
{
protected:
    std::vector<std::string> shown() const
    {
        return told({"factory_osd_text_set", "factory_osd_grid_text_set"});
    }
};

TEST_F(Osd, StringShowsTheWordsInTheRow)
{
    EXPECT_EQ(run("osd string 1 push the key"), OK);
    EXPECT_EQ(run("osd string 8 x", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[1,"push the key"])",
                                     R"(factory_osd_text_set[8,"x"])"));
}

TEST_F(Osd, StringRefusesRowsThatAreNotThere)
{
    for (const char *row : {"9", "0", "-1", "x", "65537"})
        EXPECT_EQ(run(std::string("osd string ") + row + " hello"), NG) << row;
    EXPECT_EQ(times_logged(row_error), 5U);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(Osd, StringWithoutARowIsRefusedWithoutAWord)
{
    EXPECT_EQ(run("osd string"), NG);
    EXPECT_EQ(run("osd grid_text"), NG);
    EXPECT_FALSE(camera.logged(row_error));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(Osd, StringWithoutWordsClearsTheRow)
{
    EXPECT_EQ(run("osd string 2"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,""])"));
}

TEST_F(Osd, StringShowsPerCentSignsAsTheyStand)
{
    EXPECT_EQ(run("osd string 2 100% %s %n"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"100% %s %n"])"));
}

TEST_F(Osd, StringCutsItsTextAt199Characters)
{
    std::string word(31, 'w');
    std::string words = word;
    for (int i = 1; i < 8; i++)
        words += " " + word;
    EXPECT_EQ(run("osd string 2 " + words), OK);
    EXPECT_THAT(shown(), ElementsAre("factory_osd_text_set[2,\"" + words.substr(0, 199) + "\"]"));
}

TEST_F(Osd, GridTextTakesRowsUpTo21)
{
    EXPECT_EQ(run("osd grid_text 21 hello"), OK);
    EXPECT_EQ(run("osd grid_text 1 a b"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_grid_text_set[21,"hello"])",
                                     R"(factory_osd_grid_text_set[1,"a b"])"));
}

TEST_F(Osd, GridTextRefusesOtherRowsInTheWordsOfString)
{
    for (const char *row : {"22", "0", "-1", "x"})
        EXPECT_EQ(run(std::string("osd grid_text ") + row + " hello"), NG) << row;
    EXPECT_EQ(times_logged(row_error), 4U);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(Osd, ColoursGoByName)
{
    const char *const names[] = {"black", "blue", "lime",  "aqua",   "red",  "fuchsia", "yellow",
                                 "white", "gray", "green", "purple", "pink", "orange"};
    std::vector<std::string> expected;
    for (int i = 0; i < 13; i++) {
        EXPECT_EQ(run(std::string("osd text_color ") + names[i]), OK);
        EXPECT_EQ(run(std::string("osd bg_color ") + names[i]), OK);
        expected.push_back("factory_osd_text_color_set[" + std::to_string(i) + "]");
        expected.push_back("factory_osd_background_color_set[" + std::to_string(i) + "]");
    }
    EXPECT_EQ(told({"factory_osd_text_color_set", "factory_osd_background_color_set"}), expected);
}

TEST_F(Osd, ColoursWithoutANameOrWithAnotherAreRefused)
{
    for (const char *line : {"osd text_color", "osd text_color Red", "osd text_color 4",
                             "osd bg_color", "osd bg_color whit"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(told({"factory_osd_text_color_set", "factory_osd_background_color_set"}),
                IsEmpty());
}

TEST_F(Osd, TextSizeSetsTheSize)
{
    EXPECT_EQ(run("osd text_size 40"), OK);
    EXPECT_THAT(told({"factory_osd_text_size_set"}), ElementsAre("factory_osd_text_size_set[40]"));
}

TEST_F(Osd, TextSizeWithoutASizeIsRefused)
{
    EXPECT_EQ(run("osd text_size"), NG);
    EXPECT_THAT(told({"factory_osd_text_size_set"}), IsEmpty());
}

TEST_F(Osd, ClearClearsWhatItIsTold)
{
    EXPECT_EQ(run("osd clear grid_text"), OK);
    EXPECT_EQ(run("osd clear text"), OK);
    EXPECT_EQ(run("osd clear all"), OK);
    EXPECT_THAT(
        told({"factory_osd_clear", "factory_osd_text_clear", "factory_osd_grid_text_clear"}),
        ElementsAre("factory_osd_grid_text_clear[]", "factory_osd_text_clear[]",
                    "factory_osd_clear[]"));
}

TEST_F(Osd, ClearRefusesOtherWords)
{
    EXPECT_EQ(run("osd clear"), NG);
    EXPECT_EQ(run("osd clear All"), NG);
    EXPECT_THAT(
        told({"factory_osd_clear", "factory_osd_text_clear", "factory_osd_grid_text_clear"}),
        IsEmpty());
}

TEST_F(Osd, PositionKnowsTheThreeDisplays)
{
    EXPECT_EQ(run("osd position lcd"), OK);
    EXPECT_TRUE(camera.logged(" OSD POSITION LCD !!"));
    EXPECT_EQ(run("osd position evf"), OK);
    EXPECT_TRUE(camera.logged(" OSD POSITION EVF !!"));
    EXPECT_EQ(run("osd position tv"), OK);
    EXPECT_TRUE(camera.logged(" OSD POSITION TV !!"));
    EXPECT_THAT(told({"factory_osd_window_move_resize"}),
                ElementsAre("factory_osd_window_move_resize[720,480,0,0]",
                            "factory_osd_window_move_resize[1024,768,720,0]",
                            "factory_osd_window_move_resize[1280,720,0,480]"));
}

TEST_F(Osd, PositionTakesNumbers)
{
    EXPECT_EQ(run("osd position 10 -20 300 400"), OK);
    EXPECT_THAT(told({"factory_osd_window_move_resize"}),
                ElementsAre("factory_osd_window_move_resize[300,400,10,-20]"));
    EXPECT_TRUE(camera.logged(" OSD POSITION x = 10, y = -20, w = 300, h = 400"));
}

TEST_F(Osd, PositionTakesMissingNumbersAsZero)
{
    EXPECT_EQ(run("osd position 10"), OK);
    EXPECT_THAT(told({"factory_osd_window_move_resize"}),
                ElementsAre("factory_osd_window_move_resize[0,0,10,0]"));
}

TEST_F(Osd, PositionWithoutAPlaceIsRefused)
{
    EXPECT_EQ(run("osd position"), NG);
    EXPECT_THAT(told({"factory_osd_window_move_resize"}), IsEmpty());
}

TEST_F(Osd, AScreenThatFailsIsNoFailureOfTheCommand)
{
    camera.fault("factory_osd_text_size_set", "-1");
    camera.fault("factory_osd_text_set", "-1");
    camera.fault("factory_osd_clear", "-1");
    for (const char *line : {"osd text_size 40", "osd string 1 x", "osd clear all"})
        EXPECT_EQ(run(line), OK) << line;
}

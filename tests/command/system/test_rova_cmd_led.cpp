#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

struct LampRow {
    const char *words;
    const char *call;
};

constexpr LampRow lamp_rows[] = {
    {"charge on", "set_charge_led(2)"},
    {"charge off", "set_charge_led(1)"},
    {"card on", "device_set_property(3, 0, 1)"},
    {"card off", "device_set_property(3, 0, 0)"},
    {"card blink", "device_set_property(3, 1, 500)"},
    {"af on", "device_set_property(3, 4, 1)"},
    {"af off", "device_set_property(3, 4, 0)"},
    {"af blink", "device_set_property(3, 5, 500)"},
};

constexpr char UNKNOWN_WORD[] = "Not found on led command table";

} // namespace

class Led : public CommandTest
{
};

TEST_F(Led, EachWordMakesItsCall)
{
    std::vector<std::string> calls;
    for (const LampRow &row : lamp_rows) {
        EXPECT_EQ(run(std::string("led ") + row.words), OK) << row.words;
        calls.push_back(row.call);
        EXPECT_EQ(camera.call_texts(), calls);
    }
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Led, WordsIgnoreCase)
{
    EXPECT_EQ(run("LED AF ON", ROVA_CMD_CARD), OK);
    EXPECT_EQ(run("Led Card Blink"), OK);
    EXPECT_EQ(run("led charge On"), OK);
    EXPECT_EQ(run("led charge OFF"), OK);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("device_set_property(3, 4, 1)", "device_set_property(3, 1, 500)",
                            "set_charge_led(2)", "set_charge_led(1)"));
}

TEST_F(Led, OtherWordsAreNgWithAMessage)
{
    for (const char *line : {"led charge blink", "led charge 2", "led card onn", "led af dim"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre(UNKNOWN_WORD)) << line;
    }
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(Led, NoWordIsNgWithoutAMessage)
{
    for (const char *line : {"led af", "led card", "led charge"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), IsEmpty()) << line;
    }
}

TEST_F(Led, LampThatRefusesIsNg)
{
    camera.fault("device_set_property", "-2");
    camera.fault("set_charge_led", "-2");
    for (const LampRow &row : lamp_rows) {
        EXPECT_EQ(run(std::string("led ") + row.words, ROVA_CMD_PTP), PTP_NG) << row.words;
        std::string call = row.call;
        EXPECT_THAT(new_messages().front(),
                    testing::AllOf(testing::StartsWith(call.substr(0, call.find('('))),
                                   testing::EndsWith(" failed (ret = -2) ")));
    }
}

TEST_F(Led, UnknownLampIsNotItsOwn)
{
    EXPECT_EQ(run("led power on"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on led command table ");
}

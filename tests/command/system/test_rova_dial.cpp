#include "command/system/rova_dial.h"
#include "common/rova_util.h"
#include "tests/command/system/key_test.h"
#include "tests/support/wrap.h"

#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

struct DialRow {
    const char *family;
    const char *attribute;
    const char *position;
    const char *value;
};

constexpr DialRow dial_rows[] = {
    {"mode_dial", "dial_mode", "scene", "0"},
    {"mode_dial", "dial_mode", "smartauto", "1"},
    {"mode_dial", "dial_mode", "p", "2"},
    {"mode_dial", "dial_mode", "a", "3"},
    {"mode_dial", "dial_mode", "s", "4"},
    {"mode_dial", "dial_mode", "m", "5"},
    {"mode_dial", "dial_mode", "c1", "6"},
    {"mode_dial", "dial_mode", "i", "8"},
    {"drive_dial", "dial_drive", "single", "0"},
    {"drive_dial", "dial_drive", "continuous_n", "1"},
    {"drive_dial", "dial_drive", "continuous_h", "2"},
    {"drive_dial", "dial_drive", "timer", "3"},
    {"drive_dial", "dial_drive", "bracket", "4"},
};

using ModeDial = KeyTest;

class Dial : public KeyTest, public testing::WithParamInterface<DialRow>
{
protected:
    std::string family() const { return GetParam().family; }
    std::string wait() const { return family() + " wait " + GetParam().position; }
    std::string attribute() const { return GetParam().attribute; }
};

} // namespace

TEST_P(Dial, WaitsForThePositionsValue)
{
    play(attribute(), {"7", "99", GetParam().value});
    EXPECT_EQ(run(wait()), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_P(Dial, ThatStandsThereAlreadyIsOkAtOnce)
{
    set(attribute(), GetParam().value);
    EXPECT_EQ(run(wait(), ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_P(Dial, ThatCannotBeReadIsNg)
{
    play(attribute(), {"7", "-1"});
    EXPECT_EQ(run(wait()), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
    remove(attribute());
    EXPECT_EQ(run(wait()), NG);
}

TEST_P(Dial, StopEndsTheWaitWithOk)
{
    remove(attribute()); // and is looked at first
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run(wait()), OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_P(Dial, StopDuringTheWaitEndsItWithOk)
{
    set(attribute(), "7");
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.fault("vconf_get_int", "0 at 1");
    EXPECT_EQ(run(wait()), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_P(Dial, PositionIsNeededAndKnownExactly)
{
    for (const char *words : {" wait", " wait 2", " wait P", " wait Timer", " set", " set P"})
        EXPECT_EQ(run(family() + words), NG) << words;
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_P(Dial, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run(family() + " turn"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on " + family() + " command table ");
}

INSTANTIATE_TEST_SUITE_P(AllPositions, Dial, testing::ValuesIn(dial_rows), [](const auto &row) {
    return std::string(row.param.family) + "_" + row.param.position;
});

TEST_F(ModeDial, CheckComparesEachPositionWithItsValueOnly)
{
    for (const DialRow &row : dial_rows) {
        if (std::string(row.family) != "mode_dial")
            continue;
        for (int value = -1; value <= 9; value++) {
            set("dial_mode", std::to_string(value));
            EXPECT_EQ(run(std::string("mode_dial check ") + row.position),
                      std::to_string(value) == row.value ? OK : NG)
                << row.position << " " << value;
        }
    }
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(ModeDial, CheckIsNgWithoutAPositionOrAFile)
{
    for (const char *line : {"mode_dial check", "mode_dial check P", "mode_dial check timer"})
        EXPECT_EQ(run(line), NG) << line;
    remove("dial_mode");
    EXPECT_EQ(run("MODE_DIAL CHECK scene", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(ModeDial, DriveDialHasNoCheck)
{
    EXPECT_EQ(run("drive_dial check timer"), NO_ANSWER);
}

TEST_F(ModeDial, PositionThatNoDialReportsIsNotWaitedFor)
{
    constexpr rova_dial_row rows[] = {{"none", 1, ROVA_DIAL_NO_VALUE, 0}};
    const cmd_data record = record_of("dial wait none");
    EXPECT_EQ(rova_dial_wait(ROVA_CMD_SCRIPT, &record, {"/none", rows}), 1);
    EXPECT_TRUE(camera.file_log().ends_with(OK));
}

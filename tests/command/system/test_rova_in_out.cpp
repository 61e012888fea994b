#include "common/rova_util.h"
#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

struct InOutRow {
    const char *family;
    int property;
    const char *in;
    const char *out;
};

constexpr InOutRow in_out_rows[] = {
    {"earjack", 1, "0", "1"}, {"ext_mic", 2, "0", "1"}, {"ext_release", 15, "1", "0"},
    {"usb", 4, "1", "0"},     {"mr", 19, "1", "0"},     {"proximity", 13, "1", "0"},
    {"nfc", 14, "1", "0"},
};

class InOut : public CommandTest, public testing::WithParamInterface<InOutRow>
{
protected:
    InOut() { wrap_record_sleeps(true); }

    std::string family() const { return GetParam().family; }
    std::string property() const { return "2." + std::to_string(GetParam().property); }
    void set(const std::string &values, const std::string &suffix = "") const
    {
        camera.write("/virtual/property/" + property() + suffix, values + "\n");
    }
    void play(const std::string &values) const { set(values, ".play"); }

    std::string read_error() const
    {
        return "device_get_property(2, " + std::to_string(GetParam().property) +
               ") failed (ret = -5) ";
    }
};

} // namespace

TEST_P(InOut, WaitsForTheValueOfTheWord)
{
    std::string in = GetParam().in;
    std::string out = GetParam().out;
    play(out + "\n7\n" + in);
    EXPECT_EQ(run(family() + " wait in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));
    play(in + "\n-1\n" + in + "\n" + out);
    EXPECT_EQ(run(family() + " wait out", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(wrap_sleeps().size(), 3U + 4U);
    EXPECT_THAT(messages(), testing::Each(testing::StartsWith("ptp-response:")));
}

// The driver's value counts once it has stood a pass, so even a state that is there takes one.
TEST_P(InOut, StateThatIsThereTakesOnePass)
{
    set(GetParam().in);
    EXPECT_EQ(run(family() + " WAIT in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_P(InOut, WaitsWithoutALimit)
{
    std::string values;
    for (int i = 0; i < 1000; i++)
        values += std::string(GetParam().out) + "\n";
    play(values + GetParam().in);
    EXPECT_EQ(run(family() + " wait in"), OK);
    EXPECT_EQ(wrap_sleeps().size(), 1001U);
}

TEST_P(InOut, StopEndsTheWaitWithOkBeforeItReads)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.fault("device_get_property", "-5");
    for (const char *word : {" wait in", " wait out"})
        EXPECT_EQ(run(family() + word), OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_P(InOut, StopDuringTheWaitEndsItWithOk)
{
    set(GetParam().out);
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.fault("vconf_get_int", "0 at 1");
    EXPECT_EQ(run(family() + " wait in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_P(InOut, PropertyThatCannotBeReadIsNg)
{
    set(GetParam().out);
    camera.fault("device_get_property", "-5 at 2");
    EXPECT_EQ(run(family() + " wait in"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
    EXPECT_THAT(messages(), ElementsAre(read_error()));
}

TEST_P(InOut, AnotherWordOrNoneIsNgWithoutAMessage)
{
    for (const char *words : {" wait", " wait IN", " wait Out", " wait inn", " wait 1"})
        EXPECT_EQ(run(family() + words), NG) << words;
    EXPECT_EQ(run(family() + " wait", ROVA_CMD_PTP), PTP_NG);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_THAT(messages(), testing::Each(testing::StartsWith("ptp-response:")));
}

TEST_P(InOut, UnknownSubcommandIsNotItsOwn)
{
    for (const char *words : {"", " plug in"})
        EXPECT_EQ(run(family() + words), NO_ANSWER);
    EXPECT_EQ(times_logged("Not found on " + family() + " command table"), 2U);
}

INSTANTIATE_TEST_SUITE_P(AllFamilies, InOut, testing::ValuesIn(in_out_rows),
                         [](const auto &row) { return std::string(row.param.family); });

// ------------------------------------------------------------------------- mr check

class MrCheck : public CommandTest
{
protected:
    MrCheck() { wrap_record_sleeps(true); }
};

TEST_F(MrCheck, ComparesTheStateOnce)
{
    for (int state = -1; state <= 2; state++) {
        camera.write("/virtual/property/2.19", std::to_string(state) + "\n");
        EXPECT_EQ(run("mr check in"), state == 1 ? OK : NG) << state;
        EXPECT_EQ(run("mr check out"), state == 0 ? OK : NG) << state;
    }
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(MrCheck, LooksOnceOnly)
{
    camera.write("/virtual/property/2.19.play", "0\n1\n");
    EXPECT_EQ(run("mr check in", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(run("mr check in", ROVA_CMD_PTP), PTP_OK);
}

TEST_F(MrCheck, AsksTheSensorAlsoWhileTheDaemonIsAskedToStop)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("mr check in"), NG);
    EXPECT_EQ(run("mr check out"), OK);
}

TEST_F(MrCheck, NeedsAWordAndAState)
{
    for (const char *line : {"mr check", "mr check IN", "mr check 0"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(messages(), IsEmpty());
    camera.fault("device_get_property", "-5");
    for (const char *line : {"mr check in", "mr check out"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(times_logged("device_get_property(2, 19) failed (ret = -5)"), 2U);
}

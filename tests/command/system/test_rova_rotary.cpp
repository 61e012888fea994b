#include "common/rova_util.h"
#include "tests/command/system/key_test.h"
#include "tests/support/wrap.h"

#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

struct RotaryRow {
    const char *family;
    const char *direction;
    const char *code;
    const char *opposite;
    unsigned long mask;
};

constexpr RotaryRow rotary_rows[] = {
    {"jog1", "right", "177", "178", 0x2000},    {"jog1", "left", "178", "177", 0x2000},
    {"jog2", "right", "163", "165", 0x1000000}, {"jog2", "left", "165", "163", 0x1000000},
    {"wheel", "left", "105", "106", 0x80000},   {"wheel", "right", "106", "105", 0x80000},
};

constexpr char OPPOSITE[] = "opposite_keycode == cur_keycode";

class Rotary : public KeyTest, public testing::WithParamInterface<RotaryRow>
{
protected:
    std::string family() const { return GetParam().family; }
    std::string wait(const std::string &words) const
    {
        return family() + " wait " + GetParam().direction + " " + words;
    }
    // What a wait says before it looks.
    std::vector<std::string> head() const
    {
        if (family() != "jog1")
            return {};
        return {std::string("wait_keycode : ") + GetParam().code +
                ", opposite_keycode : " + GetParam().opposite};
    }
    std::vector<std::string> head_and(const std::string &message) const
    {
        std::vector<std::string> all = head();
        all.push_back(message);
        return all;
    }
};

} // namespace

TEST_P(Rotary, CountsTheClicksInItsDirection)
{
    play("keycode", {GetParam().code, "0", "1", GetParam().code, GetParam().code});
    EXPECT_EQ(run(wait("3")), OK);
    EXPECT_EQ(messages(), head());
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000, 100000, 100000));
    EXPECT_EQ(get("keycode"), "0");
}

TEST_P(Rotary, EndsNgWithTheFirstClickTheOtherWay)
{
    play("keycode", {GetParam().code, GetParam().opposite, GetParam().code});
    EXPECT_EQ(run(wait("3")), NG);
    EXPECT_EQ(messages(), head_and(OPPOSITE));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_P(Rotary, ClearsEachClick)
{
    set("keycode", GetParam().code); // stays until it is cleared
    camera.fault("sys_open", "-1 at 4 on keycode");
    EXPECT_EQ(run(wait("2")), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000));
    EXPECT_EQ(get("keycode"), "0");
}

TEST_P(Rotary, ClickThatCannotBeClearedIsNg)
{
    set("keycode", GetParam().code);
    camera.fault("sys_write", "-1 errno EIO on keycode");
    EXPECT_EQ(run(wait("2")), NG);
    EXPECT_EQ(messages(), head_and("failed to write \"/sys/devices/platform/m7-keys/keycode\" "
                                   "(Input/output error) "));
}

TEST_P(Rotary, WithoutAKeyCodeIsNg)
{
    remove("keycode");
    EXPECT_EQ(run(wait("1")), NG);
    EXPECT_EQ(messages(), head());
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_P(Rotary, CountBelowOneNeedsNoClick)
{
    for (const char *words : {"", "0", "-1", "x"}) {
        wrap_clear();
        wrap_record_sleeps(true);
        EXPECT_EQ(run(wait(words)), OK) << words;
        EXPECT_THAT(wrap_sleeps(), ElementsAre(100000)) << words;
    }
}

TEST_P(Rotary, CountBelowOneIsNgWithAClickTheOtherWay)
{
    set("keycode", GetParam().opposite);
    EXPECT_EQ(run(wait("0")), NG);
    EXPECT_EQ(messages(), head_and(OPPOSITE));
}

TEST_P(Rotary, WhileTheDaemonIsAskedToStopNoClickCounts)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    play("keycode", {GetParam().code, GetParam().code, GetParam().code, GetParam().opposite});
    EXPECT_EQ(run(wait("1")), NG);
    EXPECT_EQ(messages(), head_and(OPPOSITE));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));

    play("keycode", {GetParam().code, "-1"});
    EXPECT_EQ(run(wait("1")), NG);
}

TEST_P(Rotary, DirectionIsNeededAndKnownExactly)
{
    for (const char *words : {" wait", " wait up 1", " wait Right 1", " wait LEFT 1"})
        EXPECT_EQ(run(family() + words), NG) << words;
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_P(Rotary, MaskAndUnmaskChangeItsBit)
{
    set("keymask", "0x20");
    EXPECT_EQ(run(family() + " mask"), OK);
    EXPECT_EQ(get("keymask"), std::to_string(0x20 | GetParam().mask));
    set("keymask", "0xffffffff");
    EXPECT_EQ(run(family() + " UNMASK all", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(get("keymask"), std::to_string(0xffffffff & ~GetParam().mask));
}

TEST_P(Rotary, MaskThatCannotBeWrittenIsOk)
{
    remove("keymask");
    for (const char *word : {" mask", " unmask"}) {
        EXPECT_EQ(run(family() + word), OK) << word;
        EXPECT_THAT(new_messages(),
                    ElementsAre("failed to read \"/sys/devices/platform/m7-keys/keymask\""));
    }
}

TEST_P(Rotary, WithoutACountOfParametersIsNg)
{
    for (const char *word : {" wait right 1", " mask", " unmask"}) {
        cmd_data record = record_of(family() + word);
        record.p_count = 0;
        EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG) << word;
    }
    EXPECT_EQ(get("keymask"), "0");
}

TEST_P(Rotary, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run(family() + " turn"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on " + family() + " command table ");
}

INSTANTIATE_TEST_SUITE_P(AllSwitches, Rotary, testing::ValuesIn(rotary_rows), [](const auto &row) {
    return std::string(row.param.family) + "_" + row.param.direction;
});

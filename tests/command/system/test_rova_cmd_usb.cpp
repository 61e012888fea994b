#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char SPEED[] =
    "/sys/devices/platform/movrax-drd.0/movrax-ss-udc.0/udc/movrax-ss-udc.0/current_speed";

} // namespace

class Usb : public CommandTest
{
protected:
    void speed_line(const std::string &text) const { camera.write(SPEED, text); }
    std::vector<std::string> screen() const { return told({"factory_osd_text_set"}); }
};

TEST_F(Usb, MaskAndUnmaskDoNothing)
{
    for (const char *line : {"usb mask", "usb unmask", "usb mask a b c", "USB UNMASK all"})
        EXPECT_EQ(run(line), OK) << line;
    EXPECT_THAT(camera.call_texts(), IsEmpty());
    EXPECT_THAT(messages(), IsEmpty());
}

// ------------------------------------------------------------------------- charge

TEST_F(Usb, ChargeOnStartsIt)
{
    EXPECT_EQ(run("usb charge on"), OK);
    EXPECT_THAT(camera.call_texts(), ElementsAre("set_charging(1)"));
}

TEST_F(Usb, ChargeOffGivesItBackToTheCamera)
{
    EXPECT_EQ(run("usb charge off"), OK);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("set_charging(0)", "set_charge_led(1)", "release_from_factorymode()"));
}

TEST_F(Usb, ChargeDisableOnlyEndsIt)
{
    EXPECT_EQ(run("usb charge disable", ROVA_CMD_CARD), OK);
    EXPECT_THAT(camera.call_texts(), ElementsAre("set_charging(0)"));
}

TEST_F(Usb, ChargeRefusesOtherWordsWithoutAMessage)
{
    for (const char *line : {"usb charge", "usb charge ON", "usb charge 1", "usb charge disabled"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(camera.call_texts(), IsEmpty());
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Usb, ChargingThatRefusesIsNg)
{
    camera.fault("set_charging", "-6");
    EXPECT_EQ(run("usb charge on", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(new_messages().front(), "set_charging() failed (ret = -6) ");
    EXPECT_EQ(run("usb charge disable"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("set_charging() failed (ret = -6) "));
}

TEST_F(Usb, ChargeOffMakesAllItsCallsWhicheverFails)
{
    for (const char *call : {"set_charging", "set_charge_led", "release_from_factorymode"}) {
        std::size_t before = camera.call_texts().size();
        camera.fault(call, "-6");
        EXPECT_EQ(run("usb charge off"), NG) << call;
        EXPECT_THAT(new_messages(), ElementsAre(std::string(call) + "() failed (ret = -6) "));
        EXPECT_EQ(camera.call_texts().size(), before + 3) << call;
        camera.clear_fault(call);
    }
}

// ------------------------------------------------------------------------- check_mode

TEST_F(Usb, CheckModeComparesAndShowsTheMode)
{
    for (auto [line, mode] : std::initializer_list<std::pair<const char *, const char *>>{
             {"high-speed\n", "2"}, {"super-speed\n", "3"}, {"  super-speed (5 Gbit)", "3"}}) {
        camera.remove("/virtual/calls.jsonl");
        speed_line(line);
        EXPECT_EQ(run(std::string("usb check_mode ") + mode), OK) << line;
        EXPECT_THAT(new_messages(), ElementsAre("START !!", std::string("usb mode ") + mode));
        EXPECT_THAT(
            screen(),
            ElementsAre(std::string("factory_osd_text_set[1,\"check mode_") + mode + ".0\"]",
                        std::string("factory_osd_text_set[2,\"USB mode_") + mode + ".0\"]"));
    }
}

TEST_F(Usb, CheckModeOfAnotherModeIsNgAndShowsNothing)
{
    speed_line("high-speed\n");
    for (const char *mode : {"3", "02", "2.0", "high-speed", "disable"})
        EXPECT_EQ(run(std::string("usb check_mode ") + mode), NG) << mode;
    EXPECT_THAT(screen(), IsEmpty());
}

// The mode of a link that is down is a word, which a script may ask for.
TEST_F(Usb, CheckModeOfAnUnknownSpeed)
{
    speed_line("UNKNOWN\n");
    EXPECT_EQ(run("usb check_mode 2"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("START !!", "usb mode USB_ERROR"));
    EXPECT_EQ(run("usb check_mode USB_ERROR"), OK);
    EXPECT_THAT(screen(), ElementsAre(R"(factory_osd_text_set[1,"check mode_0.0"])",
                                      R"(factory_osd_text_set[2,"USB mode_0.0"])"));
}

TEST_F(Usb, CheckModeReadsTheFirstWordThatIsKnown)
{
    speed_line("UNKNOWN high-speed super-speed\n");
    EXPECT_EQ(run("usb check_mode USB_ERROR"), OK);
    speed_line("super-speed high-speed\n");
    EXPECT_EQ(run("usb check_mode 2"), OK);
}

TEST_F(Usb, CheckModeOfALineThatNamesNoSpeedIsNg)
{
    for (const char *line : {"full-speed\n", "", "\nhigh-speed\n"}) {
        speed_line(line);
        EXPECT_EQ(run("usb check_mode 2"), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre("START !!", "file write error", "usb mode "))
            << line;
    }
}

TEST_F(Usb, CheckModeLooksAtTheFirst79Characters)
{
    speed_line(std::string(69, 'x') + "high-speed\n");
    EXPECT_EQ(run("usb check_mode 2"), OK);
    speed_line(std::string(70, 'x') + "high-speed\n");
    EXPECT_EQ(run("usb check_mode 2"), NG);
    speed_line(std::string(5000, 'x'));
    EXPECT_EQ(run("usb check_mode 2"), NG);
    speed_line(std::string("UNKNOWN") + std::string(72, 'y') + std::string(100, 'z'));
    EXPECT_EQ(run("usb check_mode USB_ERROR"), OK);
}

TEST_F(Usb, CheckModeWithoutTheFileIsNg)
{
    std::size_t descriptors = open_descriptors();
    EXPECT_EQ(run("usb check_mode 2"), NG);
    EXPECT_THAT(messages(), ElementsAre("START !!", "file open error"));
    EXPECT_EQ(open_descriptors(), descriptors);
}

// No mode is not the empty word.
TEST_F(Usb, CheckModeOfAnEmptyWordIsNgWithoutAMode)
{
    cmd_data record = record_of("usb check_mode");
    record.p_count = 2;
    EXPECT_EQ(run(record, ROVA_CMD_CARD), NG);
    speed_line("full-speed\n");
    EXPECT_EQ(run(record, ROVA_CMD_CARD), NG);
}

TEST_F(Usb, CheckModeNeedsAMode)
{
    speed_line("high-speed\n");
    EXPECT_EQ(run("USB CHECK_MODE"), NG);
    EXPECT_THAT(messages(), IsEmpty());
}

// Families that the dispatcher does not know: their handlers.
#include "command/system/rova_cmd_system.h"
#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

static constexpr char ALARM[] = "/sys/class/rtc/rtc0/wakealarm";

class OffTable : public CommandTest
{
protected:
    // What the handler returns, and what it writes to the file log, in two parts.
    int handle(rova_cmd_handler_fn handler, const std::string &line, uint32_t type = ROVA_CMD_CARD)
    {
        cmd_data record = record_of(line);
        std::size_t before = camera.file_log().size();
        int taken = handler(type, &record);
        answer = camera.file_log().substr(before);
        return taken;
    }
    std::string answer;
};

TEST_F(OffTable, TheDispatcherDoesNotKnowThem)
{
    EXPECT_EQ(run("wake_alarm set 1"), NO_ANSWER);
    EXPECT_EQ(run("popup wait in"), NO_ANSWER);
}

TEST_F(OffTable, WakeAlarmWritesTheText)
{
    camera.write(ALARM, "");
    EXPECT_EQ(handle(rova_cmd_wake_alarm, "wake_alarm set +120"), 1);
    EXPECT_TRUE(answer.ends_with(OK));
    EXPECT_EQ(camera.read(ALARM), "+120");
    EXPECT_EQ(handle(rova_cmd_wake_alarm, "wake_alarm SET 0"), 1);
    EXPECT_EQ(camera.read(ALARM).substr(0, 1), "0");
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(OffTable, WakeAlarmThatCannotBeWrittenIsOkAndTold)
{
    EXPECT_EQ(handle(rova_cmd_wake_alarm, "wake_alarm set 5"), 1);
    EXPECT_TRUE(answer.ends_with(OK));
    EXPECT_THAT(messages(), ElementsAre("failed to write " + std::string(ALARM) +
                                        " (No such file or directory) "));
}

TEST_F(OffTable, WakeAlarmWithoutAValueIsNg)
{
    camera.write(ALARM, "");
    EXPECT_EQ(handle(rova_cmd_wake_alarm, "wake_alarm set"), 1);
    EXPECT_TRUE(answer.ends_with(NG));
    EXPECT_EQ(camera.read(ALARM), "");
}

TEST_F(OffTable, WakeAlarmHasNoOtherWord)
{
    EXPECT_EQ(handle(rova_cmd_wake_alarm, "wake_alarm get"), 0);
    EXPECT_EQ(answer, NO_ANSWER);
    EXPECT_THAT(messages(), ElementsAre("Not found on wake_alarm command table "));
}

TEST_F(OffTable, PopupWaitNeedsAWordAndDoesNothing)
{
    EXPECT_EQ(handle(rova_cmd_popup, "popup wait anything"), 1);
    EXPECT_TRUE(answer.ends_with(OK));
    EXPECT_EQ(handle(rova_cmd_popup, "popup WAIT", ROVA_CMD_PTP), 1);
    EXPECT_TRUE(answer.ends_with(PTP_NG));
    EXPECT_THAT(camera.call_texts(), testing::Each(StartsWith("vconf_set_")));
}

TEST_F(OffTable, PopupHasNoOtherWord)
{
    EXPECT_EQ(handle(rova_cmd_popup, "popup open"), 0);
    EXPECT_EQ(answer, NO_ANSWER);
    EXPECT_THAT(messages(), ElementsAre("Not found on popup command table "));
}

#include "command/rova_cmd_handler.h"
#include "tests/command/command_test.h"
#include "tests/command/system/sensor_stand_in.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <sys/msg.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char WAIT[] = "rotation wait left";

} // namespace

class Rotation : public CommandTest
{
protected:
    SensorStandIn service;

    void expect_no_reply_queue() { EXPECT_EQ(sensor_reply_queue(), -1); }
};

TEST_F(Rotation, AnUnknownWordIsNotHandled)
{
    EXPECT_EQ(run("rotation turn left"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on rotation command table "));
}

TEST_F(Rotation, EachPositionHasItsCode)
{
    const std::pair<const char *, int> positions[] = {
        {"up", 1}, {"right", 2}, {"down", 3}, {"left", 4}, {"top", 5}, {"bottom", 6},
    };
    std::vector<std::string> asked;
    for (const auto &[word, code] : positions) {
        service.answer("rotation", {{"rotation", code, 0}});
        EXPECT_EQ(run(std::string("rotation wait ") + word), OK) << word;
        asked.push_back("rotation " + std::to_string(code) + " 1");
        expect_no_reply_queue();
    }
    EXPECT_EQ(service.requests(), asked);
    EXPECT_EQ(times_logged("Rotation Adjust OK"), 6U);
}

TEST_F(Rotation, TheFamilysWordsAreFoundInAnyCase)
{
    service.answer("rotation", {{"rotation", 4, 0}});
    EXPECT_EQ(run("ROTATION Wait left"), OK);
}

TEST_F(Rotation, TheReplysNameMayBeInCapitals)
{
    service.answer("rotation", {{"ROTAtion", 4, 0}});
    EXPECT_EQ(run(WAIT), OK);
}

TEST_F(Rotation, AnotherPositionIsNg)
{
    service.answer("rotation", {{"rotation", 2, 4}});
    EXPECT_EQ(run(WAIT), NG);
    EXPECT_TRUE(camera.logged("Rotation Adjust NG"));
    EXPECT_FALSE(camera.logged("Rotation Adjust OK"));
    expect_no_reply_queue();
}

TEST_F(Rotation, AReplyOfAnotherNameIsNgWithoutAWord)
{
    for (const char *name : {"rollpitch", "rotations", ""}) {
        rova_sensor_data reply = {"", 4, 0};
        std::string(name).copy(reply.cmd, sizeof(reply.cmd));
        service.answer("rotation", {reply});
        EXPECT_EQ(run(WAIT), NG) << name;
        expect_no_reply_queue();
    }
    EXPECT_FALSE(camera.logged("Rotation Adjust"));
}

TEST_F(Rotation, WordsThatAreNoPositionAreToldAndNotAskedFor)
{
    for (const char *word : {"Up", "LEFT", "lef", "4", "leftt"}) {
        EXPECT_EQ(run(std::string("rotation wait ") + word), NG);
        EXPECT_TRUE(camera.logged(std::string("Wrong rotation cmd_data->p[1] = ") + word));
    }
    EXPECT_THAT(service.requests(), IsEmpty());
    EXPECT_FALSE(camera.logged("ROVA Sensor"));
}

TEST_F(Rotation, AMissingPositionIsNgWithoutAWord)
{
    EXPECT_EQ(run("rotation wait"), NG);
    cmd_data record = record_of(WAIT);
    record.p_count = 1;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
    EXPECT_FALSE(camera.logged("Wrong rotation"));
    EXPECT_THAT(service.requests(), IsEmpty());
}

TEST_F(Rotation, ARequestThatCannotBeSentIsNg)
{
    wrap_fail("msgsnd", -1, EACCES);
    EXPECT_EQ(run(WAIT), NG);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgsnd failed"));
    expect_no_reply_queue();
}

TEST_F(Rotation, AServiceThatLeavesIsNg)
{
    service.leave_at("rotation");
    EXPECT_EQ(run(WAIT), NG);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgrcv failed"));
    EXPECT_TRUE(camera.logged("ROVA Sensor msgctl failed")) << "was to be removed all the same";
}

TEST_F(Rotation, AReplyQueueThatCannotBeRemovedIsNg)
{
    service.answer("rotation", {{"rotation", 4, 0}});
    camera.fault("sys_msgctl", "-1");
    EXPECT_EQ(run(WAIT), NG);
    EXPECT_TRUE(camera.logged("Rotation Adjust OK"));
    EXPECT_TRUE(camera.logged("ROVA Sensor msgctl failed"));
}

// ------------------------------------------------------------------------- without a service

class RotationAlone : public CommandTest
{
};

TEST_F(RotationAlone, IsNg)
{
    EXPECT_EQ(run(WAIT), NG);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgget failed mq_id -1 "));
    EXPECT_EQ(sensor_reply_queue(), -1);
}

TEST_F(RotationAlone, IsNgWhereAKeyCannotBeMade)
{
    camera.fault("sys_ftok", "-1");
    EXPECT_EQ(run(WAIT), NG);
    EXPECT_TRUE(camera.logged("failed to generate msg key = -1"));
    EXPECT_FALSE(camera.logged("msgget"));
}

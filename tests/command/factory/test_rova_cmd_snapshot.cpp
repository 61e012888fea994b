#include "common/rova_util.h"
#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

#include <filesystem>
#include <platform/vconf.h>
#include <thread>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class Snapshot : public CommandTest
{
protected:
    Snapshot()
    {
        wrap_record_sleeps(true);
        add_program("exit 0");
    }

    void add_program(const std::string &body) const
    {
        camera.write("/usr/bin/make_snapshot.sh", "#!/bin/sh\n" + body + "\n");
        std::filesystem::permissions(camera.path("/usr/bin/make_snapshot.sh"),
                                     std::filesystem::perms::owner_all);
    }

    // What was done, in order.
    std::vector<std::string> steps() const { return told({"factory_osd_text_set", "sys_system"}); }

    static constexpr char SHOWN[] = R"(factory_osd_text_set[3,"Please disconncet usb cable"])";
    static constexpr char MADE[] = R"(sys_system["make_snapshot.sh"])";
};

TEST_F(Snapshot, AsksForTheCableAndIsMade)
{
    for (uint32_t type : {ROVA_CMD_PTP, ROVA_CMD_PTP2})
        EXPECT_EQ(run("snapshot make", type), PTP_OK);
    EXPECT_THAT(steps(), ElementsAre(SHOWN, MADE, SHOWN, MADE));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Snapshot, WaitsUntilTheCableIsOut)
{
    camera.write("/virtual/property/2.4.play", "1\n2\n1\n0\n");
    EXPECT_EQ(run("snapshot make", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));
    EXPECT_THAT(steps(), ElementsAre(SHOWN, MADE));
}

TEST_F(Snapshot, AsksBeforeItWaits)
{
    wrap_record_sleeps(false);
    camera.speed(10);
    camera.write("/virtual/property/2.4", "1\n");
    std::string log;
    std::thread server([&] { log = run("snapshot make", ROVA_CMD_PTP); });
    EXPECT_TRUE(wait_for([&] { return !steps().empty(); }));
    EXPECT_THAT(steps(), ElementsAre(SHOWN));
    camera.write("/virtual/property/2.4", "0\n");
    server.join();
    EXPECT_EQ(log, PTP_OK);
    EXPECT_THAT(steps(), ElementsAre(SHOWN, MADE));
}

TEST_F(Snapshot, IsForThePcOnly)
{
    for (uint32_t type : {ROVA_CMD_CARD, ROVA_CMD_SCRIPT})
        EXPECT_EQ(run("snapshot make", type), NG);
    EXPECT_EQ(times_logged("This cmd is only ptp-mode"), 2U);
    EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(Snapshot, StopEndsTheWaitForTheCable)
{
    camera.write("/virtual/property/2.4", "1\n");
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("snapshot make", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_THAT(steps(), ElementsAre(SHOWN, MADE));
}

TEST_F(Snapshot, AStateThatCannotBeReadCountsAsACable)
{
    camera.fault("device_get_property", "-1 at 1");
    EXPECT_EQ(run("snapshot make", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_F(Snapshot, AProgramThatFailsIsNg)
{
    add_program("exit 3");
    EXPECT_EQ(run("snapshot make", ROVA_CMD_PTP), PTP_NG);
    EXPECT_TRUE(camera.logged("failed to run make_snapshot.sh (status=768) "));
}

TEST_F(Snapshot, AnotherWordIsNotFound)
{
    EXPECT_EQ(run("snapshot", ROVA_CMD_PTP), NO_ANSWER);
    EXPECT_EQ(run("snapshot take", ROVA_CMD_PTP), NO_ANSWER);
    EXPECT_EQ(times_logged("Not found on snapshot command table "), 2U);
    EXPECT_THAT(steps(), IsEmpty());
}

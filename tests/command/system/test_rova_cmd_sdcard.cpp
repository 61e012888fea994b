#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;

namespace
{

constexpr char LOCK[] = "/virtual/property/11.1";
constexpr char LEGEND[] = "write_protect 1 -> lock : 0 -> unlock";

std::string status_line(int status)
{
    return "sdcard lock status : " + std::to_string(status);
}

} // namespace

class Sdcard : public CommandTest
{
};

TEST_F(Sdcard, CheckComparesTheLockWithTheWord)
{
    for (int status = -1; status <= 2; status++) {
        camera.write(LOCK, std::to_string(status) + "\n");
        EXPECT_EQ(run("sdcard check lock"), status == 1 ? OK : NG) << status;
        EXPECT_THAT(new_messages(), ElementsAre(LEGEND, status_line(status)));
        EXPECT_EQ(run("SDCARD CHECK unlock"), status == 0 ? OK : NG) << status;
        EXPECT_THAT(new_messages(), ElementsAre(LEGEND, status_line(status)));
    }
    EXPECT_TRUE(camera.logged(std::string("> \033[33m") + LEGEND));
    camera.write(LOCK, "1\n");
    EXPECT_EQ(run("sdcard check lock", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("sdcard check unlock", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(Sdcard, OtherWordsAreNgWithAMessage)
{
    for (const char *line :
         {"sdcard check LOCK", "sdcard check 0", "sdcard check locked", "sdcard check"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(),
                    ElementsAre(LEGEND, status_line(0), "Not found on sdcard command table"))
            << line;
    }
}

TEST_F(Sdcard, LockThatCannotBeReadIsNg)
{
    camera.fault("device_get_property", "-4");
    for (const char *line : {"sdcard check lock", "sdcard check unlock"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre("device_get_property(11, 1) failed (ret = -4) "));
    }
}

TEST_F(Sdcard, UnknownSubcommandIsToldUnderAnotherName)
{
    EXPECT_EQ(run("sdcard format"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on led command table ");
}

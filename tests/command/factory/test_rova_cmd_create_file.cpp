#include "command/rova_cmd_handler.h"
#include "tests/command/command_test.h"

#include <nlohmann/json.hpp>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class CreateFile : public CommandTest
{
protected:
    ~CreateFile() override { rova_cmd_set_dump(false); }

    std::vector<std::string> commands() const
    {
        std::vector<std::string> texts;
        for (const nlohmann::json &call : camera.calls("sys_system"))
            texts.push_back(call["args"][0]);
        return texts;
    }
};

TEST_F(CreateFile, RecordsBetweenOnAndOffAndCopiesTheDumpToTheCard)
{
    EXPECT_EQ(run("create_file on auto.txt", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("led af on", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("delay 100", ROVA_CMD_PTP), PTP_OK);
    EXPECT_FALSE(camera.exists("/sdcard/auto.txt"));
    EXPECT_EQ(run("create_file off", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(camera.read("/sdcard/auto.txt"), "led af on\r\ndelay 100\r\n");
    EXPECT_FALSE(camera.exists("/tmp/dump.log"));
    EXPECT_EQ(run("no_such_word"), NO_ANSWER);
}

TEST_F(CreateFile, OffRunsItsThreeCommandsInOrder)
{
    run("create_file on auto.txt", ROVA_CMD_PTP2);
    run("a", ROVA_CMD_PTP);
    std::size_t before = commands().size();
    EXPECT_EQ(run("create_file off", ROVA_CMD_PTP2), PTP_OK);
    std::vector<std::string> all = commands();
    EXPECT_THAT(std::vector(all.begin() + static_cast<long>(before), all.end()),
                ElementsAre("cp /tmp/dump.log /sdcard/auto.txt", "rm /tmp/dump.log", "sync"));
}

TEST_F(CreateFile, TakesTheLongestName)
{
    std::string name(31, 'n');
    EXPECT_EQ(run("create_file on " + name, ROVA_CMD_PTP), PTP_OK);
    run("a", ROVA_CMD_PTP);
    EXPECT_EQ(run("create_file off", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(camera.read("/sdcard/" + name), "a\r\n");
}

TEST_F(CreateFile, TakesNamesThatMeanNothingToTheShell)
{
    for (const std::string name : {"abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                                   "0123456789", "a._-+,=@:%s"}) {
        EXPECT_EQ(run("create_file on " + name, ROVA_CMD_PTP), PTP_OK) << name;
        run("a", ROVA_CMD_PTP);
        EXPECT_EQ(run("create_file off", ROVA_CMD_PTP), PTP_OK) << name;
        EXPECT_EQ(camera.read("/sdcard/" + name), "a\r\n") << name;
    }
}

TEST_F(CreateFile, IsForThePcOnly)
{
    for (uint32_t type : {ROVA_CMD_CARD, ROVA_CMD_SCRIPT}) {
        EXPECT_EQ(run("create_file on auto.txt", type), NG);
        EXPECT_EQ(run("create_file on", type), NG);
        EXPECT_EQ(run("create_file off", type), NG);
    }
    EXPECT_EQ(times_logged("This cmd is only for ptp-mode."), 6U);
    EXPECT_EQ(run("no_such_word"), NO_ANSWER);
}

TEST_F(CreateFile, OffFromAScriptKeepsTheDumpGoing)
{
    run("create_file on auto.txt", ROVA_CMD_PTP);
    EXPECT_EQ(run("create_file off"), NG);
    EXPECT_EQ(run("a"), OK);
    EXPECT_EQ(camera.read("/tmp/dump.log"), "a\r\n");
}

TEST_F(CreateFile, OnWithoutANameIsRefused)
{
    EXPECT_EQ(run("create_file on", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(run("no_such_word"), NO_ANSWER);
}

TEST_F(CreateFile, OnRefusesANameThatMeansSomethingToTheShell)
{
    for (const char *name : {"a;reboot", "$(reboot)", "`reboot`", "a|b", "a&b", "a>b", "a<b", "*",
                             "a?", "[a]", "{a,b}", "~", "#a", "!a", "'a", "\"a", "a\\b", "(a)"}) {
        EXPECT_EQ(run(std::string("create_file on ") + name, ROVA_CMD_PTP), PTP_NG) << name;
        EXPECT_TRUE(camera.logged(std::string("file name has characters that are not allowed (") +
                                  name + ") "));
    }
    EXPECT_EQ(run("no_such_word"), NO_ANSWER);
}

TEST_F(CreateFile, OnRefusesALineFeedInAName)
{
    cmd_data record = record_of("create_file on x");
    std::snprintf(record.p[1], sizeof(record.p[1]), "a\nreboot");
    EXPECT_EQ(run(record, ROVA_CMD_PTP), PTP_NG);
}

TEST_F(CreateFile, OffWithNothingRecordedIsOk)
{
    run("create_file on auto.txt", ROVA_CMD_PTP);
    EXPECT_EQ(run("create_file off", ROVA_CMD_PTP), PTP_OK);
    EXPECT_FALSE(camera.exists("/sdcard/auto.txt"));
    EXPECT_EQ(run("no_such_word"), NO_ANSWER);
}

TEST_F(CreateFile, OffTellsOfADumpThatCouldNotBeCopied)
{
    run("create_file on no_such_folder/a.txt", ROVA_CMD_PTP);
    run("a", ROVA_CMD_PTP);
    EXPECT_EQ(run("create_file off", ROVA_CMD_PTP), PTP_NG);
    EXPECT_TRUE(camera.logged("failed to run 'cp /tmp/dump.log /sdcard/no_such_folder/a.txt'"));
    EXPECT_FALSE(camera.exists("/tmp/dump.log"));
    EXPECT_EQ(run("no_such_word"), NO_ANSWER);
}

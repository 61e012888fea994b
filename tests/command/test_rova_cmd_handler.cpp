#include "command/rova_cmd_handler.h"

#include "common/rova_ptp_keys.h"
#include "tests/command/command_test.h"

#include <cstring>
#include <sys/stat.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class CmdResp : public CommandTest
{
};

TEST_F(CmdResp, WritesALineForAScript)
{
    EXPECT_EQ(rova_cmd_resp(ROVA_CMD_SCRIPT, 0, nullptr), 1);
    EXPECT_EQ(rova_cmd_get_result(), 0U);
    EXPECT_TRUE(camera.file_log().ends_with(" : resp : OK \n"));

    EXPECT_EQ(rova_cmd_resp(ROVA_CMD_CARD, 2, nullptr), 1);
    EXPECT_EQ(rova_cmd_get_result(), 2U);
    EXPECT_TRUE(camera.file_log().ends_with(" : resp : NG \n"));
    EXPECT_THAT(told({"vconf_set_int", "vconf_set_str"}), IsEmpty());
}

TEST_F(CmdResp, WritesALineForTypesThatAreNoSourceOfCommands)
{
    for (uint32_t type : {uint32_t{0}, uint32_t{ROVA_CTRL_STOP_PACKET}, uint32_t{6}, 0xffffffffU}) {
        std::size_t before = camera.file_log().size();
        EXPECT_EQ(rova_cmd_resp(type, 0, nullptr), 1);
        EXPECT_TRUE(camera.file_log().substr(before).ends_with(" : resp : OK \n")) << type;
    }
    EXPECT_THAT(told({"vconf_set_int", "vconf_set_str"}), IsEmpty());
}

TEST_F(CmdResp, AnswersThePcThroughTheKeysInOrder)
{
    EXPECT_EQ(rova_cmd_resp(ROVA_CMD_PTP, 0, nullptr), 1);
    EXPECT_THAT(told({"vconf_set_int", "vconf_set_str"}),
                ElementsAre(R"(vconf_set_int["memory/private/pmode_stream_type",0])",
                            R"(vconf_set_str["memory/private/pmode_stream",""])",
                            R"(vconf_set_int["memory/private/pmode_Param3",0])",
                            R"(vconf_set_int["memory/private/pmode_Param2",0])",
                            R"(vconf_set_int["memory/private/pmode_Param1",268435458])"));
    EXPECT_TRUE(camera.file_log().ends_with(std::string(" : ") + PTP_OK));
}

TEST_F(CmdResp, TellsThePcOneForAnyResultThatIsNotOk)
{
    rova_cmd_resp(ROVA_CMD_PTP2, 7, nullptr);
    EXPECT_EQ(rova_cmd_get_result(), 7U);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM2), 1);
    EXPECT_TRUE(camera.file_log().ends_with(std::string(" : ") + PTP_NG));
}

TEST_F(CmdResp, SendsTheStreamWithItsCode)
{
    rova_resp_stream stream = {1, "/tmp/x.csv"};
    rova_cmd_resp(ROVA_CMD_PTP, 0, &stream);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 1);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "/tmp/x.csv");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM3), 0x10000);
}

TEST_F(CmdResp, KeepsTheStreamFromTheLogOfAScript)
{
    rova_resp_stream stream = {2, "text"};
    rova_cmd_resp(ROVA_CMD_CARD, 0, &stream);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), std::nullopt);
    EXPECT_EQ(camera.file_log().find("text"), std::string::npos);
}

class CmdRespEx : public CommandTest
{
};

TEST_F(CmdRespEx, SendsTwoWordsAndTheStreamCodeInPlaceOfTheThird)
{
    rova_resp_stream stream = {2, "12"};
    EXPECT_EQ(rova_cmd_resp_ex(ROVA_CMD_PTP, 1, 0x10030000, 0xfffffffe, 99, &stream), 1);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM1), 0x10030000);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM2), -2);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM3), 0x20000);
    EXPECT_TRUE(
        camera.file_log().ends_with(" : resp : NG <ptp> 0x10030000, 0xfffffffe, 0x00020000 \n"));
}

TEST_F(CmdRespEx, WritesThePlainLineForAScript)
{
    EXPECT_EQ(rova_cmd_resp_ex(ROVA_CMD_CARD, 0, 1, 2, 3, nullptr), 1);
    EXPECT_TRUE(camera.file_log().ends_with(std::string(" : ") + OK));
    EXPECT_EQ(rova_cmd_get_result(), 0U);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM1), std::nullopt);
}

class ProcessCmd : public CommandTest
{
};

TEST_F(ProcessCmd, FindsBothLevelsWithoutRegardToCase)
{
    EXPECT_EQ(run("CONTROL Osd on"), OK);
    EXPECT_EQ(rova_cmd_get_result(), 0U);
}

TEST_F(ProcessCmd, UnknownWordGetsNoAnswerAndResultOne)
{
    EXPECT_EQ(run("no_such_word x"), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
    EXPECT_TRUE(camera.logged("Not found on command table, so skip all next command! "));
}

TEST_F(ProcessCmd, UnknownWordLeavesThePcWaiting)
{
    EXPECT_EQ(run("paf2", ROVA_CMD_PTP2), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
    EXPECT_THAT(told({"vconf_set_int", "vconf_set_str"}), IsEmpty());
}

TEST_F(ProcessCmd, EmptyWordIsNotFound)
{
    EXPECT_EQ(run(cmd_data{}, ROVA_CMD_SCRIPT), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}

TEST_F(ProcessCmd, AnAnswerAfterwardsClearsTheResult)
{
    run("no_such_word");
    EXPECT_EQ(run("control led off", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(rova_cmd_get_result(), 0U);
}

class UnknownSubcommand : public CommandTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(UnknownSubcommand, EndsAsAnUnknownCommand)
{
    std::string family = GetParam();
    EXPECT_EQ(run(family + " no_such_word"), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
    EXPECT_TRUE(camera.logged("Not found on " + family + " command table "));
    EXPECT_TRUE(camera.logged("Not found on command table, so skip all next command! "));
}

TEST_P(UnknownSubcommand, IsALineWithoutParametersToo)
{
    std::string family = GetParam();
    EXPECT_EQ(run(family, ROVA_CMD_PTP), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
    EXPECT_TRUE(camera.logged("Not found on " + family + " command table "));
}

INSTANTIATE_TEST_SUITE_P(Factory, UnknownSubcommand,
                         testing::Values("osd", "create_file", "file", "lcd", "control", "gpio"));

class DumpMode : public CommandTest
{
protected:
    DumpMode() { rova_cmd_set_dump(true); }
    ~DumpMode() override { rova_cmd_set_dump(false); }

    std::string dump() const { return camera.read("/tmp/dump.log"); }
};

TEST_F(DumpMode, RecordsALineInsteadOfRunningIt)
{
    EXPECT_EQ(run("foo bar", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(dump(), "foo bar\r\n");
    EXPECT_EQ(rova_cmd_get_result(), 0U);
    EXPECT_TRUE(camera.logged("cmd_dump> foo bar\r"));
    EXPECT_FALSE(camera.logged("Not found"));
}

TEST_F(DumpMode, RecordsKnownCommandsWithoutRunningThem)
{
    EXPECT_EQ(run("osd grid_text 3 hello"), OK);
    EXPECT_THAT(told({"factory_osd_grid_text_set"}), IsEmpty());
    EXPECT_EQ(dump(), "osd grid_text 3 hello\r\n");
}

TEST_F(DumpMode, AppendsLineToLine)
{
    run("a 1 2 3");
    run("b");
    EXPECT_EQ(dump(), "a 1 2 3\r\nb\r\n");
}

TEST_F(DumpMode, LetsCreateFileThrough)
{
    EXPECT_EQ(run("create_file off"), NG);
    EXPECT_FALSE(camera.exists("/tmp/dump.log"));
}

TEST_F(DumpMode, LetsThatWordThroughInSmallLettersOnly)
{
    EXPECT_EQ(run("CREATE_FILE off"), OK);
    EXPECT_EQ(dump(), "CREATE_FILE off\r\n");
}

TEST_F(DumpMode, MakesAnExecutableFile)
{
    mode_t old_mask = umask(0);
    run("a");
    umask(old_mask);
    auto mode = std::filesystem::status(camera.path("/tmp/dump.log")).permissions();
    EXPECT_EQ(static_cast<unsigned>(mode), 0755U);
}

TEST_F(DumpMode, CutsALongLineAndKeepsItsEnd)
{
    cmd_data record = {};
    std::memset(record.cmd, 'c', sizeof(record.cmd) - 1);
    for (char *parameter : record.p)
        std::memset(parameter, 'p', ROVA_CMD_WORD_SIZE - 1);
    record.p_count = 10;
    EXPECT_EQ(run(record, ROVA_CMD_CARD), OK);
    std::string word(31, 'p');
    std::string line = std::string(31, 'c');
    for (int i = 0; i < 10; i++)
        line += " " + word;
    EXPECT_EQ(dump(), line.substr(0, 253) + "\r\n");
}

TEST_F(DumpMode, StaysInsideTheRecordWhenTheCountIsTooHigh)
{
    cmd_data record = record_of("a 0 1 2 3 4 5 6 7 8 9");
    record.p_count = 0xffffffff;
    EXPECT_EQ(run(record, ROVA_CMD_CARD), OK);
    EXPECT_EQ(dump(), "a 0 1 2 3 4 5 6 7 8 9\r\n");
}

TEST_F(DumpMode, AnswersOkWithoutAWordWhenTheFileCannotBeOpened)
{
    camera.fault("sys_open", "-1 errno EACCES on dump.log");
    EXPECT_EQ(run("foo bar"), OK);
    EXPECT_FALSE(camera.exists("/tmp/dump.log"));
    EXPECT_FALSE(camera.logged("failed to"));
}

TEST_F(DumpMode, TellsOfADiskThatIsFullAndAnswersOk)
{
    camera.fault("sys_write", "-1 errno ENOSPC on dump.log");
    EXPECT_EQ(run("foo bar"), OK);
    EXPECT_TRUE(camera.logged("failed to write /tmp/dump.log (No space left on device) "));
}

TEST_F(DumpMode, TellsOfAFailedFlushAndAnswersOk)
{
    camera.fault("sys_fdatasync", "-1 errno EIO on dump.log");
    EXPECT_EQ(run("foo bar"), OK);
    EXPECT_TRUE(camera.logged("failed to write /tmp/dump.log (Input/output error) "));
}

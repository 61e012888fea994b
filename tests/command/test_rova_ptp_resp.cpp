#include "command/rova_ptp_resp.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_ptp_keys.h"
#include "tests/command/command_test.h"

#include <cstring>
#include <regex>

using namespace test;
using testing::ElementsAre;

class PtpStreamCode : public CommandTest
{
};

TEST_F(PtpStreamCode, FollowsTheTypeOfTheStream)
{
    rova_resp_stream stream = {};
    const uint32_t codes[] = {0, 0x10000, 0x20000, 0, 0};
    for (uint16_t type = 0; type < 5; type++) {
        stream.stream_type = type;
        EXPECT_EQ(rova_ptp_stream_code(&stream), codes[type]) << type;
    }
    stream.stream_type = 0xffff;
    EXPECT_EQ(rova_ptp_stream_code(&stream), 0U);
    EXPECT_EQ(rova_ptp_stream_code(nullptr), 0U);
}

class PtpRespStream : public CommandTest
{
protected:
    // What the last answer left behind.
    void leave_old_stream()
    {
        rova_resp_stream old = {2, "old"};
        rova_ptp_resp_stream(&old);
        ASSERT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "old");
    }
};

TEST_F(PtpRespStream, NoStreamClearsBothKeys)
{
    leave_old_stream();
    EXPECT_EQ(rova_ptp_resp_stream(nullptr), 1);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 0);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "");
}

TEST_F(PtpRespStream, TypeZeroClearsBothKeysWhateverTheText)
{
    leave_old_stream();
    rova_resp_stream stream = {0, "text"};
    EXPECT_EQ(rova_ptp_resp_stream(&stream), 1);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 0);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "");
}

TEST_F(PtpRespStream, WritesTypeAndText)
{
    rova_resp_stream stream = {2, "100% done"};
    EXPECT_EQ(rova_ptp_resp_stream(&stream), 1);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 2);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "100% done");
}

TEST_F(PtpRespStream, WritesAnUnknownTypeAsItIs)
{
    rova_resp_stream stream = {3, "text"};
    rova_cmd_resp(ROVA_CMD_PTP, 0, &stream);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 3);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "text");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM3), 0);
}

TEST_F(PtpRespStream, TakesATextWithoutATerminator)
{
    rova_resp_stream stream = {1, ""};
    std::memset(stream.text, 'x', sizeof(stream.text));
    EXPECT_EQ(rova_ptp_resp_stream(&stream), 1);
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), std::string(510, 'x'));
}

TEST_F(PtpRespStream, TellsOfATextThatCouldNotBeWritten)
{
    camera.fault("vconf_set_str", "-1 on pmode_stream");
    rova_resp_stream stream = {1, "/tmp/x.csv"};
    EXPECT_EQ(rova_ptp_resp_stream(&stream), 1);
    EXPECT_TRUE(camera.logged("vconf_set_str(memory/private/pmode_stream, /tmp/x.csv) failed "));
}

TEST_F(PtpRespStream, TellsOfATypeThatCouldNotBeWrittenAndGoesOn)
{
    camera.fault("vconf_set_int", "-1 on pmode_stream_type");
    rova_resp_stream stream = {1, "/tmp/x.csv"};
    EXPECT_EQ(rova_ptp_resp_stream(&stream), 1);
    EXPECT_TRUE(camera.logged("vconf_set_int(memory/private/pmode_stream_type, 1) failed "));
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "/tmp/x.csv");
}

class PtpRespMsg : public CommandTest
{
protected:
    // The number that the last line of this kind bears in the platform log; -1: no such line.
    int count_in(const std::string &line) const
    {
        std::string log = camera.platform_log();
        std::size_t at = log.rfind(line);
        std::smatch found;
        std::string rest = at == std::string::npos ? "" : log.substr(at + line.size());
        if (!std::regex_search(rest, found, std::regex("^\\(cnt=([0-9]+)\\) ")))
            return -1;
        return std::stoi(found[1]);
    }
};

TEST_F(PtpRespMsg, WritesTheWordsFromTheThirdToTheFirst)
{
    EXPECT_EQ(rova_ptp_resp_msg(1, 2, 3), 1);
    EXPECT_THAT(told({"vconf_set_int", "vconf_set_str"}),
                ElementsAre(R"(vconf_set_int["memory/private/pmode_Param3",3])",
                            R"(vconf_set_int["memory/private/pmode_Param2",2])",
                            R"(vconf_set_int["memory/private/pmode_Param1",1])"));
    EXPECT_TRUE(
        camera.file_log().ends_with(" : resp : OK <ptp> 0x00000001, 0x00000002, 0x00000003 \n"));
}

TEST_F(PtpRespMsg, NamesTheLastResultInTheLog)
{
    rova_cmd_resp(ROVA_CMD_SCRIPT, 5, nullptr);
    rova_ptp_resp_msg(0xffffffff, 0, 0x20000);
    EXPECT_TRUE(
        camera.file_log().ends_with(" : resp : NG <ptp> 0xffffffff, 0x00000000, 0x00020000 \n"));
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM1), -1);
}

TEST_F(PtpRespMsg, CountsGoodAndFailedAnswers)
{
    rova_ptp_resp_msg(1, 2, 3);
    int count = count_in("ptp-response: [0x00000001, 0x00000002, 0x00000003] ");
    ASSERT_GT(count, 0);
    camera.fault("vconf_set_int", "-1 on pmode_Param3");
    EXPECT_EQ(rova_ptp_resp_msg(4, 5, 6), 0);
    EXPECT_EQ(count_in("ptp-response: [0x00000004, 0x00000005, 0x00000006] failed. "), count + 1);
    camera.clear_fault("vconf_set_int");
    EXPECT_EQ(rova_ptp_resp_msg(7, 8, 9), 1);
    EXPECT_EQ(count_in("ptp-response: [0x00000007, 0x00000008, 0x00000009] "), count + 2);
}

struct FailingKey {
    const char *key;
    std::size_t written; // words that the PC sees all the same
};

class PtpRespMsgFailingAt : public CommandTest, public testing::WithParamInterface<FailingKey>
{
};

TEST_P(PtpRespMsgFailingAt, StopsAtTheFirstFailure)
{
    camera.fault("vconf_set_int", std::string("-1 on ") + GetParam().key);
    EXPECT_EQ(rova_ptp_resp_msg(11, 12, 13), 0);
    std::size_t written = 0;
    for (const char *key : {ROVA_KEY_PMODE_PARAM1, ROVA_KEY_PMODE_PARAM2, ROVA_KEY_PMODE_PARAM3})
        written += camera.key_int(key).has_value() ? 1 : 0;
    EXPECT_EQ(written, GetParam().written);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM1), std::nullopt);
    EXPECT_TRUE(camera.logged("ptp-response: [0x0000000b, 0x0000000c, 0x0000000d] failed. (cnt="));
}

INSTANTIATE_TEST_SUITE_P(Keys, PtpRespMsgFailingAt,
                         testing::Values(FailingKey{"pmode_Param3", 0},
                                         FailingKey{"pmode_Param2", 1},
                                         FailingKey{"pmode_Param1", 2}),
                         [](const auto &row) { return std::string(row.param.key); });

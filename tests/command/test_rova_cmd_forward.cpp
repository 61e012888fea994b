#include "command/rova_cmd_forward.h"

#include "command/rova_cmd_result.h"
#include "common/rova_ptp_keys.h"
#include "tests/command/command_test.h"
#include "tests/support/serving_end.h"

using namespace test;

namespace
{

struct Way {
    const char *name;
    int (*exec)(uint32_t cmd_type, cmd_data *record);
    Channel channel;
    const char *sender;
};

class Forward : public CommandTest, public testing::WithParamInterface<Way>
{
protected:
    // Forwards the line and gives the end of the file log's new line, without the time.
    std::string forward(const std::string &line, uint32_t cmd_type)
    {
        cmd_data record = record_of(line);
        const std::size_t before = camera.file_log().size();
        EXPECT_EQ(GetParam().exec(cmd_type, &record), 1);
        const std::string log = camera.file_log().substr(before);
        return log.empty() ? "" : log.substr(log.find("resp : "));
    }
    // The same with a camera application that gives this answer.
    std::string answered(const std::string &bytes, uint32_t cmd_type = ROVA_CMD_SCRIPT)
    {
        const ServingEnd app(
            camera, [&](int, const std::string &) { return bytes; }, GetParam().channel);
        std::string log = forward("lens get", cmd_type);
        EXPECT_EQ(app.command(1).type, cmd_type);
        return log;
    }
    std::string stream() const { return camera.key_string(ROVA_KEY_PMODE_STREAM).value_or("?"); }
};

} // namespace

TEST_P(Forward, TheRecordIsSentAsItStands)
{
    const ServingEnd app(camera, plain_ok, GetParam().channel);
    cmd_data record = record_of("lens get a b c");
    record.e[0] = 42;
    EXPECT_EQ(GetParam().exec(ROVA_CMD_CARD, &record), 1);
    EXPECT_EQ(app.command(1).command_area.substr(0, 500), bytes_of(record));
    EXPECT_EQ(app.command(1).type, 2);
}

TEST_P(Forward, APlainOkIsAnsweredToAScript)
{
    rova_cmd_set_result(1);
    EXPECT_EQ(answered(answer_bytes(0, 0)), OK);
    EXPECT_EQ(rova_cmd_get_result(), 0U);
}

TEST_P(Forward, AnyOtherResultIsNgAndKeepsItsValue)
{
    EXPECT_EQ(answered(answer_bytes(0, 255)), NG);
    EXPECT_EQ(rova_cmd_get_result(), 255U);
}

TEST_P(Forward, APlainAnswerDoesNotUseTheParameters)
{
    EXPECT_EQ(answered(answer_bytes(0, 1, 11, 22, 33), ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 0);
}

TEST_P(Forward, APlainAnswerTakesItsStreamToThePc)
{
    EXPECT_EQ(answered(answer_bytes(0, 0, 0, 0, 0, 2, "12.5 mm"), ROVA_CMD_PTP),
              "resp : OK <ptp> 0x10000002, 0x00000000, 0x00020000 \n");
    EXPECT_EQ(stream(), "12.5 mm");
}

TEST_P(Forward, AnAnswerWithParametersTakesTwoOfThemToThePc)
{
    const std::string bytes =
        answer_bytes(1, 0, 0x10020000, 0x80000001, 0x99, 1, "/sdcard/result.csv");
    EXPECT_EQ(answered(bytes, ROVA_CMD_PTP2),
              "resp : OK <ptp> 0x10020000, 0x80000001, 0x00010000 \n");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 1);
    EXPECT_EQ(stream(), "/sdcard/result.csv");
    EXPECT_EQ(rova_cmd_get_result(), 0U);
}

TEST_P(Forward, AnAnswerWithParametersIsToldToAScriptByItsResult)
{
    EXPECT_EQ(answered(answer_bytes(1, 3, 1, 2, 3)), NG);
    EXPECT_EQ(rova_cmd_get_result(), 3U);
}

TEST_P(Forward, AStreamWithoutATerminatorEndsWithItsRoom)
{
    answered(answer_bytes(0, 0, 0, 0, 0, 2, std::string(510, 's')), ROVA_CMD_PTP);
    EXPECT_EQ(stream(), std::string(510, 's'));
}

TEST_P(Forward, AnAnswerOfAnotherTypeIsPassedOver)
{
    const ServingEnd app(
        camera,
        [](int nth, const std::string &) {
            return answer_bytes(nth == 1 ? 2 : 255, 1, 1, 2, 3, 2, "text");
        },
        GetParam().channel);
    for (uint32_t last_result : {0U, 7U}) {
        rova_cmd_set_result(last_result);
        EXPECT_EQ(forward("lens get", ROVA_CMD_PTP), NO_ANSWER);
        EXPECT_EQ(rova_cmd_get_result(), last_result);
    }
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), std::nullopt);
    EXPECT_FALSE(camera.logged("failed"));
}

TEST_P(Forward, WithoutACameraApplicationTheCommandIsNg)
{
    EXPECT_EQ(forward("strobe popup", ROVA_CMD_CARD), NG);
    EXPECT_TRUE(camera.logged("failed to create mqueue. (No such file or directory) "));
    EXPECT_TRUE(camera.logged(GetParam().sender + std::string("() failed (strobe) ")));
    EXPECT_EQ(rova_cmd_get_result(), 1U);
    EXPECT_EQ(forward("strobe popup", ROVA_CMD_PTP), PTP_NG);
}

TEST_P(Forward, ACameraApplicationThatNeverAnswersIsNg)
{
    const ServingEnd app(
        camera, [](int, const std::string &) { return std::nullopt; }, GetParam().channel);
    camera.speed(10000);
    EXPECT_EQ(forward("iso adjust", ROVA_CMD_SCRIPT), NG);
    EXPECT_TRUE(camera.logged("sem_wait leached 360 seconds timeout."));
    EXPECT_TRUE(camera.logged("rova_sem_timedwait failed, timeout=360 "));
    EXPECT_TRUE(camera.logged(GetParam().sender + std::string("() failed (iso) ")));
}

INSTANTIATE_TEST_SUITE_P(Channels, Forward,
                         testing::Values(Way{"Ipcc", rova_cmd_ipcc_exec, {}, "rova_ipcc_send"},
                                         Way{"App", rova_cmd_app_exec, APP_CHANNEL,
                                             "rova_send_to_app"}),
                         [](const auto &row) { return std::string(row.param.name); });

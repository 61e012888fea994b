#include "tests/command/forward_test.h"

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_result.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace test
{

ForwardTest::ForwardTest()
    : ipcc_{ServingEnd(camera, plain_ok)}, app_{ServingEnd(camera, plain_ok, APP_CHANNEL)}
{
}

ServingEnd::Command ForwardTest::arrived(End &end, const End &other, const cmd_data &record,
                                         uint32_t cmd_type)
{
    EXPECT_EQ(run(record, cmd_type), rova_cmd_is_ptp(cmd_type) ? PTP_OK : OK);
    EXPECT_FALSE(other.serving.received(other.commands + 1)) << "by the other channel";
    end.commands++;
    EXPECT_TRUE(end.serving.received(end.commands)) << record.cmd << " " << record.p[0];
    if (!end.serving.received(end.commands))
        return {};
    return end.serving.command(end.commands);
}

ServingEnd::Command ForwardTest::by_ipcc(const cmd_data &record, uint32_t cmd_type)
{
    return arrived(ipcc_, app_, record, cmd_type);
}

ServingEnd::Command ForwardTest::by_app(const cmd_data &record, uint32_t cmd_type)
{
    return arrived(app_, ipcc_, record, cmd_type);
}

void ForwardTest::expect_not_found(const std::string &line, const std::string &family)
{
    const std::string of_family = "Not found on " + family + " command table ";
    const std::string general = "Not found on command table, so skip all next command! ";
    const std::size_t before = camera.platform_log().size();
    for (uint32_t cmd_type : {ROVA_CMD_CARD, ROVA_CMD_SCRIPT, ROVA_CMD_PTP, ROVA_CMD_PTP2}) {
        rova_cmd_set_result(0);
        EXPECT_EQ(run(line, cmd_type), NO_ANSWER) << line;
        EXPECT_EQ(rova_cmd_get_result(), 1U) << line;
    }
    const std::string log = camera.platform_log().substr(before);
    const std::size_t first = log.find(of_family);
    EXPECT_NE(first, std::string::npos) << log;
    EXPECT_NE(log.find(general, first), std::string::npos) << log;
    EXPECT_FALSE(ipcc_.serving.received(ipcc_.commands + 1));
    EXPECT_FALSE(app_.serving.received(app_.commands + 1));
}

std::ostream &operator<<(std::ostream &out, const ForwardedFamily &family)
{
    return out << family.word;
}

// ------------------------------------------------------------------------- of every family

static std::string in_capitals(std::string word)
{
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return word;
}

// With everything in it that a source can fill in.
static cmd_data full_record(const std::string &line)
{
    cmd_data record = record_of(line + " 1/125 -7 %s last");
    constexpr int32_t numbers[] = {1, -2, INT32_MAX, INT32_MIN};
    for (std::size_t i = 0; i < std::size(numbers); i++)
        record.e[i] = numbers[i];
    std::strcpy(record.data_path, "memory/private/pmode_shutter_data");
    return record;
}

static void expect_whole(const ServingEnd::Command &command, const cmd_data &sent,
                         uint32_t cmd_type)
{
    EXPECT_EQ(command.type, cmd_type);
    EXPECT_EQ(command.command_area.substr(0, sizeof(sent)), bytes_of(sent))
        << sent.cmd << " " << sent.p[0];
}

TEST_P(Forwarded, EachSubcommandGoesDownItsChannelAsItStands)
{
    const std::string word = GetParam().word;
    for (const std::string &sub : GetParam().by_ipcc) {
        const cmd_data record = full_record(word + " " + sub);
        expect_whole(by_ipcc(record), record, ROVA_CMD_CARD);
    }
    for (const std::string &sub : GetParam().by_app) {
        const cmd_data record = full_record(word + " " + sub);
        expect_whole(by_app(record), record, ROVA_CMD_CARD);
    }
}

TEST_P(Forwarded, CapitalsAreTheSameAndStay)
{
    const std::string word = in_capitals(GetParam().word);
    for (const std::string &sub : GetParam().by_ipcc) {
        const cmd_data record = record_of(word + " " + in_capitals(sub));
        expect_whole(by_ipcc(record, ROVA_CMD_SCRIPT), record, ROVA_CMD_SCRIPT);
    }
    for (const std::string &sub : GetParam().by_app) {
        const cmd_data record = record_of(word + " " + in_capitals(sub));
        expect_whole(by_app(record, ROVA_CMD_SCRIPT), record, ROVA_CMD_SCRIPT);
    }
}

TEST_P(Forwarded, ThePcIsAnsweredToo)
{
    const std::string word = GetParam().word;
    if (!GetParam().by_ipcc.empty()) {
        const cmd_data record = full_record(word + " " + GetParam().by_ipcc.front());
        expect_whole(by_ipcc(record, ROVA_CMD_PTP2), record, ROVA_CMD_PTP2);
    }
    if (!GetParam().by_app.empty()) {
        const cmd_data record = full_record(word + " " + GetParam().by_app.front());
        expect_whole(by_app(record, ROVA_CMD_PTP), record, ROVA_CMD_PTP);
    }
}

TEST_P(Forwarded, ASubcommandThatIsMissingOrAnotherOneIsNotFound)
{
    const std::string word = GetParam().word;
    expect_not_found(word, GetParam().family);
    expect_not_found(word + " foo", GetParam().family);
    for (const auto *subs : {&GetParam().by_ipcc, &GetParam().by_app})
        if (!subs->empty())
            expect_not_found(word + " " + subs->front() + "_", GetParam().family);
}

} // namespace test

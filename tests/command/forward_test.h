// Commands that go to the camera application, judged by what arrives at the other end of the two
// channels.
#pragma once

#include "tests/command/command_test.h"
#include "tests/support/serving_end.h"

#include <ostream>
#include <string>
#include <vector>

namespace test
{

// Both channels, each served by a process of its own that answers every command with OK.
class ForwardTest : public CommandTest
{
protected:
    ForwardTest();

    // Runs the command, which is to be answered with OK, and gives what arrived by the channel.
    // Nothing may arrive by the other one.
    ServingEnd::Command by_ipcc(const cmd_data &record, uint32_t cmd_type = ROVA_CMD_CARD);
    ServingEnd::Command by_app(const cmd_data &record, uint32_t cmd_type = ROVA_CMD_CARD);

    // Runs a command that is in no table: these lines are logged, nothing arrives, nobody answers.
    void expect_not_found(const std::string &line, const std::string &family);

private:
    struct End {
        const ServingEnd serving;
        int commands = 0; // that have arrived so far
    };
    ServingEnd::Command arrived(End &end, const End &other, const cmd_data &record,
                                uint32_t cmd_type);

    End ipcc_;
    End app_;
};

struct ForwardedFamily {
    const char *word;
    std::vector<std::string> by_ipcc;
    std::vector<std::string> by_app;
    const char *family = word; // in the log
};

std::ostream &operator<<(std::ostream &out, const ForwardedFamily &family);

class Forwarded : public ForwardTest, public testing::WithParamInterface<ForwardedFamily>
{
};

inline std::string family_word(const testing::TestParamInfo<ForwardedFamily> &row)
{
    return row.param.word;
}

} // namespace test

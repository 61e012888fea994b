// A camera, the dispatcher in its state at start, and lines run as the server thread would.
#pragma once

#include "common/rova_cmd_data.h"
#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test
{

// What the file log gains by an answer to a script, without the time.
inline constexpr char OK[] = "resp : OK \n";
inline constexpr char NG[] = "resp : NG \n";
// The same by a plain answer to the PC.
inline constexpr char PTP_OK[] = "resp : OK <ptp> 0x10000002, 0x00000000, 0x00000000 \n";
inline constexpr char PTP_NG[] = "resp : NG <ptp> 0x10000002, 0x00000001, 0x00000000 \n";
inline constexpr char NO_ANSWER[] = "";

// The record of a line: words between blanks.
cmd_data record_of(const std::string &line);

// All of a record, to compare with what arrives elsewhere.
std::string bytes_of(const cmd_data &record);

// How many descriptors this process has open.
std::size_t open_descriptors();

class CommandTest : public ::testing::Test
{
protected:
    CommandTest();
    ~CommandTest() override;

    // Runs a command and gives all that it wrote to the file log: exactly one answer, or nothing.
    std::string run(const std::string &line, uint32_t cmd_type = ROVA_CMD_SCRIPT);
    std::string run(cmd_data record, uint32_t cmd_type);

    // How often the text stands in the platform log so far.
    std::size_t times_logged(const std::string &text) const;

    // The calls of these names so far, in order, each as `name[arguments]` with JSON arguments.
    std::vector<std::string> told(const std::vector<std::string> &names) const;

    // The messages of the platform log so far, in order, without colours and what stands before.
    std::vector<std::string> messages() const;
    // Those since the last call of this function.
    std::vector<std::string> new_messages();

    Camera camera;

private:
    std::size_t told_ = 0;
};

} // namespace test

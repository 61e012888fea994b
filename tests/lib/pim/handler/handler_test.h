// A camera, and lines of the library's own commands carried out as the application's thread does.
#pragma once

#include "lib/pim/rova_pim_config.h"
#include "lib/rova_cmd_response.h"
#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test
{

inline constexpr int OK = 0;
inline constexpr int NG = 1;

// The record of a line: words between blanks.
cmd_data line_record(const std::string &line);

class HandlerTest : public ::testing::Test
{
protected:
    HandlerTest();
    ~HandlerTest() override;

    // The answer's result; what was printed is in `printed`.  The answer was zeros before.
    int run(const std::string &line);
    // A good configuration, and the mode in which it is read.
    void load_mot_config();
    // Of the messages of the platform log, those that hold this text, without what stands before
    // it.
    std::vector<std::string> logged(const std::string &text) const;
    // Kind and text of the drawings since the last call: "60 0".
    std::vector<std::string> new_drawings();
    // All calls since the last call, but those of the log.
    std::vector<std::string> new_calls();

    Camera camera;
    rova_cmd_response answer = {};
    std::string printed;

private:
    std::size_t drawings_ = 0;
    std::size_t calls_ = 0;
};

} // namespace test

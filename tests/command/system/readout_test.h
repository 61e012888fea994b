// Threads that show live values: cancelled many times, at any instant, they leave nothing behind.
#pragma once

#include "tests/command/command_test.h"

#include <string>

namespace test
{

class ReadoutTest : public CommandTest
{
protected:
    ReadoutTest();

    static constexpr int CANCELLATIONS = 1500;

    bool passes(const std::string &line);
    std::vector<std::string> shown() const;

    void expect_nothing_left();
    // Switches on and, after up to so many microseconds, off again, CANCELLATIONS times.
    void switch_at_any_instant(const std::string &on, const std::string &off, int microseconds);

private:
    std::size_t threads_before_;
    std::size_t descriptors_before_;
};

} // namespace test

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

    // Ten thousand times over all families with such a thread.
    static constexpr int CANCELLATIONS = 2500;

    bool passes(const std::string &line);
    std::vector<std::string> shown() const;
    // The name of the thread that was made last.
    std::string thread_name() const;

    // Over those that the test began with.
    std::size_t more_threads() const;
    std::size_t more_descriptors() const;
    void expect_nothing_left();
    // Switches on and, after up to so many microseconds, off again, CANCELLATIONS times.
    // Each time something is shown.
    void switch_at_any_instant(const std::string &on, const std::string &off, int microseconds);

private:
    std::size_t threads_before_;
    std::size_t descriptors_before_;
};

} // namespace test

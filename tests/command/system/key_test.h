// A camera with the key driver's attribute files, and lines run on it that nobody waits for: sleeps
// are recorded, not slept, and what the files will read is played.
#pragma once

#include "tests/command/command_test.h"

#include <string>
#include <vector>

namespace test
{

// A camera with one attribute file each of the key driver, all at rest.
class KeyTest : public CommandTest
{
protected:
    KeyTest();

    // What an attribute of the key driver reads, now and with each of the next readings.
    void set(const std::string &attribute, const std::string &text) const;
    void play(const std::string &attribute, const std::vector<std::string> &texts) const;
    std::string get(const std::string &attribute) const;
    void remove(const std::string &attribute) const;

    // The shutter button, and the microseconds that the timer counts.
    void play_shutter(const std::vector<std::string> &states) const;
    void play_timer(const std::vector<std::string> &ticks) const;
};

} // namespace test

// The tools, on a camera of the test's own.
#pragma once

#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <memory>
#include <string>
#include <vector>

namespace tool
{

// vcam with these words only; the camera is what ROVA_SYSROOT names.
test::Outcome vcam(const std::vector<std::string> &words);
test::Outcome rova(const std::vector<std::string> &words);

// Ended with the tool's own error: status 2, one line "vcam: ..." that holds `text`, no output.
testing::AssertionResult failed(const test::Outcome &outcome, const std::string &text);
testing::AssertionResult succeeded(const test::Outcome &outcome);

// A process that carries the camera's root and this name, and does nothing; running when given out.
std::unique_ptr<test::Process> stand_in(const std::string &name);
inline constexpr char DAEMON[] = "/usr/bin/rovad";

} // namespace tool

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

// A program below the camera's /tmp, for --rovad or --app, that bash runs; its path on the PC.
std::string program(const test::Camera &camera, const std::string &body);

// What a process sees as argv[0].
std::string first_argument(pid_t pid);

// A process that carries the camera's root and this name, and does nothing; running when given out.
std::unique_ptr<test::Process> stand_in(const std::string &name);
inline constexpr char DAEMON[] = "/usr/bin/rovad";

} // namespace tool

#include "tests/support/text.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>

namespace test
{

std::vector<std::string> lines_of(const std::string &text)
{
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::string captured_output(const std::function<void()> &action)
{
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

} // namespace test

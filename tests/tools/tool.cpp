#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tool
{
namespace
{

std::vector<std::string> command(const char *program, const std::vector<std::string> &words)
{
    std::vector<std::string> all{program};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

} // namespace

test::Outcome vcam(const std::vector<std::string> &words)
{
    return test::run(command(VCAM_PROGRAM, words));
}

test::Outcome rova(const std::vector<std::string> &words)
{
    return test::run(command(ROVA_PROGRAM, words));
}

testing::AssertionResult failed(const test::Outcome &outcome, const std::string &text)
{
    const bool one_line = std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1;
    if (outcome.status == 2 && outcome.out.empty() && one_line &&
        outcome.err.starts_with("vcam: ") && outcome.err.find(text) != std::string::npos)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "status " << outcome.status << ", output '" << outcome.out
                                       << "', error '" << outcome.err << "'";
}

testing::AssertionResult succeeded(const test::Outcome &outcome)
{
    if (outcome.status == 0 && outcome.err.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "status " << outcome.status << ", error '" << outcome.err << "'";
}

std::string program(const test::Camera &camera, const std::string &body)
{
    camera.write("/tmp/program", "#!/bin/bash\n" + body);
    std::filesystem::permissions(camera.path("/tmp/program"), std::filesystem::perms::owner_all);
    return camera.path("/tmp/program");
}

std::string first_argument(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline");
    std::string word;
    std::getline(file, word, '\0');
    return word;
}

std::unique_ptr<test::Process> stand_in(const std::string &name)
{
    auto process = std::make_unique<test::Process>(std::vector<std::string>{"sleep", "1000"}, name);
    EXPECT_TRUE(test::wait_for([&] { return first_argument(process->pid()) == name; }));
    return process;
}

} // namespace tool

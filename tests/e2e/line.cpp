#include "tests/e2e/line.h"
#include "tests/support/text.h"

#include "platform/virtual/keys.h"
#include "platform/virtual/processes.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

namespace e2e
{

Line::Line()
{
    const test::Outcome made = vcam({"create"});
    EXPECT_EQ(made.status, 0) << made.err;
    speed(100);
    unsetenv("DISPLAY");
}

Line::~Line()
{
    for (const pid_t pid : {daemon(), app(), sensor_service()})
        if (pid > 0)
            test::send_signal(pid, SIGKILL);
    test::wait_for([this] { return daemon_gone() && app() < 0 && sensor_service() < 0; });
}

// Calls of this process go to one camera at a time.
void Line::use() const
{
    setenv("ROVA_SYSROOT", root().c_str(), 1);
}

test::Outcome Line::vcam(const std::vector<std::string> &words, double seconds) const
{
    std::vector<std::string> command{VCAM_PROGRAM, "-C", root().string()};
    command.insert(command.end(), words.begin(), words.end());
    return test::run(command, "", seconds);
}

test::Outcome Line::rova(const std::vector<std::string> &words) const
{
    use();
    std::vector<std::string> command{ROVA_PROGRAM};
    command.insert(command.end(), words.begin(), words.end());
    return test::run(command);
}

void Line::start(const std::vector<std::string> &options) const
{
    start_by({"start"}, options);
}

void Line::start_alone(const std::vector<std::string> &options) const
{
    start_by({"start", "--no-app", "--no-sensord"}, options);
}

void Line::start_by(std::vector<std::string> words, const std::vector<std::string> &options) const
{
    if (!options.empty())
        words.push_back("--");
    words.insert(words.end(), options.begin(), options.end());
    const test::Outcome started = vcam(words);
    ASSERT_EQ(started.status, 0) << started.out << started.err;
}

void Line::stop() const
{
    const test::Outcome stopped = vcam({"stop"});
    ASSERT_EQ(stopped.status, 0) << stopped.out << stopped.err;
}

void Line::card_script(const std::string &name, const std::string &text) const
{
    write("/sdcard/" + name, text);
    write("/sdcard/info.tg", name + "\n");
}

void Line::key(const std::string &name, int value) const
{
    use();
    ASSERT_TRUE(virt::set_int(name, value));
}

void Line::key(const std::string &name, const std::string &value) const
{
    use();
    ASSERT_TRUE(virt::set_string(name, value));
}

namespace
{

std::string slurp(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

pid_t Line::process(const std::string &path) const
{
    use();
    for (const pid_t pid : virt::processes())
        if (slurp("/proc/" + std::to_string(pid) + "/cmdline").c_str() == path)
            return pid;
    return -1;
}

void Line::signal(int number) const
{
    test::send_signal(daemon(), number);
}

pid_t Line::thread(const std::string &name) const
{
    std::error_code ignored;
    const auto tasks = std::filesystem::path("/proc") / std::to_string(daemon()) / "task";
    for (const auto &entry : std::filesystem::directory_iterator(tasks, ignored))
        if (slurp(entry.path() / "comm") == name + "\n")
            return std::stoi(entry.path().filename());
    return -1;
}

long Line::waiting_in(const std::string &thread_name) const
{
    const auto task = std::filesystem::path("/proc") / std::to_string(daemon()) / "task" /
                      std::to_string(thread(thread_name));
    const std::string call = slurp(task / "syscall");
    return call.empty() ? -1 : std::strtol(call.c_str(), nullptr, 10);
}

int Line::told(const std::string &text) const
{
    const std::string log = platform_log();
    int count = 0;
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
        count++;
    return count;
}

bool Line::hears(const std::string &text, int times) const
{
    return test::wait_for([&] { return told(text) >= times; });
}

std::vector<std::string> Line::trace() const
{
    static const std::regex stamp("^[0-9]{8} [0-9]{2}:[0-9]{2}:[0-9]{2} : ");
    std::vector<std::string> lines;
    for (const std::string &stamped : test::lines_of(file_log())) {
        const std::string line = std::regex_replace(stamped, stamp, "");
        if (line.find("rovad starts") != std::string::npos)
            lines.clear();
        lines.push_back(line);
    }
    return lines;
}

} // namespace e2e

#include "tests/e2e/operator.h"

#include "platform/virtual/values.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

namespace e2e
{

std::vector<std::string> words_of(const std::string &text)
{
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

Operator::Operator(const Line &line, std::string kind, std::string row)
    : line_(line), kind_(std::move(kind)), row_(std::move(row))
{
}

std::string Operator::request() const
{
    const std::string text = virt::read_file(line_.path("/virtual/screen.json"));
    const auto screen = nlohmann::json::parse(text, nullptr, false);
    if (screen.is_discarded() || !screen.contains(kind_) || !screen[kind_].contains(row_))
        return "";
    const auto &row = screen[kind_][row_];
    return row.is_string() ? row : row["text"];
}

void Operator::obey(const std::string &what) const
{
    const std::vector<std::string> words = words_of(what);
    const std::string verb = words.empty() ? "" : words[0];
    if (verb == "press" || verb == "hold")
        return press(what, words.at(1));
    for (const char *known : {"turn", "dial", "plug", "unplug", "touch"})
        if (verb == known) {
            EXPECT_EQ(line_.vcam(words).status, 0) << what;
        }
}

bool Operator::holds_a_key() const
{
    const std::string mask =
        virt::read_file(line_.path("/sys/devices/platform/m7-keys/pushed_keys"));
    return std::strtoul(mask.c_str(), nullptr, 0) != 0;
}

// Let go only when the camera has seen it, or to press again: it may have come too early.  A hand
// that is called back before it has begun ends by the signal.
void Operator::press(const std::string &what, const std::string &key) const
{
    constexpr double AGAIN_SECONDS = 0.5;
    while (request() == what) {
        test::Process hand(
            {VCAM_PROGRAM, "-C", line_.root().string(), "press", key, "--hold", "100000000"});
        test::wait_for([&] { return holds_a_key() || request() != what; });
        test::wait_for([&] { return request() != what; }, AGAIN_SECONDS);
        hand.signal(SIGINT);
        const int status = hand.wait();
        EXPECT_TRUE(status == 0 || status == 128 + SIGINT) << what << ": " << status;
    }
}

test::Outcome Operator::work(const std::string &script,
                             const std::function<void(const std::string &)> &hand) const
{
    const std::string output = "/tmp/station";
    test::Process run({VCAM_PROGRAM, "-C", line_.root().string(), "run", script}, "",
                      line_.path(output));
    std::string seen;
    while (test::wait_for([&] { return !run.running() || request() != seen; }) && run.running()) {
        seen = request();
        hand(seen);
    }
    const int status = run.wait();
    return {status, line_.read(output), "the last request: " + seen};
}

} // namespace e2e

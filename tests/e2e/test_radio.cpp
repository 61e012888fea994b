// Commands that wait for a radio's event: the daemon lives on meanwhile, and can be stopped.
#include "tests/e2e/line.h"
#include "tests/support/text.h"

#include "common/rova_util.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/syscall.h>

using e2e::Line;

namespace
{

constexpr char MAIN[] = "rovad";
constexpr char SERVER[] = "ROVA Server";
constexpr char CLIENT[] = "ROVA Client"; // gone when the whole script is queued
constexpr char GAVE_UP[] = "stopped while waiting for an event";
constexpr char RADIO[] = "/virtual/radio/bluetooth/";

// A command, the adapter it begins with, and what it logs when its wait begins.
struct silence_row {
    const char *name;
    const char *command;
    const char *adapter;
    const char *begun;
};

constexpr silence_row SILENCES[] = {
    {"Activation", "bluetooth activation normal", "0", "Bluetooth Activation"},
    {"SwitchingOffFirst", "bluetooth activation normal", "1", "Now turning off BT first."},
    {"Deactivation", "bluetooth deactivation normal", "1", "BT Normal Deactivation"},
    {"RfTest", "bluetooth rf_test activation", "0", "RF Test Mode On"},
    {"RfTestSwitchingOffFirst", "bluetooth rf_test activation", "1", "child is terminated"},
    {"RfTestEnd", "bluetooth deactivation rf_test", "1", "child is terminated"},
    {"Search", "bluetooth search search_with_ack", "1", "Search with ACK"},
};

void PrintTo(const silence_row &row, std::ostream *out)
{
    *out << row.name;
}

// A line whose radio does not tell anything, and a script of the command and one more.
class Silence : public testing::TestWithParam<silence_row>
{
protected:
    Silence()
    {
        line.write(std::string(RADIO) + "adapter", std::string(GetParam().adapter) + "\n");
        line.write(std::string(RADIO) + "delay", "never\n");
        line.card_script("radio.adj", std::string(GetParam().command) + "\nosd string 1 more\n");
    }

    void begin() const
    {
        line.start_alone({});
        ASSERT_TRUE(line.hears(GetParam().begun));
        ASSERT_TRUE(test::wait_for(
            [&] { return line.thread(CLIENT) < 0 && line.waiting_in(SERVER) == SYS_poll; }));
    }

    void expect_a_clean_end() const
    {
        EXPECT_EQ(line.told(GAVE_UP), 1);
        EXPECT_EQ(line.told("1th cmd done [NG]"), 1);
        EXPECT_EQ(line.told("2th cmd skipped [card]"), 1);
        EXPECT_EQ(line.told("rova-server: thread terminated."), 1);
        EXPECT_EQ(line.told("program exited."), 1);
        EXPECT_EQ(line.calls("bluetooth_unregister_callback").size(), 1U);
        EXPECT_EQ(line.key_int(ROVA_KEY_STOP_CMD), 0);
        EXPECT_TRUE(std::filesystem::is_empty(line.path("/virtual/ipc")));
        const auto trace = line.trace();
        EXPECT_EQ(std::ranges::count(trace, "resp : NG "), 1);
        EXPECT_EQ(trace.back(), "----------------- rovad end (card) ----------------- ");
    }

    Line line;
};

std::string slurp(const std::string &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// How long the thread has run, or waited for a processor, so far: a busy one does not get more of a
// busy PC.
double busy_seconds(const Line &line, const char *thread)
{
    const std::string stat = slurp("/proc/" + std::to_string(line.daemon()) + "/task/" +
                                   std::to_string(line.thread(thread)) + "/schedstat");
    double run = 0, waited = 0;
    EXPECT_TRUE(std::istringstream(stat) >> run >> waited) << stat;
    return (run + waited) / 1e9;
}

const auto row_name = [](const auto &info) { return std::string(info.param.name); };

double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

TEST_P(Silence, IsEndedByTheStopKey)
{
    begin();
    line.key(ROVA_KEY_STOP_CMD, 1);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    EXPECT_EQ(line.told("rova_handle_stop_cb() started."), 1);
    expect_a_clean_end();
}

TEST_P(Silence, IsEndedByASignal)
{
    begin();
    line.signal(SIGTERM);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    expect_a_clean_end();
}

INSTANTIATE_TEST_SUITE_P(Each, Silence, testing::ValuesIn(SILENCES), row_name);

TEST(RadioWait, TakesTheEventThatComesAfterASignal)
{
    const Line line;
    line.speed(1);
    line.write(std::string(RADIO) + "delay", "never\n");
    line.card_script("radio.adj", "bluetooth activation normal\nosd string 1 more\n");
    line.start_alone({});
    ASSERT_TRUE(test::wait_for([&] {
        return line.thread(CLIENT) < 0 && !line.calls("bluetooth_enable_adapter").empty();
    }));
    line.signal(SIGTERM);
    ASSERT_TRUE(line.hears("rova-client: thread terminated.")) << "the stop has begun";
    line.write(std::string(RADIO) + "adapter", "1\n");
    line.write(std::string(RADIO) + "event", "1 0\n");
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    EXPECT_EQ(line.told("1th cmd done [OK]"), 1);
    EXPECT_EQ(line.told("2th cmd done [OK]"), 1);
    EXPECT_FALSE(line.tells(GAVE_UP));
}

TEST(RadioWait, LeavesTheMainThreadToItsKeys)
{
    const Line line;
    line.write(std::string(RADIO) + "delay", "never\n");
    line.start_alone();
    EXPECT_EQ(line.rova({"bluetooth", "activation", "normal"}).status, 0);
    ASSERT_TRUE(test::wait_for([&] { return !line.calls("bluetooth_enable_adapter").empty(); }));
    for (int times = 1; times <= 3; times++) {
        line.key(ROVA_KEY_STOP_CMD, 0);
        EXPECT_TRUE(line.hears("key:value = memory/rova/stop_cmd: 0", times));
        EXPECT_TRUE(line.hears("rova_handle_stop_cb() done.", times));
    }
    EXPECT_EQ(line.rova({"osd", "string", "1", "queued"}).status, 0);
    EXPECT_FALSE(line.tells("1th cmd done")) << "the radio has told nothing yet";
    line.write(std::string(RADIO) + "event", "1 0\n");
    EXPECT_TRUE(line.hears("2th cmd ")) << "what was queued meanwhile comes behind it";
    line.stop();
}

// A search that finds nothing takes ten seconds of the camera.
TEST(RadioWait, LetsBothThreadsSleep)
{
    const Line line;
    line.speed(10);
    line.write(std::string(RADIO) + "adapter", "1\n");
    line.start_alone();
    const char *const threads[] = {MAIN, SERVER};
    double busy[std::size(threads)] = {};
    EXPECT_EQ(line.rova({"bluetooth", "search", "search_with_ack"}).status, 0);
    ASSERT_TRUE(line.hears("BR/EDR dev discovery started."));
    const double begun = now();
    for (std::size_t i = 0; i < std::size(threads); i++)
        busy[i] = busy_seconds(line, threads[i]);
    ASSERT_TRUE(line.hears("BT_NOT_FIND_SUCCESS"));
    const double waited = now() - begun;
    for (std::size_t i = 0; i < std::size(threads); i++)
        EXPECT_LT(busy_seconds(line, threads[i]) - busy[i], waited / 2) << threads[i];
    line.stop();
}

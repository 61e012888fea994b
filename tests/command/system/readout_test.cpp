#include "tests/command/system/readout_test.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "tests/support/wrap.h"

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

using std::chrono::steady_clock;

namespace test
{

// A sanitizer's own thread, which comes with the first that is made, counts from the start.
static std::size_t threads()
{
    static const bool made = (std::thread([] {}).join(), true);
    EXPECT_TRUE(made);
    auto folder = std::filesystem::directory_iterator("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

ReadoutTest::ReadoutTest() : threads_before_(threads()), descriptors_before_(open_descriptors()) {}

bool ReadoutTest::passes(const std::string &line)
{
    cmd_data record = record_of(line);
    rova_process_cmd(ROVA_CMD_SCRIPT, &record);
    return rova_cmd_get_result() == 0;
}

std::vector<std::string> ReadoutTest::shown() const
{
    return told({"factory_osd_text_set"});
}

std::string ReadoutTest::thread_name() const
{
    char name[16] = {};
    EXPECT_EQ(pthread_getname_np(wrap_last_thread(), name, sizeof(name)), 0);
    return name;
}

std::size_t ReadoutTest::more_threads() const
{
    return threads() - threads_before_;
}

std::size_t ReadoutTest::more_descriptors() const
{
    return open_descriptors() - descriptors_before_;
}

void ReadoutTest::expect_nothing_left()
{
    EXPECT_TRUE(wait_for([&] { return more_threads() == 0; }));
    EXPECT_EQ(more_descriptors(), 0U);
}

void ReadoutTest::switch_at_any_instant(const std::string &on, const std::string &off,
                                        int microseconds)
{
    rova_log_set_enable(0);
    camera.speed(100000);
    std::mt19937 random(5);
    std::uniform_int_distribution<int> delay(0, microseconds);
    for (int i = 0; i < CANCELLATIONS; i++) {
        ASSERT_TRUE(passes(on));
        const auto instant = steady_clock::now() + std::chrono::microseconds(delay(random));
        while (steady_clock::now() < instant) {
        }
        ASSERT_TRUE(passes(off));
    }
    expect_nothing_left();

    // No lock is held: screen and log serve as before.
    const std::size_t before = shown().size();
    EXPECT_GT(before, 0U) << "some are cancelled behind their first look";
    EXPECT_TRUE(passes(on));
    EXPECT_TRUE(wait_for([&] { return shown().size() > before; }));
    EXPECT_TRUE(passes(off));
}

} // namespace test

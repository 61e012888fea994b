#include "tools/vcam_app/afi.h"

#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <rova/rova.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace vcam_app
{
namespace
{

// False once the end is wanted.
bool wait_a_second(const std::stop_token &end)
{
    static std::mutex mutex;
    static std::condition_variable_any never;
    std::unique_lock lock(mutex);
    const std::chrono::duration<double> second(1 / virt::speed());
    never.wait_for(lock, end, second, [] { return false; });
    return !end.stop_requested();
}

// The latest sample, until there is another.
uint16_t next_sample(uint16_t latest)
{
    const std::optional<long long> number = virt::read_number(virt::file("afi/sample"));
    return number ? static_cast<uint16_t>(*number) : latest;
}

// A scripted sample is taken only when somebody waits for it.
void deliver(const std::stop_token &end, uint16_t latest)
{
    while (wait_a_second(end)) {
        if (rova_afi_adj_set_sample(latest) == 0)
            continue;
        latest = next_sample(latest);
        rova_afi_adj_set_sample(latest);
    }
}

std::jthread sensor;

} // namespace

void begin_samples()
{
    end_samples();
    const uint16_t first = next_sample(0);
    rova_afi_adj_set_sample(first);
    sensor = std::jthread(deliver, first);
}

void end_samples()
{
    sensor = {};
}

} // namespace vcam_app

#include "platform/timer.h"

#include "platform/virtual/faults.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <mutex>
#include <time.h>

namespace
{

uint64_t monotonic_us()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

// Camera time, counted from call to call: a new speed counts from the next call on.
uint64_t camera_us()
{
    static std::mutex lock;
    static uint64_t last = monotonic_us();
    static uint64_t count = last;

    std::lock_guard guard(lock);
    uint64_t now = monotonic_us();
    count += static_cast<uint64_t>(static_cast<double>(now - last) * virt::speed());
    last = now;
    return count;
}

} // namespace

uint64_t get_sys_timer_utick(void)
{
    if (auto failure = virt::fault("get_sys_timer_utick"))
        return static_cast<uint64_t>(*failure);
    if (virt::root().empty())
        return monotonic_us();
    if (auto told = virt::read_number(virt::file("timer")))
        return static_cast<uint64_t>(*told);
    return camera_us();
}

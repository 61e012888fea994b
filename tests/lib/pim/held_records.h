// What looks at the records of the picture tests, or at their sinks, waits for who holds them.
#pragma once

#include "lib/pim/rova_pim_config.h"

#include <atomic>
#include <functional>
#include <thread>

namespace test
{

// Does `work` on a thread of its own while this one holds the records for many looks at `changed`,
// and lets it end.  Whether a look was true.
inline bool changes_held_records(const std::function<void()> &work,
                                 const std::function<bool()> &changed)
{
    constexpr int LOOKS = 20000;
    std::atomic<bool> arrives = false;
    bool seen = false;
    auto lock = rova_pim_lock_records();
    std::thread other([&] {
        arrives = true;
        arrives.notify_all();
        work();
    });
    arrives.wait(false);
    for (int i = 0; i < LOOKS; i++) {
        seen = seen || changed();
        std::this_thread::yield();
    }
    lock.unlock();
    other.join();
    return seen;
}

} // namespace test

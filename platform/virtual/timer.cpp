#include "platform/timer.h"

#include "platform/virtual/faults.h"

#include <time.h>

// Real time, whatever the camera's speed: it measures how long work takes.
uint64_t get_sys_timer_utick(void)
{
    if (auto failure = virt::fault("get_sys_timer_utick"))
        return static_cast<uint64_t>(*failure);
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

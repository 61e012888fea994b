// The wait of a handler: it looks until a look decides.  Server thread.
#pragma once

#include "common/rova_util.h"
#include "platform/sys.h"

enum class rova_look { again, good, bad };

// Looks until a look is good (true) or bad (false), each followed by a sleep of `interval_us`
// unless it is bad.  True also when the daemon is asked to stop, which is tested before each look;
// false when `limit` looks, if it is not 0, were used up.
template <class look_fn>
bool rova_wait(useconds_t interval_us, look_fn look, unsigned int limit = 0)
{
    for (unsigned int looks = 0; limit == 0 || looks < limit; looks++) {
        if (rova_check_stop() != 0)
            return true;
        rova_look seen = look();
        if (seen == rova_look::bad)
            return false;
        sys_usleep(interval_us);
        if (seen == rova_look::good)
            return true;
    }
    return false;
}

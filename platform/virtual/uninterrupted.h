// Work on a thread that may be cancelled at any instant.
#pragma once

#include <poll.h>
#include <pthread.h>

namespace virt
{

// Does `work` without being cancelled, and gives its result.  A cancellation that is on its way
// arrives in the empty poll() before.
//
// What has something to destroy must be out of line, in a function that `work` calls: C++ ends the
// program when such a function is cancelled between two calls, and an inlined one lends its
// cleaning up to the caller.
template <class Work> auto uninterrupted(Work work)
{
    int state = 0, type = 0;
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
    if (type == PTHREAD_CANCEL_ASYNCHRONOUS)
        poll(nullptr, 0, 0);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    auto result = work();
    pthread_setcancelstate(state, nullptr);
    pthread_setcanceltype(type, nullptr);
    return result;
}

} // namespace virt

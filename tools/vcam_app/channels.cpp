#include "tools/vcam_app/channels.h"

#include "lib/rova_app_thread.h"
#include "lib/rova_ipcc.h"
#include "platform/sys.h"

#include <algorithm>
#include <iterator>
#include <sys/msg.h>

namespace vcam_app
{
namespace
{

constexpr char KEY_FOLDER[] = "/tmp"; // the keys of both queues are made from it

struct channel {
    int project;
    const char *semaphore;
};

constexpr channel CHANNELS[] = {
    {ROVA_IPCC_PROJECT, ROVA_IPCC_SEM},
    {ROVA_APP_PROJECT, ROVA_APP_SEM},
};

// -1: there is none.
int queue_of(const channel &c)
{
    const key_t key = sys_ftok(KEY_FOLDER, c.project);
    return key == -1 ? -1 : sys_msgget(key, 0);
}

bool is_there(const channel &c)
{
    return queue_of(c) >= 0;
}

// The semaphore may hold an answer that nobody has taken, and would give it to the next command.
bool clear(const channel &c)
{
    const int queue = queue_of(c);
    sys_sem_unlink(c.semaphore);
    return queue >= 0 && sys_msgctl(queue, IPC_RMID, nullptr) == 0;
}

} // namespace

bool channels_are_up()
{
    return std::all_of(std::begin(CHANNELS), std::end(CHANNELS), is_there);
}

virt::KeptObjects channel_objects()
{
    virt::KeptObjects objects;
    for (const channel &c : CHANNELS) {
        objects.queues.push_back(queue_of(c));
        objects.semaphores.push_back(c.semaphore);
    }
    return objects;
}

int clear_channels()
{
    return static_cast<int>(std::count_if(std::begin(CHANNELS), std::end(CHANNELS), clear));
}

} // namespace vcam_app

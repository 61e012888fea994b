// key_echo serve: the PC link without a daemon; answers each write of the command key with an
// answer's five key writes, and does nothing else.  What a daemon's round trip is held against.
// key_echo ask COUNT: the PC; sends COUNT commands one by one and prints the median microseconds
// from the write to the answer.
#include "platform/vconf.h"
#include "platform/virtual/keys.h"

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <vector>

namespace
{

void answer(keynode_t *, void *)
{
    vconf_set_int("memory/private/pmode_stream_type", 0);
    vconf_set_str("memory/private/pmode_stream", "");
    vconf_set_int("memory/private/pmode_Param3", 0);
    vconf_set_int("memory/private/pmode_Param2", 0);
    vconf_set_int("memory/private/pmode_Param1", 0x10000002);
}

int serve()
{
    if (vconf_notify_key_changed("memory/private/pmode", answer, nullptr) != 0)
        return 1;
    vconf_set_int("memory/rova/start_cmd", 0);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 0;
}

bool answered(virt::KeyWatch &watch)
{
    for (const virt::KeyChange &change : watch.read())
        if (change.key.name == "memory/private/pmode_Param1")
            return true;
    return false;
}

int ask(int count)
{
    virt::KeyWatch watch;
    std::vector<double> times;
    for (int i = 0; i < count; i++) {
        const auto begin = std::chrono::steady_clock::now();
        virt::set_string("memory/private/pmode", "control led off");
        do {
            pollfd ready{watch.fd(), POLLIN, 0};
            poll(&ready, 1, -1);
        } while (!answered(watch));
        const std::chrono::duration<double, std::micro> time =
            std::chrono::steady_clock::now() - begin;
        times.push_back(time.count());
    }
    std::sort(times.begin(), times.end());
    std::printf("%f\n", times[times.size() / 2]);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "serve") == 0)
        return serve();
    if (argc == 3 && std::strcmp(argv[1], "ask") == 0 && std::atoi(argv[2]) > 0)
        return ask(std::atoi(argv[2]));
    std::fprintf(stderr, "usage: key_echo serve | key_echo ask COUNT\n");
    return 2;
}

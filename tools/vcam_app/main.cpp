// vcam-app: the virtual camera's camera application.  It serves both channels of librova until it
// is asked to end.
#include "platform/virtual/root.h"
#include "tools/vcam_app/application.h"
#include "tools/vcam_app/channels.h"
#include "tools/vcam_app/key_window.h"
#include "tools/vcam_app/lock.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/types.h>

namespace vcam_app
{
namespace
{

enum exit_status { ENDED = 0, TROUBLE = 2 };

constexpr char HELP[] =
    "Usage: vcam-app\n"
    "\n"
    "The camera application of the virtual camera that ROVA_SYSROOT names.  Serves the commands\n"
    "that rovad passes on, until Ctrl-C or SIGTERM.  vcam app starts it for a given camera.\n"
    "\n"
    "  -h, --help  show this help\n";

constexpr timespec LOOK_INTERVAL = {1, 0};

int report(const char *text)
{
    std::fprintf(stderr, "vcam-app: %s\n", text);
    return TROUBLE;
}

// Blocked in all threads to come, and waited for by this one.
sigset_t ending_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        sigaddset(&signals, number);
    return signals;
}

// Also ends when the camera is removed: nobody could ask any more.
void wait_for_end(const sigset_t &signals)
{
    while (sigtimedwait(&signals, nullptr, &LOOK_INTERVAL) < 0) {
        if (!lock_is_there())
            return;
    }
}

bool be_the_only_one()
{
    pid_t holder = 0;
    switch (take_lock(holder)) {
    case lock_result::taken:
        return true;
    case lock_result::held_by_other:
        std::fprintf(stderr, "vcam-app: the camera application runs already (pid %d)\n", holder);
        return false;
    case lock_result::failed:
        break;
    }
    report("virtual/app/lock cannot be made");
    return false;
}

int serve()
{
    const sigset_t signals = ending_signals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (!be_the_only_one())
        return TROUBLE;
    if (const int found = clear_channels(); found > 0)
        std::printf("cleared %d queue%s of a killed application\n", found, found == 1 ? "" : "s");
    const key_window keys; // before anybody is told that the application is up
    const bool started = start_application();
    if (started) {
        std::puts("camera application: up");
        wait_for_end(signals);
    }
    stop_application();
    return started ? static_cast<int>(ENDED) : report("the channels cannot be served");
}

bool asks_for_help(const char *word)
{
    return std::strcmp(word, "-h") == 0 || std::strcmp(word, "--help") == 0;
}

int run(int argc, char **argv)
{
    if (argc == 2 && asks_for_help(argv[1]))
        return std::fputs(HELP, stdout) < 0 ? TROUBLE : ENDED;
    if (argc > 1)
        return report("takes no arguments (vcam-app --help tells more)");
    return virt::present() ? serve() : static_cast<int>(TROUBLE);
}

} // namespace
} // namespace vcam_app

int main(int argc, char **argv)
{
    return vcam_app::run(argc, argv);
}

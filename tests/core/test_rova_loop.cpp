#include "core/rova_loop.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <glib-unix.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

// Each case runs in a child: the toolkit starts once in a process and keeps its signal handlers.
class Loop : public testing::Test
{
protected:
    static void up()
    {
        unsetenv("DISPLAY");
        rova_loop_block_signals();
        char name[] = "test";
        char *argv[] = {name, nullptr};
        rova_loop_init(1, argv);
        rova_loop_catch_signals(on_signal);
    }

    [[noreturn]] static void down(bool good)
    {
        rova_loop_shutdown();
        _exit(good ? 0 : 1);
    }

    static void on_signal(int number)
    {
        caught = number;
        catches++;
        on_main_thread = pthread_equal(pthread_self(), main_thread) != 0;
        rova_loop_exit();
    }

    static void in_idle(void (*function)())
    {
        g_idle_add(
            [](gpointer data) -> gboolean {
                reinterpret_cast<void (*)()>(data)();
                return G_SOURCE_REMOVE;
            },
            reinterpret_cast<gpointer>(function));
    }

    static inline std::atomic<int> caught{0};
    static inline std::atomic<int> catches{0};
    static inline std::atomic<bool> on_main_thread{false};
    static inline const pthread_t main_thread = pthread_self();
};

#define EXPECT_GOOD(...) EXPECT_EXIT({ __VA_ARGS__; }, testing::ExitedWithCode(0), "")

} // namespace

TEST_F(Loop, IdleOfTheDefaultContextRunsAndMayEndTheLoop)
{
    EXPECT_GOOD(up(); in_idle(rova_loop_exit); rova_loop_run(); down(true));
}

TEST_F(Loop, TimersOfTheDefaultContextRun)
{
    EXPECT_GOOD({
        up();
        static int ticks = 0;
        g_timeout_add(
            1,
            [](gpointer) -> gboolean {
                if (++ticks == 5)
                    rova_loop_exit();
                return G_SOURCE_CONTINUE;
            },
            nullptr);
        rova_loop_run();
        down(ticks == 5);
    });
}

TEST_F(Loop, DescriptorsOfTheDefaultContextWakeIt)
{
    EXPECT_GOOD({
        up();
        static int ends[2];
        if (pipe(ends) != 0)
            _exit(2);
        g_unix_fd_add(
            ends[0], G_IO_IN,
            [](gint fd, GIOCondition, gpointer) -> gboolean {
                char byte = 0;
                if (read(fd, &byte, 1) == 1 && byte == 'b')
                    rova_loop_exit();
                return G_SOURCE_CONTINUE;
            },
            nullptr);
        std::thread writer([] {
            if (write(ends[1], "ab", 2) != 2)
                _exit(2);
        });
        rova_loop_run();
        writer.join();
        down(true);
    });
}

TEST_F(Loop, EachStopSignalRunsItsHandlerOnTheMainThread)
{
    for (const int number : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        EXPECT_GOOD({
            up();
            std::atomic<bool> done{false};
            std::thread other([&] {
                while (!done)
                    usleep(1000); // a thread that could take the signal
            });
            std::thread sender([&] { kill(getpid(), number); });
            rova_loop_run();
            sender.join();
            done = true;
            other.join();
            down(caught == number && on_main_thread && catches == 1);
        }) << number;
    }
}

TEST_F(Loop, SignalBeforeTheLoopWaitsForIt)
{
    EXPECT_GOOD({
        up();
        raise(SIGTERM);
        if (caught != 0)
            _exit(3);
        rova_loop_run();
        down(caught == SIGTERM);
    });
}

TEST_F(Loop, SignalDuringTheLastCallbackIsHandledBeforeTheEnd)
{
    EXPECT_GOOD({
        up();
        in_idle([] {
            rova_loop_exit();
            raise(SIGTERM);
        });
        rova_loop_run();
        down(caught == SIGTERM && catches == 1);
    });
}

TEST_F(Loop, SignalWindowLetsASignalInAtOnce)
{
    EXPECT_GOOD({
        up();
        raise(SIGTERM);
        const bool early = caught != 0;
        rova_loop_open_signal_window();
        const bool in_window = caught == SIGTERM;
        rova_loop_close_signal_window();
        raise(SIGHUP);
        down(!early && in_window && catches == 1);
    });
}

TEST_F(Loop, HeldSignalsWaitForTheLoop)
{
    EXPECT_GOOD({
        up();
        rova_loop_hold_signals();
        raise(SIGTERM);
        rova_loop_open_signal_window();
        const bool early = caught != 0;
        rova_loop_close_signal_window();
        rova_loop_run();
        down(!early && caught == SIGTERM);
    });
}

TEST_F(Loop, WindowIsShutAgainWhenItsSignalBeginsAStop)
{
    EXPECT_GOOD({
        up();
        rova_loop_catch_signals([](int) { rova_loop_hold_signals(); });
        raise(SIGTERM);
        rova_loop_open_signal_window();
        rova_loop_close_signal_window();
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        down(sigismember(&mask, SIGTERM) == 1 && sigismember(&mask, SIGINT) == 1);
    });
}

TEST_F(Loop, SignalWindowsOfOtherThreadsStayShut)
{
    EXPECT_GOOD({
        up();
        bool blocked = false;
        std::thread([&] {
            rova_loop_open_signal_window();
            sigset_t mask;
            pthread_sigmask(SIG_SETMASK, nullptr, &mask);
            blocked = sigismember(&mask, SIGTERM) == 1;
            rova_loop_close_signal_window();
        }).join();
        down(blocked);
    });
}

TEST_F(Loop, ThreadsInheritTheBlockedSignals)
{
    EXPECT_GOOD({
        up();
        bool blocked = true;
        std::thread([&] {
            sigset_t mask;
            pthread_sigmask(SIG_SETMASK, nullptr, &mask);
            for (const int number : {SIGINT, SIGTERM, SIGQUIT, SIGHUP})
                blocked = blocked && sigismember(&mask, number) == 1;
        }).join();
        down(blocked);
    });
}

TEST_F(Loop, LeavesTheChildrenOfOtherThreadsToThem)
{
    EXPECT_GOOD({
        up();
        static std::atomic<bool> reaped = true;
        std::thread waiter([] {
            for (int i = 0; i < 50; i++) {
                const pid_t child = fork();
                if (child == 0)
                    _exit(0);
                usleep(1000); // the loop has heard of the end before the child is waited for
                reaped = reaped && waitpid(child, nullptr, 0) == child;
            }
            in_idle([] { rova_loop_exit(); });
        });
        rova_loop_run();
        waiter.join();
        down(reaped);
    });
}

TEST_F(Loop, ThreadsMadeWhileItRunsInheritThemToo)
{
    EXPECT_GOOD({
        up();
        static bool blocked = false;
        in_idle([] {
            std::thread([] {
                sigset_t mask;
                pthread_sigmask(SIG_SETMASK, nullptr, &mask);
                blocked = sigismember(&mask, SIGTERM) == 1;
            }).join();
            rova_loop_exit();
        });
        rova_loop_run();
        down(blocked);
    });
}

TEST_F(Loop, EndOfAChildDoesNotEndIt)
{
    EXPECT_GOOD({
        up();
        static int ticks = 0;
        if (fork() == 0)
            _exit(0);
        g_timeout_add(
            5,
            [](gpointer) -> gboolean {
                if (++ticks == 3)
                    rova_loop_exit();
                return G_SOURCE_CONTINUE;
            },
            nullptr);
        rova_loop_run();
        down(ticks == 3 && caught == 0);
    });
}

TEST_F(Loop, StartsWithoutAHome)
{
    EXPECT_GOOD({
        unsetenv("HOME");
        unsetenv("XDG_RUNTIME_DIR");
        up();
        in_idle(rova_loop_exit);
        rova_loop_run();
        down(true);
    });
}

TEST_F(Loop, KeepsTheEnvironmentItIsGiven)
{
    EXPECT_GOOD({
        setenv("EINA_LOG_LEVEL", "1", 1);
        up();
        down(std::string(getenv("EINA_LOG_LEVEL")) == "1");
    });
}

#include "common/rova_thread.h"

#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace
{

void *add_one(void *arg)
{
    return reinterpret_cast<void *>(reinterpret_cast<intptr_t>(arg) + 1);
}

void *stack_of_self(void * /*arg*/)
{
    pthread_attr_t attributes;
    std::size_t size = 0;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return reinterpret_cast<void *>(size);
}

struct Thread : testing::Test {
    ~Thread() override { test::wrap_clear(); }
    int create(void *(*start)(void *), void *arg, std::size_t stack_size = 0)
    {
        return rova_thread_create(&thread, "any", ROVA_THREAD_PRIORITY, 1, stack_size, start, arg);
    }
    std::size_t stack_size(std::size_t wanted)
    {
        void *result = nullptr;
        EXPECT_EQ(create(stack_of_self, nullptr, wanted), 0);
        EXPECT_EQ(rova_thread_join(thread, &result), 0);
        return reinterpret_cast<std::size_t>(result);
    }
    void expect_failure(const char *call, const char *message)
    {
        test::wrap_fail(call, EAGAIN);
        thread = 77;
        EXPECT_EQ(create(add_one, nullptr), -1) << call;
        EXPECT_EQ(thread, 77u) << call;
        EXPECT_TRUE(camera.logged(message)) << call;
        test::wrap_clear();
    }
    test::Camera camera;
    pthread_t thread = 0;
};

} // namespace

TEST_F(Thread, AJoinedThreadGivesItsResult)
{
    void *result = nullptr;
    ASSERT_EQ(create(add_one, reinterpret_cast<void *>(41)), 0);
    EXPECT_EQ(rova_thread_join(thread, &result), 0);
    EXPECT_EQ(result, reinterpret_cast<void *>(42));
}

TEST_F(Thread, ADetachedThreadCannotBeJoined)
{
    static std::atomic<int> state;
    state = 0;
    auto wait_for_go = [](void *) -> void * {
        while (state < 1)
            usleep(100);
        state = 2;
        return nullptr;
    };
    ASSERT_EQ(rova_thread_create(&thread, "d", 2, 0, 0, wait_for_go, nullptr), 0);
    EXPECT_EQ(rova_thread_join(thread, nullptr), -1);
    EXPECT_TRUE(camera.logged("Thread join failed for thread [" +
                              std::to_string(static_cast<unsigned int>(thread)) +
                              "] (Invalid argument) "));
    state = 1;
    EXPECT_TRUE(test::wait_for([] { return state == 2; }));
}

TEST_F(Thread, TheStackIsAMegabyteUnlessAnotherSizeIsGiven)
{
    // Far enough from each other and from the 8 MB of other threads: the C library gives a thread
    // an old stack of up to four times the size.
    EXPECT_EQ(stack_size(0), 0x100000u);
    EXPECT_EQ(stack_size(0x1000000), 0x1000000u);
}

TEST_F(Thread, AFunctionIsNeeded)
{
    EXPECT_EQ(create(nullptr, nullptr), -1);
}

TEST_F(Thread, EachFailureOfTheCreationIsTold)
{
    expect_failure("pthread_attr_init", "Got error from pthread_attr_init ");
    expect_failure("pthread_attr_setstacksize", "Got error from pthread_attr_setstacksize ");
    expect_failure("pthread_attr_setdetachstate", "Got error from pthread_attr_setdetachstate ");
    expect_failure("pthread_create", "pthread_create() failed ");
}

TEST_F(Thread, AnImpossibleStackSizeFails)
{
    EXPECT_EQ(create(add_one, nullptr, 1), -1);
    EXPECT_TRUE(camera.logged("Got error from pthread_attr_setstacksize "));
}

TEST_F(Thread, AFailedDestructionOfTheAttributesIsToldAndHarmless)
{
    test::wrap_fail("pthread_attr_destroy", EINVAL);
    ASSERT_EQ(create(add_one, nullptr), 0);
    EXPECT_TRUE(camera.logged("pthread_attr_destroy() failed "));
    EXPECT_EQ(rova_thread_join(thread, nullptr), 0);
}

TEST_F(Thread, NoThreadCannotBeJoinedCancelledOrSignalled)
{
    EXPECT_EQ(rova_thread_join(0, nullptr), -1);
    EXPECT_TRUE(camera.logged("Thread join failed for thread [0] (No such process) "));
    EXPECT_EQ(rova_thread_cancel(0), -1);
    EXPECT_EQ(rova_thread_kill(0, SIGUSR1), -1);
    EXPECT_TRUE(camera.logged("Thread kill failed for thread [0:10] "));
}

TEST_F(Thread, FailedCancelIsSilent)
{
    test::wrap_fail("pthread_cancel", ESRCH);
    EXPECT_EQ(rova_thread_cancel(pthread_self()), -1);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Thread, KillSendsTheSignalToThatThread)
{
    static std::atomic<pthread_t> hit;
    hit = 0;
    auto before = std::signal(SIGUSR1, [](int) { hit = pthread_self(); });
    auto wait_for_signal = [](void *) -> void * {
        while (hit == 0)
            usleep(100);
        return nullptr;
    };
    ASSERT_EQ(create(wait_for_signal, nullptr), 0);
    EXPECT_EQ(rova_thread_kill(thread, SIGUSR1), 0);
    EXPECT_EQ(rova_thread_join(thread, nullptr), 0);
    EXPECT_EQ(hit, thread);
    std::signal(SIGUSR1, before);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Thread, ASignalThatDoesNotExistIsTold)
{
    EXPECT_EQ(rova_thread_kill(pthread_self(), 1000), -1);
    EXPECT_TRUE(camera.logged("Thread kill failed for thread [" +
                              std::to_string(static_cast<unsigned int>(pthread_self())) +
                              ":1000] "));
}

TEST_F(Thread, ExitGivesTheResult)
{
    auto leave = [](void *arg) -> void * { rova_thread_exit(arg); };
    void *result = nullptr;
    ASSERT_EQ(create(leave, reinterpret_cast<void *>(9)), 0);
    EXPECT_EQ(rova_thread_join(thread, &result), 0);
    EXPECT_EQ(result, reinterpret_cast<void *>(9));
}

TEST_F(Thread, ACancellableThreadIsCancelledInsideAWindowOnly)
{
    static std::atomic<int> state;
    static std::atomic<int> passed;
    state = passed = 0;
    auto body = [](void *) -> void * {
        rova_thread_make_cancellable();
        state = 1;
        while (state < 2) // a cancellation point outside a window
            usleep(100);
        passed = 1;
        rova_thread_open_cancel_window();
        passed = 2;
        rova_thread_close_cancel_window();
        return nullptr;
    };
    ASSERT_EQ(create(body, nullptr), 0);
    ASSERT_TRUE(test::wait_for([] { return state == 1; }));
    EXPECT_EQ(rova_thread_cancel(thread), 0);
    state = 2;
    EXPECT_EQ(rova_thread_join(thread, nullptr), 0);
    EXPECT_EQ(passed, 1);
}

TEST_F(Thread, ABlockedThreadIsCancelledInItsWindow)
{
    static std::atomic<int> state;
    state = 0;
    auto body = [](void *) -> void * {
        rova_thread_make_cancellable();
        rova_thread_open_cancel_window();
        state = 1;
        for (;;)
            pause();
    };
    ASSERT_EQ(create(body, nullptr), 0);
    ASSERT_TRUE(test::wait_for([] { return state == 1; }));
    void *result = nullptr;
    EXPECT_EQ(rova_thread_cancel(thread), 0);
    EXPECT_EQ(rova_thread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
}

// The C library's own signal, which pthread_sigmask() does not block.
void block_cancellation()
{
    constexpr uint64_t cancellation = 1ULL << (32 - 1);
    syscall(SYS_rt_sigprocmask, SIG_BLOCK, &cancellation, nullptr, sizeof(cancellation));
}

void let_all_signals_in(int /*signal*/, siginfo_t * /*info*/, void *context)
{
    sigemptyset(&static_cast<ucontext_t *>(context)->uc_sigmask);
}

bool runs(pid_t id)
{
    std::ifstream file("/proc/self/task/" + std::to_string(id) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::size_t name_end = text.rfind(") ");
    return name_end != std::string::npos && text[name_end + 2] == 'R';
}

TEST_F(Thread, AWindowWaitsForACancellationThatIsOnItsWay)
{
    static std::atomic<pid_t> id;
    static std::atomic<bool> sent, passed;
    id = 0;
    sent = passed = false;
    auto body = [](void *) -> void * {
        rova_thread_make_cancellable();
        rova_thread_open_cancel_window();
        block_cancellation();
        id = gettid();
        while (!sent) {
        }
        rova_thread_close_cancel_window();
        passed = true;
        rova_thread_open_cancel_window();
        return nullptr;
    };
    struct sigaction action = {}, before = {};
    action.sa_sigaction = let_all_signals_in;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGUSR1, &action, &before);
    ASSERT_EQ(create(body, nullptr), 0);
    ASSERT_TRUE(test::wait_for([] { return id != 0; }));
    EXPECT_EQ(rova_thread_cancel(thread), 0);
    sent = true;
    EXPECT_TRUE(test::wait_for([] { return passed || !runs(id); }));
    EXPECT_FALSE(passed);
    EXPECT_EQ(rova_thread_kill(thread, SIGUSR1), 0);
    void *result = nullptr;
    EXPECT_EQ(rova_thread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(Thread, AWindowDoesNothingOnOtherThreads)
{
    EXPECT_FALSE(rova_thread_is_cancellable());
    rova_thread_open_cancel_window();
    rova_thread_close_cancel_window();
    int before = -1;
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &before);
    EXPECT_EQ(before, PTHREAD_CANCEL_ENABLE);
}

TEST_F(Thread, AServingThreadIsJoinableAndHasItsStack)
{
    static std::atomic<std::size_t> size;
    size = 0;
    auto body = [](void *arg) -> void * {
        size = reinterpret_cast<std::size_t>(stack_of_self(nullptr));
        return arg;
    };
    ASSERT_EQ(rova_serving_thread_create(&thread, body, nullptr), 0);
    EXPECT_EQ(rova_serving_thread_join(thread), 0);
    EXPECT_EQ(size, 0x100000u);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Thread, EachStepOfAServingThreadThatFailsIsToldWithItsNumber)
{
    for (const char *step : {"pthread_attr_init", "pthread_attr_setdetachstate",
                             "pthread_attr_setstacksize", "pthread_create"}) {
        test::wrap_fail(step, EAGAIN);
        thread = 77;
        EXPECT_EQ(rova_serving_thread_create(&thread, add_one, nullptr), -1) << step;
        EXPECT_EQ(thread, 77u) << step;
        EXPECT_TRUE(camera.logged(std::string(step) + " failed (errno=11) ")) << step;
        test::wrap_clear();
    }
}

TEST_F(Thread, NoServingThreadCannotBeJoined)
{
    EXPECT_EQ(rova_serving_thread_join(0), -1);
    EXPECT_TRUE(camera.logged("pthread_join failed (errno=3) "));
}

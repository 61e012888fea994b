#include "command/wifi/rova_nested_loop.h"

#include "common/rova_util.h"
#include "platform/virtual/keys.h"
#include "tests/command/command_test.h"

#include <optional>
#include <utility>

using ::testing::ElementsAre;

namespace
{

class NestedLoop : public test::CommandTest
{
protected:
    ~NestedLoop() override { rova_set_stopping(false); }
};

struct Call {
    rova_nested_loop *loop;
    int count = 0;
};

gboolean count_and_quit(void *data)
{
    auto *call = static_cast<Call *>(data);
    call->count++;
    call->loop->quit();
    return G_SOURCE_REMOVE;
}

gboolean count_only(void *data)
{
    static_cast<Call *>(data)->count++;
    return G_SOURCE_REMOVE;
}

} // namespace

TEST_F(NestedLoop, IsTheThreadsDefaultAsLongAsItLives)
{
    GMainContext *before = g_main_context_get_thread_default();
    {
        rova_nested_loop loop;
        EXPECT_NE(g_main_context_get_thread_default(), before);
        EXPECT_NE(g_main_context_get_thread_default(), nullptr);
    }
    EXPECT_EQ(g_main_context_get_thread_default(), before);
}

TEST_F(NestedLoop, RunsUntilAnEventQuitsIt)
{
    rova_nested_loop loop;
    Call call = {&loop};
    loop.after(1, count_and_quit, &call);
    EXPECT_TRUE(loop.run());
    loop.after(1, count_and_quit, &call);
    EXPECT_TRUE(loop.run()) << "a second run";
    EXPECT_EQ(call.count, 2);
}

TEST_F(NestedLoop, CountsTheCamerasTime)
{
    camera.speed(1000000);
    rova_nested_loop loop;
    Call call = {&loop};
    loop.after(3600000, count_and_quit, &call);
    EXPECT_TRUE(loop.run());
}

TEST_F(NestedLoop, ACallMayBeCancelled)
{
    rova_nested_loop loop;
    Call early = {&loop};
    Call late = {&loop};
    loop.cancel(loop.after(0, count_only, &early));
    loop.after(5, count_and_quit, &late);
    EXPECT_TRUE(loop.run());
    EXPECT_EQ(std::pair(early.count, late.count), std::pair(0, 1));
}

TEST_F(NestedLoop, LeavesTheDefaultContextAlone)
{
    Call other = {nullptr};
    const guint source = g_timeout_add(0, count_only, &other);
    rova_nested_loop loop;
    Call call = {&loop};
    loop.after(5, count_and_quit, &call);
    EXPECT_TRUE(loop.run());
    EXPECT_EQ(other.count, 0);
    EXPECT_TRUE(g_source_remove(source));
}

TEST_F(NestedLoop, EndsWhenTheDaemonIsAskedToStop)
{
    virt::set_int("memory/rova/stop_cmd", 1);
    rova_nested_loop loop;
    EXPECT_FALSE(loop.run());
    EXPECT_THAT(new_messages(), ElementsAre("stopped while waiting for an event "));
    virt::set_int("memory/rova/stop_cmd", 0);
    Call call = {&loop};
    loop.after(1, count_and_quit, &call);
    EXPECT_TRUE(loop.run()) << "a later run starts anew";
}

TEST_F(NestedLoop, EndsByAndByWhenASignalStopsTheDaemon)
{
    camera.speed(1000000);
    rova_set_stopping(true);
    rova_nested_loop loop;
    EXPECT_FALSE(loop.run());
    EXPECT_FALSE(loop.run()) << "each run waits anew";
    EXPECT_THAT(new_messages(), ElementsAre("stopped while waiting for an event ",
                                            "stopped while waiting for an event "));
}

TEST_F(NestedLoop, ServesEventsAfterASignal)
{
    rova_set_stopping(true);
    rova_nested_loop loop;
    Call call = {&loop};
    loop.after(300, count_and_quit, &call); // behind the first looks
    EXPECT_TRUE(loop.run());
    EXPECT_EQ(call.count, 1);
}

#include "platform/nfc.h"

#include "tests/support/camera.h"

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

constexpr int FAILED = NFC_MANAGER_OPERATION_FAILED;

std::vector<int> told_results;

void tell(int result)
{
    told_results.push_back(result);
}

class Nfc : public ::testing::Test
{
protected:
    Nfc()
    {
        told_results.clear();
        g_main_context_push_thread_default(context_);
    }
    ~Nfc() override
    {
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }

    void state(const std::string &name, const std::string &value) const
    {
        camera_.write("/virtual/radio/nfc/" + name, value + "\n");
    }
    std::string state(const std::string &name) const
    {
        return camera_.read("/virtual/radio/nfc/" + name);
    }

    void serve()
    {
        while (g_main_context_iteration(context_, FALSE)) {
        }
    }
    bool serve_until_told(std::size_t times)
    {
        return test::wait_for([&] {
            serve();
            return told_results.size() >= times;
        });
    }
    void switch_chip(int on)
    {
        const std::size_t before = told_results.size();
        ASSERT_EQ(nfc_manager_set_activation(on, tell, nullptr), 0);
        ASSERT_TRUE(serve_until_told(before + 1));
    }

    test::Camera camera_;
    GMainContext *context_ = g_main_context_new();
};

} // namespace

TEST_F(Nfc, TheChipIsSwitchedOnAndOff)
{
    EXPECT_EQ(nfc_manager_is_activated(), 0);
    EXPECT_EQ(nfc_manager_initialize(nullptr, nullptr), 0);
    EXPECT_EQ(state("manager"), "1\n");
    switch_chip(1);
    EXPECT_EQ(nfc_manager_is_activated(), 1);
    EXPECT_EQ(state("chip"), "1\n");
    switch_chip(0);
    EXPECT_EQ(nfc_manager_is_activated(), 0);
    EXPECT_EQ(nfc_manager_deinitialize(), 0);
    EXPECT_EQ(state("manager"), "0\n");
    EXPECT_THAT(told_results, ElementsAre(0, 0));
    EXPECT_THAT(camera_.call_texts(),
                ElementsAre("nfc_manager_initialize()", "nfc_manager_set_activation(1)",
                            "nfc_manager_set_activation(0)", "nfc_manager_deinitialize()"));
}

TEST_F(Nfc, OnlyTheLoopTellsAndOnlyOnce)
{
    nfc_manager_initialize(nullptr, nullptr);
    EXPECT_EQ(nfc_manager_set_activation(1, tell, nullptr), 0);
    EXPECT_THAT(told_results, IsEmpty());
    EXPECT_EQ(nfc_manager_is_activated(), 0) << "it is not switched yet";
    EXPECT_TRUE(serve_until_told(1));
    serve();
    EXPECT_THAT(told_results, ElementsAre(0));
    EXPECT_FALSE(g_main_context_pending(context_));
}

TEST_F(Nfc, AnotherContextDoesNotTell)
{
    nfc_manager_initialize(nullptr, nullptr);
    nfc_manager_set_activation(1, tell, nullptr);
    GMainContext *other = g_main_context_new();
    EXPECT_FALSE(g_main_context_iteration(other, FALSE));
    EXPECT_FALSE(g_main_context_iteration(nullptr, FALSE));
    g_main_context_unref(other);
    EXPECT_THAT(told_results, IsEmpty());
    EXPECT_TRUE(serve_until_told(1));
}

TEST_F(Nfc, TheEndIsToldAfterADelayOfCameraTime)
{
    camera_.speed(1000000);
    state("delay", "3600000");
    nfc_manager_initialize(nullptr, nullptr);
    switch_chip(1);
    EXPECT_EQ(nfc_manager_is_activated(), 1);
}

TEST_F(Nfc, ASilentChipIsNeverSwitched)
{
    state("delay", "never");
    nfc_manager_initialize(nullptr, nullptr);
    EXPECT_EQ(nfc_manager_set_activation(1, tell, nullptr), 0);
    serve();
    EXPECT_FALSE(g_main_context_pending(context_));
    EXPECT_THAT(told_results, IsEmpty());
    EXPECT_EQ(nfc_manager_is_activated(), 0);
    state("delay", "0");
    switch_chip(1);
}

TEST_F(Nfc, ASwitchingThatEndsBadlyIsToldAndLeavesTheChip)
{
    nfc_manager_initialize(nullptr, nullptr);
    state("result.play", "-32255\n7\n0");
    for (int times = 0; times < 2; times++) {
        switch_chip(1);
        EXPECT_EQ(nfc_manager_is_activated(), 0);
    }
    switch_chip(1);
    EXPECT_EQ(nfc_manager_is_activated(), 1);
    EXPECT_THAT(told_results, ElementsAre(FAILED, 7, 0));
}

TEST_F(Nfc, AChipWhoseStateCannotBeWrittenIsToldToHaveFailed)
{
    nfc_manager_initialize(nullptr, nullptr);
    camera_.write("/virtual/radio/nfc/chip/in the way", "");
    switch_chip(1);
    EXPECT_THAT(told_results, ElementsAre(FAILED));
}

TEST_F(Nfc, TheChipOfAManagerThatWasNotStartedIsNotSwitched)
{
    EXPECT_EQ(nfc_manager_set_activation(1, tell, nullptr), FAILED);
    EXPECT_EQ(nfc_manager_deinitialize(), FAILED);
    nfc_manager_initialize(nullptr, nullptr);
    EXPECT_EQ(nfc_manager_initialize(nullptr, nullptr), 0) << "it may be started twice";
    EXPECT_EQ(nfc_manager_set_activation(1, nullptr, nullptr), FAILED) << "nobody to be told";
    EXPECT_EQ(nfc_manager_deinitialize(), 0);
    EXPECT_EQ(nfc_manager_deinitialize(), FAILED);
    serve();
    EXPECT_THAT(told_results, IsEmpty());
}

TEST_F(Nfc, TheManagersEndDropsWhatWasToBeTold)
{
    nfc_manager_initialize(nullptr, nullptr);
    nfc_manager_set_activation(1, tell, nullptr);
    nfc_manager_deinitialize();
    EXPECT_FALSE(g_main_context_pending(context_));
    EXPECT_EQ(nfc_manager_is_activated(), 0);
}

TEST_F(Nfc, ANewSwitchingTakesThePlaceOfTheOneBefore)
{
    nfc_manager_initialize(nullptr, nullptr);
    nfc_manager_set_activation(1, tell, nullptr);
    switch_chip(0);
    serve();
    EXPECT_THAT(told_results, ElementsAre(0));
    EXPECT_EQ(nfc_manager_is_activated(), 0);
}

// As a daemon that tries again.
TEST_F(Nfc, WhoIsToldMaySwitchAgain)
{
    nfc_manager_initialize(nullptr, nullptr);
    nfc_manager_set_activation(
        1,
        [](int result) {
            tell(result);
            nfc_manager_set_activation(0, tell, nullptr);
        },
        nullptr);
    EXPECT_TRUE(serve_until_told(2));
    EXPECT_EQ(nfc_manager_is_activated(), 0);
}

TEST_F(Nfc, OthersMaySwitchTheChip)
{
    state("chip", "1");
    EXPECT_EQ(nfc_manager_is_activated(), 1);
    state("chip.play", "0\n1");
    EXPECT_EQ(nfc_manager_is_activated(), 0);
    EXPECT_EQ(nfc_manager_is_activated(), 1);
    camera_.fault("nfc_manager_is_activated", "0");
    EXPECT_EQ(nfc_manager_is_activated(), 0);
}

TEST_F(Nfc, AFailureKeepsEachCallFromItsWork)
{
    for (const char *call :
         {"nfc_manager_initialize", "nfc_manager_set_activation", "nfc_manager_deinitialize"})
        camera_.fault(call, "-32255");
    EXPECT_EQ(nfc_manager_initialize(nullptr, nullptr), FAILED);
    EXPECT_EQ(state("manager"), "");
    state("manager", "1");
    EXPECT_EQ(nfc_manager_set_activation(1, tell, nullptr), FAILED);
    EXPECT_FALSE(g_main_context_pending(context_));
    EXPECT_EQ(nfc_manager_deinitialize(), FAILED);
    EXPECT_EQ(state("manager"), "1\n");
    EXPECT_EQ(camera_.calls().size(), 3U);
}

TEST_F(Nfc, AWarningComesWithTheWorkDone)
{
    for (const char *call :
         {"nfc_manager_initialize", "nfc_manager_set_activation", "nfc_manager_deinitialize"})
        camera_.fault(call, "-1");
    EXPECT_EQ(nfc_manager_initialize(nullptr, nullptr), -1);
    EXPECT_EQ(state("manager"), "1\n");
    EXPECT_EQ(nfc_manager_set_activation(1, tell, nullptr), -1);
    EXPECT_TRUE(serve_until_told(1));
    EXPECT_EQ(nfc_manager_is_activated(), 1);
    EXPECT_EQ(nfc_manager_deinitialize(), -1);
    EXPECT_EQ(state("manager"), "0\n");
}

TEST_F(Nfc, FailsWhereItsStateCannotBeWritten)
{
    camera_.write("/virtual/radio/nfc/manager/in the way", "");
    EXPECT_EQ(nfc_manager_initialize(nullptr, nullptr), FAILED);
}

TEST_F(Nfc, FailsWithoutACamera)
{
    setenv("ROVA_SYSROOT", "", 1);
    EXPECT_EQ(nfc_manager_initialize(nullptr, nullptr), FAILED);
    EXPECT_EQ(nfc_manager_set_activation(1, tell, nullptr), FAILED);
    EXPECT_EQ(nfc_manager_is_activated(), 0);
    EXPECT_EQ(nfc_manager_deinitialize(), FAILED);
    setenv("ROVA_SYSROOT", camera_.root().c_str(), 1);
}

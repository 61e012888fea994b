#include "platform/virtual/later.h"

#include "platform/virtual/root.h"
#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using virt::Later;

namespace
{

class LaterTest : public ::testing::Test
{
protected:
    LaterTest() { g_main_context_push_thread_default(context_); }
    ~LaterTest() override
    {
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }

    std::function<void()> says(const std::string &word)
    {
        return [this, word] { said_.push_back(word); };
    }
    void serve_until_said(std::size_t count)
    {
        EXPECT_TRUE(test::wait_for([&] {
            while (g_main_context_iteration(context_, FALSE)) {
            }
            return said_.size() >= count;
        }));
    }

    test::Camera camera_;
    GMainContext *context_ = g_main_context_new();
    std::vector<std::string> said_;
};

} // namespace

TEST_F(LaterTest, EventsComeInTheOrderOfTheirDelays)
{
    Later later;
    later.after(40, says("second"));
    later.after(0, says("first"));
    EXPECT_THAT(said_, IsEmpty()) << "only the loop tells";
    serve_until_said(2);
    EXPECT_THAT(said_, ElementsAre("first", "second"));
    EXPECT_TRUE(later.empty());
}

TEST_F(LaterTest, AnEventOfNeverIsNotKept)
{
    Later later;
    later.after(std::nullopt, says("never"));
    EXPECT_TRUE(later.empty());
    later.after(0, says("now"));
    serve_until_said(1);
    EXPECT_THAT(said_, ElementsAre("now"));
}

TEST_F(LaterTest, TimeIsTheCameras)
{
    camera_.speed(1000000);
    Later later;
    later.after(3600000, says("an hour later"));
    serve_until_said(1);
}

TEST_F(LaterTest, ADelayBelowZeroIsNone)
{
    Later later;
    later.after(-1, says("at once"));
    serve_until_said(1);
}

TEST_F(LaterTest, ACancelledEventDoesNotCome)
{
    Later later;
    later.after(0, says("cancelled"));
    later.cancel();
    EXPECT_TRUE(later.empty());
    later.after(0, says("after"));
    serve_until_said(1);
    EXPECT_THAT(said_, ElementsAre("after"));
}

TEST_F(LaterTest, AnEventGoesWithItsOwner)
{
    auto later = std::make_unique<Later>();
    Later other;
    later->after(0, says("gone"));
    later.reset();
    other.after(10, says("there"));
    serve_until_said(1);
    EXPECT_THAT(said_, ElementsAre("there"));
}

TEST_F(LaterTest, AnEventMayCancelOthersAndMakeNewOnes)
{
    Later later;
    later.after(0, [&] {
        later.cancel();
        later.after(0, says("new"));
    });
    later.after(20, says("old"));
    serve_until_said(1);
    EXPECT_THAT(said_, ElementsAre("new"));
}

TEST_F(LaterTest, AnEventMayEndItsOwner)
{
    auto later = std::make_unique<Later>();
    const auto word = std::make_shared<std::string>("ended");
    later->after(0, [this, &later, word] {
        later.reset();
        said_.push_back(*word);
    });
    serve_until_said(1);
    EXPECT_THAT(said_, ElementsAre("ended"));
    EXPECT_EQ(word.use_count(), 1) << "the event itself is gone too";
}

TEST_F(LaterTest, AnotherContextDoesNotServeIt)
{
    Later later;
    later.after(0, says("mine"));
    GMainContext *other = g_main_context_new();
    EXPECT_FALSE(g_main_context_pending(other));
    EXPECT_FALSE(g_main_context_iteration(nullptr, FALSE));
    g_main_context_unref(other);
    EXPECT_THAT(said_, IsEmpty());
    serve_until_said(1);
}

TEST_F(LaterTest, ADelayIsReadFromAFile)
{
    EXPECT_EQ(virt::read_delay(virt::file("radio/delay")), 0);
    camera_.write("/virtual/radio/delay", "250\n");
    EXPECT_EQ(virt::read_delay(virt::file("radio/delay")), 250);
    camera_.write("/virtual/radio/delay", "0x10\n");
    EXPECT_EQ(virt::read_delay(virt::file("radio/delay")), 16);
    camera_.write("/virtual/radio/delay", "never\n");
    EXPECT_EQ(virt::read_delay(virt::file("radio/delay")), std::nullopt);
}

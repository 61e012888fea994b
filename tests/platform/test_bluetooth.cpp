#include "platform/bluetooth.h"

#include "tests/support/camera.h"

#include <cstdlib>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

std::string text_of(const bluetooth_event *event)
{
    std::string text = std::to_string(event->number) + " " + std::to_string(event->result);
    if (event->device == nullptr)
        return text;
    for (const uint8_t byte : event->device->address)
        text += " " + std::to_string(byte);
    return text + " " + event->device->name;
}

// A client of the service, on a main context of its own.
class Bluetooth : public ::testing::Test
{
protected:
    Bluetooth() { g_main_context_push_thread_default(context_); }
    ~Bluetooth() override
    {
        bluetooth_unregister_callback();
        serve();
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }

    void radio(const std::string &name, const std::string &text) const
    {
        camera_.write("/virtual/radio/bluetooth/" + name, text + "\n");
    }
    std::string radio(const std::string &name) const
    {
        return camera_.read("/virtual/radio/bluetooth/" + name);
    }

    void listen() { ASSERT_EQ(bluetooth_register_callback(hear, this), 0); }

    // What is due has been told then.
    void serve() const
    {
        while (g_main_context_iteration(context_, FALSE)) {
        }
    }
    bool hears(std::size_t count) const
    {
        return test::wait_for([&] {
            serve();
            return heard_.size() >= count;
        });
    }

    static void hear(const bluetooth_event *event, void *self)
    {
        static_cast<Bluetooth *>(self)->heard_.push_back(text_of(event));
    }
    // Ends what it is called by.
    static void hear_once(const bluetooth_event *event, void *self)
    {
        hear(event, self);
        EXPECT_EQ(bluetooth_unregister_callback(), 0);
    }
    static void cancel_at_device(const bluetooth_event *event, void *self)
    {
        hear(event, self);
        if (event->device != nullptr) {
            EXPECT_EQ(bluetooth_cancel_discovery(), 0);
        }
    }

    test::Camera camera_;
    GMainContext *context_ = g_main_context_new();
    std::vector<std::string> heard_;
};

} // namespace

// ------------------------------------------------------------------------- adapter

TEST_F(Bluetooth, TheAdapterIsOffUntilItIsSwitched)
{
    EXPECT_EQ(bluetooth_check_adapter(), 0);
    listen();
    EXPECT_EQ(bluetooth_enable_adapter(), 0);
    EXPECT_EQ(bluetooth_check_adapter(), 0) << "only started";
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(bluetooth_check_adapter(), 1);
    EXPECT_EQ(bluetooth_disable_adapter(), 0);
    ASSERT_TRUE(hears(2));
    EXPECT_EQ(bluetooth_check_adapter(), 0);
    serve();
    EXPECT_THAT(heard_, ElementsAre("1 0", "2 0")) << "its own change is told once";
}

TEST_F(Bluetooth, WithoutAClientASwitchingIsDoneAtOnce)
{
    EXPECT_EQ(bluetooth_enable_adapter(), 0);
    EXPECT_EQ(radio("adapter"), "1\n");
    EXPECT_EQ(bluetooth_disable_adapter(), 0);
    EXPECT_EQ(radio("adapter"), "0\n");
}

TEST_F(Bluetooth, AResultLeavesTheAdapterAsItIs)
{
    radio("result", "7");
    listen();
    bluetooth_enable_adapter();
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(bluetooth_check_adapter(), 0);
    radio("result", "0");
    bluetooth_enable_adapter();
    ASSERT_TRUE(hears(2));
    EXPECT_THAT(heard_, ElementsAre("1 7", "1 0"));
}

TEST_F(Bluetooth, AChangeByOthersIsToldOnce)
{
    radio("adapter", "1");
    listen();
    radio("adapter", "1");
    radio("adapter", "0");
    ASSERT_TRUE(hears(1));
    radio("adapter", "1");
    ASSERT_TRUE(hears(2));
    EXPECT_THAT(heard_, ElementsAre("2 0", "1 0"));
}

TEST_F(Bluetooth, ASilentRadioTellsNothing)
{
    radio("delay", "never");
    listen();
    EXPECT_EQ(bluetooth_enable_adapter(), 0);
    radio("adapter", "1");
    radio("event", "11 3"); // by hand it does
    ASSERT_TRUE(hears(1));
    serve();
    EXPECT_THAT(heard_, ElementsAre("11 3"));
}

TEST_F(Bluetooth, ADelayIsOfTheCamerasTime)
{
    camera_.speed(1000000);
    radio("delay", "60000000");
    listen();
    bluetooth_enable_adapter();
    EXPECT_TRUE(hears(1));
}

TEST_F(Bluetooth, OthersFindTheCameraOnlyWhileTheAdapterIsOn)
{
    EXPECT_LT(bluetooth_set_discoverable_mode(1, 0), 0);
    EXPECT_FALSE(camera_.exists("/virtual/radio/bluetooth/discoverable"));
    radio("adapter", "1");
    EXPECT_EQ(bluetooth_set_discoverable_mode(1, 0), 0);
    EXPECT_EQ(radio("discoverable"), "1\n");
}

// ------------------------------------------------------------------------- events by hand

TEST_F(Bluetooth, AnEventByHandIsToldAsItIsWritten)
{
    listen();
    radio("event", "2 -4");
    ASSERT_TRUE(hears(1));
    radio("event", "9");
    ASSERT_TRUE(hears(2));
    radio("devices", "00:01:02:0f:10:fF A b");
    for (const char *number : {"10", "3"}) {
        const std::size_t before = heard_.size();
        radio("event", number);
        ASSERT_TRUE(hears(before + 1));
    }
    radio("event", "no number");
    ASSERT_TRUE(hears(5));
    EXPECT_THAT(heard_, ElementsAre("2 -4", "9 0", "10 0 0 1 2 15 16 255 A b", "3 0", "0 0"));
}

TEST_F(Bluetooth, OtherFilesAreNoEvents)
{
    listen();
    radio("devices", "00:01:02:0f:10:fF A b");
    radio("adapter.new", "1");
    radio("event", "3");
    ASSERT_TRUE(hears(1));
    serve();
    EXPECT_THAT(heard_, ElementsAre("3 0"));
}

// ------------------------------------------------------------------------- search

TEST_F(Bluetooth, ASearchTellsItsStartAndEachDevice)
{
    radio("adapter", "1");
    radio("devices", "00:00:00:00:00:01 One\nnone\n00:00:00:00:00:02");
    listen();
    EXPECT_EQ(bluetooth_is_discovering(), 0);
    EXPECT_EQ(bluetooth_start_custom_discovery(1, 0, 0, 0), 0);
    EXPECT_EQ(bluetooth_is_discovering(), 1);
    ASSERT_TRUE(hears(3));
    serve();
    EXPECT_THAT(heard_, ElementsAre("7 0", "9 0 0 0 0 0 0 1 One", "9 0 0 0 0 0 0 2 "));
    EXPECT_EQ(bluetooth_is_discovering(), 1) << "until it is cancelled";
    EXPECT_EQ(bluetooth_cancel_discovery(), 0);
    EXPECT_EQ(bluetooth_is_discovering(), 0);
    EXPECT_LT(bluetooth_cancel_discovery(), 0) << "it is";
    ASSERT_TRUE(hears(4));
    EXPECT_EQ(heard_.back(), "8 0");
}

TEST_F(Bluetooth, ASearchCancelledAtADeviceTellsNoOther)
{
    radio("adapter", "1");
    radio("devices", "00:00:00:00:00:01 One\n00:00:00:00:00:02 Two");
    ASSERT_EQ(bluetooth_register_callback(cancel_at_device, this), 0);
    for (std::size_t ends : {3U, 6U}) {
        EXPECT_EQ(bluetooth_start_custom_discovery(1, 0, 0, 0), 0);
        ASSERT_TRUE(hears(ends));
    }
    serve();
    EXPECT_THAT(heard_, ElementsAre("7 0", "9 0 0 0 0 0 0 1 One", "8 0", "7 0",
                                    "9 0 0 0 0 0 0 1 One", "8 0"));
}

TEST_F(Bluetooth, ASearchNeedsAClientAndTheAdapterAndIsTheOnlyOne)
{
    radio("adapter", "1");
    EXPECT_LT(bluetooth_start_custom_discovery(1, 0, 0, 0), 0) << "no client";
    EXPECT_LT(bluetooth_cancel_discovery(), 0);
    EXPECT_EQ(bluetooth_is_discovering(), 0);
    listen();
    radio("adapter", "0");
    EXPECT_LT(bluetooth_start_custom_discovery(1, 0, 0, 0), 0) << "the adapter is off";
    radio("adapter", "1");
    EXPECT_EQ(bluetooth_start_custom_discovery(1, 0, 0, 0), 0);
    EXPECT_LT(bluetooth_start_custom_discovery(1, 0, 0, 0), 0) << "one runs";
}

TEST_F(Bluetooth, ALongNameIsCut)
{
    radio("adapter", "1");
    radio("devices", "00:00:00:00:00:01 " + std::string(300, 'n'));
    listen();
    bluetooth_start_custom_discovery(1, 0, 0, 0);
    ASSERT_TRUE(hears(2));
    EXPECT_EQ(heard_[1], "9 0 0 0 0 0 0 1 " + std::string(248, 'n'));
}

// ------------------------------------------------------------------------- clients

TEST_F(Bluetooth, ACallbackIsNeededAndUnregisteredOnce)
{
    EXPECT_LT(bluetooth_register_callback(nullptr, this), 0);
    EXPECT_LT(bluetooth_unregister_callback(), 0);
    listen();
    EXPECT_EQ(bluetooth_unregister_callback(), 0);
    EXPECT_LT(bluetooth_unregister_callback(), 0);
}

TEST_F(Bluetooth, WhatIsToComeGoesWithTheClient)
{
    listen();
    bluetooth_enable_adapter();
    EXPECT_EQ(bluetooth_unregister_callback(), 0);
    serve();
    EXPECT_FALSE(g_main_context_pending(context_));
    EXPECT_THAT(heard_, IsEmpty());
    EXPECT_EQ(bluetooth_check_adapter(), 0);
}

TEST_F(Bluetooth, ACallbackMayEndItsClient)
{
    for (const char *how : {"by the service", "by others"}) {
        heard_.clear();
        radio("adapter", "0");
        ASSERT_EQ(bluetooth_register_callback(hear_once, this), 0);
        if (how == std::string("by others"))
            radio("adapter", "1");
        else
            bluetooth_enable_adapter();
        ASSERT_TRUE(hears(1)) << how;
        serve();
        EXPECT_THAT(heard_, ElementsAre("1 0")) << how;
        EXPECT_LT(bluetooth_unregister_callback(), 0) << how;
    }
}

TEST_F(Bluetooth, ANewCallbackReplacesTheOld)
{
    std::vector<std::string> old;
    ASSERT_EQ(bluetooth_register_callback(
                  [](const bluetooth_event *event, void *data) {
                      static_cast<std::vector<std::string> *>(data)->push_back(text_of(event));
                  },
                  &old),
              0);
    bluetooth_enable_adapter();
    listen();
    bluetooth_disable_adapter();
    ASSERT_TRUE(hears(1));
    EXPECT_THAT(heard_, ElementsAre("2 0"));
    EXPECT_THAT(old, IsEmpty());
}

TEST_F(Bluetooth, EventsComeOnTheContextOfTheRegistration)
{
    std::thread([this] {
        GMainContext *other = g_main_context_new();
        g_main_context_push_thread_default(other);
        bluetooth_register_callback(hear, this);
        g_main_context_pop_thread_default(other);
        bluetooth_enable_adapter();
        EXPECT_TRUE(test::wait_for([&] {
            while (g_main_context_iteration(other, FALSE)) {
            }
            return heard_.size() == 1;
        }));
        bluetooth_unregister_callback();
        g_main_context_unref(other);
    }).join();
    EXPECT_FALSE(g_main_context_pending(context_));
}

// ------------------------------------------------------------------------- faults and records

TEST_F(Bluetooth, EachCallCanFail)
{
    radio("adapter", "1");
    listen();
    const std::pair<const char *, int (*)()> calls[] = {
        {"bluetooth_register_callback", [] { return bluetooth_register_callback(hear, nullptr); }},
        {"bluetooth_check_adapter", bluetooth_check_adapter},
        {"bluetooth_enable_adapter", bluetooth_enable_adapter},
        {"bluetooth_disable_adapter", bluetooth_disable_adapter},
        {"bluetooth_set_discoverable_mode", [] { return bluetooth_set_discoverable_mode(1, 0); }},
        {"bluetooth_start_custom_discovery",
         [] { return bluetooth_start_custom_discovery(1, 0, 0, 0); }},
        {"bluetooth_cancel_discovery", bluetooth_cancel_discovery},
        {"bluetooth_is_discovering", bluetooth_is_discovering},
        {"bluetooth_unregister_callback", bluetooth_unregister_callback},
    };
    for (const auto &[name, call] : calls) {
        camera_.fault(name, "-42");
        EXPECT_EQ(call(), -42) << name;
    }
    serve();
    EXPECT_THAT(heard_, IsEmpty()) << "nothing was done";
    EXPECT_FALSE(camera_.exists("/virtual/radio/bluetooth/discoverable"));
}

TEST_F(Bluetooth, CallsThatChangeSomethingAreRecorded)
{
    listen();
    bluetooth_check_adapter();
    bluetooth_is_discovering();
    bluetooth_enable_adapter();
    bluetooth_set_discoverable_mode(1, 0);
    bluetooth_start_custom_discovery(1, 2, 3, 4);
    EXPECT_THAT(camera_.call_texts(),
                ElementsAre("bluetooth_register_callback()", "bluetooth_enable_adapter()",
                            "bluetooth_set_discoverable_mode(1, 0)",
                            "bluetooth_start_custom_discovery(1, 2, 3, 4)"));
}

TEST_F(Bluetooth, WithoutACameraAllCallsFail)
{
    unsetenv("ROVA_SYSROOT");
    EXPECT_LT(bluetooth_register_callback(hear, this), 0);
    EXPECT_LT(bluetooth_check_adapter(), 0);
    EXPECT_LT(bluetooth_enable_adapter(), 0);
    EXPECT_LT(bluetooth_disable_adapter(), 0);
    EXPECT_LT(bluetooth_set_discoverable_mode(1, 0), 0);
    EXPECT_LT(bluetooth_start_custom_discovery(1, 0, 0, 0), 0);
    EXPECT_LT(bluetooth_cancel_discovery(), 0);
    EXPECT_EQ(bluetooth_is_discovering(), 0);
}

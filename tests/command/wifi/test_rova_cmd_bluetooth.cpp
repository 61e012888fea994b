#include "command/wifi/rova_connectivity_bluetooth.h"
#include "tests/command/wifi/bluetooth_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <nlohmann/json.hpp>
#include <utility>

using namespace test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

// The platform's calls in the order they were made, each "bluetooth_x" as "x".
std::vector<std::string> steps(const Camera &camera)
{
    std::vector<std::string> names;
    for (const nlohmann::json &call : camera.calls()) {
        const std::string name = call["call"];
        if (name.starts_with("bluetooth_"))
            names.push_back(name.substr(10));
    }
    return names;
}

// What the PC is told: the second word of its answer.
std::string number_answer(bool ok, const std::string &number)
{
    return std::string("resp : ") + (ok ? "OK" : "NG") + " <ptp> 0x10040001, " + number +
           ", 0x00000000 \n";
}

constexpr char ONE[] = "01:23:45:67:89:aB One camera";
constexpr char TWO[] = "10:32:54:76:98:ba";

} // namespace

class Bluetooth : public BluetoothTest
{
protected:
    Bluetooth() { camera.write("/opt/etc/clock", ""); }

    // A station's camera: the adapter on, this in range.
    void in_range(const std::string &devices) const
    {
        radio("adapter", "1");
        radio("devices", devices);
        camera.speed(1000);
    }
};

// ------------------------------------------------------------------------- the family

TEST_F(Bluetooth, LogsItsName)
{
    EXPECT_EQ(run("bluetooth le_test_1 tx_power_ch_0"), OK);
    EXPECT_THAT(new_messages(),
                ElementsAre("rova_cmd_bluetooth", "rova_cmd_bluetooth processing 2nd parameter"));
    EXPECT_THAT(camera.platform_log(), HasSubstr("ROVACONN"));
    EXPECT_THAT(camera.platform_log(), HasSubstr("\033[32mrova_cmd_bluetooth\033[m"));
}

TEST_F(Bluetooth, AnUnknownSubcommandIsNotAnswered)
{
    EXPECT_EQ(run("bluetooth foo"), NO_ANSWER);
    EXPECT_THAT(new_messages(), Contains("Not found on bluetooth command table "));
}

TEST_F(Bluetooth, ModesAreExactWordsAndMissingOnesAreRefused)
{
    for (const char *line :
         {"activation", "activation Normal", "activation rf_test", "deactivation",
          "deactivation NORMAL", "deactivation foo", "rf_test", "rf_test normal", "audio_test",
          "audio_test normal", "le_test_1", "le_test_2"})
        EXPECT_EQ(run(std::string("bluetooth ") + line), NG) << line;
    EXPECT_THAT(steps(camera), IsEmpty());
}

TEST_F(Bluetooth, LowEnergyWordsAreAcceptedWithoutTouchingTheRadio)
{
    for (const char *test : {"power", "mod", "aa"})
        for (const char *channel : {"0", "19", "39"})
            EXPECT_EQ(run(std::string("bluetooth le_test_1 tx_") + test + "_ch_" + channel), OK);
    for (const char *word :
         {"tx_carrier_feq_ch_0", "tx_carrier_feq_ch_19", "tx_carrier_feq_ch_39",
          "tx_inband_emission_ch_2", "tx_inband_emission_ch_19", "tx_inband_emission_ch_37",
          "rx_ch_0", "rx_ch_19", "rx_ch_39", "rx_tx_test_end"})
        EXPECT_EQ(run(std::string("bluetooth le_test_2 ") + word), OK) << word;
    EXPECT_EQ(run("bluetooth le_test_1 tx_power_ch_1"), NG);
    EXPECT_EQ(run("bluetooth le_test_1 rx_ch_0"), NG);
    EXPECT_EQ(run("bluetooth le_test_2 tx_power_ch_0"), NG);
    EXPECT_EQ(run("bluetooth le_test_2 rx_ch_37"), NG);
    EXPECT_THAT(steps(camera), IsEmpty());
    EXPECT_FALSE(camera.logged("[Enter] Bluetooth Test"));
}

// ------------------------------------------------------------------------- activation

TEST_F(Bluetooth, ActivationSwitchesTheAdapterOn)
{
    EXPECT_EQ(run("bluetooth activation normal"), OK);
    EXPECT_THAT(new_messages(),
                ElementsAre("rova_cmd_bluetooth", "rova_cmd_bluetooth processing 2nd parameter",
                            "rova_cmd_bluetooth_activation", "[Enter] Bluetooth Test",
                            "================cmd 0, 0================", "Bluetooth Activation",
                            "Bluetooth Event : 1", "Bluetooth Activation result [0]"));
    EXPECT_THAT(steps(camera), ElementsAre("register_callback", "enable_adapter",
                                           "set_discoverable_mode", "unregister_callback"));
    EXPECT_THAT(told({"bluetooth_set_discoverable_mode"}),
                ElementsAre("bluetooth_set_discoverable_mode[1,0]"));
    EXPECT_EQ(radio("adapter"), "1\n");
}

TEST_F(Bluetooth, ActivationOfAnAdapterThatIsOnGoesThroughOff)
{
    radio("adapter", "1");
    EXPECT_EQ(run("bluetooth activation normal"), OK);
    const auto messages = new_messages();
    EXPECT_THAT(std::vector(messages.begin() + 6, messages.end()),
                ElementsAre("BT is already enabled! Now turning off BT first.",
                            "Bluetooth Event : 2", "g_main_loop_quit called!",
                            "Bluetooth Event : 1", "Bluetooth Activation result [0]"));
    EXPECT_THAT(steps(camera), ElementsAre("register_callback", "disable_adapter", "enable_adapter",
                                           "set_discoverable_mode", "unregister_callback"));
}

TEST_F(Bluetooth, OnlyTheFinalEventOfAnActivationCounts)
{
    radio("adapter", "1");
    radio("result.play", "1\n0");
    EXPECT_EQ(run("bluetooth activation normal"), OK) << "the adapter could not be switched off";
    radio("result.play", "0\n1");
    EXPECT_EQ(run("bluetooth activation normal"), NG) << "it could not be switched on";
    EXPECT_TRUE(camera.logged("Bluetooth Activation result [1]"));
}

TEST_F(Bluetooth, AnotherEventEndsAnActivationWithoutSuccess)
{
    radio("delay", "never");
    auto answer = start("bluetooth activation normal");
    ASSERT_TRUE(wait_for([&] { return !camera.calls("bluetooth_enable_adapter").empty(); }));
    radio("event", "2 0");
    EXPECT_EQ(answer.get(), NG);
    EXPECT_TRUE(camera.logged("Bluetooth Activation result [2]"));
}

TEST_F(Bluetooth, UnknownEventsAreLoggedAndWaitedPast)
{
    radio("delay", "never");
    auto answer = start("bluetooth activation normal");
    ASSERT_TRUE(wait_for([&] { return !camera.calls("bluetooth_enable_adapter").empty(); }));
    for (const char *number : {"0", "3", "11"}) {
        radio("event", number);
        ASSERT_TRUE(hears("Bluetooth Event : " + std::string(number)));
        EXPECT_TRUE(hears("Invalid Event for ROVA : " + std::string(number) + " !!!"));
    }
    radio("adapter", "1");
    radio("event", "1");
    EXPECT_EQ(answer.get(), OK);
}

// ------------------------------------------------------------------------- deactivation

TEST_F(Bluetooth, DeactivationSwitchesTheAdapterOff)
{
    radio("adapter", "1");
    EXPECT_EQ(run("bluetooth deactivation normal"), OK);
    const auto messages = new_messages();
    EXPECT_THAT(std::vector(messages.begin() + 3, messages.end()),
                ElementsAre("================cmd 2, 0================", "BT Normal Deactivation",
                            "Bluetooth Event : 2", "Bluetooth Deactivation result [2]"));
    EXPECT_THAT(steps(camera),
                ElementsAre("register_callback", "disable_adapter", "unregister_callback"));
    EXPECT_EQ(radio("adapter"), "0\n");
}

TEST_F(Bluetooth, DeactivationOfAnAdapterThatIsOffIsOkAtOnce)
{
    EXPECT_EQ(run("bluetooth deactivation normal"), OK);
    EXPECT_TRUE(camera.logged("BT is already off!!"));
    EXPECT_THAT(steps(camera), IsEmpty());
}

TEST_F(Bluetooth, DeactivationThatFailsIsRefused)
{
    radio("adapter", "1");
    radio("result", "5");
    EXPECT_EQ(run("bluetooth deactivation normal"), NG);
    EXPECT_TRUE(camera.logged("Bluetooth Deactivation result [3]"));
}

TEST_F(Bluetooth, AnotherEventEndsADeactivationWithoutSuccess)
{
    radio("adapter", "1");
    radio("delay", "never");
    add_script("bt-edutm-off.sh", "#!/bin/sh\n");
    auto answer = start("bluetooth deactivation normal");
    ASSERT_TRUE(wait_for([&] { return !camera.calls("bluetooth_disable_adapter").empty(); }));
    radio("event", "1 0");
    EXPECT_EQ(answer.get(), NG);
    EXPECT_TRUE(camera.logged("Bluetooth Deactivation result [0]"));
    answer = start("bluetooth deactivation rf_test");
    ASSERT_TRUE(hears("child is terminated : 0"));
    radio("event", "1 0");
    EXPECT_EQ(answer.get(), NG);
    EXPECT_TRUE(camera.logged("RF Test Mode Off result [0]"));
}

// ------------------------------------------------------------------------- RF and audio test

TEST_F(Bluetooth, RfTestActivationRunsTheScriptOnceTheAdapterIsOn)
{
    add_script("bt-edutm-on.sh", "#!/bin/sh\ntouch " + camera.path("/tmp/ran").string() + "\n");
    EXPECT_EQ(run("bluetooth rf_test activation"), OK);
    EXPECT_TRUE(camera.exists("/tmp/ran"));
    EXPECT_TRUE(camera.logged("RF Test Mode On"));
    EXPECT_FALSE(camera.logged("Bluetooth Activation\n"));
    EXPECT_TRUE(camera.logged("parent : forked["));
    EXPECT_TRUE(camera.logged("child is terminated : 0"));
    EXPECT_THAT(camera.call_texts(),
                Contains(EndsWith("sys_execve(\"/usr/etc/bluetooth/bt-edutm-on.sh\", [])")));
}

TEST_F(Bluetooth, RfTestActivationSwitchesOffByTheScriptFirst)
{
    radio("adapter", "1");
    add_script("bt-edutm-off.sh", sets_adapter(0));
    add_script("bt-edutm-on.sh", "#!/bin/sh\n");
    EXPECT_EQ(run("bluetooth rf_test activation"), OK);
    EXPECT_THAT(camera.calls("bluetooth_disable_adapter"), IsEmpty());
    EXPECT_EQ(camera.calls("bluetooth_enable_adapter").size(), 1U);
    EXPECT_EQ(times_logged("child is terminated"), 2U);
}

TEST_F(Bluetooth, RfTestActivationWhoseAdapterFailsRunsNoScript)
{
    radio("result", "1");
    add_script("bt-edutm-on.sh", "#!/bin/sh\n");
    EXPECT_EQ(run("bluetooth rf_test activation"), NG);
    EXPECT_FALSE(camera.logged("parent : forked["));
}

TEST_F(Bluetooth, WhatBecomesOfTheOnScriptDoesNotCount)
{
    EXPECT_EQ(run("bluetooth rf_test activation"), OK) << "it is missing";
    EXPECT_TRUE(camera.logged("bt-edutm-on.sh (No such file or directory)"));
    add_script("bt-edutm-off.sh", sets_adapter(0));
    camera.write("/usr/etc/bluetooth/bt-edutm-on.sh", "#!/bin/sh\n");
    EXPECT_EQ(run("bluetooth rf_test activation"), OK) << "it may not be run";
    EXPECT_TRUE(camera.logged("bt-edutm-on.sh (Permission denied)"));
    for (const char *end : {"exit 3", "kill -9 $$", "kill -TERM $$"}) {
        add_script("bt-edutm-on.sh", std::string("#!/bin/sh\n") + end + "\n");
        EXPECT_EQ(run("bluetooth rf_test activation"), OK) << end;
    }
    for (const char *status : {"256", "768", "9", "15"})
        EXPECT_TRUE(camera.logged(std::string("child is terminated : ") + status)) << status;
}

// The daemon blocks its ending signals in all threads.
TEST_F(Bluetooth, AScriptCanBeEndedByASignalThatTheDaemonBlocks)
{
    sigset_t ending, before;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &ending, &before), 0);
    add_script("bt-edutm-on.sh", "#!/bin/sh\nkill -TERM $$\nexit 3\n");
    EXPECT_EQ(run("bluetooth rf_test activation"), OK);
    EXPECT_TRUE(camera.logged("child is terminated : 15"));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(Bluetooth, RfTestActivationWithoutAProcessIsRefused)
{
    wrap_fail("fork", -1, EAGAIN);
    testing::internal::CaptureStderr();
    EXPECT_EQ(run("bluetooth rf_test activation"), NG);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("fork failed: Resource temporarily unavailable"));
    EXPECT_TRUE(camera.logged("RF Test Mode On error : -1"));
    EXPECT_EQ(steps(camera).back(), "unregister_callback");

    radio("adapter", "1");
    wrap_fail("fork", -1, EAGAIN);
    EXPECT_EQ(run("bluetooth rf_test activation"), NG);
    EXPECT_TRUE(camera.logged("RF Test Mode Off error : -1"));
    EXPECT_EQ(steps(camera).back(), "unregister_callback");
}

TEST_F(Bluetooth, RfTestDeactivationSwitchesOffByTheScript)
{
    radio("adapter", "1");
    add_script("bt-edutm-off.sh", sets_adapter(0));
    wrap_record_sleeps(true);
    EXPECT_EQ(run("bluetooth deactivation rf_test"), OK);
    const auto messages = new_messages();
    EXPECT_THAT(std::vector(messages.begin() + 3, messages.end()),
                ElementsAre("================cmd 2, 1================", "RF Test Deactivation",
                            HasSubstr("parent : forked["), "child is terminated : 0",
                            "Bluetooth Event : 2", "RF Test Mode Off result [2]"));
    EXPECT_THAT(steps(camera), ElementsAre("register_callback", "unregister_callback"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000));
}

TEST_F(Bluetooth, RfTestDeactivationOfAnAdapterThatIsOffIsOk)
{
    wrap_record_sleeps(true);
    EXPECT_EQ(run("bluetooth deactivation rf_test"), OK);
    EXPECT_TRUE(camera.logged("BT is already off!!"));
    EXPECT_FALSE(camera.logged("parent : forked["));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000));
}

TEST_F(Bluetooth, RfTestDeactivationDependsOnTheEventAlone)
{
    const std::string marks = "touch " + camera.path("/tmp/ran").string() + "\n";
    radio("adapter", "1");
    add_script("bt-edutm-off.sh", "#!/bin/sh\n" + marks + "exit 1\n");
    auto answer = start("bluetooth deactivation rf_test");
    ASSERT_TRUE(hears("child is terminated : 256"));
    radio("event", "2 7");
    EXPECT_EQ(answer.get(), NG);
    EXPECT_TRUE(camera.logged("RF Test Mode Off result [3]"));

    camera.remove("/usr/etc/bluetooth/bt-edutm-off.sh");
    answer = start("bluetooth deactivation rf_test");
    ASSERT_TRUE(hears("child is terminated : 256", 2));
    radio("adapter", "0");
    EXPECT_EQ(answer.get(), OK) << "somebody else switched it off";
}

TEST_F(Bluetooth, RfTestDeactivationWithoutAProcessIsRefused)
{
    radio("adapter", "1");
    wrap_record_sleeps(true);
    wrap_fail("fork", -1, ENOMEM);
    EXPECT_EQ(run("bluetooth deactivation rf_test"), NG);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_TRUE(camera.logged("RF Test Mode Off error : -1"));
    EXPECT_THAT(steps(camera), ElementsAre("register_callback", "unregister_callback"));
}

TEST_F(Bluetooth, AudioTestsAlwaysFail)
{
    EXPECT_EQ(run("bluetooth audio_test activation"), NG);
    EXPECT_TRUE(camera.logged("Audio Test Mode On"));
    EXPECT_EQ(run("bluetooth deactivation audio_test"), NG);
    EXPECT_TRUE(camera.logged("Audio Test Deactivation"));
    EXPECT_THAT(steps(camera), IsEmpty());
}

// ------------------------------------------------------------------------- search

TEST_F(Bluetooth, SearchIsJudgedWhenItsCallbackIsTakenBack)
{
    in_range(ONE);
    camera.fault("bluetooth_unregister_callback", "-1");
    EXPECT_EQ(run("bluetooth search search_with_ack"), OK);
    const auto messages = new_messages();
    const auto judged = std::ranges::find(messages, "BT_FIND_SUCCESS");
    ASSERT_NE(judged, messages.end());
    EXPECT_THAT(*(judged - 1), HasSubstr("bluetooth_unregister_callback"));
}

TEST_F(Bluetooth, SearchEndsAtTheFirstDevice)
{
    in_range(std::string(ONE) + "\n" + TWO);
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040001"));
    const auto messages = new_messages();
    EXPECT_THAT(std::vector(messages.begin() + 3, messages.end()),
                ElementsAre("================cmd 1, 1================", "Search with ACK",
                            "Bluetooth Event : 7", "BR/EDR dev discovery started.",
                            "Bluetooth Event : 9", "BR/EDR dev [One camera] [01:23:45:67:89:AB]",
                            "Bluetooth Event : 8", "Bluetooth Search result [4]", "BT_FIND_SUCCESS",
                            "search_with_ack is success with 1 devices found",
                            "search_with_ack is success with 0X1 devices found",
                            HasSubstr("ptp-response: [0x10040001, 0x00040001, 0x00000000]")));
    EXPECT_THAT(steps(camera), ElementsAre("register_callback", "start_custom_discovery",
                                           "cancel_discovery", "unregister_callback"));
    EXPECT_THAT(told({"bluetooth_start_custom_discovery"}),
                ElementsAre("bluetooth_start_custom_discovery[1,0,0,0]"));
}

TEST_F(Bluetooth, SearchThatFindsNothingIsEndedByItsTimer)
{
    in_range("");
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040000"));
    EXPECT_TRUE(camera.logged("Bluetooth Search result [5]"));
    EXPECT_TRUE(camera.logged("BT_NOT_FIND_SUCCESS"));
    EXPECT_EQ(camera.calls("bluetooth_cancel_discovery").size(), 1U);
}

// The first device is found after twice the delay.
TEST_F(Bluetooth, ASearchLastsTenSecondsOfTheCamera)
{
    in_range(ONE);
    camera.speed(10);
    radio("delay", "3000");
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040001"));
    radio("delay", "7500");
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040000"));
}

TEST_F(Bluetooth, AnotherEventEndsASearchWithoutSuccess)
{
    in_range(ONE);
    camera.speed(1);
    radio("delay", "never");
    auto answer = start("bluetooth search search_with_ack");
    ASSERT_TRUE(
        wait_for([&] { return !camera.calls("bluetooth_start_custom_discovery").empty(); }));
    radio("event", "9");
    ASSERT_TRUE(hears("Bluetooth Event : 9"));
    radio("event", "2 0");
    EXPECT_EQ(answer.get(), NG);
    EXPECT_TRUE(camera.logged("Bluetooth Search result [2]"));
    EXPECT_EQ(g_dev_cnt, 1) << "counted as soon as it is found";
    radio("delay", "0");
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040001"))
        << "the next one counts its own";
}

TEST_F(Bluetooth, EachSearchCountsItsOwnDevices)
{
    in_range(ONE);
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040001"));
    EXPECT_EQ(g_dev_cnt, 0) << "the answer has taken them";
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040001"));
    radio("devices", "");
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040000"));
}

TEST_F(Bluetooth, DevicesThatAreToldAllTheSameAreCounted)
{
    in_range(ONE);
    camera.speed(1);
    radio("delay", "never");
    auto answer = std::async(std::launch::async,
                             [&] { return run("bluetooth search search_with_ack", ROVA_CMD_PTP); });
    ASSERT_TRUE(
        wait_for([&] { return !camera.calls("bluetooth_start_custom_discovery").empty(); }));
    radio("event", "10");
    ASSERT_TRUE(hears("Bluetooth Event : 10"));
    radio("event", "9");
    ASSERT_TRUE(hears("Bluetooth Event : 9"));
    ASSERT_TRUE(hears("bluetooth_cancel_discovery returned failiure"));
    radio("event", "8");
    EXPECT_EQ(answer.get(), number_answer(true, "0x00040002"));
}

TEST_F(Bluetooth, LinesThatAreNoDeviceAreNotFound)
{
    const std::string no_devices = "\n:\nOne camera\n01:23:45:67:89 short\n0g:23:45:67:89:ab hex\n";
    in_range(no_devices);
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040000"));
    radio("devices", no_devices + TWO);
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(true, "0x00040001"));
    EXPECT_TRUE(camera.logged("BR/EDR dev [] [10:32:54:76:98:BA]"));
}

// Neither found nor not found: the result stays as it was at the start.
TEST_F(Bluetooth, ASearchOfModeThreeOnlyListensAndFails)
{
    in_range(ONE);
    radio("delay", "never");
    char buffer[526] = {};
    auto result = std::async(std::launch::async, [&] { return process_FCBTTEST(1, 3, buffer); });
    ASSERT_TRUE(wait_for([&] { return !camera.calls("bluetooth_register_callback").empty(); }));
    radio("event", "9");
    ASSERT_TRUE(hears("Bluetooth Event : 9"));
    radio("event", "8");
    EXPECT_EQ(result.get(), 1);
    EXPECT_EQ(std::exchange(g_dev_cnt, 0), 1);
    EXPECT_TRUE(camera.logged("Search with ACK"));
    EXPECT_TRUE(camera.logged("Bluetooth Search result [0]"));
    EXPECT_THAT(steps(camera),
                ElementsAre("register_callback", "cancel_discovery", "unregister_callback"));
}

TEST_F(Bluetooth, SearchWithTheAdapterOffIsRefused)
{
    EXPECT_EQ(run("bluetooth search search_with_ack", ROVA_CMD_PTP),
              number_answer(false, "0x00000000"));
    EXPECT_TRUE(camera.logged("bluetooth_start_discovery returned failiure [0xffffffff]"));
    EXPECT_TRUE(camera.logged("search_with_ack failed"));
    EXPECT_EQ(steps(camera).back(), "unregister_callback");
}

TEST_F(Bluetooth, OtherSearchWordsDoNotSearch)
{
    EXPECT_EQ(run("bluetooth search", ROVA_CMD_PTP), number_answer(false, "0x00000000"));
    EXPECT_EQ(run("bluetooth search search", ROVA_CMD_PTP), number_answer(false, "0x00000000"));
    EXPECT_EQ(run("bluetooth search foo", ROVA_CMD_PTP), number_answer(true, "0x00000000"));
    EXPECT_EQ(run("bluetooth search SEARCH", ROVA_CMD_PTP), number_answer(true, "0x00000000"));
    EXPECT_TRUE(camera.logged("================cmd 1, 0================"));
    EXPECT_THAT(steps(camera), IsEmpty());
}

// ------------------------------------------------------------------------- failing calls

namespace
{

struct Failing {
    const char *call;
    const char *how;
    const char *adapter;
    const char *line;
    const char *message;
    bool registered; // and so to be unregistered
};

class BluetoothFailure : public BluetoothTest, public testing::WithParamInterface<Failing>
{
};

constexpr char ACTIVATION[] = "bluetooth activation normal";
constexpr char DEACTIVATION[] = "bluetooth deactivation normal";
constexpr char RF_ON[] = "bluetooth rf_test activation";
constexpr char RF_OFF[] = "bluetooth deactivation rf_test";
constexpr char SEARCH[] = "bluetooth search search_with_ack";
constexpr char REGISTER[] = "bluetooth_register_callback returned failiure [0xfffffffb]";
constexpr char CHECK[] = "bluetooth_check_adapter returned failiure [0xfffffffb]";
constexpr char DISCOVERABLE[] = "bluetooth_set_discoverable_mode fail!";

} // namespace

TEST_P(BluetoothFailure, IsToldAndRefused)
{
    const Failing &failing = GetParam();
    radio("adapter", failing.adapter);
    add_script("bt-edutm-off.sh", sets_adapter(0));
    camera.fault(failing.call, failing.how);
    EXPECT_EQ(run(failing.line), NG);
    EXPECT_TRUE(camera.logged(failing.message)) << camera.platform_log();
    EXPECT_EQ(camera.calls("bluetooth_unregister_callback").size(), failing.registered ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, BluetoothFailure,
    testing::Values(
        Failing{"bluetooth_register_callback", "-5", "0", ACTIVATION, REGISTER, false},
        Failing{"bluetooth_register_callback", "-5", "1", DEACTIVATION, REGISTER, false},
        Failing{"bluetooth_register_callback", "-5", "0", RF_ON, REGISTER, false},
        Failing{"bluetooth_register_callback", "-5", "1", RF_OFF, REGISTER, false},
        Failing{"bluetooth_register_callback", "-5", "1", SEARCH, REGISTER, false},
        Failing{"bluetooth_check_adapter", "-5", "0", ACTIVATION, CHECK, true},
        Failing{"bluetooth_check_adapter", "-5", "0", RF_ON, CHECK, true},
        Failing{"bluetooth_check_adapter", "-5", "1", DEACTIVATION, CHECK, false},
        Failing{"bluetooth_check_adapter", "-5", "1", RF_OFF, CHECK, false},
        Failing{"bluetooth_disable_adapter", "-5", "1", ACTIVATION, "Deactivation error : -5",
                true},
        Failing{"bluetooth_disable_adapter", "-5", "1", DEACTIVATION, "Deactivation error : -5",
                true},
        Failing{"bluetooth_enable_adapter", "-5", "0", ACTIVATION, "Activation error : -5", true},
        Failing{"bluetooth_enable_adapter", "-5", "1", RF_ON, "Activation error : -5", true},
        Failing{"bluetooth_set_discoverable_mode", "-5", "0", ACTIVATION, DISCOVERABLE, true},
        Failing{"bluetooth_set_discoverable_mode", "-5", "0", RF_ON, DISCOVERABLE, true},
        Failing{"bluetooth_start_custom_discovery", "-5", "1", SEARCH,
                "bluetooth_start_discovery returned failiure [0xfffffffb]", true}));

TEST_F(Bluetooth, AFailedUnregistrationDoesNotChangeTheAnswer)
{
    camera.fault("bluetooth_unregister_callback", "-5");
    EXPECT_EQ(run(ACTIVATION), OK);
    EXPECT_TRUE(camera.logged("bluetooth_unregister_callback returned failiure [0xfffffffb]"));
    camera.clear_fault("bluetooth_unregister_callback");
    EXPECT_EQ(run(ACTIVATION), OK) << "the next command registers anew";
}

// ------------------------------------------------------------------------- silence

class BluetoothSilence : public BluetoothTest, public testing::WithParamInterface<const char *>
{
};

TEST_P(BluetoothSilence, EndsWhenTheDaemonIsAskedToStop)
{
    const std::string line = GetParam();
    radio("adapter", line == ACTIVATION || line == RF_ON ? "0" : "1");
    radio("delay", "never");
    auto answer = start(line);
    ASSERT_TRUE(wait_for([&] {
        return !camera.calls("bluetooth_enable_adapter").empty() ||
               !camera.calls("bluetooth_disable_adapter").empty() ||
               !camera.calls("bluetooth_start_custom_discovery").empty() ||
               camera.logged("child is terminated");
    }));
    ask_to_stop();
    EXPECT_EQ(answer.get(), NG);
    EXPECT_TRUE(camera.logged("stopped while waiting for an event"));
    EXPECT_EQ(steps(camera).back(), "unregister_callback");
}

INSTANTIATE_TEST_SUITE_P(Commands, BluetoothSilence,
                         testing::Values(ACTIVATION, DEACTIVATION, RF_ON, RF_OFF, SEARCH));

TEST_F(Bluetooth, SearchWhoseCancellationFailsGoesOnUntilAnEvent)
{
    in_range("");
    camera.fault("bluetooth_cancel_discovery", "-5");
    auto answer = start(SEARCH);
    ASSERT_TRUE(hears("bluetooth_cancel_discovery returned failiure [0xfffffffb]"));
    radio("event", "8");
    EXPECT_THAT(answer.get(), HasSubstr("OK"));
}

TEST_F(Bluetooth, SearchThatTheServiceForgotIsNotCancelled)
{
    in_range("");
    camera.fault("bluetooth_is_discovering", "0");
    auto answer = start(SEARCH);
    ASSERT_TRUE(
        wait_for([&] { return !camera.calls("bluetooth_start_custom_discovery").empty(); }));
    ask_to_stop();
    EXPECT_EQ(answer.get(), NG);
    EXPECT_THAT(camera.calls("bluetooth_cancel_discovery"), IsEmpty());
}

TEST_F(Bluetooth, CommandsLeaveNoDescriptorOpen)
{
    run(ACTIVATION);
    const std::size_t before = open_descriptors();
    for (int times = 0; times < 20; times++) {
        EXPECT_EQ(run(ACTIVATION), OK);
        EXPECT_EQ(run(DEACTIVATION), OK);
    }
    EXPECT_EQ(open_descriptors(), before);
}

// ------------------------------------------------------------------------- address

TEST_F(Bluetooth, AddrSetWritesItemAndFile)
{
    EXPECT_THAT(run("bluetooth addr_set 0123456789AB"), EndsWith(OK));
    EXPECT_EQ(camera.read("/opt/etc/btmac.info"), "01:23:45:67:89:AB");
    EXPECT_EQ(camera.calls("sys_sync").size(), 1U);
    EXPECT_TRUE(camera.logged("rova_cmd_bluetooth_addr_set : mac address [0123456789AB]"));
    EXPECT_TRUE(camera.logged("mac_address : 01:23:45:67:89:AB"));
    EXPECT_TRUE(camera.logged("SET BT MAC: OK[0123456789AB]"));
    EXPECT_THAT(told({"factory_osd_text_set"}),
                Contains(HasSubstr("SET BT MAC: OK[0123456789AB]")));
    EXPECT_EQ(camera.calls("pref_save").size(), 1U);
}

TEST_F(Bluetooth, AddrSetLogsEachCharacterOfTheAddress)
{
    for (const std::string address : {"0123456789AB", "01:23:45:67:"}) {
        new_messages();
        EXPECT_THAT(run("bluetooth addr_set " + address), EndsWith(OK));
        std::string letters;
        for (const std::string &message : new_messages())
            if (message.size() == 1)
                letters += message;
        EXPECT_EQ(letters, address);
    }
}

TEST_F(Bluetooth, AddrSetChecksItsWord)
{
    EXPECT_EQ(run("bluetooth addr_set"), NG);
    EXPECT_EQ(run("bluetooth addr_set 0123456789A"), NG);
    EXPECT_EQ(run("bluetooth addr_set 0123456789ABC"), NG);
    EXPECT_TRUE(camera.logged("SET BT MAC: ERROR1[0123456789ABC]"));
    EXPECT_THAT(told({"factory_osd_text_set"}),
                ElementsAre("factory_osd_text_set[2,\"SET BT MAC: ERROR0[no param]\"]",
                            "factory_osd_text_set[2,\"SET BT MAC: ERROR1[0123456789A]\"]",
                            "factory_osd_text_set[2,\"SET BT MAC: ERROR1[0123456789ABC]\"]"));
    EXPECT_FALSE(camera.exists("/opt/etc/btmac.info"));
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_F(Bluetooth, AddrSetThatCannotSaveWritesNoFile)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("bluetooth addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("SET BT MAC: ERROR3[0123456789AB]"));
    EXPECT_THAT(told({"factory_osd_text_set"}),
                ElementsAre("factory_osd_text_set[2,\"SET BT MAC: ERROR3[0123456789AB]\"]"));
    EXPECT_FALSE(camera.exists("/opt/etc/btmac.info"));
}

TEST_F(Bluetooth, AddrSetWithoutItsFileIsRefused)
{
    camera.fault("sys_fopen", "0 errno EACCES on btmac.info");
    EXPECT_THAT(run("bluetooth addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("file open failed"));
    EXPECT_TRUE(camera.logged("SET BT MAC: ERROR2[0123456789AB]"));
    EXPECT_THAT(told({"factory_osd_text_set"}),
                ElementsAre("factory_osd_text_set[2,\"SET BT MAC: ERROR2[0123456789AB]\"]"));
    EXPECT_THAT(camera.calls("sys_sync"), IsEmpty());
}

TEST_F(Bluetooth, AddrGetTellsTheAddress)
{
    run("bluetooth addr_set 0123456789AB");
    new_messages();
    EXPECT_THAT(run("bluetooth addr_get"), EndsWith(OK));
    const auto messages = new_messages();
    for (const char *message :
         {"BT MAC in NAND RAW [12]= 0123456789AB", "BT MAC in NAND [12]= 0123456789AB",
          "GET BT MAC: OK[12]= 01:23:45:67:89:AB"})
        EXPECT_THAT(messages, Contains(message));
    EXPECT_THAT(told({"factory_osd_text_set"}).back(),
                HasSubstr("[2,\"GET BT MAC: OK[01:23:45:67:89:AB]\"]"));
    const auto rows = lines_of(camera.read("/sdcard/bluetooth_addr.csv"));
    EXPECT_THAT(rows, ElementsAre("Index,CIS S/N,BT address\r", EndsWith(",0123456789AB\r")));
}

TEST_F(Bluetooth, AddrGetOfAnAddressNeverSetIsRefused)
{
    EXPECT_THAT(run("bluetooth addr_get"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("GET BT MAC: ERROR"));
    EXPECT_THAT(told({"factory_osd_text_set"}),
                ElementsAre("factory_osd_text_set[2,\"GET BT MAC: ERROR[]\"]"));
    EXPECT_EQ(camera.read("/sdcard/bluetooth_addr.csv"), "Index,CIS S/N,BT address\r\n");
}

TEST_F(Bluetooth, AddrGetWithoutACardIsOkAllTheSame)
{
    run("bluetooth addr_set 0123456789AB");
    camera.remove("/sdcard");
    EXPECT_THAT(run("bluetooth addr_get"), EndsWith(OK));
    cmd_data record = record_of("bluetooth addr_get");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
}

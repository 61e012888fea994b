#include "command/wifi/rova_nested_loop.h"
#include "tests/command/wifi/bluetooth_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <nlohmann/json.hpp>
#include <platform/bluetooth.h>
#include <platform/nfc.h>
#include <platform/vconf.h>

#include <sys/stat.h>
#include <vector>

using namespace test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

constexpr char SUPPORT_CARD[] = "/sys/devices/platform/dw_mmc_sdio.0/support_card";
constexpr char TAG_FILE[] = "/opt/etc/nfctag.info";
constexpr char CSV[] = "/sdcard/nfc_tag.csv";
constexpr char GAVE_UP[] = "stopped while waiting for an event ";

constexpr char ON_STARTED[] = "rova_cmd_nfc_on:nfc_manager_initialize - Operation succeeded!";
constexpr char ON_SWITCHED[] = "rova_cmd_nfc_on:nfc_manager_set_activation - Operation succeeded!";
constexpr char OFF_SWITCHED[] =
    "rova_cmd_nfc_off:nfc_manager_set_activation - Operation succeeded!";
constexpr char OFF_ENDED[] = "rova_cmd_nfc_off:nfc_manager_deinitialize - Operation succeeded!";
constexpr char COMPLETED[] = "set_activation_completed_cb  ret(0) ";

} // namespace

// Beside the NFC manager there is a Bluetooth radio.
class NfcFamily : public BluetoothTest
{
protected:
    NfcFamily() { camera.write(SUPPORT_CARD, "1"); }

    void nfc(const std::string &name, const std::string &value) const
    {
        camera.write("/virtual/radio/nfc/" + name, value + "\n");
    }
    std::string nfc(const std::string &name) const
    {
        return camera.read("/virtual/radio/nfc/" + name);
    }
    void running() const
    {
        nfc("manager", "1");
        nfc("chip", "1");
    }
    bool waits() const
    {
        return wait_for([&] { return !camera.calls("nfc_manager_set_activation").empty(); });
    }

    std::string without_words(const std::string &line)
    {
        cmd_data record = record_of(line);
        record.p_count = 0;
        return run(record, ROVA_CMD_SCRIPT);
    }
    std::vector<std::string> steps() const
    {
        return told(
            {"nfc_manager_initialize", "nfc_manager_set_activation", "nfc_manager_deinitialize"});
    }

    std::string read_tag(const std::string &contents)
    {
        nfc("chip", "1");
        camera.write(TAG_FILE, contents);
        return run("nfc read_taginfo");
    }
    // Behind the heading of a file with one row.
    std::string value() const
    {
        const std::string head = "Index,CIS S/N,tag_data\r\n1,0,";
        const std::string text = camera.read(CSV);
        EXPECT_TRUE(text.starts_with(head) && text.ends_with("\r\n")) << text;
        return text.substr(head.size(), text.size() - head.size() - 2);
    }
};

TEST_F(NfcFamily, AnUnknownSubcommandIsNotAnswered)
{
    EXPECT_EQ(run("nfc on"), NO_ANSWER);
    EXPECT_THAT(messages(), Contains("Not found on nfc command table "));
}

// ------------------------------------------------------------------------- on

TEST_F(NfcFamily, OnStartsTheManagerAndSwitchesTheChipOn)
{
    EXPECT_EQ(run("nfc nfc_on"), OK);
    EXPECT_THAT(new_messages(), ElementsAre(ON_STARTED, ON_SWITCHED, COMPLETED));
    EXPECT_THAT(steps(), ElementsAre("nfc_manager_initialize[]", "nfc_manager_set_activation[1]"));
    EXPECT_EQ(nfc("chip"), "1\n");
    EXPECT_THAT(camera.platform_log(), HasSubstr("ROVACONN"));
    EXPECT_EQ(run("NFC NFC_ON", ROVA_CMD_PTP), PTP_OK) << "once more";
}

TEST_F(NfcFamily, OnWithoutWordsDoesNothing)
{
    EXPECT_EQ(without_words("nfc nfc_on"), NG);
    EXPECT_THAT(steps(), IsEmpty());
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(NfcFamily, OnEndsWhereTheManagerCannotBeStarted)
{
    camera.fault("nfc_manager_initialize", "-32255");
    EXPECT_EQ(run("nfc nfc_on"), NG);
    EXPECT_THAT(messages(),
                ElementsAre("rova_cmd_nfc_on:nfc_manager_initialize - Operation failed!"));
    EXPECT_THAT(steps(), ElementsAre("nfc_manager_initialize[]"));
}

TEST_F(NfcFamily, OnEndsWhereTheChipCannotBeSwitched)
{
    camera.fault("nfc_manager_set_activation", "-32255");
    EXPECT_EQ(run("nfc nfc_on"), NG);
    EXPECT_THAT(
        messages(),
        ElementsAre(ON_STARTED, "rova_cmd_nfc_on:nfc_manager_set_activation - Operation failed!"));
}

TEST_F(NfcFamily, OtherResultsPassAndAreNotLogged)
{
    const std::vector<std::string> all = {ON_STARTED,   ON_SWITCHED, COMPLETED,
                                          OFF_SWITCHED, COMPLETED,   OFF_ENDED};
    for (const char *call :
         {"nfc_manager_initialize", "nfc_manager_set_activation", "nfc_manager_deinitialize"})
        for (const char *result : {"-1", "1", "-32254", "-32256", "33281"}) {
            camera.fault(call, result);
            EXPECT_EQ(run("nfc nfc_on"), OK) << call << " " << result;
            EXPECT_EQ(run("nfc nfc_off"), OK) << call << " " << result;
            auto expected = all;
            std::erase_if(expected, [=](const std::string &text) {
                return text.find(call) != std::string::npos;
            });
            EXPECT_EQ(new_messages(), expected) << call << " " << result;
            camera.clear_fault(call);
        }
}

TEST_F(NfcFamily, WhatBecomesOfTheSwitchingDoesNotCount)
{
    nfc("result", "-32255");
    EXPECT_EQ(run("nfc nfc_on"), OK);
    EXPECT_EQ(run("nfc nfc_off"), OK);
    EXPECT_EQ(times_logged("set_activation_completed_cb  ret(-32255) "), 2U);
    EXPECT_EQ(nfc("chip"), "") << "nobody switched it";
}

// ------------------------------------------------------------------------- off

TEST_F(NfcFamily, OffSwitchesTheChipOffAndEndsTheManager)
{
    running();
    EXPECT_EQ(run("nfc nfc_off"), OK);
    EXPECT_THAT(messages(), ElementsAre(OFF_SWITCHED, COMPLETED, OFF_ENDED));
    EXPECT_THAT(steps(),
                ElementsAre("nfc_manager_set_activation[0]", "nfc_manager_deinitialize[]"));
    EXPECT_EQ(nfc("chip"), "0\n");
    EXPECT_EQ(nfc("manager"), "0\n");
    EXPECT_EQ(camera.read(SUPPORT_CARD), "0");
}

TEST_F(NfcFamily, OffWithoutWordsReleasesTheSupportCardAllTheSame)
{
    running();
    EXPECT_EQ(without_words("nfc nfc_off"), NG);
    EXPECT_EQ(camera.read(SUPPORT_CARD), "0");
    EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(NfcFamily, OffEndsWhereTheChipCannotBeSwitched)
{
    running();
    camera.fault("nfc_manager_set_activation", "-32255");
    EXPECT_EQ(run("nfc nfc_off"), NG);
    EXPECT_THAT(messages(),
                ElementsAre("rova_cmd_nfc_off:nfc_manager_set_activation - Operation failed!"));
    EXPECT_THAT(steps(), ElementsAre("nfc_manager_set_activation[0]"));
    EXPECT_EQ(camera.read(SUPPORT_CARD), "0");
}

TEST_F(NfcFamily, OffIsNgWhereTheManagerCannotBeEnded)
{
    running();
    camera.fault("nfc_manager_deinitialize", "-32255");
    EXPECT_EQ(run("nfc nfc_off"), NG);
    EXPECT_THAT(messages(),
                ElementsAre(OFF_SWITCHED, COMPLETED,
                            "rova_cmd_nfc_off:nfc_manager_deinitialize - Operation failed!"));
    EXPECT_EQ(camera.read(SUPPORT_CARD), "0");
}

TEST_F(NfcFamily, OffIsNgWhereTheSupportCardIsNotReleased)
{
    running();
    camera.remove(SUPPORT_CARD);
    EXPECT_EQ(run("nfc nfc_off"), NG);
    EXPECT_EQ(messages().back(),
              std::string("failed to write ") + SUPPORT_CARD + " (No such file or directory) ");
    EXPECT_EQ(nfc("manager"), "0\n");
}

// ------------------------------------------------------------------------- the loop

TEST_F(NfcFamily, TheManagerTakesItsTime)
{
    camera.speed(1000000);
    nfc("delay", "3600000");
    EXPECT_EQ(run("nfc nfc_on"), OK);
    EXPECT_EQ(nfc("chip"), "1\n");
}

TEST_F(NfcFamily, OnOfASilentManagerEndsWhenTheDaemonIsAskedToStop)
{
    nfc("delay", "never");
    auto answer = start("nfc nfc_on");
    ASSERT_TRUE(waits());
    ask_to_stop();
    EXPECT_EQ(answer.get(), NG);
    EXPECT_THAT(messages(), ElementsAre(ON_STARTED, ON_SWITCHED, GAVE_UP));
}

TEST_F(NfcFamily, OffOfASilentManagerEndsItWhenTheDaemonIsAskedToStop)
{
    running();
    nfc("delay", "never");
    auto answer = start("nfc nfc_off");
    ASSERT_TRUE(waits());
    EXPECT_EQ(camera.read(SUPPORT_CARD), "1") << "only behind the chip";
    ask_to_stop();
    EXPECT_EQ(answer.get(), NG);
    EXPECT_THAT(messages(), ElementsAre(OFF_SWITCHED, GAVE_UP, OFF_ENDED));
    EXPECT_EQ(nfc("manager"), "0\n");
    EXPECT_EQ(camera.read(SUPPORT_CARD), "0");
}

TEST_F(NfcFamily, EachCommandHasALoopOfItsOwn)
{
    GMainContext *before = g_main_context_get_thread_default();
    run("nfc nfc_on"); // the process keeps GLib's default context, which the first one makes
    run("nfc nfc_off");
    const std::size_t open = open_descriptors();
    for (int times = 0; times < 20; times++) {
        EXPECT_EQ(run("nfc nfc_on"), OK);
        EXPECT_EQ(run("nfc nfc_off"), OK);
    }
    EXPECT_EQ(times_logged(COMPLETED), 42U);
    EXPECT_EQ(g_main_context_get_thread_default(), before);
    EXPECT_EQ(open_descriptors(), open);
}

namespace
{

void count_key(keynode_t *, void *count)
{
    ++*static_cast<int *>(count);
}

} // namespace

TEST_F(NfcFamily, TheMainThreadIsServedMeanwhile)
{
    constexpr char KEY[] = "memory/test/key";
    int keys = 0;
    ASSERT_EQ(vconf_notify_key_changed(KEY, count_key, &keys), 0);
    nfc("delay", "never");
    auto answer = start("nfc nfc_on");
    ASSERT_TRUE(waits());
    virt::set_int(KEY, 1);
    EXPECT_TRUE(serve_until([&] { return keys == 1; }));
    ask_to_stop();
    EXPECT_EQ(answer.get(), NG);
    EXPECT_EQ(keys, 1);
    vconf_ignore_key_changed(KEY, count_key);
}

// ------------------------------------------------------------------------- two radios

namespace
{

// What reaches a loop that is not the command's.
struct Elsewhere {
    rova_nested_loop loop;
    std::vector<int> told;
};

Elsewhere *elsewhere;

void tell_elsewhere(int number)
{
    elsewhere->told.push_back(number);
    elsewhere->loop.quit();
}

class TwoRadios : public NfcFamily
{
protected:
    TwoRadios() { elsewhere = &other; }
    ~TwoRadios() override { elsewhere = nullptr; }

    Elsewhere other;
};

} // namespace

TEST_F(TwoRadios, EventsOfBluetoothDoNotReachTheLoopOfNfc)
{
    radio("adapter", "1");
    const auto told = [](const bluetooth_event *event, void *) { tell_elsewhere(event->number); };
    ASSERT_EQ(bluetooth_register_callback(told, nullptr), 0);
    ASSERT_EQ(bluetooth_start_custom_discovery(1, 0, 0, 0), 0) << "it is to be told at once";
    nfc("delay", "20");
    EXPECT_EQ(run("nfc nfc_on"), OK);
    EXPECT_THAT(messages(), ElementsAre(ON_STARTED, ON_SWITCHED, COMPLETED));
    EXPECT_THAT(other.told, IsEmpty());
    EXPECT_TRUE(other.loop.run());
    EXPECT_THAT(other.told, ElementsAre(BLUETOOTH_EVENT_DISCOVERY_STARTED));
    bluetooth_unregister_callback();
}

TEST_F(TwoRadios, EventsOfNfcDoNotReachTheLoopOfBluetooth)
{
    nfc("manager", "1");
    nfc("result", "77");
    ASSERT_EQ(nfc_manager_set_activation(1, tell_elsewhere, nullptr), 0);
    radio("delay", "20");
    EXPECT_EQ(run("bluetooth activation normal"), OK);
    EXPECT_THAT(other.told, IsEmpty());
    EXPECT_TRUE(other.loop.run());
    EXPECT_THAT(other.told, ElementsAre(77));
}

// ------------------------------------------------------------------------- tag

TEST_F(NfcFamily, ReadTaginfoReportsTheTag)
{
    EXPECT_THAT(read_tag("tag of a camera, 0x5A"), EndsWith(OK));
    EXPECT_EQ(value(), "tag of a camera, 0x5A");
    EXPECT_THAT(messages(),
                ElementsAre("rova_cmd_nfc_read_taginfo file size 21", "mrvl_api_read_nfc_tag end.",
                            "id=CIS_SN ", HasSubstr("type=1, file=/sdcard/nfc_tag.csv")));
}

TEST_F(NfcFamily, ReadTaginfoTellsThePcWhereTheFileIs)
{
    nfc("chip", "1");
    camera.write(TAG_FILE, "tag");
    camera.write("/sdcard/info.tgw", "");
    EXPECT_THAT(run("nfc read_taginfo", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/nfc_tag.csv");
    EXPECT_EQ(camera.read("/tmp/nfc_tag.csv"),
              "nfc_tag.csv\r\nIndex,CIS S/N,tag_data\r\n1,0,tag\r\n");
    camera.remove(TAG_FILE);
    EXPECT_THAT(run("nfc read_taginfo", ROVA_CMD_PTP),
                EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
    EXPECT_EQ(camera.read("/tmp/nfc_tag.csv"), "nfc_tag.csv\r\nIndex,CIS S/N,tag_data\r\n1,0,\r\n");
}

TEST_F(NfcFamily, ReadTaginfoTakesTheFirst1024Bytes)
{
    for (const std::size_t size : {1U, 1023U, 1024U, 1025U, 3000U}) {
        camera.remove(CSV);
        std::string tag(size, 'a');
        tag[std::min<std::size_t>(size, 1024) - 1] = 'z';
        EXPECT_THAT(read_tag(tag), EndsWith(OK)) << size;
        EXPECT_EQ(value(), tag.substr(0, 1024)) << size;
        EXPECT_TRUE(camera.logged("rova_cmd_nfc_read_taginfo file size " + std::to_string(size)));
    }
}

TEST_F(NfcFamily, ReadTaginfoTakesATagForATextWhateverIsInIt)
{
    EXPECT_THAT(read_tag("%s%n 100%\xff\n"), EndsWith(OK));
    EXPECT_EQ(value(), "%s%n 100%\xff\n");
    camera.remove(CSV);
    EXPECT_THAT(read_tag(std::string("one\0two", 7)), EndsWith(OK));
    EXPECT_EQ(value(), "one") << "it ends at the first zero";
}

TEST_F(NfcFamily, ReadTaginfoOfAnEmptyFileIsNg)
{
    EXPECT_THAT(read_tag(""), EndsWith(NG));
    EXPECT_EQ(value(), "");
    EXPECT_THAT(messages(), Contains("file size is less "));
    EXPECT_FALSE(camera.logged("file size read"));
    EXPECT_FALSE(camera.logged("mrvl_api_read_nfc_tag end."));
}

TEST_F(NfcFamily, ReadTaginfoBeforeTheChipIsOnIsNgAndLeavesTheFile)
{
    camera.write(TAG_FILE, "tag");
    EXPECT_THAT(run("nfc read_taginfo"), EndsWith(NG));
    EXPECT_EQ(value(), "") << "the tag is not read";
    EXPECT_THAT(messages(), Contains("NFC is not activated. Activate First."));
}

TEST_F(NfcFamily, ReadTaginfoWithoutItsFileIsNg)
{
    nfc("chip", "1");
    EXPECT_THAT(run("nfc read_taginfo"), EndsWith(NG));
    EXPECT_EQ(value(), "");
    EXPECT_THAT(messages(), Contains("/opt/etc/nfctag.info open error"));
}

TEST_F(NfcFamily, ReadTaginfoOfWhatCannotBeReadIsNg)
{
    nfc("chip", "1");
    camera.write(std::string(TAG_FILE) + "/in the way", "");
    EXPECT_THAT(run("nfc read_taginfo"), EndsWith(NG));
    EXPECT_EQ(value(), "");
    struct stat folder = {};
    ASSERT_EQ(stat(camera.path(TAG_FILE).c_str(), &folder), 0);
    EXPECT_TRUE(camera.logged("file size read is 0 and it is less than " +
                              std::to_string(folder.st_size) + "\033"));
}

TEST_F(NfcFamily, ReadTaginfoWithoutWordsIsNgAndLeavesTheFile)
{
    camera.write(TAG_FILE, "tag");
    nfc("chip", "1");
    EXPECT_THAT(without_words("nfc read_taginfo"), EndsWith(NG));
    EXPECT_EQ(value(), "");
    EXPECT_THAT(messages(), Contains("rova_cmd_nfc_read_taginfo fail"));
}

TEST_F(NfcFamily, ReadTaginfoAsksTheManager)
{
    camera.write(TAG_FILE, "tag");
    camera.fault("nfc_manager_is_activated", "2");
    EXPECT_THAT(run("nfc read_taginfo"), EndsWith(OK)) << "any number but 0";
    nfc("chip", "1");
    camera.fault("nfc_manager_is_activated", "0");
    EXPECT_THAT(run("nfc read_taginfo"), EndsWith(NG));
}

TEST_F(NfcFamily, ReadTaginfoWithoutACardIsOkAllTheSame)
{
    std::filesystem::remove_all(camera.path("/sdcard"));
    EXPECT_THAT(read_tag("tag"), EndsWith(std::string("csv_close: handle is NULL, NG \n") + OK));
}

// ------------------------------------------------------------------------- events

TEST_F(NfcFamily, WaitTakesExactWords)
{
    camera.write("/virtual/property/2.14", "1\n");
    EXPECT_EQ(run("nfc wait"), NG);
    EXPECT_EQ(run("nfc wait IN"), NG);
    EXPECT_EQ(run("nfc wait inn"), NG);
    EXPECT_EQ(run("nfc wait Out"), NG);
}

TEST_F(NfcFamily, WaitForAStateThatIsThereTakesOnePoll)
{
    wrap_record_sleeps(true);
    camera.write("/virtual/property/2.14", "1\n");
    EXPECT_EQ(run("nfc wait in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
    camera.write("/virtual/property/2.14.play", "1\n7\n0\n");
    EXPECT_EQ(run("nfc wait out"), OK);
    EXPECT_EQ(wrap_sleeps().size(), 1U + 3U);
}

TEST_F(NfcFamily, WaitEndsWithOkWhenTheDaemonIsAskedToStop)
{
    auto answer = start("nfc wait in");
    ask_to_stop();
    EXPECT_EQ(answer.get(), OK);
}

TEST_F(NfcFamily, TagEventCbOnlyAnswers)
{
    EXPECT_EQ(run("nfc tag_event_cb"), OK);
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_EQ(without_words("nfc tag_event_cb"), NG);
    EXPECT_THAT(messages(), ElementsAre("rova_cmd_nfc_tag_event_cb fail"));
    EXPECT_THAT(steps(), IsEmpty());
}

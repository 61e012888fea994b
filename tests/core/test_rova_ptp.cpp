#include "core/rova_ptp.h"

#include "common/rova_ptp_keys.h"
#include "core/rova_event.h"
#include "lib/rova_process.h"
#include "tests/core/callbacks.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr char RESPONDER[] = "/usr/bin/mtp-responder";

// The camera's responder is a link to this very program.
__attribute__((constructor)) void act_as_responder()
{
    if (std::strcmp(program_invocation_name, RESPONDER) == 0)
        for (;;)
            pause();
}

class Ptp : public testing::Test
{
protected:
    Ptp() { EXPECT_EQ(rova_event_init(&data.ipc, ROVA_IPC_MQ, 3), 1); }

    ~Ptp() override
    {
        test::wrap_clear();
        rova_event_deinit(&data.ipc);
        if (const pid_t pid = rova_get_exec_pid(RESPONDER); pid > 0) {
            test::send_signal(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }

    void init() { ASSERT_EQ(rova_ptp_init(&data), 1); }

    msgqnum_t queued() const
    {
        msqid_ds attributes = {};
        msgctl(data.ipc->mq_id, IPC_STAT, &attributes);
        return attributes.msg_qnum;
    }

    // The next record that a request of the PC leads to.
    cmd_data take(uint32_t type)
    {
        EXPECT_TRUE(test::serve_until([&] { return queued() > 0; }));
        uint32_t taken_type = 0;
        uint32_t size = 0;
        void *buffer = nullptr;
        EXPECT_EQ(rova_event_receive(data.ipc, &taken_type, &buffer, &size), 0);
        EXPECT_EQ(taken_type, type);
        EXPECT_EQ(size, 500u);
        const cmd_data record = *static_cast<cmd_data *>(buffer);
        g_free(buffer);
        return record;
    }

    bool hears(const std::string &text)
    {
        return test::serve_until([&] { return camera.logged(text); });
    }

    static void set_numbers(int p2, int p3, int p4, int p5)
    {
        vconf_set_int(ROVA_KEY_PMODE_PROTOCOL2, p2);
        vconf_set_int(ROVA_KEY_PMODE_PROTOCOL3, p3);
        vconf_set_int(ROVA_KEY_PMODE_PROTOCOL4, p4);
        vconf_set_int(ROVA_KEY_PMODE_PROTOCOL5, p5);
    }

    test::Camera camera;
    rova_main_data data = {};
};

class Usb : public Ptp
{
protected:
    Usb()
    {
        camera.speed(1000);
        std::filesystem::create_symlink(std::filesystem::read_symlink("/proc/self/exe"),
                                        camera.path(RESPONDER));
        vconf_set_str(ROVA_KEY_PTP_ACTIVATION, "");
        vconf_notify_key_changed(ROVA_KEY_PTP_ACTIVATION, rova_ptp_activation_cb, nullptr);
    }

    static void activate() { vconf_set_str(ROVA_KEY_PTP_ACTIVATION, "start"); }
    static bool responder_runs() { return rova_get_exec_pid(RESPONDER) > 0; }
};

using Request = Ptp;
using Predefined = Ptp;

} // namespace

TEST_F(Ptp, InitPreparesBothKeys)
{
    init();
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE), "init_");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PROTOCOL1), 0);
    EXPECT_THAT(
        camera.call_texts(),
        testing::ElementsAre("vconf_set_str(\"memory/private/pmode\", \"init_\")",
                             "vconf_notify_key_changed(\"memory/private/pmode\")",
                             "vconf_set_int(\"memory/private/pmode_protocol1\", 0)",
                             "vconf_notify_key_changed(\"memory/private/pmode_protocol1\")"));
}

TEST_F(Ptp, NullArgumentIsRefused)
{
    EXPECT_EQ(rova_ptp_init(nullptr), 0);
    EXPECT_EQ(rova_ptp_deinit(nullptr), 0);
    EXPECT_TRUE(camera.logged("pdata is NULL"));
}

TEST_F(Ptp, FailedFirstWatchIsReported)
{
    camera.fault("vconf_notify_key_changed", "-3");
    EXPECT_EQ(rova_ptp_init(&data), 0);
    EXPECT_TRUE(
        camera.logged("failed to vconf_notify_key_changed(memory/private/pmode) (ret = -3)"));
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PROTOCOL1), std::nullopt);
}

TEST_F(Ptp, FailedSecondWatchLeavesTheFirstInPlace)
{
    camera.fault("vconf_notify_key_changed", "-3 on protocol1");
    EXPECT_EQ(rova_ptp_init(&data), 0);
    EXPECT_TRUE(camera.logged(
        "failed to vconf_notify_key_changed(memory/private/pmode_protocol1) (ret = -3)"));
    vconf_set_str(ROVA_KEY_PMODE, "led on");
    EXPECT_STREQ(take(ROVA_CMD_PTP).cmd, "led");
}

TEST_F(Ptp, DeinitRemovesBothWatches)
{
    init();
    EXPECT_EQ(rova_ptp_deinit(&data), 1);
    EXPECT_EQ(camera.calls("vconf_ignore_key_changed").size(), 2u);
    EXPECT_EQ(rova_ptp_deinit(&data), 0) << "nothing is watched any more";
    EXPECT_TRUE(camera.logged("failed to vconf_ignore_key_changed(memory/private/pmode)"));
}

TEST_F(Ptp, DeinitRemovesTheSecondWatchWhenTheFirstRemovalFails)
{
    init();
    camera.fault("vconf_ignore_key_changed", "-1 at 1");
    EXPECT_EQ(rova_ptp_deinit(&data), 0);
    EXPECT_EQ(camera.calls("vconf_ignore_key_changed").size(), 2u);
}

TEST_F(Request, LineBecomesACommand)
{
    init();
    vconf_set_str(ROVA_KEY_PMODE, "adj_data read gyro // now");
    const cmd_data record = take(ROVA_CMD_PTP);
    EXPECT_STREQ(record.cmd, "adj_data");
    EXPECT_EQ(record.p_count, 2u);
    EXPECT_STREQ(record.p[1], "gyro");
}

TEST_F(Request, SameLineAgainIsAnotherCommand)
{
    init();
    vconf_set_str(ROVA_KEY_PMODE, "led on");
    vconf_set_str(ROVA_KEY_PMODE, "led on");
    EXPECT_STREQ(take(ROVA_CMD_PTP).cmd, "led");
    EXPECT_STREQ(take(ROVA_CMD_PTP).cmd, "led");
}

TEST_F(Request, BlankLinesAndCommentsAreDropped)
{
    init();
    for (const char *line : {"", "   ", "// remark", "comment foo"})
        vconf_set_str(ROVA_KEY_PMODE, line);
    vconf_set_str(ROVA_KEY_PMODE, "led");
    EXPECT_STREQ(take(ROVA_CMD_PTP).cmd, "led");
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Request, WrongTypeIsReported)
{
    init();
    vconf_set_int(ROVA_KEY_PMODE, 3);
    EXPECT_TRUE(hears("VCONFKEY_ROVA_STOP_CMD type is not string"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Request, MissingStringIsReported)
{
    init();
    test::NoKeyStrings none;
    vconf_set_str(ROVA_KEY_PMODE, "led on");
    EXPECT_TRUE(hears("vconf_keynode_get_str(memory/private/pmode) failed (ret is NULL)"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Request, ParseFailureIsReported)
{
    init();
    test::NoParsing none;
    vconf_set_str(ROVA_KEY_PMODE, "led on");
    EXPECT_TRUE(hears("failed to parse line (num: 0)"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Request, FailedSendIsReported)
{
    init();
    test::wrap_fail("msgsnd", -1, EIDRM);
    vconf_set_str(ROVA_KEY_PMODE, "led on");
    EXPECT_TRUE(hears("failed to send command (num: 0)"));
}

TEST_F(Request, NullsAreReported)
{
    init();
    for (const char *key : {ROVA_KEY_PMODE, ROVA_KEY_PMODE_PROTOCOL1}) {
        camera.write("/virtual/dlog", "");
        const test::Callback callback = test::callback_of(key);
        EXPECT_EQ(callback.user_data, &data);
        callback.function(nullptr, &data);
        EXPECT_TRUE(camera.logged("key is NULL"));
        callback.function(reinterpret_cast<keynode_t *>(&data), nullptr);
        EXPECT_TRUE(camera.logged("rova_main_data is NULL"));
    }
}

TEST_F(Predefined, NumberStandsForACommand)
{
    static const struct {
        int number;
        const char *word;
    } rows[] = {
        {0x10011000, "shutter_speed2"}, {0x10021000, "cis_data2"}, {0x10021001, "cis_data_info"},
        {0x10021002, "cis_data_file"},  {0x10030000, "rtc2"},      {0x10040000, "paf2"},
    };
    init();
    for (const auto &row : rows) {
        set_numbers(1, -2, 0x7fffffff, row.number);
        vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, row.number);
        const cmd_data record = take(ROVA_CMD_PTP2);
        EXPECT_STREQ(record.cmd, row.word);
        EXPECT_EQ(record.p_count, 0u);
        EXPECT_THAT(record.e, testing::ElementsAre(1, -2, 0x7fffffff, row.number));
        EXPECT_STREQ(record.data_path, "");
    }
}

TEST_F(Predefined, ZeroTriggersNothing)
{
    init();
    set_numbers(0, 0, 0, 0);
    vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, 0);
    EXPECT_TRUE(hears("value(0) is no meaning (key=memory/private/pmode_protocol1)"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Predefined, UnknownNumberIsReported)
{
    init();
    set_numbers(0, 0, 0, 0);
    vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, 0x12345678);
    EXPECT_TRUE(hears("Not found on rova command table"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Predefined, WrongTypeIsReported)
{
    init();
    vconf_set_str(ROVA_KEY_PMODE_PROTOCOL1, "1");
    EXPECT_TRUE(hears("VCONFKEY_ROVA_STOP_CMD type is not string"));
    EXPECT_FALSE(camera.logged("is no meaning"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Predefined, MissingIntegersAreReported)
{
    init();
    vconf_set_int(ROVA_KEY_PMODE_PROTOCOL2, 1);
    vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, 0x10030000);
    EXPECT_TRUE(hears("vconf_get_int() failed"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Predefined, FailedSendIsReported)
{
    init();
    set_numbers(0, 0, 0, 0);
    test::wrap_fail("msgsnd", -1, EIDRM);
    vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, 0x10030000);
    EXPECT_TRUE(hears("failed to send command (num: 0)"));
}

TEST_F(Predefined, DataFileInTheWorkingDirectoryIsNamedByItsKey)
{
    const std::filesystem::path before = std::filesystem::current_path();
    camera.write("/work/memory/private/pmode_shutter_data", "x");
    std::filesystem::current_path(camera.path("/work"));
    init();
    set_numbers(0, 0, 0, 0);
    vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, 0x10030000);
    EXPECT_STREQ(take(ROVA_CMD_PTP2).data_path, "memory/private/pmode_shutter_data");
    std::filesystem::current_path(before);
}

TEST_F(Usb, ActivationStartsTheResponderWhenUsbIsAvailable)
{
    vconf_set_int(ROVA_KEY_USB_STATUS, 2);
    activate();
    ASSERT_TRUE(test::serve_until(responder_runs));
    EXPECT_TRUE(camera.logged("usb_status is available"));
}

TEST_F(Usb, RunningResponderIsLeftAlone)
{
    vconf_set_int(ROVA_KEY_USB_STATUS, 2);
    activate();
    ASSERT_TRUE(test::serve_until(responder_runs));
    const pid_t pid = rova_get_exec_pid(RESPONDER);
    vconf_set_int(ROVA_KEY_USB_STATUS, 2);
    vconf_set_int(ROVA_KEY_USB_STATUS, 7);
    ASSERT_TRUE(hears("usb_status is not handled (7)"));
    EXPECT_EQ(rova_get_exec_pid(RESPONDER), pid);
}

TEST_F(Usb, CablePulledEndsTheResponder)
{
    vconf_set_int(ROVA_KEY_USB_STATUS, 2);
    activate();
    ASSERT_TRUE(test::serve_until(responder_runs));
    const pid_t pid = rova_get_exec_pid(RESPONDER);
    vconf_set_int(ROVA_KEY_USB_STATUS, 0);
    ASSERT_TRUE(hears("usb_status is disconnected"));
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
}

TEST_F(Usb, OtherStatesChangeNothing)
{
    vconf_set_int(ROVA_KEY_USB_STATUS, 1);
    activate();
    ASSERT_TRUE(hears("usb_status is not handled (1)"));
    EXPECT_FALSE(responder_runs());
}

TEST_F(Usb, UnknownStateChangesNothing)
{
    activate();
    ASSERT_TRUE(hears("vconf_get_int(memory/sysman/usb_status) failed"));
    EXPECT_FALSE(responder_runs());
    ASSERT_TRUE(test::serve_until([&] {
        return camera.calls().back()["args"][0] == ROVA_KEY_USB_STATUS;
    })) << "the state is watched all the same";
}

TEST_F(Usb, OnlyTheWordStartActivates)
{
    vconf_set_int(ROVA_KEY_USB_STATUS, 2);
    vconf_set_str(ROVA_KEY_PTP_ACTIVATION, "stop");
    vconf_set_int(ROVA_KEY_PTP_ACTIVATION, 1);
    ASSERT_TRUE(hears("vconf_keynode(memory/rova/ptp_activation) is wrong type!"));
    EXPECT_FALSE(camera.logged("usb_status"));
    EXPECT_FALSE(responder_runs());
}

TEST_F(Usb, NullKeyIsRefused)
{
    rova_ptp_activation_cb(nullptr, nullptr);
    EXPECT_TRUE(camera.logged("vconf_keynode(memory/rova/ptp_activation) is wrong type!"));
}

TEST_F(Usb, FailedUsbWatchIsReported)
{
    vconf_set_int(ROVA_KEY_USB_STATUS, 1);
    camera.fault("vconf_notify_key_changed", "-2 on usb_status");
    activate();
    EXPECT_TRUE(hears("failed to vconf_notify_key_changed(memory/sysman/usb_status) (ret = -2)"));
}

TEST_F(Usb, DeinitEndsTheResponder)
{
    init();
    vconf_set_int(ROVA_KEY_USB_STATUS, 2);
    activate();
    ASSERT_TRUE(test::serve_until(responder_runs));
    const pid_t pid = rova_get_exec_pid(RESPONDER);
    EXPECT_EQ(rova_ptp_deinit(&data), 1);
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(status));
}

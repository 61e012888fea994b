#include "core/rova_client.h"

#include "core/rova_event.h"
#include "platform/vconf.h"
#include "tests/core/callbacks.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ipc.h>
#include <sys/msg.h>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

using Texts = std::vector<std::string>;

class Client : public testing::Test
{
protected:
    Client()
    {
        EXPECT_EQ(rova_event_init(&data.ipc, ROVA_IPC_MQ, 3), 1);
        data.option = &option;
    }

    ~Client() override
    {
        test::wrap_clear();
        rova_deinit_client(&data);
        while (queued() > 0)
            take(ROVA_CMD_CARD);
        rova_event_deinit(&data.ipc);
    }

    // Script mode with `script` standing in /tmp already.
    void start(const std::string &script)
    {
        camera.write("/tmp/foo.adj", script);
        start_with("/sdcard/foo.adj");
    }

    void start_with(const std::string &script_file)
    {
        option.card = 1;
        std::snprintf(option.script_file, sizeof(option.script_file), "%s", script_file.c_str());
        ASSERT_EQ(rova_init_client(&data), 1);
    }

    msgqnum_t queued() const
    {
        msqid_ds attributes = {};
        msgctl(data.ipc->mq_id, IPC_STAT, &attributes);
        return attributes.msg_qnum;
    }

    std::string take(uint32_t type)
    {
        uint32_t taken_type = 0;
        uint32_t size = 0;
        void *buffer = nullptr;
        EXPECT_EQ(rova_event_receive(data.ipc, &taken_type, &buffer, &size), 0);
        EXPECT_EQ(taken_type, type);
        EXPECT_EQ(size, 500u);
        auto *record = static_cast<cmd_data *>(buffer);
        std::string text = record->cmd;
        for (uint32_t i = 0; i < record->p_count; i++)
            text += std::string(" ") + record->p[i];
        g_free(buffer);
        return text;
    }

    bool ended() const { return camera.logged("rova-client: thread exited"); }

    // Everything the script sends, to its end.
    Texts sent()
    {
        Texts texts;
        EXPECT_TRUE(test::wait_for([&] {
            while (queued() > 0)
                texts.push_back(take(ROVA_CMD_CARD));
            return ended() && queued() == 0;
        }));
        return texts;
    }

    // The number that the platform log's last `text` ends with; -1 when it does not tell it.
    int number_behind(const std::string &text) const
    {
        const std::string log = camera.platform_log();
        const std::size_t at = log.rfind(text);
        return at == std::string::npos ? -1 : std::atoi(log.c_str() + at + text.size());
    }

    std::vector<std::string> copies() const
    {
        Texts texts;
        for (const auto &call : camera.calls("sys_system"))
            texts.push_back(call["args"][0]);
        return texts;
    }

    test::Camera camera;
    rova_option option = {};
    rova_main_data data = {};
};

using Script = Client;
using Staging = Client;
using ScriptKey = Client;

} // namespace

TEST_F(Script, LinesBecomeCommands)
{
    start("delay 100\nled af on\n");
    EXPECT_EQ(sent(), (Texts{"delay 100", "led af on"}));
    EXPECT_TRUE(camera.logged("rova-client: reached to end-of-file."));
    EXPECT_TRUE(camera.logged("rova-client: thread exited"));
}

TEST_F(Script, CommandsOfOneWordAreDropped)
{
    start("delay\ndelay 100\nled\n");
    EXPECT_EQ(sent(), Texts{"delay 100"});
}

TEST_F(Script, CommentsAndBlankLinesAreDropped)
{
    start("// heading\n\n   \ndelay 1 // why\n\tcomment foo\n");
    EXPECT_EQ(sent(), (Texts{"delay 1", "comment foo"}));
}

TEST_F(Script, LastLineNeedsNoLineFeed)
{
    start("delay 1\r\ndelay 2");
    EXPECT_EQ(sent(), (Texts{"delay 1", "delay 2"}));
}

TEST_F(Script, LongLineIsReadInParts)
{
    start("led af " + std::string(1023 - 7, ' ') + "tail of it\n");
    EXPECT_EQ(sent(), (Texts{"led af", "tail of it"}));
}

TEST_F(Script, BytesOfAnyKindDoNotStopIt)
{
    start(std::string("\x00 hidden\nled \xff\xfe\n\x01 \x02\n", 19));
    EXPECT_EQ(sent(), (Texts{"led \xff\xfe", "\x01 \x02"}));
}

TEST_F(Script, EmptyScriptSendsNothing)
{
    start("");
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(Script, RepeatIsExpandedByTheSender)
{
    start("repeat 2 7 led on\ndelay 1\n");
    EXPECT_EQ(sent(), (Texts{"led on", "delay 7", "led on", "delay 7", "delay 1"}));
}

TEST_F(Script, WaitsWhileThreePacketsAreQueued)
{
    start("led 1\nled 2\nled 3\nled 4\nled 5\n");
    ASSERT_TRUE(test::wait_for([&] { return queued() == 3; }));
    EXPECT_FALSE(ended());
    EXPECT_EQ(sent().size(), 5u);
}

TEST_F(Script, FailedSendEndsItWithTheLinesNumber)
{
    test::wrap_fail("g_try_malloc", 0, 0, 2);
    start("led 1\n\n// x\nled 2\nled 3\n");
    EXPECT_EQ(sent(), Texts{"led 1"});
    EXPECT_TRUE(camera.logged("failed to send command (num: 4)"));
}

TEST_F(Script, ParseFailureEndsItWithTheLinesNumber)
{
    test::NoParsing none;
    start("led 1\n");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_TRUE(camera.logged("failed to parse line (num: 1)"));
}

TEST_F(Script, MissingFileEndsTheThreadOnly)
{
    start_with("/sdcard/foo.adj");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_TRUE(camera.logged("fopen(/tmp/foo.adj) failed"));
    EXPECT_NE(data.client_thread, 0u) << "kept for the join";
}

TEST_F(Script, PipeIsNoScript)
{
    ASSERT_EQ(mkfifo(camera.path("/tmp/foo.adj").c_str(), 0600), 0);
    start_with("/sdcard/foo.adj");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_TRUE(camera.logged("fopen(/tmp/foo.adj) failed"));
}

TEST_F(Script, NameWithoutASlashIsNotUsable)
{
    camera.write("/tmp/foo.adj", "led on\n");
    start_with("foo.adj");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_TRUE(camera.logged("fopen(/tmp/) failed"));
}

TEST_F(Script, NameBehindTheSlashIsTakenUpTo80Bytes)
{
    start_with("/sdcard/" + std::string(100, 'n'));
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(option.script_file, "/tmp/" + std::string(80, 'n'));
}

TEST_F(Script, ThreadIsNamed)
{
    start("led 1\nled 2\nled 3\nled 4\n");
    ASSERT_TRUE(test::wait_for([&] { return queued() == 3; }));
    char name[16] = {};
    ASSERT_EQ(pthread_getname_np(data.client_thread, name, sizeof(name)), 0);
    EXPECT_STREQ(name, "ROVA Client");
}

TEST_F(Script, IsCancelledWhileTheQueueIsFull)
{
    start("led 1\nled 2\nled 3\nled 4\nled 5\n");
    ASSERT_TRUE(test::wait_for([&] { return queued() == 3; }));
    EXPECT_EQ(rova_deinit_client(&data), 1);
    EXPECT_EQ(data.client_thread, 0u);
    EXPECT_EQ(queued(), 3u);
    EXPECT_FALSE(ended());
    EXPECT_TRUE(camera.logged("rova-client: thread terminated."));
    for (const char *text : {"led 1", "led 2", "led 3"})
        EXPECT_EQ(take(ROVA_CMD_CARD), text);
}

TEST_F(Script, FailedJoinIsReported)
{
    start("");
    EXPECT_EQ(sent(), Texts{});
    const pthread_t thread = data.client_thread;
    test::wrap_fail("pthread_join", EINVAL);
    EXPECT_EQ(rova_deinit_client(&data), 1);
    EXPECT_TRUE(camera.logged("failed to join client thread (id=" +
                              std::to_string(static_cast<unsigned int>(thread)) + ")"));
    EXPECT_EQ(data.client_thread, 0u);
    pthread_join(thread, nullptr);
}

TEST_F(Script, WithoutAQueueTheThreadEnds)
{
    rova_main_data no_queue = {&option, nullptr, 0, 0};
    option.card = 1;
    ASSERT_EQ(rova_init_client(&no_queue), 1);
    ASSERT_TRUE(test::wait_for([&] { return ended(); }));
    EXPECT_TRUE(camera.logged("ipc is NULL"));
    EXPECT_EQ(rova_deinit_client(&no_queue), 1);
}

TEST_F(Staging, MarkedScriptIsCopiedWithItsMarker)
{
    camera.write("/sdcard/info.tg", "foo.adj\n");
    camera.write("/sdcard/foo.adj", "led on\n");
    start_with("/sdcard/foo.adj");
    EXPECT_EQ(sent(), Texts{"led on"});
    EXPECT_THAT(copies(),
                ElementsAre("cp -f /sdcard/info.tg /tmp/", "cp -f /sdcard/foo.adj /tmp/"));
    EXPECT_EQ(camera.read("/tmp/info.tg"), "foo.adj\n");
    EXPECT_STREQ(option.script_file, "/tmp/foo.adj");
}

TEST_F(Staging, ServiceScriptIsCopiedAlone)
{
    camera.write("/sdcard/qz_cs.adj", "");
    camera.write("/sdcard/adjustment/qz700/2.iso.adj", "led on\n");
    start_with("/sdcard/adjustment/qz700/2.iso.adj");
    EXPECT_EQ(sent(), Texts{"led on"});
    EXPECT_THAT(copies(), ElementsAre("cp -f /sdcard/adjustment/qz700/2.iso.adj /tmp/"));
}

TEST_F(Staging, WithoutAMarkerNothingIsCopied)
{
    camera.write("/sdcard/foo.adj", "led on\n");
    start_with("/sdcard/foo.adj");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_THAT(copies(), ElementsAre());
    EXPECT_TRUE(camera.logged("fopen(/tmp/foo.adj) failed"));
}

TEST_F(Staging, FailedCopyIsFoundWhenItIsOpened)
{
    camera.write("/sdcard/info.tg", "foo.adj\n");
    start_with("/sdcard/foo.adj");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_TRUE(camera.logged("'cp -f /sdcard/foo.adj /tmp/' failed"));
    EXPECT_TRUE(camera.logged("fopen(/tmp/foo.adj) failed"));
}

TEST_F(Staging, NameThatAShellMightActOnIsNotCopied)
{
    camera.write("/sdcard/info.tg", "x\n");
    for (const char *name :
         {"/sdcard/a;touch b", "/sdcard/$(touch b)", "/sdcard/`b`", "/sdcard/a|b", "/sdcard/a b",
          "/sdcard/a\nb", "/sdcard/*", "-rf", "/sdcard/a>b", "/sdcard/a&b", "/sdcard/a'b",
          "/sdcard/a\"b", "/sdcard/a\\b"}) {
        camera.write("/virtual/calls.jsonl", "");
        camera.write("/virtual/dlog", "");
        start_with(name);
        EXPECT_EQ(sent(), Texts{});
        EXPECT_THAT(copies(), ElementsAre("cp -f /sdcard/info.tg /tmp/")) << name;
        EXPECT_TRUE(camera.logged("cannot be copied to /tmp")) << name;
        EXPECT_TRUE(camera.logged("fopen(")) << name;
        rova_deinit_client(&data);
    }
}

TEST_F(Client, WithoutAModeItDoesNotStart)
{
    EXPECT_EQ(rova_init_client(&data), 0);
    EXPECT_EQ(camera.key_string(ROVA_KEY_SCRIPT_CMD), std::nullopt);
}

TEST_F(Client, NullArgumentIsRefused)
{
    EXPECT_EQ(rova_init_client(nullptr), 0);
    EXPECT_TRUE(camera.logged("pdata is NULL"));
    EXPECT_EQ(rova_deinit_client(nullptr), 0);
}

TEST_F(Client, FailedThreadCreationIsReported)
{
    option.card = 1;
    test::wrap_fail("pthread_create", EAGAIN);
    EXPECT_EQ(rova_init_client(&data), 0);
    EXPECT_TRUE(camera.logged("rova_thread_create() failed"));
    EXPECT_EQ(data.client_thread, 0u);
}

TEST_F(Client, FailedWatchIsReportedAndLeavesNoThread)
{
    option.card = 1;
    camera.write("/tmp/foo.adj", "led 1\nled 2\nled 3\nled 4\n");
    std::strcpy(option.script_file, "/sdcard/foo.adj");
    camera.fault("vconf_notify_key_changed", "-5");
    EXPECT_EQ(rova_init_client(&data), 0);
    EXPECT_TRUE(
        camera.logged("failed to vconf_notify_key_changed(memory/rova/script_cmd) (ret = -5)"));
    EXPECT_EQ(data.client_thread, 0u);
}

TEST_F(Client, ScriptModeServesNoPtpKeys)
{
    option.ptp = 1;
    start("");
    EXPECT_EQ(camera.key_string("memory/private/pmode"), std::nullopt);
    EXPECT_EQ(camera.key_string(ROVA_KEY_SCRIPT_CMD), "init_");
    option.ptp = 0;
}

TEST_F(Client, PtpAndTestModeServeThePtpKeys)
{
    for (uint8_t *flag : {&option.ptp, &option.test}) {
        camera.write("/virtual/calls.jsonl", "");
        *flag = 1;
        ASSERT_EQ(rova_init_client(&data), 1);
        EXPECT_EQ(data.client_thread, 0u);
        EXPECT_EQ(camera.key_string("memory/private/pmode"), "init_");
        EXPECT_EQ(camera.key_string(ROVA_KEY_SCRIPT_CMD), "init_");
        EXPECT_EQ(rova_deinit_client(&data), 1);
        EXPECT_EQ(camera.calls("vconf_ignore_key_changed").size(), 2u);
        *flag = 0;
    }
}

TEST_F(Client, FailedPtpInitDoesNotMatter)
{
    option.test = 1;
    camera.fault("vconf_notify_key_changed", "-1 on pmode");
    EXPECT_EQ(rova_init_client(&data), 1);
}

TEST_F(ScriptKey, LineBecomesACommand)
{
    option.test = 1;
    ASSERT_EQ(rova_init_client(&data), 1);
    vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led af on");
    ASSERT_TRUE(test::serve_until([&] { return queued() == 1; }));
    EXPECT_EQ(take(ROVA_CMD_SCRIPT), "led af on");
    EXPECT_TRUE(camera.logged("rova_script_request_normal_cb() started."));
    EXPECT_TRUE(camera.logged("script request: led af on (cnt="));
    EXPECT_TRUE(camera.logged("rova_script_request_normal_cb() done."));
}

TEST_F(ScriptKey, CommandOfOneWordIsSent)
{
    start("");
    vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led");
    ASSERT_TRUE(test::serve_until([&] { return queued() == 1; }));
    EXPECT_EQ(take(ROVA_CMD_SCRIPT), "led");
}

TEST_F(ScriptKey, CommentsAreDropped)
{
    start("");
    for (const char *line : {"", "  // remark", "comment foo"})
        vconf_set_str(ROVA_KEY_SCRIPT_CMD, line);
    vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led last");
    ASSERT_TRUE(test::serve_until([&] { return queued() > 0; }));
    EXPECT_EQ(take(ROVA_CMD_SCRIPT), "led last");
    EXPECT_EQ(queued(), 0u);
}

TEST_F(ScriptKey, InitialValueIsNoCommand)
{
    start("");
    vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led first");
    ASSERT_TRUE(test::serve_until([&] { return queued() == 1; }));
    EXPECT_EQ(take(ROVA_CMD_SCRIPT), "led first");
}

TEST_F(ScriptKey, WrongTypeIsReported)
{
    start("");
    vconf_set_int(ROVA_KEY_SCRIPT_CMD, 5);
    ASSERT_TRUE(
        test::serve_until([&] { return camera.logged("rova_script_request_normal_cb() done."); }));
    EXPECT_TRUE(camera.logged("VCONFKEY_ROVA_STOP_CMD type is not string"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(ScriptKey, MissingStringIsReported)
{
    start("");
    test::NoKeyStrings none;
    vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led on");
    ASSERT_TRUE(
        test::serve_until([&] { return camera.logged("rova_script_request_normal_cb() done."); }));
    EXPECT_TRUE(
        camera.logged("vconf_keynode_get_str(memory/rova/script_cmd) failed (ret is NULL)"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(ScriptKey, ParseFailureIsReportedWithTheNewCount)
{
    option.test = 1;
    ASSERT_EQ(rova_init_client(&data), 1);
    test::NoParsing none;
    vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led on");
    ASSERT_TRUE(
        test::serve_until([&] { return camera.logged("rova_script_request_normal_cb() done."); }));
    // The number counts the requests of the process.
    EXPECT_EQ(number_behind("failed to parse line (num: "), number_behind("(cnt=") + 1);
    EXPECT_EQ(queued(), 0u);
}

TEST_F(ScriptKey, FailedSendIsReportedWithTheNewCount)
{
    EXPECT_EXIT(
        {
            option.test = 1;
            rova_init_client(&data);
            vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led on");
            test::serve_until([&] { return queued() == 1; });
            take(ROVA_CMD_SCRIPT); // the queue is the parent's too, the record is not
            test::wrap_fail("msgsnd", -1, EIDRM);
            vconf_set_str(ROVA_KEY_SCRIPT_CMD, "led on");
            test::serve_until([&] { return camera.logged("failed to send command"); });
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(number_behind("failed to send command (num: "), number_behind("(cnt=") + 1);
}

TEST_F(ScriptKey, NullsAreReported)
{
    start("");
    const test::Callback callback = test::callback_of(ROVA_KEY_SCRIPT_CMD);
    ASSERT_NE(callback.function, nullptr);
    EXPECT_EQ(callback.user_data, &data);
    callback.function(nullptr, &data);
    EXPECT_TRUE(camera.logged("key is NULL"));
    callback.function(reinterpret_cast<keynode_t *>(&data), nullptr);
    EXPECT_TRUE(camera.logged("rova_main_data is NULL"));
    EXPECT_FALSE(camera.logged("rova_script_request_normal_cb() started."));
}

TEST_F(ScriptKey, WatchOutlivesTheClient)
{
    start("");
    rova_deinit_client(&data);
    EXPECT_TRUE(camera.calls("vconf_ignore_key_changed").empty());
}

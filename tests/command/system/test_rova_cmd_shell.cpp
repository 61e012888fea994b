#include "tests/command/command_test.h"

#include <filesystem>
#include <unistd.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

static constexpr char SCRIPT[] = "/sdcard/a.sh";
static constexpr char LINE[] = "shell script /sdcard/a.sh";

class Shell : public CommandTest
{
protected:
    void add_script(const std::string &body, fs::perms permissions = fs::perms::owner_all)
    {
        camera.write(SCRIPT, "#!/bin/sh\n" + body + "\n");
        fs::permissions(camera.path(SCRIPT), permissions);
    }
    std::vector<std::string> scripts_run() const { return told({"sys_system"}); }
};

TEST_F(Shell, RunsTheScript)
{
    add_script("echo done > \"$ROVA_SYSROOT/tmp/mark\"");
    EXPECT_EQ(run(LINE), OK);
    EXPECT_EQ(camera.read("/tmp/mark"), "done\n");
    EXPECT_THAT(scripts_run(), ElementsAre(R"(sys_system["/sdcard/a.sh"])"));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Shell, IsOkWhateverTheScriptReturns)
{
    for (const char *body : {"exit 0", "exit 1", "exit 255", "kill -9 $$"}) {
        add_script(body);
        EXPECT_EQ(run("SHELL SCRIPT /sdcard/a.sh", ROVA_CMD_PTP), PTP_OK) << body;
    }
    EXPECT_EQ(scripts_run().size(), 4U);
}

TEST_F(Shell, MissingScriptIsNgWithTheReason)
{
    EXPECT_EQ(run(LINE), NG);
    EXPECT_THAT(messages(), ElementsAre("/sdcard/a.sh not exist (No such file or directory) "));
    EXPECT_THAT(scripts_run(), IsEmpty());
}

TEST_F(Shell, ScriptThatMayNotBeRunIsNgWithTheReason)
{
    add_script("exit 0", fs::perms::owner_read);
    EXPECT_EQ(run(LINE), NG);
    EXPECT_THAT(messages(), ElementsAre("/sdcard/a.sh not exist (Permission denied) "));
    EXPECT_THAT(scripts_run(), IsEmpty());
}

TEST_F(Shell, ScriptThatMayNotBeReadIsNg)
{
    add_script("exit 0", fs::perms::owner_exec);
    camera.fault("sys_access", "-1 errno EACCES on /sdcard/a.sh"); // root may read all
    EXPECT_EQ(run(LINE), NG);
    EXPECT_THAT(scripts_run(), IsEmpty());
}

TEST_F(Shell, ScriptThatCannotBeStartedIsNg)
{
    add_script("exit 0");
    camera.fault("sys_system", "-1 errno EAGAIN");
    EXPECT_EQ(run(LINE), NG);
    EXPECT_THAT(messages(),
                ElementsAre("failed to run /sdcard/a.sh (Resource temporarily unavailable) "));
}

TEST_F(Shell, NoPathIsNgWithoutAMessage)
{
    EXPECT_EQ(run("shell script"), NG);
    EXPECT_EQ(run("shell script", ROVA_CMD_PTP), PTP_NG);
    EXPECT_THAT(scripts_run(), IsEmpty());
    EXPECT_EQ(times_logged("not exist"), 0U);
}

TEST_F(Shell, HasNoOtherWord)
{
    add_script("exit 0");
    EXPECT_EQ(run("shell run /sdcard/a.sh"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on shell command table ");
    EXPECT_THAT(scripts_run(), IsEmpty());
}

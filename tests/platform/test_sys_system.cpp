#include "platform/sys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/shell.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

std::string mapped(const std::string &command)
{
    std::string text = virt::map_command(command), root = virt::root();
    for (size_t at; (at = text.find(root)) != std::string::npos;)
        text.replace(at, root.size(), "R");
    return text;
}

void program(const test::Camera &camera, const std::string &path, const std::string &text)
{
    camera.write(path, text);
    chmod(camera.path(path).c_str(), 0755);
}

// A camera whose folder has a name that a shell would take apart.
class StrangeRoot
{
public:
    explicit StrangeRoot(const test::Camera &camera) : root_(camera.root() / "it's a \"$HOME\" *")
    {
        for (const char *folder : {"tmp", "sdcard", "virtual", "usr/bin"})
            fs::create_directories(root_ / folder);
        setenv("ROVA_SYSROOT", root_.c_str(), 1);
    }
    const fs::path &root() const { return root_; }

private:
    fs::path root_;
};

TEST(SysSystem, EveryAbsolutePathOfTheCommandIsMapped)
{
    test::Camera camera;
    EXPECT_EQ(mapped("cp -f /tmp/*.tg /tmp/*.adj /sdcard/; sync"),
              "cp -f 'R'/tmp/*.tg 'R'/tmp/*.adj 'R'/sdcard/; sync");
    EXPECT_EQ(mapped("/bin/a|/bin/b&&(/bin/c>/tmp/d</tmp/e)"),
              "'R'/bin/a|'R'/bin/b&&('R'/bin/c>'R'/tmp/d<'R'/tmp/e)");
    EXPECT_EQ(mapped("A=/tmp/a --file=/tmp/b a/b tmp/../c"),
              "A='R'/tmp/a --file='R'/tmp/b a/b tmp/../c");
    EXPECT_EQ(mapped("rm '/tmp/a b' \"/tmp/c\""), "rm '''R''/tmp/a b' \"\"'R'\"/tmp/c\"");
    EXPECT_EQ(mapped("ls /opt/share/rova//rova.log"), "ls 'R'/opt/share/rova//rova.log");
}

TEST(SysSystem, NoPathOfTheCommandLeavesTheCamera)
{
    test::Camera camera;
    EXPECT_EQ(mapped("cp /tmp/a /sdcard/../../../etc/b"), "cp 'R'/tmp/a 'R'/etc/b");
    EXPECT_EQ(mapped("ls /../..;ls /tmp/.. /tmp/../"), "ls 'R';ls 'R' 'R'/");
    EXPECT_EQ(mapped("ls \"/../a b/../c\" /..x /x.. /a/..."),
              "ls \"\"'R'\"/c\" 'R'/..x 'R'/x.. 'R'/a/...");
    std::string outside = camera.root().filename().string() + ".outside";
    EXPECT_EQ(sys_system(("echo x >/sdcard/../../" + outside).c_str()), 0);
    EXPECT_TRUE(camera.exists("/" + outside));
    EXPECT_FALSE(fs::exists(camera.root().parent_path() / outside));
}

TEST(SysSystem, TheNullDeviceIsThePcs)
{
    test::Camera camera;
    EXPECT_EQ(mapped("a >/dev/null 2>/dev/null; b /dev/null"),
              "a >/dev/null 2>/dev/null; b /dev/null");
    EXPECT_EQ(mapped("a /dev/nullx /dev/null/x"), "a 'R'/dev/nullx 'R'/dev/null/x");
    EXPECT_EQ(sys_system("echo x >/dev/null"), 0);
}

TEST(SysSystem, CommandsWorkOnTheCamerasFilesWithPatterns)
{
    test::Camera camera;
    camera.write("/tmp/info.tg", "1");
    camera.write("/tmp/a.adj", "2");
    camera.write("/tmp/other", "3");
    EXPECT_EQ(sys_system("cp -f /tmp/*.tg /tmp/*.adj /sdcard/"), 0);
    EXPECT_EQ(camera.read("/sdcard/info.tg"), "1");
    EXPECT_EQ(camera.read("/sdcard/a.adj"), "2");
    EXPECT_FALSE(camera.exists("/sdcard/other"));
}

TEST(SysSystem, ARootWithBlanksAndQuotesWorks)
{
    test::Camera camera;
    StrangeRoot strange(camera);
    EXPECT_EQ(sys_system("mkdir -p /tmp/backup --mode=0755"), 0);
    EXPECT_EQ(sys_system("echo text > /tmp/backup/a; cp /tmp/*/a \"/sdcard/b c\""), 0);
    EXPECT_TRUE(fs::exists(strange.root() / "sdcard/b c"));
}

TEST(SysSystem, TheStatusIsTheCommandsAndTheWorkingDirectoryStays)
{
    test::Camera camera;
    EXPECT_EQ(WEXITSTATUS(sys_system("exit 3")), 3);
    EXPECT_EQ(sys_system("pwd > /tmp/where"), 0);
    EXPECT_EQ(camera.read("/tmp/where"), fs::current_path().string() + "\n");
    EXPECT_NE(sys_system(nullptr), 0);
}

TEST(SysSystem, WhatWouldSwitchThePcOffIsNotFound)
{
    test::Camera camera;
    for (const char *command :
         {"poweroff -f", "reboot", "halt", "shutdown now", "systemctl poweroff", "mount /a /b",
          "umount /a", "mkfs.ext4 /dev/sda", "/sbin/poweroff -f", "sudo true", "sync; reboot"})
        EXPECT_EQ(WEXITSTATUS(sys_system((std::string(command) + " 2>/dev/null").c_str())), 127)
            << command;
}

TEST(SysSystem, ProgramsOfTheCameraComeFirst)
{
    test::Camera camera;
    program(camera, "/usr/bin/poweroff", "#!/bin/sh\necho \"$@\" > \"$ROVA_SYSROOT/tmp/off\"\n");
    program(camera, "/usr/bin/ls", "#!/bin/sh\nexit 9\n");
    EXPECT_EQ(sys_system("sync; poweroff -f"), 0);
    EXPECT_EQ(camera.read("/tmp/off"), "-f\n");
    EXPECT_EQ(WEXITSTATUS(sys_system("ls")), 9);
    program(camera, "/sdcard/script.sh", "#!/bin/sh\nexit 4\n");
    EXPECT_EQ(WEXITSTATUS(sys_system("/sdcard/script.sh")), 4);
}

TEST(SysSystem, ArchivesHoldTheCamerasNames)
{
    if (access("/usr/bin/zip", X_OK) != 0 || access("/usr/bin/unzip", X_OK) != 0)
        GTEST_SKIP() << "zip is not installed";
    test::Camera camera;
    camera.write("/tmp/backup/adj_sys.bin", "data");
    EXPECT_EQ(sys_system("zip -q -r /tmp/pref.zip /tmp/backup"), 0);
    EXPECT_EQ(sys_system("unzip -Z1 /tmp/pref.zip > /tmp/list"), 0);
    EXPECT_EQ(camera.read("/tmp/list"), "tmp/backup/\ntmp/backup/adj_sys.bin\n");
}

// A daemon that a person started at a terminal, or with a pipe, keeps what is typed there.
TEST(SysSystem, ACommandHasNothingToReadOnItsStandardInput)
{
    test::Camera camera;
    EXPECT_EQ(test::run({PLATFORM_PROGRAM, "command", "cat; (cat) | cat"}, "typed\n").out, "0\n");
}

TEST(SysSystem, WhatOverwritesOnlyAfterAQuestionIsAnsweredWithNo)
{
    if (access("/usr/bin/zip", X_OK) != 0 || access("/usr/bin/unzip", X_OK) != 0)
        GTEST_SKIP() << "zip is not installed";
    test::Camera camera;
    camera.write("/tmp/a", "old");
    ASSERT_EQ(sys_system("cd /; zip -q /sdcard/a.zip /tmp/a"), 0);
    camera.write("/tmp/a", "new");
    test::run({PLATFORM_PROGRAM, "command", "cd /; unzip /sdcard/a.zip"}, "A\n");
    EXPECT_EQ(camera.read("/tmp/a"), "new");
}

TEST(SysSystem, IsRecordedAsTheDaemonGaveItAndCanFail)
{
    test::Camera camera;
    sys_system("true /tmp");
    camera.fault("sys_system", "256 on touch");
    EXPECT_EQ(sys_system("touch /tmp/a"), 256);
    EXPECT_FALSE(camera.exists("/tmp/a"));
    EXPECT_EQ(camera.call_texts(),
              (Texts{"sys_system(\"true /tmp\")", "sys_system(\"touch /tmp/a\")"}));
    EXPECT_EQ(camera.calls()[1]["result"], 256);
}

TEST(SysSystem, WithoutACameraNothingIsRun)
{
    ASSERT_EQ(getenv("ROVA_SYSROOT"), nullptr);
    test::Outcome outcome = test::run({PLATFORM_PROGRAM, "command", "echo ran"});
    EXPECT_EQ(outcome.out, "-1\n");
    EXPECT_EQ(outcome.err, "ROVA_SYSROOT is not set: there is no camera here\n");
}

TEST(SysExecvp, RunsTheCamerasProgramWithTheArgumentsAsTheyStand)
{
    test::Camera camera;
    fs::create_symlink("/bin/sh", camera.path("/usr/bin/tool"));
    std::string output = camera.path("/tmp/out").string();
    test::Process started({PLATFORM_PROGRAM, "execute", "/usr/bin/tool", "/usr/bin/tool", "-c",
                           "echo $0 $1", "/a", "/b"},
                          "", output);
    EXPECT_EQ(started.wait(), 0);
    EXPECT_EQ(camera.read("/tmp/out"), "/a /b\n");
    EXPECT_EQ(camera.call_texts(),
              Texts{"sys_execvp(\"/usr/bin/tool\", "
                    "[\"/usr/bin/tool\",\"-c\",\"echo $0 $1\",\"/a\",\"/b\"])"});
}

TEST(SysExecve, RunsTheCamerasProgramInTheEnvironmentGivenAndTheCamera)
{
    test::Camera camera;
    camera.write("/sdcard/tell.sh", "#!/bin/sh\necho $1 $GREETING $HOME $ROVA_SYSROOT $PATH\n");
    fs::permissions(camera.path("/sdcard/tell.sh"), fs::perms::owner_all);
    std::string output = camera.path("/tmp/out").string();
    test::Process started(
        {PLATFORM_PROGRAM, "execute_alone", "/sdcard/tell.sh", "/sdcard/tell.sh", "/a"}, "",
        output);
    EXPECT_EQ(started.wait(), 0);
    const std::string root = camera.root().string();
    EXPECT_EQ(camera.read("/tmp/out"),
              "/a hello " + root + " " + root + "/usr/bin:/usr/bin:/bin\n");
    EXPECT_EQ(camera.call_texts(),
              Texts{"sys_execve(\"/sdcard/tell.sh\", [\"/sdcard/tell.sh\",\"/a\"])"});
}

TEST(SysExecve, ProgramsOfThePcAreNotFoundAndItCanFail)
{
    test::Camera camera;
    char name[] = "/bin/true";
    char *const words[] = {name, nullptr};
    char *const none[] = {nullptr};
    EXPECT_EQ(sys_execve("/bin/true", words, none), -1);
    EXPECT_EQ(errno, ENOENT);
    camera.write("/bin/true", "");
    EXPECT_EQ(sys_execve("/bin/true", words, none), -1);
    EXPECT_EQ(errno, EACCES);
    camera.fault("sys_execve", "-1 errno ENOMEM on true");
    EXPECT_EQ(sys_execve("/bin/true", words, none), -1);
    EXPECT_EQ(errno, ENOMEM);
}

// system() would put back the action that it found, and the handler would be lost.
TEST(SysSystem, LeavesAHandlerThatIsInstalledMeanwhile)
{
    test::Camera camera;
    std::thread shell([] { sys_system("touch /tmp/begun; while [ ! -e /tmp/go ]; do :; done"); });
    EXPECT_TRUE(test::wait_for([&] { return camera.exists("/tmp/begun"); }));
    for (const int number : {SIGINT, SIGQUIT}) {
        struct sigaction found = {};
        sigaction(number, nullptr, &found);
        EXPECT_EQ(found.sa_handler, SIG_DFL) << "not ignored while the command runs";
        std::signal(number, [](int) {});
    }
    camera.write("/tmp/go", "");
    shell.join();
    for (const int number : {SIGINT, SIGQUIT})
        EXPECT_NE(std::signal(number, SIG_DFL), SIG_DFL) << number;
}

TEST(SysExecvp, ProgramsOfThePcAreNotFoundAndItCanFail)
{
    test::Camera camera;
    char name[] = "/bin/true";
    char *const words[] = {name, nullptr};
    EXPECT_EQ(sys_execvp("/bin/true", words), -1);
    EXPECT_EQ(sys_execvp("true", words), -1);
    EXPECT_EQ(errno, ENOENT);
    camera.fault("sys_execvp", "-1 errno ENOMEM");
    EXPECT_EQ(sys_execvp("/bin/true", words), -1);
    EXPECT_EQ(errno, ENOMEM);
}

} // namespace

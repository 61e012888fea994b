#include "lib/rova_process.h"

#include "platform/device.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{

// Stands in for any program: tells how it was started, in a file that is there as a whole.
constexpr char REPORTER[] = R"(#!/bin/sh
cd "$ROVA_SYSROOT/tmp" || exit 2
for word; do printf '[%s]' "$word"; done > words.new
grep -E '^Sig(Blk|Ign):' /proc/self/status > signals
ls /proc/self/fd > files
nice > nice
mv words.new words
)";

struct Process : testing::Test {
    ~Process() override
    {
        test::wrap_clear();
        for (pid_t pid : children) {
            test::send_signal(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }
    void add_program(const std::string &path, const std::string &text)
    {
        camera.write(path, text);
        fs::permissions(camera.path(path), fs::perms::owner_all);
    }
    void add_sleeper(const std::string &path) { fs::copy_file("/bin/sleep", camera.path(path)); }
    pid_t keep(pid_t pid)
    {
        if (pid > 1)
            children.push_back(pid);
        return pid;
    }
    // Starts the sleeper and waits until it has become visible under its name.
    pid_t start_sleeper(const char *path)
    {
        pid_t pid = keep(rova_launch_app_with_nice(path, "1000", 0));
        EXPECT_TRUE(test::wait_for([&] { return rova_get_exec_pid(path) == pid; }));
        return pid;
    }
    int end_of(pid_t pid)
    {
        int status = -1;
        std::erase(children, pid);
        EXPECT_EQ(waitpid(pid, &status, 0), pid);
        return status;
    }
    // What a program sees of the arguments `args`.
    std::string words_of(const char *args)
    {
        camera.remove("/tmp/words");
        add_program("/usr/bin/reporter", REPORTER);
        pid_t pid = keep(rova_launch_app_with_nice("/usr/bin/reporter", args, 0));
        if (pid <= 1)
            return "not started";
        EXPECT_EQ(end_of(pid), 0);
        return camera.read("/tmp/words");
    }
    test::Camera camera;
    std::vector<pid_t> children;
};

} // namespace

TEST_F(Process, AProgramIsFoundByItsExactPath)
{
    add_sleeper("/usr/bin/sleeper");
    pid_t pid = start_sleeper("/usr/bin/sleeper");
    EXPECT_GT(pid, 1);
    EXPECT_EQ(rova_get_exec_pid("sleeper"), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/sleep"), -1);
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/sleeper1000"), -1);
}

TEST_F(Process, AProgramStartedByARelativeNameIsNotFound)
{
    pid_t pid = fork();
    if (pid == 0) {
        execl("/bin/sleep", "rovad", "1000", nullptr);
        _exit(127);
    }
    keep(pid);
    ASSERT_TRUE(test::wait_for([&] { return rova_get_exec_pid("rovad") == pid; }));
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/rovad"), -1);
}

TEST_F(Process, ACommandLineOf4096BytesIsSkipped)
{
    add_sleeper("/usr/bin/sleeper");
    // "/usr/bin/sleeper", "1000" and the terminators leave this many for a last number.
    std::string fits = "1000 " + std::string(4095 - 17 - 5 - 1, '0');
    pid_t pid = keep(rova_launch_app_with_nice("/usr/bin/sleeper", fits.c_str(), 0));
    EXPECT_TRUE(test::wait_for([&] { return rova_get_exec_pid("/usr/bin/sleeper") == pid; }));
    test::send_signal(pid, SIGKILL);
    end_of(pid);

    std::string too_long = fits + "0";
    pid = keep(rova_launch_app_with_nice("/usr/bin/sleeper", too_long.c_str(), 0));
    // Visible by another look once it runs.
    fs::path program = "/proc/" + std::to_string(pid) + "/exe";
    ASSERT_TRUE(test::wait_for([&] {
        std::error_code error;
        return fs::read_symlink(program, error) == camera.path("/usr/bin/sleeper");
    }));
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/sleeper"), -1);
}

TEST_F(Process, AnEndedChildIsNotFound)
{
    add_sleeper("/usr/bin/sleeper");
    pid_t pid = start_sleeper("/usr/bin/sleeper");
    test::send_signal(pid, SIGKILL);
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/sleeper"), -1);
}

TEST_F(Process, NoPathIsNoProgram)
{
    for (const char *path : {"", static_cast<const char *>(nullptr)}) {
        errno = 0;
        EXPECT_EQ(rova_get_exec_pid(path), -1);
        EXPECT_EQ(errno, ESRCH);
    }
}

TEST_F(Process, WithoutProcNothingIsFound)
{
    camera.fault("sys_opendir", "0 errno EACCES on /proc");
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/rovad"), -1);
    EXPECT_TRUE(camera.logged("FAIL: open /proc"));
}

TEST_F(Process, EntriesThatCannotBeOpenedAreSkipped)
{
    add_sleeper("/usr/bin/sleeper");
    start_sleeper("/usr/bin/sleeper");
    camera.fault("sys_open", "-1 errno EACCES on /cmdline");
    EXPECT_EQ(rova_get_exec_pid("/usr/bin/sleeper"), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST_F(Process, ARunningProgramIsNotStartedAgain)
{
    add_sleeper("/usr/bin/sleeper");
    start_sleeper("/usr/bin/sleeper");
    camera.write("/virtual/calls.jsonl", "");
    EXPECT_EQ(rova_launch_app_with_nice("/usr/bin/sleeper", "1000", 0), 1);
    EXPECT_TRUE(camera.calls("sys_execvp").empty());
}

TEST_F(Process, QuotesAndBackslashesKeepBlanks)
{
    EXPECT_EQ(words_of("\"a b\" c\\ d"), "[a b][c d]");
    EXPECT_EQ(words_of("'a b' x"), "[a b][x]");
    EXPECT_EQ(words_of("one  two   "), "[one][two]");
}

TEST_F(Process, AQuoteInsideTheOtherKindIsKept)
{
    EXPECT_EQ(words_of("\"it's\" '\"x\"'"), "[it's][\"x\"]");
    EXPECT_EQ(words_of("a\"b c\"d"), "[ab cd]");
}

TEST_F(Process, EmptyArgumentsAreDropped)
{
    EXPECT_EQ(words_of("\"\" a '' b"), "[a][b]");
    EXPECT_EQ(words_of(nullptr), "");
    EXPECT_EQ(words_of(""), "");
}

TEST_F(Process, ABackslashTakesTheNextCharacterAndEndsTheTextAtItsEnd)
{
    EXPECT_EQ(words_of("a\\\\b \\\"c \\'d"), "[a\\b][\"c]['d]");
    EXPECT_EQ(words_of("\"a\\\"b\""), "[a\"b]");
    EXPECT_EQ(words_of("a b\\"), "[a][b]");
    EXPECT_EQ(words_of("a \\"), "[a]");
}

TEST_F(Process, AQuoteThatStaysOpenReachesToTheEnd)
{
    EXPECT_EQ(words_of("\"a b"), "[a b]");
}

TEST_F(Process, At256ArgumentsTheRestIsDropped)
{
    std::string args, expected;
    for (int i = 1; i <= 300; i++) {
        args += std::to_string(i) + " ";
        if (i <= 255) // the program itself is the first
            expected += "[" + std::to_string(i) + "]";
    }
    EXPECT_EQ(words_of(args.c_str()), expected);
}

TEST_F(Process, TheProgramSeesItsPathAsGiven)
{
    words_of("x");
    ASSERT_EQ(camera.calls("sys_execvp").size(), 1u);
    EXPECT_EQ(camera.calls("sys_execvp")[0]["args"][0], "/usr/bin/reporter");
    EXPECT_EQ(camera.calls("sys_execvp")[0]["args"][1][0], "/usr/bin/reporter");
}

TEST_F(Process, AStartIsRecordedAlsoBehindOtherCalls)
{
    device_set_property(17, 7, 0);
    words_of("x");
    EXPECT_EQ(camera.calls("device_set_property").size(), 1u);
    EXPECT_EQ(camera.calls("sys_execvp").size(), 1u);
}

TEST_F(Process, AChildStartsWithItsSignalsAndFilesReset)
{
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    auto old = std::signal(SIGUSR1, SIG_IGN);
    int fd = fcntl(0, F_DUPFD, 20);
    words_of("x");
    close(fd);
    std::signal(SIGUSR1, old);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(camera.read("/tmp/signals"),
              "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
    EXPECT_EQ(camera.read("/tmp/files"), "0\n1\n2\n3\n"); // 3 is the listing itself
}

TEST_F(Process, TheNiceIncrementIsTakenWithItsFlagOnly)
{
    int here = getpriority(PRIO_PROCESS, 0);
    add_program("/usr/bin/reporter", REPORTER);
    end_of(keep(rova_launch_app_with_nice("/usr/bin/reporter", nullptr, ROVA_LAUNCH_NICE, 3)));
    EXPECT_EQ(camera.read("/tmp/nice"), std::to_string(here + 3) + "\n");
    end_of(keep(rova_launch_app_with_nice("/usr/bin/reporter", nullptr, 1, 3)));
    EXPECT_EQ(camera.read("/tmp/nice"), std::to_string(here) + "\n");
}

TEST_F(Process, AFailedNiceIsToldAndTheProgramStarts)
{
    add_program("/usr/bin/reporter", REPORTER);
    test::wrap_fail("nice", -1, EPERM);
    EXPECT_EQ(
        end_of(keep(rova_launch_app_with_nice("/usr/bin/reporter", "on", ROVA_LAUNCH_NICE, -5))),
        0);
    EXPECT_TRUE(camera.logged("nice error: Operation not permitted"));
    EXPECT_EQ(camera.read("/tmp/words"), "[on]");
}

TEST_F(Process, AProgramThatCannotBeExecutedIsRefused)
{
    errno = 0;
    EXPECT_EQ(rova_launch_app_with_nice("/usr/bin/none", "x", 0), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_TRUE(camera.logged("launch app error: Invalid input"));
}

TEST_F(Process, AnEmptyTextIsRefused)
{
    errno = 0;
    EXPECT_EQ(rova_launch_app_with_nice("", nullptr, 0), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_TRUE(camera.logged("launch app error: Invalid input"));
}

TEST_F(Process, NoPathCannotBeStartedOrEnded)
{
    errno = 0;
    EXPECT_EQ(rova_launch_app_with_nice(nullptr, "x", 0), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(rova_terminate_app(nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Process, WithoutMemoryNothingIsStarted)
{
    add_program("/usr/bin/reporter", REPORTER);
    test::wrap_fail("malloc", 0, ENOMEM, 1, true);
    pid_t pid = rova_launch_app_with_nice("/usr/bin/reporter", "x", 0);
    test::wrap_clear();
    EXPECT_EQ(pid, -1);
    EXPECT_TRUE(camera.logged("Malloc failed"));
}

TEST_F(Process, AFailedForkIsTold)
{
    add_program("/usr/bin/reporter", REPORTER);
    test::wrap_fail("fork", -1, EAGAIN);
    EXPECT_EQ(rova_launch_app_with_nice("/usr/bin/reporter", "x", 0), -1);
    EXPECT_TRUE(camera.logged("fork error: Resource temporarily unavailable"));
}

TEST_F(Process, AFailedExecIsToldByTheChildWhichEndsWith1)
{
    add_program("/usr/bin/reporter", REPORTER);
    camera.fault("sys_execvp", "-1 errno ENOEXEC");
    int status = end_of(keep(rova_launch_app_with_nice("/usr/bin/reporter", "x", 0)));
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(camera.logged("exec. error: Exec format error"));
}

TEST_F(Process, TerminateSendsSigtermAlsoFromAThreadThatBlocksIt)
{
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    add_sleeper("/usr/bin/sleeper");
    pid_t pid = start_sleeper("/usr/bin/sleeper");
    EXPECT_EQ(rova_terminate_app("/usr/bin/sleeper"), 0);
    int status = end_of(pid);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST_F(Process, TerminatingWhatDoesNotRunIsFine)
{
    EXPECT_EQ(rova_terminate_app("/usr/bin/none"), 0);
}

// The camera application as a process: started, refused, ended, cleared up behind.
#include <gtest/gtest.h>

#include "platform/sys.h"
#include "tests/tools/tool.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/msg.h>

using tool::failed;
using tool::program;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr int PROJECTS[] = {0x59843123, 0x59849173};
constexpr char UP[] = "camera application: up\n";

int queue(int project)
{
    return sys_msgget(sys_ftok("/tmp", project), 0);
}

bool serves()
{
    return queue(PROJECTS[0]) >= 0 && queue(PROJECTS[1]) >= 0;
}

// vcam app in the background, up.
class Application
{
public:
    explicit Application(const test::Camera &camera)
        : process_({VCAM_PROGRAM, "app"}, "", camera.path("/tmp/app"))
    {
        EXPECT_TRUE(test::wait_for([&] { return text(camera).ends_with(UP); })) << text(camera);
    }
    static std::string text(const test::Camera &camera) { return camera.read("/tmp/app"); }
    test::Process &process() { return process_; }

private:
    test::Process process_;
};

} // namespace

TEST(VcamApp, ServesBothChannelsUntilItIsAskedToEnd)
{
    const test::Camera camera;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        camera.remove("/tmp/app");
        Application app(camera);
        EXPECT_TRUE(serves());
        app.process().signal(signal);
        EXPECT_EQ(app.process().wait(), 0);
        EXPECT_LT(queue(PROJECTS[0]), 0);
        EXPECT_LT(queue(PROJECTS[1]), 0);
        EXPECT_TRUE(std::filesystem::is_empty(camera.path("/virtual/ipc")));
    }
}

TEST(VcamApp, IsRefusedWhereOneRuns)
{
    const test::Camera camera;
    Application app(camera);
    EXPECT_TRUE(failed(vcam({"app"}), "the camera application runs already (pid " +
                                          std::to_string(app.process().pid()) + ")"));
    const test::Outcome second = test::run({VCAM_APP_PROGRAM});
    EXPECT_EQ(second.status, 2);
    EXPECT_NE(second.err.find("runs already (pid " + std::to_string(app.process().pid())),
              std::string::npos)
        << second.err;
    EXPECT_TRUE(serves()) << "the first one's channels are left alone";
}

TEST(VcamApp, ClearsWhatAKilledOneLeftAndSaysSo)
{
    const test::Camera camera;
    {
        Application app(camera);
        app.process().signal(SIGKILL);
        EXPECT_EQ(app.process().wait(), 128 + SIGKILL);
    }
    const int stale = queue(PROJECTS[0]);
    EXPECT_GE(stale, 0);
    camera.remove("/tmp/app");
    const Application next(camera);
    EXPECT_TRUE(
        Application::text(camera).starts_with("cleared 2 queues of a killed application\n"));
    EXPECT_NE(queue(PROJECTS[0]), stale);
}

TEST(VcamApp, ClearsAnAnswerThatNobodyTook)
{
    const test::Camera camera;
    sem_t *sem = sys_sem_open("sem_rova_resp", O_CREAT, 0666, 0);
    ASSERT_NE(sem, SEM_FAILED);
    sem_post(sem);
    sem_close(sem);
    const Application app(camera);
    sem = sys_sem_open("sem_rova_resp", 0, 0, 0);
    ASSERT_NE(sem, SEM_FAILED);
    EXPECT_EQ(sem_trywait(sem), -1);
    sem_close(sem);
}

TEST(VcamApp, TellsWhyItCannotServe)
{
    const test::Camera camera;
    camera.fault("sys_msgget", "-1 at 3 errno ENOSPC"); // behind the look for stale queues
    const test::Outcome app = vcam({"app"});
    EXPECT_EQ(app.status, 2);
    EXPECT_NE(app.err.find("failed to create mqueue. (No space left on device)"), std::string::npos)
        << app.err;
    EXPECT_NE(app.err.find("vcam-app: the channels cannot be served\n"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(camera.path("/virtual/ipc")));
}

TEST(VcamApp, EndsWhenItsCameraIsRemoved)
{
    const test::Camera camera;
    Application app(camera);
    std::filesystem::remove_all(camera.path("/virtual/app"));
    EXPECT_EQ(app.process().wait(), 0);
}

TEST(VcamApp, TheProgramTellsItsUseAndRefusesWords)
{
    const test::Outcome help = test::run({VCAM_APP_PROGRAM, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.starts_with("Usage: vcam-app\n"));
    EXPECT_EQ(test::run({VCAM_APP_PROGRAM, "word"}).status, 2);
    unsetenv("ROVA_SYSROOT");
    const test::Outcome nowhere = test::run({VCAM_APP_PROGRAM});
    EXPECT_EQ(nowhere.status, 2);
    EXPECT_NE(nowhere.err.find("ROVA_SYSROOT is not set"), std::string::npos) << nowhere.err;
}

TEST(VcamStart, StartsTheApplicationFirstAndEndsItWithADaemonThatEndsEarly)
{
    const test::Camera camera;
    const std::string rovad =
        program(camera, "cp $ROVA_SYSROOT/virtual/app.out $ROVA_SYSROOT/tmp/seen; exit 1\n");
    EXPECT_EQ(vcam({"start", "--rovad", rovad}).status, 2);
    EXPECT_TRUE(camera.exists("/tmp/seen")) << "was there before the daemon";
    EXPECT_FALSE(serves());
    EXPECT_NE(vcam({"status"}).out.find("camera application: not running\n"), std::string::npos);
}

TEST(VcamStart, WithoutTheApplicationTheDaemonRunsAlone)
{
    const test::Camera camera;
    vcam({"start", "--no-app", "--rovad", program(camera, "exit 1\n")});
    EXPECT_FALSE(camera.exists("/virtual/app.out"));
    EXPECT_TRUE(failed(vcam({"start", "--no-app", "--app", "/none"}), "--no-app"));
}

TEST(VcamStart, AnApplicationThatEndsEarlyIsToldWithItsLastWords)
{
    const test::Camera camera;
    const std::string app = program(camera, "echo no handle >&2; exit 1\n");
    const test::Outcome start = vcam({"start", "--app", app, "--rovad", app});
    EXPECT_EQ(start.status, 2);
    EXPECT_EQ(start.err, "no handle\nvcam: the camera application ended before it was up\n");
    EXPECT_FALSE(camera.exists("/virtual/rovad.out")) << "the daemon was not started";
    EXPECT_TRUE(failed(vcam({"start", "--app", "/none"}), "'/none' is no program"));
}

TEST(VcamStart, UsesAnApplicationThatRunsAndLeavesItsChannelsAndThePartitionsAlone)
{
    const test::Camera camera;
    Application app(camera);
    camera.write("/virtual/pref/adj_cap.image", "in use");
    const int served = queue(PROJECTS[0]);
    const int stale = sys_msgget(sys_ftok("/tmp", 1), IPC_CREAT | 0600);
    ASSERT_GE(stale, 0);
    vcam({"start", "--rovad", program(camera, "exit 1\n")});
    EXPECT_EQ(queue(PROJECTS[0]), served);
    EXPECT_TRUE(app.process().running());
    EXPECT_TRUE(camera.exists("/virtual/pref/adj_cap.image"));
    msqid_ds status = {};
    EXPECT_EQ(msgctl(stale, IPC_STAT, &status), -1) << "what a killed daemon left is gone";
}

TEST(VcamStop, EndsAnApplicationThatRunsAlone)
{
    const test::Camera camera;
    {
        Application app(camera);
        EXPECT_NE(vcam({"status"})
                      .out.find("camera application: up (pid " +
                                std::to_string(app.process().pid()) + ")\n"),
                  std::string::npos);
        EXPECT_TRUE(succeeded(vcam({"stop"})));
        EXPECT_EQ(app.process().wait(), 0);
    }
    camera.remove("/tmp/app");
    Application app(camera);
    EXPECT_TRUE(succeeded(vcam({"stop", "--kill"})));
    EXPECT_EQ(app.process().wait(), 128 + SIGKILL);
}

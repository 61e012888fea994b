// start, stop and status, with programs that stand in for the daemon.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "common/rova_adjdata_backup.h"
#include "common/rova_cmd_data.h"
#include "platform/pref.h"
#include "platform/sys.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/pref.h"

#include <filesystem>
#include <sys/msg.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using tool::failed;
using tool::program;
using tool::succeeded;
using tool::vcam;

TEST(VcamStart, ADaemonThatEndsEarlyIsToldWithItsLastWords)
{
    const test::Camera camera;
    const std::string rovad = program(camera, "echo first; echo no marker >&2; exit 1\n");
    const test::Outcome start = vcam({"start", "--rovad", rovad, "--", "--test"});
    EXPECT_EQ(start.status, 2);
    EXPECT_EQ(start.err, "first\nno marker\nvcam: rovad ended before it was up\n");
    EXPECT_EQ(camera.read("/virtual/rovad.out"), "first\nno marker\n");
}

TEST(VcamStart, ADaemonThatDoesNotComeUpInTimeIsToldAndLeftAlone)
{
    const test::Camera camera;
    const std::string rovad = program(camera, "echo $$ >$ROVA_SYSROOT/tmp/pid\nexec sleep 1000\n");
    const test::Outcome start = vcam({"start", "--no-app", "--rovad", rovad, "--timeout", "0.1"});
    EXPECT_EQ(start.status, 2);
    EXPECT_NE(start.err.find("did not come up in time"), std::string::npos) << start.err;
    ASSERT_TRUE(test::wait_for([&] { return !camera.read("/tmp/pid").empty(); }));
    test::send_signal(std::stoi(camera.read("/tmp/pid")), SIGKILL);
}

TEST(VcamStart, GivesTheDaemonItsOptionsAndSurroundings)
{
    const test::Camera camera;
    const std::string rovad = program(camera, R"(
{ printf '%s\n' "$@" "$PWD" "$ROVA_SYSROOT" "$HOME" "$XDG_RUNTIME_DIR"
  stat -c %a "$HOME" "$XDG_RUNTIME_DIR"
  cut -d' ' -f6 /proc/$$/stat; echo $$; readlink /proc/self/fd/0; } >"$ROVA_SYSROOT/tmp/seen"
)");
    vcam({"-C", camera.path("/tmp/.."), "start", "--rovad", rovad, "--", "--card", "/tmp/x.adj"});
    const std::string root = camera.root();
    const std::string seen = camera.read("/tmp/seen");
    const std::string head = "--card\n/tmp/x.adj\n" + root + "/sdcard\n" + root + "\n" + root +
                             "/virtual/home\n" + root + "/virtual/run\n700\n700\n";
    EXPECT_TRUE(seen.starts_with(head)) << seen;
    const std::size_t session_end = seen.find('\n', head.size());
    const std::string session = seen.substr(head.size(), session_end - head.size());
    EXPECT_EQ(seen.substr(session_end + 1), session + "\n/dev/null\n") << "leads its session";
}

TEST(VcamStart, WithoutACardTheDaemonStandsInTheCamerasRoot)
{
    const test::Camera camera;
    camera.remove("/sdcard");
    vcam({"start", "--rovad", program(camera, "pwd >\"$ROVA_SYSROOT/tmp/seen\"\n")});
    EXPECT_EQ(camera.read("/tmp/seen"), camera.root().string() + "\n");
}

// As rovad does when it is told "adj_data restore all".
TEST(VcamStart, ADaemonRestoresTheAdjustmentDataOfTheCard)
{
    if (access("/usr/bin/zip", X_OK) != 0 || access("/usr/bin/unzip", X_OK) != 0)
        GTEST_SKIP() << "zip is not installed";
    const test::Camera camera;
    pref_set_long(4, 0, 77);
    ASSERT_EQ(rova_backup_adjdata_part_all(ROVA_CMD_CARD), 1);
    pref_set_long(4, 0, 1);
    EXPECT_TRUE(succeeded(vcam({"start", "--no-app", "--rovad", RESTORE_PROGRAM})));
    EXPECT_TRUE(test::wait_for([&] { return camera.exists("/tmp/result"); }));
    EXPECT_EQ(camera.read("/tmp/result"), "1\n");
    virt::release_partitions(); // the power was off meanwhile: there are new images
    EXPECT_EQ(pref_get_long(4, 0), 77);
}

TEST(VcamStart, ADaemonIsNotAskedForAnArchivesPassword)
{
    if (access("/usr/bin/zip", X_OK) != 0 || access("/usr/bin/unzip", X_OK) != 0)
        GTEST_SKIP() << "zip is not installed";
    const test::Camera camera;
    camera.write("/tmp/backup/adj_sys.bin", "secret");
    ASSERT_EQ(sys_system("zip -q -P secret -r /sdcard/pref.zip /tmp/backup"), 0);
    EXPECT_TRUE(succeeded(vcam({"start", "--no-app", "--rovad", RESTORE_PROGRAM})));
    EXPECT_TRUE(test::wait_for([&] { return camera.exists("/tmp/result"); }));
    EXPECT_EQ(camera.read("/tmp/result"), "0\n");
}

TEST(VcamStart, RefusesASecondDaemonButNotThatOfAnotherCamera)
{
    const test::Camera other;
    const auto others_daemon = tool::stand_in(tool::DAEMON);
    const test::Camera camera;
    const std::string rovad = program(camera, "exit 0\n");
    EXPECT_NE(vcam({"start", "--rovad", rovad}).err.find("ended before"), std::string::npos);
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(failed(vcam({"start", "--rovad", rovad}),
                       "runs already (pid " + std::to_string(daemon->pid()) + ")"));
}

TEST(VcamStart, RefusesWhatIsNoProgram)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"start", "--rovad", "/none"}), "'/none' is no program"));
    EXPECT_TRUE(failed(vcam({"start", "--rovad", camera.path("/tmp")}), "is no program"));
    for (const std::string time : {"soon", "-1", "nan", "inf", ""})
        EXPECT_TRUE(failed(vcam({"start", "--timeout", time}), "is no number of seconds")) << time;
}

TEST(VcamStart, PowerOnClearsImagesAndKernelObjectsButKeepsFlash)
{
    const test::Camera camera;
    camera.write("/virtual/pref/adj_cap.image", "stale");
    camera.write("/virtual/pref/adj_cap.flash", "kept");
    const int queue = sys_msgget(sys_ftok("/tmp", 1), IPC_CREAT | 0600);
    ASSERT_GE(queue, 0);
    vcam({"start", "--rovad", program(camera, "exit 0\n")});
    EXPECT_FALSE(camera.exists("/virtual/pref/adj_cap.image"));
    EXPECT_EQ(camera.read("/virtual/pref/adj_cap.flash"), "kept");
    msqid_ds status = {};
    EXPECT_EQ(msgctl(queue, IPC_STAT, &status), -1);
}

TEST(VcamStart, WhileTheResponderRunsThePowerIsOn)
{
    const test::Camera camera;
    const auto responder = tool::stand_in("/usr/bin/mtp-responder");
    camera.write("/virtual/pref/adj_cap.image", "in use");
    vcam({"start", "--rovad", program(camera, "exit 0\n")});
    EXPECT_TRUE(camera.exists("/virtual/pref/adj_cap.image"));
}

TEST(VcamStop, WithoutADaemonIsRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"stop"}), "rovad is not running"));
    EXPECT_TRUE(failed(vcam({"stop", "--kill", "--signal"}), "--kill"));
}

TEST(VcamStop, KillAndSignalEndTheProcessWithoutTheKey)
{
    const test::Camera camera;
    auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(succeeded(vcam({"stop", "--kill"})));
    EXPECT_EQ(daemon->wait(), 128 + SIGKILL);
    daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(succeeded(vcam({"stop", "--signal"})));
    EXPECT_EQ(daemon->wait(), 128 + SIGTERM);
    EXPECT_EQ(camera.key_int("memory/rova/stop_cmd"), std::nullopt);
}

TEST(VcamStop, AsksByTheKeyAndWaitsForTheEnd)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    EXPECT_TRUE(failed(vcam({"stop", "--timeout", "0.05"}), "did not end in time"));
    EXPECT_EQ(camera.key_int("memory/rova/stop_cmd"), 1);
    EXPECT_TRUE(daemon->running());

    virt::set_int("memory/rova/stop_cmd", 0);
    std::thread obey([&] {
        test::wait_for([&] { return camera.key_int("memory/rova/stop_cmd") == 1; });
        daemon->signal(SIGKILL);
    });
    EXPECT_TRUE(succeeded(vcam({"stop"})));
    obey.join();
}

TEST(VcamStatus, TellsStateModeAndLastResult)
{
    const test::Camera camera;
    const test::Outcome down = vcam({"status"});
    EXPECT_EQ(down.status, 1);
    EXPECT_EQ(down.out, "rovad: not running\ncamera application: not running\nsensor service: not "
                        "running\nlast result: none\n");

    camera.write("/virtual/dlog", "1.0 1 1 4 T Launched rovad daemon with card mode ... \n"
                                  "2.0 1 1 4 T rova-server: 1th cmd done [OK] ------------- \n"
                                  "1.0 1 1 4 T Launched rovad daemon with test mode ... \n"
                                  "2.0 1 1 4 T rova-server: 1th cmd done [NG] ------------- \n");
    const auto daemon = tool::stand_in(tool::DAEMON);
    const test::Outcome up = vcam({"status"});
    EXPECT_EQ(up.status, 0);
    EXPECT_EQ(up.out, "rovad: up (pid " + std::to_string(daemon->pid()) +
                          ")\ncamera application: not running\nsensor service: not running\nmode: "
                          "test\nlast result: NG\n");
}

#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/device.h"
#include "platform/dlog.h"

#include <filesystem>
#include <fstream>

using tool::failed;
using tool::vcam;

namespace
{

void append(const std::filesystem::path &path, const std::string &text)
{
    std::ofstream(path, std::ios::app) << text;
}

} // namespace

TEST(VcamLog, PrintsTheFileLogOrThePlatformLog)
{
    const test::Camera camera;
    camera.write("/opt/share/rova/rova.log", "20260115 13:05:09 : one\ntwo\n");
    __dlog_print(3, 4, "SYS_ROVA", "hello\n");
    EXPECT_EQ(vcam({"log"}).out, "20260115 13:05:09 : one\ntwo\n");
    EXPECT_NE(vcam({"log", "--platform"}).out.find("SYS_ROVA hello\n"), std::string::npos);
}

TEST(VcamLog, NoLogYetIsEmpty)
{
    const test::Camera camera;
    const test::Outcome log = vcam({"log"});
    EXPECT_TRUE(tool::succeeded(log));
    EXPECT_EQ(log.out, "");
}

TEST(VcamLog, FollowGoesOnWithANewFileAfterRotation)
{
    const test::Camera camera;
    camera.write("/opt/share/rova/rova.log", "old\n");
    test::Process follow({VCAM_PROGRAM, "log", "--follow"}, "", camera.path("/tmp/out"));
    const auto shown = [&](const std::string &text) {
        return test::wait_for([&] { return camera.read("/tmp/out") == text; });
    };
    ASSERT_TRUE(shown("old\n"));
    append(camera.path("/opt/share/rova/rova.log"), "more, cut");
    append(camera.path("/opt/share/rova/rova.log"), " in two\n");
    ASSERT_TRUE(shown("old\nmore, cut in two\n"));
    std::filesystem::rename(camera.path("/opt/share/rova/rova.log"),
                            camera.path("/opt/share/rova/rova.log.old"));
    append(camera.path("/opt/share/rova/rova.log"), "new\n");
    EXPECT_TRUE(shown("old\nmore, cut in two\nnew\n"));
    follow.signal(SIGINT);
    EXPECT_EQ(follow.wait(), 0);
}

TEST(VcamCalls, PrintsCallsInTheirOrder)
{
    const test::Camera camera;
    device_set_property(17, 7, 0);
    append(camera.path("/virtual/calls.jsonl"), "{\"time\":1,\"pid\":2,\"ca\n"); // killed writer
    append(camera.path("/virtual/calls.jsonl"),
           "{\"time\":1.5,\"pid\":2,\"call\":\"quiet\",\"args\":[\"a b\"],\"result\":null}\n");
    const std::string out = vcam({"calls"}).out;
    const std::size_t set = out.find(" device_set_property(17, 7, 0) = 0\n");
    EXPECT_NE(set, std::string::npos) << out;
    EXPECT_NE(out.find("1.500000 2 quiet(\"a b\")\n", set), std::string::npos) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 2);
}

TEST(VcamCalls, NameAndRawChooseWhatIsPrinted)
{
    const test::Camera camera;
    const std::string line = R"({"time":1.5,"pid":2,"call":"quiet","args":[],"result":null})"
                             "\n";
    device_set_property(17, 7, 0);
    append(camera.path("/virtual/calls.jsonl"), line);
    EXPECT_EQ(vcam({"calls", "--name", "quiet", "--raw"}).out, line);
    EXPECT_EQ(vcam({"calls", "--name", "nobody"}).out, "");
    EXPECT_TRUE(failed(vcam({"calls", "--name"}), "--name"));
}

TEST(VcamCalls, FollowPrintsCallsToCome)
{
    const test::Camera camera;
    test::Process follow({VCAM_PROGRAM, "calls", "-f"}, "", camera.path("/tmp/out"));
    device_set_property(1, 2, 3);
    EXPECT_TRUE(test::wait_for([&] {
        return camera.read("/tmp/out").find("device_set_property(1, 2, 3) = 0\n") !=
               std::string::npos;
    }));
}

#include "platform/virtual/calls.h"

#include "platform/device.h"
#include "tests/support/camera.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using nlohmann::json;

TEST(Calls, ALineHoldsTimeProcessCallArgumentsAndResult)
{
    test::Camera camera;
    device_set_property(17, 7, 0);
    ASSERT_EQ(camera.calls().size(), 1U);
    json line = camera.calls()[0];
    EXPECT_GT(line["time"], 0.0);
    EXPECT_EQ(line["pid"], getpid());
    EXPECT_EQ(line["call"], "device_set_property");
    EXPECT_EQ(line["args"], json::array({17, 7, 0}));
    EXPECT_EQ(line["result"], 0);
    EXPECT_THAT(camera.read("/virtual/calls.jsonl"), testing::StartsWith("{\"time\":"));
    EXPECT_EQ(camera.call_texts(), std::vector<std::string>{"device_set_property(17, 7, 0)"});
}

TEST(Calls, ReadingIsNotRecorded)
{
    test::Camera camera;
    int value = 0;
    device_get_property(1, 1, &value);
    EXPECT_TRUE(camera.calls().empty());
}

TEST(Calls, AnyBytesMayStandInATextAndALineStaysALine)
{
    test::Camera camera;
    virt::record("call", json::array({"a\xff\nb\"c"}));
    ASSERT_EQ(camera.calls().size(), 1U);
    EXPECT_EQ(camera.calls()[0]["args"][0], "a\xef\xbf\xbd\nb\"c");
    EXPECT_TRUE(camera.calls()[0]["result"].is_null());
}

TEST(Calls, LinesOfManyThreadsStayWhole)
{
    test::Camera camera;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; thread++)
        threads.emplace_back([=] {
            for (int count = 0; count < 50; count++)
                virt::record("call", json::array({thread, count, std::string(500, 'x')}), 0);
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(camera.calls("call").size(), 200U); // parses each line
}

TEST(Calls, ALogThatWasDeletedIsMadeAnew)
{
    test::Camera camera;
    device_set_property(1, 1, 1);
    camera.remove("/virtual/calls.jsonl");
    device_set_property(2, 2, 2);
    EXPECT_EQ(camera.call_texts(), std::vector<std::string>{"device_set_property(2, 2, 2)"});
}

TEST(Calls, AChildThatClosedAllFilesStillRecordsAndWritesToNoOther)
{
    test::Camera camera;
    device_set_property(1, 1, 1);
    pid_t child = fork();
    if (child == 0) {
        closefrom(3);
        int other = open(camera.path("/tmp/other").c_str(), O_WRONLY | O_CREAT, 0644);
        virt::record("call", json::array());
        _exit(other == 3 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(camera.calls("call").size(), 1U);
    EXPECT_EQ(camera.read("/tmp/other"), "");
}

TEST(Calls, TheNextCameraHasALogOfItsOwn)
{
    test::Camera first;
    device_set_property(1, 1, 1);
    {
        test::Camera second;
        device_set_property(2, 2, 2);
        EXPECT_EQ(second.call_texts(), std::vector<std::string>{"device_set_property(2, 2, 2)"});
    }
    EXPECT_EQ(first.call_texts(), std::vector<std::string>{"device_set_property(1, 1, 1)"});
}

} // namespace

#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/sys.h"
#include "platform/virtual/motion.h"

#include <fcntl.h>
#include <unistd.h>

using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr unsigned long READ_AXES = 0x800c6c01;
constexpr unsigned long READ_TEMPERATURE = 0x80046c03;

using axes = std::vector<int>;

axes reading()
{
    const int fd = sys_open("/dev/lsm", O_RDONLY | O_CLOEXEC, 0);
    axes found(3);
    EXPECT_EQ(sys_ioctl(fd, READ_AXES, found.data()), 0);
    close(fd);
    return found;
}

int temperature()
{
    const int fd = sys_open("/dev/lsm", O_RDONLY | O_CLOEXEC, 0);
    int word = 0;
    EXPECT_EQ(sys_ioctl(fd, READ_TEMPERATURE, &word), 0);
    close(fd);
    return word;
}

} // namespace

TEST(VcamMotion, AModelIsSetShownAndEnded)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(vcam({"motion"}).out, "off\n");
    EXPECT_TRUE(
        succeeded(vcam({"motion", "model", "--rate", "3", "-2", "1", "--noise", "0", "--drift",
                        "0.5", "-1", "0", "--from", "20", "--rise", "0.5", "--seed", "7"})));
    EXPECT_EQ(camera.read("/virtual/motion/model"),
              "rate 3 -2 1\ndrift 0.5 -1 0\nnoise 0\nfrom 20\nrise 0.5\nseed 7\n");
    EXPECT_EQ(camera.read(virt::THERMISTOR), virt::thermistor_text(20));
    EXPECT_EQ(vcam({"motion"}).out,
              "model\n" + camera.read("/virtual/motion/model") + "no reading yet\n");
    EXPECT_EQ(reading(), (axes{13, -22, 1}));
    reading();
    EXPECT_EQ(reading(), (axes{14, -23, 1}));
    EXPECT_EQ(temperature(), 21);
    const std::string shown = vcam({"motion"}).out;
    EXPECT_TRUE(shown.ends_with("\nlatest 14 -23 1 at 21 degrees\n")) << shown;

    EXPECT_TRUE(succeeded(vcam({"motion", "off"})));
    EXPECT_EQ(vcam({"motion"}).out, "off\n");
    EXPECT_EQ(reading(), (axes{0, 0, 0}));
    EXPECT_TRUE(succeeded(vcam({"motion", "off"}))) << "also where there is none";
}

TEST(VcamMotion, AModelWithoutOptionsRests)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_TRUE(succeeded(vcam({"motion", "model"})));
    EXPECT_EQ(vcam({"motion"}).out, "model\nno reading yet\n");
    EXPECT_EQ(reading(), (axes{0, 0, 0}));
    EXPECT_EQ(temperature(), 25);
}

TEST(VcamMotion, AFileOfSamplesTakesTheModelsPlace)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    ASSERT_TRUE(succeeded(vcam({"motion", "model", "--rate", "3", "-2", "1"})));
    reading();
    camera.write("/tmp/samples.txt", "# shaken\n10 -20 30 -4\n11 -21 31 -3.5\n");
    EXPECT_TRUE(succeeded(vcam({"motion", "file", camera.path("/tmp/samples.txt")})));
    EXPECT_FALSE(camera.exists("/virtual/motion/model"));
    EXPECT_EQ(camera.read(virt::THERMISTOR), virt::thermistor_text(-4));
    EXPECT_EQ(vcam({"motion"}).out, "file virtual/motion/samples\nno reading yet\n");
    EXPECT_EQ(reading(), (axes{10, -20, 30}));
    EXPECT_EQ(reading(), (axes{11, -21, 31}));
    EXPECT_EQ(vcam({"motion"}).out,
              "file virtual/motion/samples\nlatest 11 -21 31 at -3.5 degrees\n");
    EXPECT_TRUE(succeeded(vcam({"motion", "model", "--from", "30"})));
    EXPECT_FALSE(camera.exists("/virtual/motion/samples"));
}

TEST(VcamMotion, WhatIsWrongIsRefusedAndChangesNothing)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"motion", "model", "--from", "30"})));
    EXPECT_TRUE(failed(vcam({"motion", "model", "--noise", "-1"}), "not understood: noise -1"));
    EXPECT_TRUE(failed(vcam({"motion", "model", "--rate", "1", "two", "3"}),
                       "not understood: rate 1 two 3"));
    EXPECT_TRUE(failed(vcam({"motion", "model", "--rate", "1", "2"}), "--rate"));
    EXPECT_TRUE(failed(vcam({"motion", "model", "--rate", "1", "2", "3", "4"}), "4"));
    EXPECT_TRUE(failed(vcam({"motion", "model", "--seed", ""}), "not understood: seed"));
    EXPECT_TRUE(failed(vcam({"motion", "shake"}), "unknown action 'shake'"));
    EXPECT_TRUE(failed(vcam({"motion", "file"}), "SAMPLES is required"));
    EXPECT_TRUE(failed(vcam({"motion", "file", "/none"}), "'/none' cannot be read"));
    EXPECT_TRUE(failed(vcam({"motion", "file", camera.root()}), "cannot be read"));
    camera.write("/tmp/bad.txt", "1 2 3 20\n1 2 3\n");
    EXPECT_TRUE(
        failed(vcam({"motion", "file", camera.path("/tmp/bad.txt")}), "not understood: 1 2 3"));
    camera.write("/tmp/bad.txt", "\n");
    EXPECT_TRUE(
        failed(vcam({"motion", "file", camera.path("/tmp/bad.txt")}), "not understood: no sample"));
    EXPECT_EQ(vcam({"motion"}).out, "model\nfrom 30\nno reading yet\n");
}

TEST(VcamMotion, WhatCannotBeWrittenIsTold)
{
    const test::Camera camera;
    camera.write("/virtual/motion", "in the way");
    EXPECT_TRUE(failed(vcam({"motion", "model"}), "the motion cannot be written"));
}

#include "platform/virtual/motion.h"

#include "platform/sys.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <unistd.h>

namespace
{

constexpr unsigned long READ_AXES = 0x800c6c01;
constexpr unsigned long READ_TEMPERATURE = 0x80046c03;

using Axes = std::vector<int>;
using virt::MotionKind;

struct Motion : testing::Test {
    test::Camera camera;
    int fd = -1;

    Motion()
    {
        camera.write("/dev/lsm", "");
        fd = sys_open("/dev/lsm", O_RDONLY | O_CLOEXEC, 0);
        EXPECT_GE(fd, 0);
    }
    ~Motion() override { close(fd); }

    Axes axes()
    {
        Axes found(3, -4711);
        errno = EDOM;
        EXPECT_EQ(sys_ioctl(fd, READ_AXES, found.data()), 0);
        EXPECT_EQ(errno, EDOM) << "a request that works leaves errno alone";
        return found;
    }

    uint32_t temperature()
    {
        uint32_t word = 0xdeadbeef;
        EXPECT_EQ(sys_ioctl(fd, READ_TEMPERATURE, &word), 0);
        return word;
    }

    // The errno of a reading that fails.
    int refusal(unsigned long request)
    {
        int words[3] = {7, 7, 7};
        EXPECT_EQ(sys_ioctl(fd, request, words), -1);
        const int error = errno;
        EXPECT_EQ(words[0], 7);
        return error;
    }

    bool thermistor_at(int degrees)
    {
        return camera.read(virt::THERMISTOR) == virt::thermistor_text(degrees);
    }
};

struct MotionModel : Motion {
    void set(const std::string &text) { EXPECT_TRUE(virt::set_motion(MotionKind::model, text)); }
};

struct MotionSamples : Motion {
    void set(const std::string &text) { EXPECT_TRUE(virt::set_motion(MotionKind::samples, text)); }
};

// ------------------------------------------------------------------------- samples

TEST_F(MotionSamples, EachReadingOfTheAxesTakesTheNextAndTheLastStays)
{
    set("# at rest\n1 2 3 20\n\n-4 -5 -6 21.5\n2147483647 -2147483648 0 -3\n");
    EXPECT_EQ(axes(), (Axes{1, 2, 3}));
    EXPECT_EQ(axes(), (Axes{-4, -5, -6}));
    for (int again = 0; again < 3; again++)
        EXPECT_EQ(axes(), (Axes{INT32_MAX, INT32_MIN, 0}));
    EXPECT_TRUE(camera.calls().empty()) << "reading changes nothing";
}

TEST_F(MotionSamples, ALastLineWithoutALineFeedIsASampleToo)
{
    set("1 2 3 20\n4 5 6 20");
    EXPECT_EQ(axes(), (Axes{1, 2, 3}));
    EXPECT_EQ(axes(), (Axes{4, 5, 6}));
    EXPECT_EQ(axes(), (Axes{4, 5, 6}));
}

TEST_F(MotionSamples, TheSensorsTemperatureIsThatOfTheLatestSampleAsASignedByte)
{
    set("0 0 0 20\n0 0 0 -0.5\n0 0 0 -300\n0 0 0 300\n");
    EXPECT_EQ(temperature(), 20U) << "before any reading: that of the sample to come";
    for (const uint32_t word : {20U, 0xffU, 0x80U, 0x7fU}) {
        axes();
        EXPECT_EQ(temperature(), word);
        EXPECT_EQ(temperature(), word) << "and takes none";
    }
}

TEST_F(MotionSamples, TheThermistorFollowsWholeDegrees)
{
    set("0 0 0 20.9\n0 0 0 21\n0 0 0 21.5\n0 0 0 -0.1\n");
    EXPECT_TRUE(thermistor_at(20)) << "from the start";
    for (const int degrees : {20, 21, 21, -1}) {
        axes();
        EXPECT_TRUE(thermistor_at(degrees)) << degrees;
    }
}

TEST_F(MotionSamples, ALineThatIsNotUnderstoodFailsTheReadingUntilItIsMended)
{
    set("1 2 3 20\n4 5 6 20\n");
    axes();
    for (const char *wrong : {"4 5 6", "4 5 6 20 7", "4 5 six 20", "4 5 6.5 20", "4 5 6 nan",
                              "2147483648 0 0 20", "0x4 5 6 20"}) {
        camera.write("/virtual/motion/samples", std::string("1 2 3 20\n") + wrong + "\n");
        testing::internal::CaptureStderr();
        EXPECT_EQ(refusal(READ_AXES), EINVAL) << wrong;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  camera.path("/virtual/motion/samples").string() + ": not understood: " + wrong +
                      "\n");
    }
    camera.write("/virtual/motion/samples", "1 2 3 20\n4 5 7 20\n");
    EXPECT_EQ(axes(), (Axes{4, 5, 7}));
}

TEST_F(MotionSamples, AFileWithoutASampleFailsBothReadings)
{
    camera.write("/virtual/motion/samples", "# none\n\n \v \n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(refusal(READ_AXES), EINVAL);
    EXPECT_EQ(refusal(READ_TEMPERATURE), EINVAL);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("not understood: no sample"),
              std::string::npos);
}

TEST_F(MotionSamples, GoBeforeAModel)
{
    camera.write("/virtual/motion/model", "rate 7 7 7\n");
    EXPECT_EQ(axes(), (Axes{7, 7, 7}));
    camera.write("/virtual/motion/samples", "1 2 3 20\n");
    camera.remove("/virtual/motion/position");
    EXPECT_EQ(axes(), (Axes{1, 2, 3}));
}

TEST_F(MotionSamples, ProcessesThatReadAtOnceShareThem)
{
    std::string text;
    for (int number = 0; number < 400; number++)
        text += std::to_string(number) + " 0 0 20\n";
    set(text);
    const std::string output = camera.path("/tmp/read");
    test::Process other({PLATFORM_PROGRAM, "axes", "/dev/lsm", "200"}, "", output);
    std::multiset<int> seen;
    for (int count = 0; count < 200; count++)
        seen.insert(axes()[0]);
    EXPECT_EQ(other.wait(), 0);
    std::istringstream theirs(camera.read("/tmp/read"));
    for (int number = 0; theirs >> number;)
        seen.insert(number);
    ASSERT_EQ(seen.size(), 400U);
    int expected = 0;
    for (const int number : seen)
        EXPECT_EQ(number, expected++) << "none is lost, none is read twice";
}

// ------------------------------------------------------------------------- model

TEST_F(MotionModel, TheRateDriftsWithTheTemperature)
{
    set("rate 100 -50 0\ndrift 2 -1 0.25\nfrom 20\nrise 0.5\n");
    EXPECT_EQ(axes(), (Axes{140, -70, 5}));
    EXPECT_EQ(axes(), (Axes{141, -71, 5})) << "20.5 degrees: -70.5 and 5.125, rounded";
    EXPECT_EQ(axes(), (Axes{142, -71, 5}));
    EXPECT_EQ(temperature(), 21U);
    EXPECT_TRUE(thermistor_at(21));
}

TEST_F(MotionModel, WithoutAWordIsAtRestAt25Degrees)
{
    set("");
    EXPECT_EQ(axes(), (Axes{0, 0, 0}));
    EXPECT_EQ(temperature(), 25U);
}

TEST_F(MotionModel, NoiseIsSpreadEvenlyUpToItsSizeAndTheSameForTheSameSeed)
{
    const auto take = [this](const std::string &seed) {
        set("noise 5\nseed " + seed + "\n");
        std::vector<Axes> all(1000);
        std::generate(all.begin(), all.end(), [this] { return axes(); });
        return all;
    };
    const auto first = take("7");
    EXPECT_EQ(take("7"), first);
    EXPECT_NE(take("8"), first);

    // Rounded, -4 to 4 have a tenth each and the ends half of that: a variance of 8.4 + 0.1.  Over
    // 1000 readings the mean stays within five of its deviations (0.092), and so do the counts.
    for (std::size_t axis = 0; axis < 3; axis++) {
        std::vector<int> counts(11);
        double sum = 0;
        for (const Axes &sample : first) {
            ASSERT_LE(std::abs(sample[axis]), 5);
            counts[static_cast<std::size_t>(sample[axis] + 5)]++;
            sum += sample[axis];
        }
        EXPECT_NEAR(sum / 1000, 0, 0.46) << axis;
        for (std::size_t value = 1; value < 10; value++)
            EXPECT_NEAR(counts[value], 100, 48) << axis;
        EXPECT_NEAR(counts[0] + counts[10], 100, 48) << axis;
    }
    const auto same = [&](const Axes &sample) { return sample[0] == sample[1]; };
    EXPECT_LT(std::count_if(first.begin(), first.end(), same), 200) << "each axis has its own";
}

TEST_F(MotionModel, ValuesThatNoReadingHoldsAreTheNearest)
{
    set("rate 1e9 -1e9 0\ndrift 1e9 -1e9 0\nfrom 1e9\n");
    EXPECT_EQ(axes(), (Axes{INT32_MAX, INT32_MIN, 0}));
    EXPECT_EQ(temperature(), 127U);
    EXPECT_TRUE(thermistor_at(127));
}

TEST_F(MotionModel, ALineThatIsNotUnderstoodFailsBothReadings)
{
    for (const char *wrong : {"rate 1 2", "rate 1 2 3 4", "noise", "noise -1", "noise x", "warp 9",
                              "from 1e10", "rise inf", "seed 7x"}) {
        EXPECT_EQ(virt::motion_mistake(MotionKind::model, std::string("from 3\n") + wrong), wrong);
        EXPECT_FALSE(virt::set_motion(MotionKind::model, wrong));
        EXPECT_EQ(virt::motion_kind(), std::nullopt);
        camera.write("/virtual/motion/model", std::string(wrong) + "\n");
        testing::internal::CaptureStderr();
        EXPECT_EQ(refusal(READ_AXES), EINVAL) << wrong;
        EXPECT_EQ(refusal(READ_TEMPERATURE), EINVAL) << wrong;
        const std::string told =
            camera.path("/virtual/motion/model").string() + ": not understood: " + wrong + "\n";
        EXPECT_EQ(testing::internal::GetCapturedStderr(), told + told);
        virt::end_motion();
    }
}

// ------------------------------------------------------------------------- the rest

TEST_F(Motion, WithoutOneTheValueFilesAnswer)
{
    camera.write("/virtual/ioctl/lsm.0x800c6c01", "1 2 3\n");
    camera.write("/virtual/ioctl/lsm.0x80046c03", "17\n");
    EXPECT_EQ(axes(), (Axes{1, 2, 3}));
    EXPECT_EQ(temperature(), 17U);
    EXPECT_FALSE(camera.exists("/virtual/motion"));
    EXPECT_FALSE(camera.exists(virt::THERMISTOR));

    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "9 8 7 30\n"));
    EXPECT_EQ(axes(), (Axes{9, 8, 7}));
    virt::end_motion();
    EXPECT_EQ(axes(), (Axes{1, 2, 3}));
    EXPECT_EQ(temperature(), 17U);
    EXPECT_TRUE(thermistor_at(30)) << "stays as warm as it is";
    EXPECT_EQ(virt::latest_motion_sample(), std::nullopt);
}

TEST_F(Motion, OtherRequestsAndNodesAreAnsweredAsEver)
{
    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "9 8 7 30\n"));
    camera.write("/virtual/ioctl/lsm.0x80046c04", "5\n");
    camera.write("/virtual/ioctl/lsm2.0x800c6c01", "1 2 3\n");
    camera.write("/dev/lsm2", "");
    uint32_t word = 0;
    EXPECT_EQ(sys_ioctl(fd, 0x80046c04, &word), 0);
    EXPECT_EQ(word, 5U);
    EXPECT_EQ(sys_ioctl(fd, READ_AXES, nullptr), 0) << "nowhere to put a sample, and none taken";
    EXPECT_FALSE(camera.exists("/virtual/motion/position"));
    const int other = sys_open("/dev/lsm2", O_RDONLY | O_CLOEXEC, 0);
    Axes found(3);
    EXPECT_EQ(sys_ioctl(other, READ_AXES, found.data()), 0);
    EXPECT_EQ(found, (Axes{1, 2, 3}));
    close(other);
}

TEST_F(Motion, AFaultTakesNoSample)
{
    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "1 1 1 20\n2 2 2 20\n3 3 3 20\n"));
    camera.fault("sys_ioctl", "-1 at 2 errno EIO on /dev/lsm");
    EXPECT_EQ(axes(), (Axes{1, 1, 1}));
    EXPECT_EQ(refusal(READ_AXES), EIO);
    EXPECT_EQ(axes(), (Axes{2, 2, 2}));
}

TEST_F(Motion, ANewOneBeginsWithItsFirstSample)
{
    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "1 1 1 20\n2 2 2 20\n"));
    axes();
    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "3 3 3 40\n4 4 4 41\n"));
    EXPECT_EQ(virt::latest_motion_sample(), std::nullopt);
    EXPECT_TRUE(thermistor_at(40));
    EXPECT_EQ(axes(), (Axes{3, 3, 3}));
    EXPECT_EQ(virt::latest_motion_sample()->axes, (std::array<int32_t, 3>{3, 3, 3}));
    EXPECT_TRUE(virt::set_motion(MotionKind::model, "rate 5 5 5\n"));
    EXPECT_EQ(virt::motion_kind(), MotionKind::model);
    EXPECT_EQ(axes(), (Axes{5, 5, 5}));
    camera.remove("/virtual/motion/position");
    EXPECT_EQ(axes(), (Axes{5, 5, 5}));
}

TEST_F(Motion, ADamagedPositionBeginsAnew)
{
    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "1 1 1 20\n2 2 2 20\n"));
    for (const char *damaged : {"", "x", "9", "-1 0 0 0 20", "9223372036854775807 0 0 0 20"}) {
        camera.write("/virtual/motion/position", damaged);
        EXPECT_EQ(axes(), (Axes{1, 1, 1})) << damaged;
    }
    EXPECT_EQ(axes(), (Axes{2, 2, 2}));
}

TEST_F(Motion, APositionOrThermistorThatCannotBeWrittenFailsTheReading)
{
    EXPECT_TRUE(virt::set_motion(MotionKind::samples, "1 1 1 20\n2 2 2 21\n"));
    axes();
    camera.remove(virt::THERMISTOR);
    camera.write(std::string(virt::THERMISTOR) + "/inside", "");
    EXPECT_EQ(refusal(READ_AXES), EIO);
    camera.remove("/virtual/motion/position");
    camera.write("/virtual/motion/position/inside", "");
    EXPECT_EQ(refusal(READ_AXES), EIO);
}

TEST_F(Motion, SamplesAreRefusedAsAWholeWhereALineIsWrong)
{
    EXPECT_EQ(virt::motion_mistake(MotionKind::samples, "1 2 3 4\n5 6\n"), "5 6");
    EXPECT_EQ(virt::motion_mistake(MotionKind::samples, "# none\n"), "no sample");
    EXPECT_EQ(virt::motion_mistake(MotionKind::samples, "1 2 3 4\r\n"), "");
    EXPECT_FALSE(virt::set_motion(MotionKind::samples, "1 2 3 4\n5 6\n"));
    EXPECT_FALSE(camera.exists("/virtual/motion"));
}

} // namespace

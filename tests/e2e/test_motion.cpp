// The gyroscope's station: the daemon measures what the virtual sensor is told to.
#include "tests/e2e/line.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <sstream>
#include <thread>

using e2e::Line;

namespace
{

using Fields = std::vector<std::string>;

// The columns of the CSV file's last row, without index and serial number.
Fields last_row(const Line &line)
{
    const auto rows = test::lines_of(line.read("/sdcard/gyroscope.csv"));
    std::istringstream text(rows.empty() ? "" : rows.back());
    Fields fields;
    for (std::string field; std::getline(text, field, ',');)
        fields.push_back(field.substr(0, field.find('\r')));
    fields.erase(fields.begin(), fields.begin() + std::min<std::ptrdiff_t>(2, std::ssize(fields)));
    return fields;
}

test::Outcome run_line(const Line &line, const std::string &text)
{
    line.write("/one.adj", text + "\n");
    return line.vcam({"run", line.path("/one.adj")});
}

std::string item(const Line &line, const std::string &name)
{
    return line.vcam({"adj", "get", name}).out;
}

} // namespace

// A sample is rate + drift * degrees + noise, rounded: noise spread evenly over -2 to 2 and the
// rounding have variances of 4/3 and 1/12, a sample's deviation is 1.19.  Each degree has 250
// samples (the first one less), so the averages' deviation is 0.0753.  Their temperatures run from
// d to d + 0.996, so an average tells the rate at d + 0.498, and the line's value at 0 is
// rate + 0.498 * drift.  With the 11 degrees from 20 to 30 (mean 25, squares about it 110) the
// slope's deviation is 0.0753 / sqrt(110) = 0.0072, that of the value at 0
// 0.0753 * sqrt(1/11 + 25^2/110) = 0.181.  Four deviations, with 0.01 for the missing first sample
// and for 32-bit sums, are the tolerances.
TEST(Motion, TheSweepFindsTheModelsRateAndDrift)
{
    constexpr double RATE[] = {40, -25, 10}, DRIFT[] = {1.5, -0.75, 0.2};
    Line line;
    ASSERT_EQ(line.vcam({"motion", "model", "--rate", "40", "-25", "10", "--drift", "1.5", "-0.75",
                         "0.2", "--noise", "2", "--from", "20", "--rise", "0.004", "--seed", "7"})
                  .status,
              0);
    const auto run = run_line(line, "gyroscope adjust_gyro 5 9");
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    const Fields row = last_row(line);
    ASSERT_EQ(row.size(), 12U);
    for (std::size_t axis = 0; axis < 3; axis++) {
        EXPECT_NEAR(std::stod(row[axis]), RATE[axis] + 0.498 * DRIFT[axis], 0.74) << axis;
        EXPECT_NEAR(std::stod(row[3 + axis]), DRIFT[axis], 0.039) << axis;
    }
    // What the line leaves of 11 averages is 11 * 0.0753^2 = 0.062 of 110 * drift^2 about their
    // mean: a share of 0.00025, 0.001 and 0.014.
    EXPECT_GT(std::stod(row[6]), 0.999);
    EXPECT_GT(std::stod(row[7]), 0.997);
    EXPECT_GT(std::stod(row[8]), 0.95);
    EXPECT_EQ(row[9], "11");
    EXPECT_GE(std::stol(row[10]), 2751 * 5) << "milliseconds of camera time, for so many samples";
    EXPECT_EQ(row[11], "OK");
    EXPECT_EQ(line.vcam({"motion"}).out.substr(0, 6), "model\n");
    EXPECT_NE(line.vcam({"motion"}).out.find(" at 31 degrees\n"), std::string::npos)
        << "T0 + 9 + 1 is passed with the first sample of 31 degrees";
}

TEST(Motion, TheAdjustmentIsTheMeanOfTheSamplesAndTheLastOnesTemperature)
{
    Line line;
    line.write("/samples.txt", "10 -10 0 20\n11 -11 1 -4\n12 -14 2 -4.5\n99 99 99 50\n");
    line.write("/sys/devices/platform/m7_tsu/isp", "41\n");
    ASSERT_EQ(line.vcam({"motion", "file", line.path("/samples.txt")}).status, 0);
    const auto run = run_line(line, "gyroscope adjust 3 10");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(last_row(line), (Fields{"11", "-11", "1", "-5", "41", "OK"}));
    EXPECT_EQ(item(line, "GYROSCOPE_DATA_Y"), "-11\n");
    EXPECT_EQ(item(line, "GYROSCOPE_THERM"), "-5\n");
    EXPECT_EQ(item(line, "GYROSCOPE_THERM_DSP"), "41\n");
}

TEST(Motion, ASampleThatIsNotUnderstoodIsAReadError)
{
    Line line;
    line.write("/virtual/motion/samples", "10 -10 0 20\n11 -11 one 20\n");
    EXPECT_EQ(run_line(line, "gyroscope adjust 3 10").status, 1);
    EXPECT_TRUE(line.tells("Gyro-value read error!"));
    EXPECT_NE(line.read("/virtual/rovad.out").find("not understood: 11 -11 one 20"),
              std::string::npos);
    EXPECT_EQ(last_row(line), (Fields{"0", "0", "0", "0", "-1", "NG"}));
}

TEST(Motion, ACameraThatCoolsTakesAsManySamplesAsThereIsRoomFor)
{
    Line line;
    line.speed(10000);
    ASSERT_EQ(line.vcam({"motion", "model", "--from", "59.9", "--rise", "-0.001"}).status, 0);
    const auto run = run_line(line, "gyroscope adjust_gyro 1 1");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_TRUE(line.tells("6000 samples taken, no room for more"));
    EXPECT_EQ(last_row(line).at(9), "6") << "59 to 54 degrees, and 99 samples of 53";
}

TEST(Motion, TheExampleMeasuresAdjustsAndWaitsForTheOperator)
{
    Line line;
    ASSERT_EQ(line.vcam({"motion", "model", "--rate", "40", "-25", "10", "--drift", "1.5", "-0.75",
                         "0.2", "--noise", "2", "--from", "20", "--rise", "0.004"})
                  .status,
              0);
    test::Outcome run = {};
    std::thread station([&] { run = line.vcam({"run", std::string(EXAMPLES) + "/motion.adj"}); });
    EXPECT_TRUE(test::wait_for([&] {
        return line.read("/virtual/sensord.out").find("rotation") != std::string::npos;
    })) << "the script waits for the turn";
    EXPECT_EQ(line.vcam({"turn-camera", "left"}).status, 0);
    station.join();
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    for (const char *file : {"gyroscope.csv", "accelometer.csv", "accelometer_axis.csv"})
        EXPECT_NE(run.out.find(file), std::string::npos) << file;
    EXPECT_EQ(last_row(line).at(11), "OK");
    // 100 samples at 20 degrees: 40 + 1.5 * 20.2 less the fraction, give or take 4 * 0.12.
    EXPECT_NEAR(std::stod(item(line, "GYROSCOPE_DATA_X")), 70, 1);
    EXPECT_EQ(item(line, "GYROSCOPE_THERM"), "20\n");
}

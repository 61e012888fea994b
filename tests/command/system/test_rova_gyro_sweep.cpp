#include "command/system/rova_gyro_sweep.h"

#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>
#include <regex>
#include <string>
#include <vector>

using testing::Contains;

namespace
{

using Axes = std::array<int32_t, 3>;

constexpr Axes FIRST = {7, -7, 70};
constexpr int HOT = 99; // no degree that a sample may have
constexpr char RANGE_ERROR[] = "Gyro temperature range ERROR!!";

// The rounding unit of 32-bit floats: half the distance of 1 to the next.
constexpr double U = std::numeric_limits<float>::epsilon() / 2;

struct GyroSweep : testing::Test {
    test::Camera camera;
    std::unique_ptr<rova_gyro_sweep> sweep;
    rova_gyro_memory memory = {};

    GyroSweep() { restart(); }

    // A sweep whose first sample would end every average if it took part.
    void restart()
    {
        sweep = std::make_unique<rova_gyro_sweep>();
        sweep->last = -1;
        add(1, HOT, FIRST);
    }

    void add(int count, int degree, Axes sample)
    {
        for (int i = 0; i < count; i++) {
            sweep->last++;
            ASSERT_LT(sweep->last, ROVA_GYRO_SAMPLES);
            sweep->temperature[sweep->last] = degree;
            for (int axis = 0; axis < 3; axis++)
                sweep->gyro[axis][sweep->last] = sample[static_cast<std::size_t>(axis)];
        }
    }

    void evaluate() { rova_gyro_sweep_evaluate(sweep.get(), &memory); }

    Axes sample(int index) const
    {
        return {sweep->gyro[0][index], sweep->gyro[1][index], sweep->gyro[2][index]};
    }

    // "function > message" of each line under the gyroscope's tag.
    std::vector<std::string> stage_messages() const
    {
        static const std::regex line(R"( SYS_GYRO rova_gyro_sweep\.cpp: (\w+)\(\d+\) > (.*))");
        static const std::regex colour("\x1b\\[[0-9]*m");
        std::vector<std::string> texts;
        for (const std::string &text : test::lines_of(camera.platform_log()))
            if (std::smatch parts; std::regex_search(text, parts, line))
                texts.push_back(parts.str(1) + " > " +
                                std::regex_replace(parts.str(2), colour, ""));
        return texts;
    }

    void expect_no_line(float sought) const
    {
        for (int axis = 0; axis < 3; axis++)
            for (float value : {sweep->a[axis], sweep->b[axis], sweep->r_square[axis]})
                EXPECT_TRUE(std::isnan(sought) ? std::isnan(value) : value == sought) << axis;
    }

    // Only the filter, on samples of its own.
    void filter(const std::vector<Axes> &samples)
    {
        sweep->last = -1;
        for (const Axes &values : samples)
            add(1, 20, values);
        rova_gyro_sweep_filter(sweep.get(), &memory);
    }
};

// Three valuable degrees: a straight line, one with a rest, and a level one.
struct GyroLine : GyroSweep {
    GyroLine()
    {
        add(200, 20, {10, 10, 5});
        add(200, 21, {12, 13, 5});
        add(200, 22, {14, 13, 5});
    }
};

constexpr float NONE = std::numeric_limits<float>::quiet_NaN();

} // namespace

// ------------------------------------------------------------------------- small sets, by hand

// With x = 20, 21, 22: n = 3, Sx = 63, Sxx = 1325, D = 3 * 1325 - 63 * 63 = 6.
// y = 10, 12, 14: Sy = 36, Sxy = 760, a = (36 * 1325 - 63 * 760) / 6, b = (3 * 760 - 63 * 36) / 6.
// y = 10, 13, 13: Sy = 36, Sxy = 759.  y = 5, 5, 5: Sy = 15, Sxy = 315.
TEST_F(GyroLine, HasInterceptAndSlopeOfEachAxis)
{
    evaluate();
    EXPECT_EQ(memory.val_temp_cnt, 3);
    EXPECT_EQ(sweep->a[0], -30.0F);
    EXPECT_EQ(sweep->b[0], 2.0F);
    EXPECT_EQ(sweep->a[1], -19.5F);
    EXPECT_EQ(sweep->b[1], 1.5F);
    EXPECT_EQ(sweep->a[2], 5.0F);
    EXPECT_EQ(sweep->b[2], 0.0F);
}

// y - 12 = -2, 1, 1 and y - line = -0.5, 1, -0.5: (6 - 1.5) / 6.  A level axis has 0 / 0.
TEST_F(GyroLine, TellsHowWellItFits)
{
    evaluate();
    EXPECT_EQ(sweep->y_avg[1], 12.0F);
    EXPECT_EQ(sweep->r_square[0], 1.0F);
    EXPECT_EQ(sweep->r_square[1], 0.75F);
    EXPECT_TRUE(std::isnan(sweep->r_square[2]));
}

TEST_F(GyroLine, PacksTheValuableDegrees)
{
    evaluate();
    for (int axis = 0; axis < 3; axis++)
        for (int k = 0; k < 3; k++)
            EXPECT_EQ(sweep->temp_sel[axis][k], 20 + k);
    EXPECT_EQ(sweep->temp_avg_sel[1][0], 10.0F);
    EXPECT_EQ(sweep->temp_avg_sel[1][2], 13.0F);
    EXPECT_EQ(sweep->temp_avg_by_degree[0][22], 14.0F);
    EXPECT_EQ(sweep->temp_avg_by_degree[0][19], 0.0F);
}

TEST_F(GyroLine, TakesThePlaceOfTheAverages)
{
    evaluate();
    EXPECT_EQ(sweep->gyro_temperature_avg[1][20], 10.5F);
    EXPECT_EQ(sweep->gyro_temperature_avg[1][21], 12.0F);
    EXPECT_EQ(sweep->gyro_temperature_avg[1][22], 13.5F);
    EXPECT_EQ(sweep->gyro_temperature_avg[1][23], 0.0F); // no sample, no line
}

TEST_F(GyroLine, IsTakenFromAllSamplesButTheFirst)
{
    sweep->temperature[0] = 20; // as warm as others
    evaluate();
    EXPECT_EQ(sweep->gyro_temperature_cnt[20], 200);
    EXPECT_EQ(sample(0), FIRST);
    EXPECT_EQ(sample(1), (Axes{0, 0, 0}));   // 10 - 10.5 is -0.5, without its fraction 0
    EXPECT_EQ(sample(201), (Axes{0, 1, 0})); // 13 - 12
    EXPECT_EQ(sample(600), (Axes{0, 0, 0}));
}

TEST_F(GyroLine, IsToldUnderTheGyroscopesTagAndTheStagesName)
{
    evaluate();
    for (const char *text : {
             "GyroTemperatureAverage > gyro_temperature_avg[0]: 20 10.0000",
             "GyroTemperatureAverage > gyro_temperature_avg[2]: 22 5.0000",
             "GyroTemperatureAverage > gyro_temperature_avg[0]: 0 0.0000, but gyro_temperature_cnt "
             "is lower than 200",
             "GyroTemperatureAverage > gyro_temperature_avg[2]: 59 0.0000, but "
             "gyro_temperature_cnt is lower than 200",
             "TemperatureAverageCurve > temp_avg_sel[1][2] = 22 13.0000",
             "TemperatureAverageCurve > y_avg[1]: 12.0000, valuable temperature count: 3",
             "TemperatureAverageCurve > a[0]=-30.0000, b[0]=2.0000",
             "TemperatureAverageCurve > a[1]=-19.5000, b[1]=1.5000",
             "TemperatureAverageCurve > cal_gyro_temperature_avg[1]: 20 10.5000",
             "TemperatureAverageCurve > y_avg_diff_square:6.0000, y_cal_diff_square:1.5000, "
             "r_square[1]:0.7500",
             "TemperatureAverageCurve > gyro_error_cnt[2]: 0",
             "GyroFilterValCal > gyro_filter_error_cnt: 0",
         })
        EXPECT_THAT(stage_messages(), Contains(text));
    EXPECT_FALSE(camera.logged("SYS_ROVA"));
    EXPECT_FALSE(camera.logged("gyro_temperature_avg[0]: 60"));
    EXPECT_FALSE(camera.logged("cal_gyro_temperature_avg[0]: 23"));
}

// Two degrees of 10.5 on average are a level line there.
TEST_F(GyroSweep, CorrectionsLoseTheirFractionTowards0)
{
    for (int degree : {20, 21}) {
        add(100, degree, {8, -8, 8});
        add(100, degree, {13, -13, 13});
    }
    evaluate();
    EXPECT_EQ(sweep->a[0], 10.5F);
    EXPECT_EQ(sample(1), (Axes{-2, 2, -2}));
    EXPECT_EQ(sample(101), (Axes{2, -2, 2}));
}

TEST_F(GyroLine, LeavesOutADegreeOf199Samples)
{
    add(199, 30, {1000, 0, 5});
    evaluate();
    EXPECT_EQ(memory.val_temp_cnt, 3);
    EXPECT_EQ(sweep->a[0], -30.0F);
    EXPECT_EQ(sweep->b[0], 2.0F);
    EXPECT_EQ(sweep->gyro_temperature_cnt[30], 199);
    EXPECT_EQ(sweep->gyro_temperature_avg[0][30], 30.0F);
    EXPECT_EQ(sample(601), (Axes{970, -25, 0})); // 0 - (-19.5 + 30 * 1.5) is -25.5
    EXPECT_EQ(sweep->gyro_error_cnt[0], 199);
    EXPECT_EQ(sweep->gyro_error_cnt[1], 0);
    EXPECT_TRUE(camera.logged(
        "gyro_temperature_avg[0]: 30 1000.0000, but gyro_temperature_cnt is lower than 200"));
    EXPECT_TRUE(camera.logged("gyro_error_cnt[0]: 199"));
}

TEST_F(GyroLine, TakesInADegreeOf200Samples)
{
    add(200, 30, {30, 0, 5});
    evaluate();
    EXPECT_EQ(memory.val_temp_cnt, 4);
    EXPECT_EQ(sweep->temp_sel[0][3], 30);
    EXPECT_EQ(sweep->a[0], -30.0F);
}

TEST_F(GyroSweep, OnlyCorrectionsAbove150Count)
{
    for (int degree : {20, 21}) {
        for (int32_t rest : {150, -150, 151, -151})
            add(50, degree, {rest, 0, 2 * rest});
    }
    evaluate();
    EXPECT_EQ(sample(101)[0], 151);
    EXPECT_EQ(sweep->gyro_error_cnt[0], 200);
    EXPECT_EQ(sweep->gyro_error_cnt[1], 0);
    EXPECT_EQ(sweep->gyro_error_cnt[2], 400);
}

// ------------------------------------------------------------------------- order of additions

// At 2^24 a float has steps of 2: of 1s that are added to it one by one nothing stays.
TEST_F(GyroSweep, SamplesAreAddedFromTheLastToTheFirst)
{
    const int32_t large = 1 << 24;
    add(1, 20, {large, 0, 0});
    add(199, 20, {1, 0, 0});
    add(199, 21, {1, 0, 0});
    add(1, 21, {large, 0, 0});
    ASSERT_TRUE(rova_gyro_sweep_average(sweep.get()));
    EXPECT_EQ(sweep->gyro_temperature_avg[0][20], static_cast<float>(large + 200) / 200.0F);
    EXPECT_EQ(sweep->gyro_temperature_avg[0][21], static_cast<float>(large) / 200.0F);
}

// The averages' sum grows with the degrees: 2^24 + 1 + 1 stays 2^24.  The line's sums grow
// downwards: Sy = 2 + 2^24; Sxy = 12 + 11 + 10 * 2^24, in steps of 16, is 167772176; Sxy * 3, in
// steps of 32, 503316544; Sx * Sy, in steps of 64, 553648192; their difference over D = 6.
TEST_F(GyroSweep, AveragesAreAddedUpwardsAndTheLineDownwards)
{
    const int32_t large = 1 << 24;
    add(200, 10, {large, 0, 0});
    add(200, 11, {1, 0, 0});
    add(200, 12, {1, 0, 0});
    evaluate();
    EXPECT_EQ(sweep->y_avg[0], 16777216.0F / 3.0F);
    EXPECT_EQ(sweep->b[0], -8388608.0F);
}

// ------------------------------------------------------------------------- temperatures

TEST_F(GyroSweep, Degrees0And59TakePart)
{
    add(200, 0, {1, 1, 1});
    add(200, 59, {60, 119, 1});
    evaluate();
    EXPECT_EQ(memory.val_temp_cnt, 2);
    EXPECT_EQ(sweep->temp_sel[0][1], 59);
    EXPECT_EQ(sweep->a[0], 1.0F);
    EXPECT_EQ(sweep->b[0], 1.0F);
    EXPECT_EQ(sweep->b[1], 2.0F);
}

// Without a bin it has no line either: the sample stays as it is.
TEST_F(GyroLine, DropsSamplesOf60DegreesWithoutAWord)
{
    add(300, 60, {1000, 100, 0});
    evaluate();
    EXPECT_FALSE(camera.logged(RANGE_ERROR));
    EXPECT_EQ(memory.val_temp_cnt, 3);
    EXPECT_EQ(sweep->a[0], -30.0F);
    EXPECT_EQ(sweep->gyro_temperature_cnt[60], 0);
    EXPECT_EQ(sample(601), (Axes{1000, 100, 0}));
    EXPECT_EQ(sweep->gyro_error_cnt[0], 300);
}

TEST_F(GyroLine, IsNotFittedBeyondTheRange)
{
    for (int degree : {61, 1000000, -1, INT32_MIN, INT32_MAX}) {
        restart();
        memory = {17, 0, 0};
        add(200, 20, {10, 10, 5});
        add(1, degree, {0, 0, 0});
        add(200, 21, {12, 10, 5});
        evaluate();
        expect_no_line(0);
        EXPECT_EQ(memory.val_temp_cnt, 17) << degree;
        EXPECT_EQ(sample(1), (Axes{10, 10, 5})) << degree;
        EXPECT_GT(memory.gyro_filter, 0.0F) << degree;
    }
    EXPECT_TRUE(camera.logged(RANGE_ERROR));
    EXPECT_FALSE(camera.logged("a[0]="));
}

TEST_F(GyroSweep, OfNoSampleHasNoLine)
{
    sweep->last = -1;
    memory = {17, 3, 4};
    evaluate();
    expect_no_line(NONE);
    EXPECT_EQ(memory.val_temp_cnt, 0);
    EXPECT_EQ(memory.gyro_peak, 3.0F);
    EXPECT_EQ(memory.gyro_filter, 4.0F);
    EXPECT_TRUE(camera.logged("gyro_filter_error_cnt: 0"));
}

TEST_F(GyroSweep, OfTheFirstSampleAloneLooksAtNoTemperature)
{
    evaluate();
    expect_no_line(NONE);
    EXPECT_EQ(memory.val_temp_cnt, 0);
    EXPECT_EQ(sample(0), FIRST);
    EXPECT_FALSE(camera.logged(RANGE_ERROR));
}

// Even one that is too hot is no error, and both stay as they are.
TEST_F(GyroSweep, OfTwoSamplesIsNotAveraged)
{
    for (int degree : {20, 61, -1, INT32_MAX}) {
        restart();
        memory = {17, 0, 0};
        add(1, degree, {5, 6, 7});
        evaluate();
        expect_no_line(NONE);
        EXPECT_EQ(memory.val_temp_cnt, 0) << degree;
        EXPECT_EQ(sample(0), FIRST) << degree;
        EXPECT_EQ(sample(1), (Axes{5, 6, 7})) << degree;
    }
    EXPECT_FALSE(camera.logged(RANGE_ERROR));
    EXPECT_FALSE(camera.logged("gyro_temperature_avg["));
}

TEST_F(GyroSweep, OfThreeSamplesIsAveraged)
{
    add(1, 61, {5, 6, 7});
    add(1, 20, {5, 6, 7});
    evaluate();
    expect_no_line(0);
    EXPECT_TRUE(camera.logged(RANGE_ERROR));
}

// No number is 0 as an integer, which is no error of a correction.
TEST_F(GyroSweep, OfTooFewSamplesPerDegreeLeavesZeros)
{
    add(199, 20, {500, 500, 500});
    add(199, 21, {500, 500, 500});
    evaluate();
    expect_no_line(NONE);
    EXPECT_EQ(memory.val_temp_cnt, 0);
    EXPECT_TRUE(std::isnan(sweep->y_avg[0]));
    EXPECT_EQ(sample(0), FIRST);
    EXPECT_EQ(sample(1), (Axes{0, 0, 0}));
    EXPECT_EQ(sweep->gyro_error_cnt[0], 0);
    EXPECT_TRUE(std::isfinite(memory.gyro_filter));
}

TEST_F(GyroSweep, OfOneValuableDegreeHasNoSlope)
{
    add(400, 20, {5, 6, 7});
    evaluate();
    EXPECT_EQ(memory.val_temp_cnt, 1);
    for (int axis = 0; axis < 3; axis++) {
        EXPECT_FALSE(std::isfinite(sweep->a[axis]));
        EXPECT_TRUE(std::isnan(sweep->b[axis]));
        EXPECT_TRUE(std::isnan(sweep->r_square[axis]));
    }
    EXPECT_EQ(sweep->y_avg[1], 6.0F);
    EXPECT_EQ(sample(1), (Axes{0, 0, 0}));
}

TEST_F(GyroSweep, HasRoomForAsManyValuableDegreesAsSamplesAllow)
{
    for (int degree = 0; degree < 29; degree++)
        add(200, degree, {degree, 2 * degree, -degree});
    add(ROVA_GYRO_SAMPLES - 1 - sweep->last, 29, {29, 58, -29}); // 199: the first does not count
    ASSERT_EQ(sweep->last, ROVA_GYRO_SAMPLES - 1);
    evaluate();
    EXPECT_EQ(memory.val_temp_cnt, 29);
    EXPECT_EQ(sweep->temp_sel[2][28], 28);
    EXPECT_EQ(sweep->b[1], 2.0F);
}

// 2^31 - 1 less -2^31 is more than an integer holds.
TEST_F(GyroSweep, CorrectionsEndAtTheLargestInteger)
{
    for (int degree : {20, 21}) {
        add(1, degree, {INT32_MAX, INT32_MIN, 0});
        add(399, degree, {INT32_MIN, INT32_MAX, 0});
    }
    evaluate();
    EXPECT_EQ(sample(1), (Axes{INT32_MAX, INT32_MIN, 0}));
}

// ------------------------------------------------------------------------- filter

// Magnitudes: 25; 5 + 11; 4 + 45.  Peaks: 5; half of 5 and of 4; 7.
TEST_F(GyroSweep, TheFilterCarriesEachMagnitudeIntoTheNext)
{
    filter({{3, 4, 0}, {3, 1, 1}, {5, 4, 2}});
    EXPECT_FLOAT_EQ(sweep->filtered[0], 0.5F);
    EXPECT_FLOAT_EQ(sweep->filtered[1], 0.45F + 0.45F);
    EXPECT_FLOAT_EQ(sweep->filtered[2], 0.81F + 0.7F);
    EXPECT_EQ(memory.gyro_peak, 7.0F);
    EXPECT_EQ(memory.gyro_filter, sweep->filtered[2]);
}

// 8 + 25 + 30000^2, in steps of 64, is 900000064, whose root in steps of 1 / 512 is not that of
// 30000^2.  Added the other way round 25 and 8 would be lost one by one.
TEST_F(GyroSweep, TheCarryIsTheFirstOfTheSum)
{
    filter({{8, 0, 0}, {5, 0, 30000}});
    EXPECT_EQ(memory.gyro_peak, 30000.0F + 1.0F / 512);
}

// As a 32-bit float 0.9 is so far from itself that 0.9F * 7 is the float below 6.3F.
TEST_F(GyroSweep, TheFiltersSharesAreDoubles)
{
    memory = {0, 0, 7};
    filter({{0, 0, 0}});
    EXPECT_EQ(memory.gyro_filter, 6.3F);
}

// The magnitude starts at 0, peak and filter where the sweep before has left them: the peak becomes
// half of 7 and of 5, the filter 1.51 * 0.9 + 0.6.
TEST_F(GyroSweep, ASecondSweepGoesOnWithPeakAndFilter)
{
    filter({{3, 4, 0}, {3, 1, 1}, {5, 4, 2}});
    restart();
    filter({{3, 4, 0}});
    EXPECT_EQ(memory.gyro_peak, 6.0F);
    EXPECT_FLOAT_EQ(sweep->filtered[0], 1.359F + 0.6F);
}

TEST_F(GyroSweep, FilteredValuesAbove120Count)
{
    memory = {0, 120, 120};
    filter({{120, 0, 0}});
    EXPECT_EQ(sweep->filtered[0], 120.0F);
    EXPECT_TRUE(camera.logged("gyro_filter_error_cnt: 0"));
    filter({{200, 0, 0}, {200, 0, 0}});
    EXPECT_TRUE(camera.logged("gyro_filter_error_cnt: 2"));
}

// As 32 bits the square of 65536 is 0, and that of 46341 below 0, which has no root.
TEST_F(GyroSweep, SquaresWrap)
{
    filter({{65536, 3, -4}});
    EXPECT_EQ(memory.gyro_peak, 5.0F);
    filter({{46341, 0, 0}});
    EXPECT_TRUE(std::isnan(memory.gyro_peak));
}

// Up to the last index, that one included.
TEST_F(GyroSweep, TheFilterTakesTheLastSample)
{
    filter({{0, 0, 0}, {9, 0, 0}});
    EXPECT_EQ(memory.gyro_peak, 9.0F);
    EXPECT_EQ(sweep->filtered[2], 0.0F);
}

// ------------------------------------------------------------------------- large sets, a second
// way

namespace
{

// The line in doubles, from the raw samples, and how far the 32-bit one may be from it.
struct DoubleLine {
    int n = 0;
    double a = 0, b = 0, r_square = 0, y_avg = 0;
    double a_error = 0, b_error = 0, r_error = 0;
};

struct Point {
    double x, y;
};

std::vector<Point> valuable_points(const rova_gyro_sweep &sweep, int axis)
{
    std::vector<Point> points;
    for (int degree = 0; degree < 60; degree++) {
        double sum = 0;
        int count = 0;
        for (int i = 1; i <= sweep.last; i++)
            if (sweep.temperature[i] == degree) {
                sum += sweep.gyro[axis][i];
                count++;
            }
        if (count >= 200)
            points.push_back({static_cast<double>(degree), sum / count});
    }
    return points;
}

// Errors of the 32-bit way.  The averages' sums are of integers below 2^24, so an average has one
// rounding; Sx, Sxx and D are exact, being integers below 2^24 too.  Each of the n terms of Sy and
// Sxy passes at most n + 1 roundings, the products, the difference and the quotient three more:
// within n + 6 units of the sum of the terms' absolute values.
void add_coefficient_errors(const std::vector<Point> &points, double d, DoubleLine *line)
{
    double x = 0, xx = 0, abs_y = 0, abs_xy = 0;
    for (const Point &point : points) {
        x += point.x;
        xx += point.x * point.x;
        abs_y += std::abs(point.y);
        abs_xy += point.x * std::abs(point.y);
    }
    const double units = (line->n + 6) * U;
    line->a_error = units * (abs_y * xx + x * abs_xy) / d;
    line->b_error = units * (abs_xy * line->n + x * abs_y) / d;
}

// A difference of y is off by `e`, so its square by 2 |difference| e + e e; each sum adds n + 2
// roundings.
double square_sum_error(const std::vector<double> &differences, double e)
{
    double error = 0;
    for (double difference : differences) {
        error += 2 * std::abs(difference) * e + e * e;
        error += (static_cast<double>(differences.size()) + 2) * U * difference * difference;
    }
    return error;
}

void add_quality(const std::vector<Point> &points, DoubleLine *line)
{
    std::vector<double> from_average, from_line;
    double largest_y = 0, average_sum = 0, line_sum = 0;
    for (const Point &point : points) {
        largest_y = std::max(largest_y, std::abs(point.y));
        from_average.push_back(point.y - line->y_avg);
        from_line.push_back(point.y - (line->a + line->b * point.x));
        average_sum += from_average.back() * from_average.back();
        line_sum += from_line.back() * from_line.back();
    }
    line->r_square = (average_sum - line_sum) / average_sum;
    const double y_error = (line->n + 4) * U * largest_y;
    const double fit_error = line->a_error + 60 * line->b_error +
                             4 * U * (std::abs(line->a) + 60 * std::abs(line->b) + largest_y);
    const double average_error = square_sum_error(from_average, y_error);
    line->r_error =
        (2 * average_error + square_sum_error(from_line, fit_error)) / average_sum + 4 * U;
}

// By the points' centre, not by the sums of the 32-bit way.
DoubleLine double_line(const std::vector<Point> &points)
{
    DoubleLine line;
    line.n = static_cast<int>(points.size());
    double x_avg = 0, xx = 0, xy = 0;
    for (const Point &point : points) {
        x_avg += point.x / line.n;
        line.y_avg += point.y / line.n;
    }
    for (const Point &point : points) {
        xx += (point.x - x_avg) * (point.x - x_avg);
        xy += (point.x - x_avg) * (point.y - line.y_avg);
    }
    line.b = xy / xx;
    line.a = line.y_avg - line.b * x_avg;
    add_coefficient_errors(points, xx * line.n, &line);
    add_quality(points, &line);
    return line;
}

} // namespace

class GyroSeed : public GyroSweep, public testing::WithParamInterface<unsigned int>
{
protected:
    std::mt19937 random{GetParam()};

    double between(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(random);
    }

    // Degrees one after the other, some with too few samples, as a camera warms.
    void warm_up()
    {
        const double slope[3] = {between(-4, 4), between(-4, 4), between(-4, 4)};
        const double offset[3] = {between(-300, 300), between(-300, 300), between(-300, 300)};
        std::normal_distribution<double> noise(0, between(1, 40));
        for (int degree = static_cast<int>(between(0, 30)); degree < 60; degree++) {
            const int count = static_cast<int>(between(150, 400));
            if (sweep->last + count >= ROVA_GYRO_SAMPLES)
                break;
            for (int i = 0; i < count; i++) {
                Axes values;
                for (std::size_t axis = 0; axis < 3; axis++)
                    values[axis] =
                        static_cast<int32_t>(offset[axis] + slope[axis] * degree + noise(random));
                add(1, degree, values);
            }
        }
    }
};

TEST_P(GyroSeed, TheLineIsThatOfDoubles)
{
    warm_up();
    const rova_gyro_sweep raw = *sweep;
    evaluate();
    for (int axis = 0; axis < 3; axis++) {
        const DoubleLine line = double_line(valuable_points(raw, axis));
        ASSERT_GE(line.n, 2);
        EXPECT_EQ(memory.val_temp_cnt, line.n);
        EXPECT_NEAR(sweep->a[axis], line.a, line.a_error);
        EXPECT_NEAR(sweep->b[axis], line.b, line.b_error);
        EXPECT_NEAR(sweep->r_square[axis], line.r_square, line.r_error);
        EXPECT_LT(line.a_error, 0.1); // a tolerance that would let anything pass is none
        EXPECT_LT(line.b_error, 0.01);
    }
}

// A correction may be another integer only where the exact one is as near to it as the line is
// inexact.
TEST_P(GyroSeed, CorrectionsAreThoseOfDoubles)
{
    warm_up();
    const rova_gyro_sweep raw = *sweep;
    evaluate();
    for (int axis = 0; axis < 3; axis++) {
        const DoubleLine line = double_line(valuable_points(raw, axis));
        const double e = line.a_error + 60 * line.b_error + 1000 * 4 * U;
        for (int i = 1; i <= raw.last; i++) {
            const double exact = raw.gyro[axis][i] - (line.a + line.b * raw.temperature[i]);
            const double corrected = sweep->gyro[axis][i];
            ASSERT_TRUE(std::trunc(exact - e) <= corrected && corrected <= std::trunc(exact + e))
                << exact << " and " << corrected << " at " << i;
        }
    }
}

// Of a magnitude's sum each term passes 4 roundings at most, which the root halves, and the carry
// halves what it brings: within 6 units.  Peak and filter mix positive numbers by shares: the peak
// adds less than 2 units, the filter a tenth of what it is given and one of its own, 10 in the long
// run.
TEST_P(GyroSeed, TheFilterIsThatOfDoubles)
{
    warm_up();
    evaluate();
    double magnitude = 0, peak = 0, filter = 0;
    for (int i = 0; i <= sweep->last; i++) {
        double sum = magnitude;
        for (int32_t value : sample(i))
            sum += static_cast<double>(value) * value;
        magnitude = std::sqrt(sum);
        peak = magnitude > peak ? magnitude : (peak + magnitude) / 2;
        filter = 0.9 * filter + 0.1 * peak;
        ASSERT_NEAR(sweep->filtered[i], filter, 18 * U * filter) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Gyro, GyroSeed, testing::Range(1U, 9U));

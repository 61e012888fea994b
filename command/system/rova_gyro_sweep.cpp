#define ROVA_LOG_TAG ROVA_TAG_GYRO
#include "common/rova_log.h"

#include "command/system/rova_gyro_device.h"
#include "command/system/rova_gyro_sweep.h"
#include "common/rova_guard.h"
#include "common/rova_sensor.h"
#include "platform/timer.h"

#include <cmath>
#include <cstdlib>
#include <fcntl.h>

namespace
{

constexpr uint32_t HIGHEST_DEGREE = ROVA_GYRO_DEGREES - 1;
constexpr int DEGREES = HIGHEST_DEGREE; // the bins that samples fall into: 0 to 59
constexpr int LARGE_CORRECTION = 150;
constexpr float LARGE_FILTERED = 120.0F;

// The platform log names the stage, whichever of its functions has something to tell.
constexpr char SAMPLING[] = "__rova_gyroscope_read_axis_onetime";
constexpr char AVERAGES[] = "GyroTemperatureAverage";
constexpr char LINE[] = "TemperatureAverageCurve";
constexpr char FILTER[] = "GyroFilterValCal";

#define STAGE_SITE(stage) (rova_log_site{ROVA_LOG_TAG, __FILE__, stage, __LINE__})
#define STAGE_ERR(stage, ...)                                                                      \
    rova_log_line(rova_log_kind::err, STAGE_SITE(stage), stderr, __VA_ARGS__)
#define STAGE_INFO(stage, ...)                                                                     \
    rova_log_line(rova_log_kind::info, STAGE_SITE(stage), nullptr, __VA_ARGS__)

// ------------------------------------------------------------------------- sampling

// The sweep follows the image sensor, by the reading that is the mean of several samples.
bool read_sweep_temperature(int32_t *degrees)
{
    float found = 0;
    if (rova_read_cis_temperature_avg(&found, 0) == 0) {
        STAGE_ERR(SAMPLING, "Image sensor's temperature read error!\n");
        return false;
    }
    *degrees = static_cast<int32_t>(found);
    return true;
}

bool take_sample(rova_gyro_sweep *sweep, int device, int index)
{
    rova_gyro_axes axes = {};
    if (!rova_gyro_read_axes(device, &axes)) {
        STAGE_ERR(SAMPLING, "Gyro-value read error!\n");
        return false;
    }
    for (int axis = 0; axis < ROVA_GYRO_AXES; axis++)
        sweep->gyro[axis][index] = axes[static_cast<std::size_t>(axis)];
    return read_sweep_temperature(&sweep->temperature[index]);
}

bool take_samples(rova_gyro_sweep *sweep, int device, int interval_ms, int rise)
{
    int32_t first = 0;
    if (!read_sweep_temperature(&first))
        return false;
    const int64_t target = int64_t{rise} + 1 + first;
    sweep->last = -1;
    for (int64_t reached = first; reached <= target; reached = sweep->temperature[sweep->last]) {
        if (sweep->last == ROVA_GYRO_SAMPLES - 1) {
            STAGE_ERR(SAMPLING, "%d samples taken, no room for more\n", ROVA_GYRO_SAMPLES);
            break;
        }
        if (!take_sample(sweep, device, sweep->last + 1))
            return false;
        sweep->last++;
        sys_usleep(rova_gyro_pause(interval_ms));
    }
    return true;
}

// ------------------------------------------------------------------------- averages

// The first sample never takes part, and one of the highest degree falls into no bin.
bool sum_up(rova_gyro_sweep *sweep)
{
    for (int i = sweep->last; i >= 1; i--) {
        const auto degree = static_cast<uint32_t>(sweep->temperature[i]);
        if (degree > HIGHEST_DEGREE) {
            STAGE_ERR(AVERAGES, "Gyro temperature range ERROR!!\n");
            return false;
        }
        if (degree == HIGHEST_DEGREE)
            continue;
        for (int axis = 0; axis < ROVA_GYRO_AXES; axis++)
            sweep->gyro_temperature_avg[axis][degree] += static_cast<float>(sweep->gyro[axis][i]);
        sweep->gyro_temperature_cnt[degree]++;
    }
    return true;
}

void divide(rova_gyro_sweep *sweep, int axis, int degree)
{
    const int32_t count = sweep->gyro_temperature_cnt[degree];
    float &average = sweep->gyro_temperature_avg[axis][degree];
    average = count == 0 ? 0.0F : average / static_cast<float>(count);
    if (count < ROVA_GYRO_VALUABLE)
        STAGE_INFO(AVERAGES,
                   "gyro_temperature_avg[%d]: %d %6.4f, but gyro_temperature_cnt is lower than "
                   "%d\n",
                   axis, degree, average, ROVA_GYRO_VALUABLE);
    else
        STAGE_INFO(AVERAGES, "gyro_temperature_avg[%d]: %d %6.4f\n", axis, degree, average);
}

// ------------------------------------------------------------------------- line

bool is_valuable(const rova_gyro_sweep *sweep, int degree)
{
    return sweep->gyro_temperature_cnt[degree] >= ROVA_GYRO_VALUABLE;
}

// Returns their number.
int select_degrees(rova_gyro_sweep *sweep, int axis)
{
    int n = 0;
    float sum = 0;
    for (int degree = 0; degree < DEGREES; degree++) {
        if (!is_valuable(sweep, degree))
            continue;
        const float average = sweep->gyro_temperature_avg[axis][degree];
        sweep->temp_avg_sel[axis][n] = average;
        sweep->temp_avg_by_degree[axis][degree] = average;
        sweep->temp_sel[axis][n] = degree;
        sum += average;
        STAGE_INFO(LINE, "temp_avg_sel[%d][%d] = %d %6.4f\n", axis, n, degree, average);
        n++;
    }
    sweep->y_avg[axis] = sum / static_cast<float>(n);
    STAGE_INFO(LINE, "y_avg[%d]: %6.4f, valuable temperature count: %d\n", axis, sweep->y_avg[axis],
               n);
    return n;
}

// Least squares.  Fewer than two degrees make no line: its numbers are those of a division by zero.
void fit_line(rova_gyro_sweep *sweep, int axis, int n)
{
    float sum_y = 0, sum_x = 0, sum_xx = 0, sum_xy = 0;
    for (int k = n - 1; k >= 0; k--) {
        const int x = sweep->temp_sel[axis][k];
        const float y = sweep->temp_avg_sel[axis][k];
        sum_y += y;
        sum_x += static_cast<float>(x);
        sum_xx += static_cast<float>(x * x);
        sum_xy += static_cast<float>(x) * y;
    }
    const auto count = static_cast<float>(n);
    const float d = sum_xx * count - sum_x * sum_x;
    sweep->a[axis] = (sum_y * sum_xx - sum_x * sum_xy) / d;
    sweep->b[axis] = (sum_xy * count - sum_x * sum_y) / d;
    STAGE_INFO(LINE, "a[%d]=%4.4f, b[%d]=%4.4f\n", axis, sweep->a[axis], axis, sweep->b[axis]);
}

void put_line_into_averages(rova_gyro_sweep *sweep, int axis)
{
    for (int degree = 0; degree < DEGREES; degree++) {
        if (sweep->gyro_temperature_cnt[degree] == 0)
            continue;
        float &fitted = sweep->gyro_temperature_avg[axis][degree];
        fitted = sweep->a[axis] + static_cast<float>(degree) * sweep->b[axis];
        STAGE_INFO(LINE, "cal_gyro_temperature_avg[%d]: %d %6.4f\n", axis, degree, fitted);
    }
}

float squared(float value)
{
    return value * value;
}

void judge_line(rova_gyro_sweep *sweep, int axis)
{
    float from_average = 0, from_line = 0;
    for (int degree = 0; degree < DEGREES; degree++) {
        if (!is_valuable(sweep, degree))
            continue;
        const float y = sweep->temp_avg_by_degree[axis][degree];
        from_average += squared(y - sweep->y_avg[axis]);
        from_line += squared(y - sweep->gyro_temperature_avg[axis][degree]);
    }
    sweep->r_square[axis] = (from_average - from_line) / from_average;
    STAGE_INFO(LINE, "y_avg_diff_square:%6.4f, y_cal_diff_square:%6.4f, r_square[%d]:%6.4f\n",
               from_average, from_line, axis, sweep->r_square[axis]);
}

// No number is 0 as an integer, and what an integer does not hold the nearest one.
int32_t truncated(float value)
{
    constexpr float BEYOND = 2147483648.0F;
    if (std::isnan(value))
        return 0;
    if (value >= BEYOND)
        return INT32_MAX;
    return value <= -BEYOND ? INT32_MIN : static_cast<int32_t>(value);
}

// 0 where there is no bin: such a sample stays as it is.
float fitted_at(const rova_gyro_sweep *sweep, int axis, int32_t degree)
{
    return degree >= 0 && degree < DEGREES ? sweep->gyro_temperature_avg[axis][degree] : 0.0F;
}

void correct_samples(rova_gyro_sweep *sweep, int axis)
{
    for (int i = sweep->last; i >= 1; i--) {
        const float fitted = fitted_at(sweep, axis, sweep->temperature[i]);
        const int32_t corrected = truncated(static_cast<float>(sweep->gyro[axis][i]) - fitted);
        sweep->gyro[axis][i] = corrected;
        if (std::abs(int64_t{corrected}) > LARGE_CORRECTION)
            sweep->gyro_error_cnt[axis]++;
    }
    STAGE_INFO(LINE, "gyro_error_cnt[%d]: %d\n", axis, sweep->gyro_error_cnt[axis]);
}

// ------------------------------------------------------------------------- filter

// 32-bit arithmetic, which wraps.
float integer_square(int32_t value)
{
    const auto bits = static_cast<uint32_t>(value);
    return static_cast<float>(static_cast<int32_t>(bits * bits));
}

// The carry of the magnitude before is wanted: the result is no plain length.
float next_magnitude(const rova_gyro_sweep *sweep, int index, float before)
{
    float sum = before;
    for (const auto &samples : sweep->gyro)
        sum += integer_square(samples[index]);
    return std::sqrt(sum);
}

float filter_step(rova_gyro_memory *memory, float magnitude)
{
    float &peak = memory->gyro_peak;
    float &filter = memory->gyro_filter;
    peak = magnitude > peak ? magnitude
                            : static_cast<float>(0.5 * double{peak} + 0.5 * double{magnitude});
    filter = static_cast<float>(0.9 * double{filter} + 0.1 * double{peak});
    return filter;
}

} // namespace

rova_gyro_sampling rova_gyro_sweep_sample(rova_gyro_sweep *sweep, uint64_t start, int interval_ms,
                                          int rise)
{
    {
        const rova_descriptor device(sys_open(ROVA_GYRO_DEVICE, O_RDONLY | O_CLOEXEC, 0));
        if (!device) {
            STAGE_INFO(SAMPLING, "no %s (%s) \n", ROVA_GYRO_DEVICE, rova_reason());
            return rova_gyro_sampling::no_device;
        }
        if (!take_samples(sweep, device.get(), interval_ms, rise))
            return rova_gyro_sampling::failed;
    }
    sweep->gyro_get_time_ms = static_cast<uint32_t>((get_sys_timer_utick() - start) / 1000);
    return rova_gyro_sampling::done;
}

bool rova_gyro_sweep_average(rova_gyro_sweep *sweep)
{
    if (sweep->last < 2)
        return true;
    if (!sum_up(sweep))
        return false;
    for (int axis = 0; axis < ROVA_GYRO_AXES; axis++)
        for (int degree = 0; degree < DEGREES; degree++)
            divide(sweep, axis, degree);
    return true;
}

void rova_gyro_sweep_fit(rova_gyro_sweep *sweep, rova_gyro_memory *memory)
{
    for (int axis = 0; axis < ROVA_GYRO_AXES; axis++)
        memory->val_temp_cnt = select_degrees(sweep, axis);
    for (int axis = 0; axis < ROVA_GYRO_AXES; axis++)
        fit_line(sweep, axis, memory->val_temp_cnt);
    for (auto stage : {put_line_into_averages, judge_line, correct_samples})
        for (int axis = 0; axis < ROVA_GYRO_AXES; axis++)
            stage(sweep, axis);
}

void rova_gyro_sweep_filter(rova_gyro_sweep *sweep, rova_gyro_memory *memory)
{
    int errors = 0;
    float magnitude = 0;
    for (int i = 0; i <= sweep->last; i++) {
        magnitude = next_magnitude(sweep, i, magnitude);
        sweep->filtered[i] = filter_step(memory, magnitude);
        if (sweep->filtered[i] > LARGE_FILTERED)
            errors++;
    }
    STAGE_INFO(FILTER, "gyro_filter_error_cnt: %d\n", errors);
}

void rova_gyro_sweep_evaluate(rova_gyro_sweep *sweep, rova_gyro_memory *memory)
{
    if (rova_gyro_sweep_average(sweep))
        rova_gyro_sweep_fit(sweep, memory);
    rova_gyro_sweep_filter(sweep, memory);
}

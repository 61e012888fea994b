// The gyroscope's temperature sweep: samples while the camera warms, averages by degree, a straight
// line of the offset over the temperature on each axis, and a filter of what the line leaves.
// Server thread.  Messages have the tag SYS_GYRO.
//
// Sums are of 32-bit floats, rounded at each addition and in the given order: another order gives
// other numbers than the cameras that have been adjusted so far.
#pragma once

#include <cstdint>

inline constexpr int ROVA_GYRO_AXES = 3;
inline constexpr int ROVA_GYRO_SAMPLES = 6000;
inline constexpr int ROVA_GYRO_DEGREES = 61;
// A degree with so many samples is valuable: it takes part in the line.
inline constexpr int ROVA_GYRO_VALUABLE = 200;
inline constexpr int ROVA_GYRO_VALUABLE_DEGREES = 30;
static_assert(ROVA_GYRO_SAMPLES / ROVA_GYRO_VALUABLE <= ROVA_GYRO_VALUABLE_DEGREES,
              "however the samples spread, the valuable degrees have room");

// One sweep's data; zeroed at its start.
struct rova_gyro_sweep {
    int32_t gyro[ROVA_GYRO_AXES][ROVA_GYRO_SAMPLES]; // raw, then without the line's offset
    int32_t temperature[ROVA_GYRO_SAMPLES];          // whole degrees
    float filtered[ROVA_GYRO_SAMPLES];
    int32_t gyro_temperature_cnt[ROVA_GYRO_DEGREES];
    float gyro_temperature_avg[ROVA_GYRO_AXES][ROVA_GYRO_DEGREES]; // then the line's value
    // The valuable degrees: packed, and by degree.
    float temp_avg_sel[ROVA_GYRO_AXES][ROVA_GYRO_VALUABLE_DEGREES];
    int32_t temp_sel[ROVA_GYRO_AXES][ROVA_GYRO_VALUABLE_DEGREES];
    float temp_avg_by_degree[ROVA_GYRO_AXES][ROVA_GYRO_DEGREES];
    float y_avg[ROVA_GYRO_AXES];
    float a[ROVA_GYRO_AXES]; // intercept
    float b[ROVA_GYRO_AXES]; // slope, per degree
    float r_square[ROVA_GYRO_AXES];
    int32_t gyro_error_cnt[ROVA_GYRO_AXES];
    int32_t last; // index of the last sample, -1 for none
    uint32_t gyro_get_time_ms;
};

// What one sweep leaves to the next.
struct rova_gyro_memory {
    int32_t val_temp_cnt; // valuable degrees of the latest line
    float gyro_peak;
    float gyro_filter;
};

enum class rova_gyro_sampling { done, no_device, failed };

// Fills `gyro`, `temperature`, `last` and `gyro_get_time_ms`, which counts from `start`
// microseconds.  Ends when the image sensor is more than 1 + `rise` degrees warmer than at the
// start, or with the room for samples.
rova_gyro_sampling rova_gyro_sweep_sample(rova_gyro_sweep *sweep, uint64_t start, int interval_ms,
                                          int rise);

// The stages behind it.  The averages are false at a temperature out of range: there is no line
// then.  Up to two samples are not averaged, nor their temperatures looked at.
bool rova_gyro_sweep_average(rova_gyro_sweep *sweep);
void rova_gyro_sweep_fit(rova_gyro_sweep *sweep, rova_gyro_memory *memory);
void rova_gyro_sweep_filter(rova_gyro_sweep *sweep, rova_gyro_memory *memory);

// The three in turn.
void rova_gyro_sweep_evaluate(rova_gyro_sweep *sweep, rova_gyro_memory *memory);

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_result.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_accel_driver.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_readout.h"
#include "command/system/rova_sensor_service.h"
#include "common/rova_csv.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "platform/pref.h"
#include "platform/sys.h"

#include <array>
#include <cstring>
#include <string>
#include <strings.h>

namespace
{

// The two parameters behind `first` belong to the range.
bool is_within(int32_t value, const cmd_data *record, uint32_t first)
{
    return value >= rova_cmd_number(rova_cmd_param(record, first)) &&
           value <= rova_cmd_number(rova_cmd_param(record, first + 1));
}

// ------------------------------------------------------------------------- axes of the driver

struct accel_axes {
    int16_t x, y, z;
};

bool read_axes(accel_axes *axes)
{
    const rova_file file(sys_fopen(ROVA_ACCEL_RAW_DATA_PATH, "re"));
    if (!file) {
        ROVA_LOG_ERR("Failed to open a Accel. file\n");
        return false;
    }
    long x = 0, y = 0, z = 0;
    if (std::fscanf(file.get(), "%ld, %ld, %ld", &x, &y, &z) != 3) {
        ROVA_LOG_ERR("Fail to get data from BMA device!\n");
        return false;
    }
    *axes = {static_cast<int16_t>(x), static_cast<int16_t>(y), static_cast<int16_t>(z)};
    return true;
}

void show_axes(const accel_axes &axes, int first_row)
{
    rova_osd_printf(first_row, "AccelX = %d\n", axes.x);
    rova_osd_printf(first_row + 1, "AccelY = %d\n", axes.y);
    rova_osd_printf(first_row + 2, "AccelZ = %d\n", axes.z);
}

// ------------------------------------------------------------------------- check_axis

bool judge_axes(const cmd_data *record, const accel_axes &axes)
{
    const bool ok = is_within(axes.x, record, 1) && is_within(axes.y, record, 3) &&
                    is_within(axes.z, record, 5);
    if (ok)
        ROVA_LOG_INFO("ACCELOMETER PBA OK\n");
    else
        ROVA_LOG_ERR("ACCELOMETER PBA NG\n");
    rova_osd_printf(5, "ACCELOMETER PBA %s!", rova_cmd_result_word(ok));
    return ok;
}

bool check_axis(const cmd_data *record, accel_axes *axes)
{
    if (record->p_count < 7 || !read_axes(axes))
        return false;
    show_axes(*axes, 2);
    return judge_axes(record, *axes);
}

int rova_cmd_accelometer_check_axis(uint32_t cmd_type, cmd_data *record)
{
    rova_csv_handle csv = rova_csv_create("accelometer_axis.csv", "AccelX,AccelY,AccelZ,Result");
    accel_axes axes = {};
    const bool ok = check_axis(record, &axes);
    rova_csv_write(csv, "%d,%d,%d,%s", axes.x, axes.y, axes.z, rova_cmd_result_word(ok));
    rova_resp_stream stream = {};
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

// ------------------------------------------------------------------------- osd

void *show_readings(void *arg);

rova_readout readout = {
    .name = "ROVA_SENSOR_READ",
    .start = show_readings,
    .create_function = "__rova_accelometer_thread_create",
    .cancel_function = "__rova_accelometer_read_exit",
};

void *show_readings(void * /*arg*/)
{
    constexpr useconds_t interval_us = 500000;
    rova_readout_begin(readout.name);
    accel_axes axes = {};
    while (read_axes(&axes)) {
        show_axes(axes, 6);
        rova_readout_sleep(interval_us);
    }
    return nullptr;
}

int rova_cmd_accelometer_osd(uint32_t cmd_type, cmd_data *record)
{
    return rova_readout_osd(&readout, cmd_type, record);
}

// ------------------------------------------------------------------------- adjust

struct accel_sample {
    int32_t x, y, z;
};

// What the last calibration has found; the rounds behind the tenth are not kept.
std::array<accel_sample, 10> accel_raw_samples;

bool receive_named(const rova_sensor_service &service, const char *name, rova_sensor_data *reply)
{
    return rova_sensor_service_receive(service, reply) && std::strcmp(reply->cmd, name) == 0;
}

bool receive_sample(const rova_sensor_service &service, accel_sample *sample)
{
    rova_sensor_data reply = {};
    if (!receive_named(service, ROVA_SENSOR_SAMPLE_XY, &reply))
        return false;
    sample->x = reply.value1;
    sample->y = reply.value2;
    if (!receive_named(service, ROVA_SENSOR_SAMPLE_Z, &reply))
        return false;
    sample->z = reply.value1;
    return true;
}

bool receive_samples(const rova_sensor_service &service, int count)
{
    accel_sample not_kept = {};
    for (int i = 0; i < count; i++) {
        const auto row = static_cast<std::size_t>(i);
        const bool kept = row < accel_raw_samples.size();
        if (!receive_sample(service, kept ? &accel_raw_samples[row] : &not_kept))
            return false;
    }
    return true;
}

bool receive_done(const rova_sensor_service &service)
{
    rova_sensor_data reply = {};
    return rova_sensor_service_receive(service, &reply) &&
           strcasecmp(reply.cmd, ROVA_SENSOR_DONE) == 0;
}

bool adjust(const cmd_data *record, rova_sensor_service *service)
{
    const int count = rova_cmd_number(rova_cmd_param(record, 1));
    const int basis_r = rova_cmd_number(rova_cmd_param(record, 2));
    const int basis_p = rova_cmd_number(rova_cmd_param(record, 3));
    return rova_sensor_service_open(service) &&
           rova_sensor_service_ask(*service, ROVA_SENSOR_BASIS_R, basis_r, 0) &&
           rova_sensor_service_ask(*service, ROVA_SENSOR_BASIS_P, basis_p, 0) &&
           rova_sensor_service_ask(*service, ROVA_SENSOR_CALIBRATION, count, 1) &&
           receive_samples(*service, count) && receive_done(*service);
}

int rova_cmd_accelometer_adjust(uint32_t cmd_type, cmd_data *record)
{
    rova_sensor_service service;
    const bool ok = adjust(record, &service);
    const bool closed = rova_sensor_service_close(service);
    return rova_cmd_answer(cmd_type, ok && closed);
}

// ------------------------------------------------------------------------- check

constexpr char CHECK_HEADER[] = "roll,pitch,r_adjust,p_adjust,Result,"
                                "AccelX, , , , , , , , , ,"
                                "AccelY, , , , , , , , , ,"
                                "AccelZ, , , , , , , , ,";

struct inclination {
    int32_t roll = -1;
    int32_t pitch = -1;
};

bool judge_inclination(const cmd_data *record, const inclination &found)
{
    const bool ok = is_within(found.roll, record, 1) && is_within(found.pitch, record, 3);
    if (ok)
        ROVA_LOG_INFO("ACCEL Adjust OK\n");
    else
        ROVA_LOG_ERR("ACCEL Adjust NG\n");
    rova_osd_printf(3, "Acceleration Check %s!", rova_cmd_result_word(ok));
    return ok;
}

bool check(const cmd_data *record, rova_sensor_service *service, inclination *found)
{
    rova_sensor_data reply = {};
    if (record->p_count < 5 || !rova_sensor_service_open(service) ||
        !rova_sensor_service_ask(*service, ROVA_SENSOR_ROLLPITCH, 0, 0) ||
        !rova_sensor_service_receive(*service, &reply))
        return false;
    *found = {reply.value1, reply.value2};
    rova_osd_printf(2, "roll = %d, pitch = %d\n", found->roll, found->pitch);
    return std::strcmp(reply.cmd, ROVA_SENSOR_ROLLPITCH) == 0 && judge_inclination(record, *found);
}

// All X, then all Y, then all Z, a comma before each.
std::string samples_text()
{
    std::string text;
    for (int32_t accel_sample::*axis : {&accel_sample::x, &accel_sample::y, &accel_sample::z})
        for (const accel_sample &sample : accel_raw_samples)
            text.append(",").append(std::to_string(sample.*axis));
    return text;
}

int adjusted(bool ok, int key)
{
    return ok ? pref_get_long(ROVA_SENSOR_PARTITION, key) : 0;
}

int rova_cmd_accelometer_check(uint32_t cmd_type, cmd_data *record)
{
    rova_csv_handle csv = rova_csv_create("accelometer.csv", CHECK_HEADER);
    rova_sensor_service service;
    inclination found;
    const bool ok = check(record, &service, &found);
    const int basis_r = adjusted(ok, ROVA_SENSOR_BASIS_R_KEY);
    const int basis_p = adjusted(ok, ROVA_SENSOR_BASIS_P_KEY);
    rova_csv_write(csv, "%d,%d,%d,%d,%s%s", found.roll, found.pitch, basis_r, basis_p,
                   rova_cmd_result_word(ok), samples_text().c_str());
    rova_resp_stream stream = {};
    rova_csv_close(csv, &stream);
    const bool closed = rova_sensor_service_close(service);
    return rova_cmd_answer(cmd_type, ok && closed, &stream);
}

constexpr rova_cmd_entry accelometer_table[] = {
    {"adjust", rova_cmd_accelometer_adjust},
    {"check", rova_cmd_accelometer_check},
    {"osd", rova_cmd_accelometer_osd},
    {"check_axis", rova_cmd_accelometer_check_axis},
};
static_assert(rova_cmd_table_is_sound(accelometer_table));

} // namespace

int rova_cmd_accelometer(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(accelometer_table, "accelometer", cmd_type, record);
}

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_result.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_gyro_device.h"
#include "command/system/rova_gyro_sweep.h"
#include "command/system/rova_readout.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_sensor.h"
#include "platform/timer.h"

#include <fcntl.h>
#include <memory>

namespace
{

constexpr char CSV_FILE[] = "gyroscope.csv";

int open_device()
{
    const int device = sys_open(ROVA_GYRO_DEVICE, O_RDONLY | O_CLOEXEC, 0);
    if (device < 0)
        ROVA_LOG_INFO("no %s (%s) \n", ROVA_GYRO_DEVICE, rova_reason());
    return device;
}

bool read_axes(const rova_descriptor &device, rova_gyro_axes *axes)
{
    const bool done = rova_gyro_read_axes(device.get(), axes);
    if (!done)
        ROVA_LOG_ERR("Gyro-value read error!\n");
    return done;
}

// ------------------------------------------------------------------------- osd

void *show_axes(void *arg);

rova_readout readout = {
    .name = "ROVA_GYROSCOPE_READ",
    .start = show_axes,
    .create_function = "__rova_gyroscope_thread_create",
    .cancel_function = "__rova_gyroscope_read_exit",
};

int shown_rate(int32_t raw)
{
    return static_cast<int>(int64_t{raw} * 175 / 10000);
}

void *show_axes(void * /*arg*/)
{
    constexpr useconds_t interval_us = 500000;
    rova_readout_begin(readout.name);
    // The thread's, not the function's: closed also where the thread is cancelled.
    thread_local const rova_descriptor device(open_device());
    rova_gyro_axes axes = {};
    while (device && read_axes(device, &axes)) {
        rova_osd_printf(6, "GyroX = %d\n", shown_rate(axes[0]));
        rova_osd_printf(7, "GyroY = %d\n", shown_rate(axes[1]));
        rova_osd_printf(8, "GyroZ = %d\n", shown_rate(axes[2]));
        rova_readout_sleep(interval_us);
    }
    return nullptr;
}

int rova_cmd_gyroscope_osd(uint32_t cmd_type, cmd_data *record)
{
    return rova_readout_osd(&readout, cmd_type, record);
}

// ------------------------------------------------------------------------- adjust

struct adjustment {
    rova_gyro_axes gyro;
    int32_t gyro_therm;
    int32_t dsp_therm;
};

// What the row of a camera without the sensor shows, and that of a failure.
constexpr adjustment NOT_ADJUSTED = {{0, 0, 0}, 0, -1};

// The rest of the adjustment belongs to the temperature of the image processor.
bool read_dsp_temperature(int32_t *degrees)
{
    const bool done = rova_read_isp_temperature(degrees) != 0;
    if (!done)
        ROVA_LOG_ERR("Image processor's temperature read error!\n");
    return done;
}

// A signed byte in 16 bits.
bool read_gyro_temperature(const rova_descriptor &device, int32_t *degrees)
{
    uint32_t word = 0;
    if (sys_ioctl(device.get(), ROVA_GYRO_READ_TEMPERATURE, &word) != 0) {
        ROVA_LOG_ERR("Gyro-Temp read error!\n");
        return false;
    }
    word &= 0xffff;
    *degrees = static_cast<int32_t>(word < 128 ? word : word | 0xffffff00);
    return true;
}

// The sums are of 32 bits and wrap.
bool average_axes(const rova_descriptor &device, int count, int interval_ms, rova_gyro_axes *mean)
{
    if (count < 1) {
        ROVA_LOG_ERR("No average of %d samples\n", count);
        return false;
    }
    std::array<uint32_t, ROVA_GYRO_AXES> sums = {};
    rova_gyro_axes axes = {};
    for (int i = 0; i < count; i++) {
        if (!read_axes(device, &axes))
            return false;
        for (std::size_t axis = 0; axis < axes.size(); axis++)
            sums[axis] += static_cast<uint32_t>(axes[axis]);
        sys_usleep(rova_gyro_pause(interval_ms));
    }
    for (std::size_t axis = 0; axis < axes.size(); axis++)
        (*mean)[axis] = static_cast<int32_t>(sums[axis]) / count;
    return true;
}

void store_item(uint64_t id, int32_t value)
{
    rova_set_adjdata(id, &value, sizeof(value), 1);
}

void store(const adjustment &found)
{
    store_item(ADJ_ID_GYROSCOPE_DATA_X, found.gyro[0]);
    store_item(ADJ_ID_GYROSCOPE_DATA_Y, found.gyro[1]);
    store_item(ADJ_ID_GYROSCOPE_DATA_Z, found.gyro[2]);
    store_item(ADJ_ID_GYROSCOPE_THERM, found.gyro_therm);
    store_item(ADJ_ID_GYROSCOPE_THERM_DSP, found.dsp_therm);
}

void log_and_store(const adjustment &found)
{
    const auto &[x, y, z] = found.gyro;
    ROVA_LOG_INFO("refGyroX = %d\t refGyroY = %d\t refGyroZ = %d\n", x, y, z);
    ROVA_LOG_INFO("lsmTemperature = %d\n", found.gyro_therm);
    ROVA_LOG_INFO("temperature_sensor = %d\n", found.dsp_therm);
    store(found);
    rova_osd_printf(2, "gyroX = %d gyroY = %d gyroZ = %d\n", x, y, z);
    rova_osd_printf(3, "gyro temperature = %d \n", found.gyro_therm);
    rova_osd_printf(4, "Sensor temperature = %d \n", found.dsp_therm);
}

rova_gyro_sampling measure(int count, int interval_ms, adjustment *found)
{
    const rova_descriptor device(open_device());
    if (!device)
        return rova_gyro_sampling::no_device;
    const bool done = average_axes(device, count, interval_ms, &found->gyro) &&
                      read_gyro_temperature(device, &found->gyro_therm);
    return done ? rova_gyro_sampling::done : rova_gyro_sampling::failed;
}

// A camera without the sensor passes.
bool adjust(const cmd_data *record, adjustment *result)
{
    if (record->p_count < 3)
        return false;
    adjustment found = NOT_ADJUSTED;
    const auto sampling =
        measure(rova_cmd_number(record->p[1]), rova_cmd_number(record->p[2]), &found);
    if (sampling != rova_gyro_sampling::done)
        return sampling == rova_gyro_sampling::no_device;
    if (!read_dsp_temperature(&found.dsp_therm))
        return false;
    log_and_store(found);
    *result = found;
    return true;
}

int rova_cmd_gyroscope_adjust(uint32_t cmd_type, cmd_data *record)
{
    rova_csv_handle csv = rova_csv_create(
        CSV_FILE, "gyroX_adjust,gyroY_adjust,gyroZ_adjust,gyro_therm,dsp_therm,Result");
    adjustment row = NOT_ADJUSTED;
    const bool ok = adjust(record, &row);
    rova_csv_write(csv, "%d,%d,%d,%d,%d,%s", row.gyro[0], row.gyro[1], row.gyro[2], row.gyro_therm,
                   row.dsp_therm, rova_cmd_result_word(ok));
    rova_resp_stream stream = {};
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

// ------------------------------------------------------------------------- adjust_gyro

// Never reset while the daemon runs.
rova_gyro_memory memory;

void write_row(rova_csv_handle csv, const rova_gyro_sweep &sweep, int val_temp_cnt, bool ok)
{
    const float *a = sweep.a, *b = sweep.b, *r = sweep.r_square;
    rova_csv_write(csv, "%4.4f,%4.4f,%4.4f,%4.4f,%4.4f,%4.4f,%4.4f,%4.4f,%4.4f,%d,%lu,%s", a[0],
                   a[1], a[2], b[0], b[1], b[2], r[0], r[1], r[2], val_temp_cnt,
                   static_cast<unsigned long>(sweep.gyro_get_time_ms), rova_cmd_result_word(ok));
}

bool run_sweep(const cmd_data *record, uint64_t start, rova_gyro_sweep *sweep)
{
    const auto sampling = rova_gyro_sweep_sample(sweep, start, rova_cmd_number(record->p[1]),
                                                 rova_cmd_number(record->p[2]));
    if (sampling == rova_gyro_sampling::done)
        rova_gyro_sweep_evaluate(sweep, &memory);
    return sampling != rova_gyro_sampling::failed;
}

int rova_cmd_gyroscope_adjust_gyro(uint32_t cmd_type, cmd_data *record)
{
    rova_csv_handle csv =
        rova_csv_create(CSV_FILE, "a_x, a_y, a_z, b_x, b_y, b_z, r_x, r_y, r_z, val_temp_cnt, "
                                  "gyro_get_time_ms, result");
    const uint64_t start = get_sys_timer_utick();
    const auto sweep = std::make_unique<rova_gyro_sweep>();
    const bool complete = record->p_count >= 3;
    const bool ok = complete && run_sweep(record, start, sweep.get());
    write_row(csv, *sweep, complete ? memory.val_temp_cnt : 0, ok);
    rova_resp_stream stream = {};
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

constexpr rova_cmd_entry gyroscope_table[] = {
    {"adjust", rova_cmd_gyroscope_adjust},
    {"osd", rova_cmd_gyroscope_osd},
    {"adjust_gyro", rova_cmd_gyroscope_adjust_gyro},
};
static_assert(rova_cmd_table_is_sound(gyroscope_table));

} // namespace

int rova_cmd_gyroscope(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(gyroscope_table, "gyroscope", cmd_type, record);
}

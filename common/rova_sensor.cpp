#include "common/rova_sensor.h"

#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/sys.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr char CIS_THERMISTOR[] = "/sys/devices/platform/movra7-thermister/cmos_thermister";
constexpr char ISP_TEMPERATURE[] = "/sys/devices/platform/m7_tsu/isp";
constexpr char CPU_TEMPERATURE[] = "/sys/devices/platform/m7_tsu/cpu";

using raw_samples = std::array<int32_t, 10>;
static_assert(sizeof(raw_samples) == 40);

// Above the range of the formula the root is no number; as an integer that is 0.
int32_t truncated(double value)
{
    return std::isnan(value) ? 0 : static_cast<int32_t>(value);
}

// The image sensor's degrees of a raw value.  32-bit arithmetic, which wraps.
int32_t cis_degrees(int32_t raw)
{
    const uint32_t under_root = 2676588u - 469u * static_cast<uint32_t>(raw);
    return truncated(std::sqrt(static_cast<double>(static_cast<int32_t>(under_root))) - 1482.0);
}

int32_t as_read(int32_t value)
{
    return value;
}

int read_temperature(const char *path, int32_t (*degrees)(int32_t), int32_t *out)
{
    if (out == nullptr)
        return 0;
    const int value = rova_sysfs_read_int(path);
    if (value < 0)
        return 0;
    *out = degrees(value);
    return 1;
}

bool read_raw_samples(raw_samples &samples)
{
    const rova_descriptor thermistor(sys_open(CIS_THERMISTOR, O_RDONLY | O_CLOEXEC, 0));
    if (!thermistor)
        return false;
    const bool done = read(thermistor.get(), samples.data(), sizeof(samples)) >= 0;
    if (!done)
        ROVA_LOG_ERR("Thermister read error!\n");
    return done;
}

// Of those that are not 0; 0 if all are.
int32_t mean(const raw_samples &samples)
{
    uint32_t sum = 0;
    for (const int32_t sample : samples)
        sum += static_cast<uint32_t>(sample);
    const auto count =
        static_cast<int64_t>(samples.size()) - std::count(samples.begin(), samples.end(), 0);
    return count == 0 ? 0 : static_cast<int32_t>(static_cast<int32_t>(sum) / count);
}

} // namespace

int rova_sensor_msgget(key_t key, int flags, int *id_out)
{
    *id_out = sys_msgget(key, flags);
    if (*id_out >= 0)
        return 1;
    ROVA_LOG_ERR("ROVA Sensor msgget failed mq_id %d ", *id_out);
    return 0;
}

int rova_sensor_msgsnd(int id, const char *cmd, int32_t value1, int32_t value2)
{
    rova_sensor_msg message = {ROVA_SENSOR_MSG_TYPE, {{}, value1, value2}};
    std::strncpy(message.data.cmd, cmd, sizeof(message.data.cmd) - 1);
    if (msgsnd(id, &message, ROVA_SENSOR_MSG_SIZE, 0) != 0) {
        ROVA_LOG_ERR("ROVA Sensor msgsnd failed mq_id %d ", id);
        return 0;
    }
    ROVA_LOG_INFO("ROVA Sensor msg.data.cmd = %s\n", message.data.cmd);
    return 1;
}

int rova_sensor_msgrcv(int id, void *buffer, std::size_t size, long type, int flags)
{
    ssize_t received = 0;
    do
        received = msgrcv(id, buffer, size, type, flags);
    while (received < 0 && errno == EINTR);
    if (received >= 0)
        return 1;
    ROVA_LOG_ERR("ROVA Sensor msgrcv failed mq_id %d ", id);
    return 0;
}

int rova_sensor_msgctl(int id, int cmd, struct msqid_ds *buffer)
{
    if (id < 0)
        return 0;
    if (sys_msgctl(id, cmd, buffer) >= 0)
        return 1;
    ROVA_LOG_ERR("ROVA Sensor msgctl failed mq_id %d ", id);
    return 0;
}

key_t rova_sensor_create_ipckey(const char *path, int proj_id)
{
    if (sys_access(path, R_OK) != 0) {
        ROVA_LOG_ERR("failed to access (%s) \n", path);
        return 0;
    }
    return sys_ftok(path, proj_id);
}

int rova_read_cis_temperature(int32_t *out)
{
    return read_temperature(CIS_THERMISTOR, cis_degrees, out);
}

int rova_read_isp_temperature(int32_t *out)
{
    return read_temperature(ISP_TEMPERATURE, as_read, out);
}

int rova_read_cpu_temperature(int32_t *out)
{
    return read_temperature(CPU_TEMPERATURE, as_read, out);
}

int rova_read_cis_temperature_avg(float *out, int index)
{
    raw_samples samples = {};
    if (!read_raw_samples(samples))
        return 0;
    out[index] = static_cast<float>(cis_degrees(mean(samples)));
    return 1;
}

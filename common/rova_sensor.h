// The message queues of the sensor service, and the camera's three temperatures.
// Results are 1, or 0 with the reason in the platform log, unless said otherwise.  Server thread;
// the temperatures on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/msg.h>
#include <sys/types.h>

// What the sensor service is sent and sends.
struct rova_sensor_data {
    char cmd[20];
    int32_t value1;
    int32_t value2;
};

inline constexpr long ROVA_SENSOR_MSG_TYPE = 56;
inline constexpr std::size_t ROVA_SENSOR_MSG_SIZE = 28;
static_assert(sizeof(rova_sensor_data) == ROVA_SENSOR_MSG_SIZE);
static_assert(offsetof(rova_sensor_data, value1) == 20 && offsetof(rova_sensor_data, value2) == 24);

struct rova_sensor_msg {
    long type;
    rova_sensor_data data;
};

// `*id_out` is what msgget() gave, also when it failed.
int rova_sensor_msgget(key_t key, int flags, int *id_out);
// Waits while the queue is full.  `cmd` is cut to 19 characters.
int rova_sensor_msgsnd(int id, const char *cmd, int32_t value1, int32_t value2);
// `size` counts what follows the message type in `buffer`.  Waits until a message comes, unless
// `flags` say otherwise; a signal does not end the wait.
int rova_sensor_msgrcv(int id, void *buffer, std::size_t size, long type, int flags);
int rova_sensor_msgctl(int id, int cmd, struct msqid_ds *buffer);

// The key of a queue; 0 when `path` cannot be read, -1 when no key can be made of it.
key_t rova_sensor_create_ipckey(const char *path, int proj_id);

// Degrees Celsius of image sensor, image processor and processor core.  NULL and a file that cannot
// be read or holds a negative number give 0 and leave `*out` alone.
int rova_read_cis_temperature(int32_t *out);
int rova_read_isp_temperature(int32_t *out);
int rova_read_cpu_temperature(int32_t *out);

// The image sensor's temperature, a whole number of degrees, into out[index]: that of the mean of
// up to ten raw samples, which the thermistor gives as binary 32-bit numbers.  A thermistor that
// cannot be opened gives 0 without a word.
int rova_read_cis_temperature_avg(float *out, int index);

// The camera's sensor service, another process: what it is asked over one message queue and answers
// over another.  Server thread.
#pragma once

#include "common/rova_sensor.h"

#include <cstdint>

inline constexpr char ROVA_SENSOR_KEY_PATH[] = "/tmp"; // the keys of both queues are made from it
inline constexpr int ROVA_SENSOR_REQUEST_PROJECT = 1048;
inline constexpr int ROVA_SENSOR_REPLY_PROJECT = 1826;

// Requests, each with the values behind it, and their answers.
inline constexpr char ROVA_SENSOR_ROLLPITCH[] = "rollpitch"; // 0, 0: one of this name, roll, pitch
inline constexpr char ROVA_SENSOR_BASIS_R[] = "basis_r";     // roll of a level camera, 0: none
inline constexpr char ROVA_SENSOR_BASIS_P[] = "basis_p";     // pitch of a level camera, 0: none
inline constexpr char ROVA_SENSOR_ROTATION[] = "rotation";   // position, 1: one, position reached
// Rounds, 1: for each round the two messages of a sample, x and y, then z; the last message.
inline constexpr char ROVA_SENSOR_CALIBRATION[] = "calibration";
inline constexpr char ROVA_SENSOR_SAMPLE_XY[] = "accelrawXY";
inline constexpr char ROVA_SENSOR_SAMPLE_Z[] = "accelrawZ";
inline constexpr char ROVA_SENSOR_DONE[] = "done";

// Where the service keeps both basis values: numbers in a preference partition.
inline constexpr int ROVA_SENSOR_PARTITION = 0;
inline constexpr int ROVA_SENSOR_BASIS_R_KEY = 40405;
inline constexpr int ROVA_SENSOR_BASIS_P_KEY = 40409;

// The camera's positions, as they are asked for.
struct rova_sensor_position {
    const char *name;
    int32_t code;
};
inline constexpr rova_sensor_position ROVA_SENSOR_POSITIONS[] = {
    {"up", 1}, {"right", 2}, {"down", 3}, {"left", 4}, {"top", 5}, {"bottom", 6},
};

// Both queues, for one command.  The results are false with the reason in the platform log.
struct rova_sensor_service {
    int requests = -1;
    int replies = -1;
};

// Opens the service's queue and makes the one for the replies, or takes one that is there.
bool rova_sensor_service_open(rova_sensor_service *service);
bool rova_sensor_service_ask(const rova_sensor_service &service, const char *request,
                             int32_t value1, int32_t value2);
// Waits without limit for the next message, whatever its type.
bool rova_sensor_service_receive(const rova_sensor_service &service, rova_sensor_data *reply);
// Removes the queue of the replies; false also when there is none.
bool rova_sensor_service_close(const rova_sensor_service &service);

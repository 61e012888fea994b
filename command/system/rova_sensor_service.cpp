#include "command/system/rova_sensor_service.h"

#include "common/rova_log.h"

#include <sys/ipc.h>

namespace
{

constexpr int OPEN_QUEUE = 0666;
constexpr int MAKE_QUEUE = IPC_CREAT | IPC_EXCL | 0666;

// 0 would be a queue that nobody else can find.
bool make_key(int project, key_t *key)
{
    *key = rova_sensor_create_ipckey(ROVA_SENSOR_KEY_PATH, project);
    const bool made = *key != 0 && *key != -1;
    if (!made)
        ROVA_LOG_ERR("failed to generate msg key = %d\n", *key);
    return made;
}

} // namespace

bool rova_sensor_service_open(rova_sensor_service *service)
{
    key_t request_key = 0, reply_key = 0;
    if (!make_key(ROVA_SENSOR_REQUEST_PROJECT, &request_key) ||
        !make_key(ROVA_SENSOR_REPLY_PROJECT, &reply_key))
        return false;
    return rova_sensor_msgget(request_key, OPEN_QUEUE, &service->requests) != 0 &&
           (rova_sensor_msgget(reply_key, MAKE_QUEUE, &service->replies) != 0 ||
            rova_sensor_msgget(reply_key, OPEN_QUEUE, &service->replies) != 0);
}

bool rova_sensor_service_ask(const rova_sensor_service &service, const char *request,
                             int32_t value1, int32_t value2)
{
    return rova_sensor_msgsnd(service.requests, request, value1, value2) != 0;
}

bool rova_sensor_service_receive(const rova_sensor_service &service, rova_sensor_data *reply)
{
    rova_sensor_msg message = {};
    if (rova_sensor_msgrcv(service.replies, &message, sizeof(message.data), 0, 0) == 0)
        return false;
    *reply = message.data;
    reply->cmd[sizeof(reply->cmd) - 1] = '\0';
    return true;
}

bool rova_sensor_service_close(const rova_sensor_service &service)
{
    return rova_sensor_msgctl(service.replies, IPC_RMID, nullptr) != 0;
}

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_sensor_service.h"
#include "common/rova_log.h"

#include <strings.h>

namespace
{

bool judge(const rova_sensor_data &reply, int32_t code)
{
    if (strcasecmp(reply.cmd, ROVA_SENSOR_ROTATION) != 0)
        return false;
    if (reply.value1 == code)
        ROVA_LOG_INFO("Rotation Adjust OK\n");
    else
        ROVA_LOG_ERR("Rotation Adjust NG\n");
    return reply.value1 == code;
}

bool wait_for_position(rova_sensor_service *service, int32_t code)
{
    rova_sensor_data reply = {};
    return rova_sensor_service_open(service) &&
           rova_sensor_service_ask(*service, ROVA_SENSOR_ROTATION, code, 1) &&
           rova_sensor_service_receive(*service, &reply) && judge(reply, code);
}

int rova_cmd_rotation_wait(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    const rova_sensor_position *wanted = rova_cmd_find_named(ROVA_SENSOR_POSITIONS, record);
    if (wanted == nullptr) {
        ROVA_LOG_ERR("Wrong rotation cmd_data->p[1] = %s\n", record->p[1]);
        return rova_cmd_ng(cmd_type);
    }
    rova_sensor_service service;
    const bool ok = wait_for_position(&service, wanted->code);
    const bool closed = rova_sensor_service_close(service);
    return rova_cmd_answer(cmd_type, ok && closed);
}

constexpr rova_cmd_entry rotation_table[] = {
    {"wait", rova_cmd_rotation_wait},
};
static_assert(rova_cmd_table_is_sound(rotation_table));

} // namespace

int rova_cmd_rotation(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(rotation_table, "rotation", cmd_type, record);
}

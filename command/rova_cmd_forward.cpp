#include "command/rova_cmd_forward.h"

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "lib/rova_app_thread.h"
#include "lib/rova_ipcc.h"

// A kind of answer that nobody knows is passed over: no answer, the last result stays.
static int pass_on(uint32_t cmd_type, const rova_cmd_response &answer)
{
    switch (answer.response_type) {
    case ROVA_RESPONSE_PLAIN:
        return rova_cmd_resp(cmd_type, answer.result, &answer.stream);
    case ROVA_RESPONSE_PARAMS:
        return rova_cmd_resp_ex(cmd_type, answer.result, answer.param1, answer.param2,
                                answer.param3, &answer.stream);
    }
    return 1;
}

int rova_cmd_ipcc_exec(uint32_t cmd_type, cmd_data *record)
{
    rova_cmd_response answer = {};
    if (rova_ipcc_send(cmd_type, record, &answer) != 0)
        return pass_on(cmd_type, answer);
    ROVA_LOG_ERR("rova_ipcc_send() failed (%s) \n", record->cmd);
    return rova_cmd_ng(cmd_type);
}

int rova_cmd_app_exec(uint32_t cmd_type, cmd_data *record)
{
    rova_cmd_response answer = {};
    if (rova_cmd_app_send(cmd_type, record, &answer) != 0)
        return pass_on(cmd_type, answer);
    return rova_cmd_ng(cmd_type);
}

int rova_cmd_app_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    if (rova_send_to_app(cmd_type, record, answer) != 0)
        return 1;
    ROVA_LOG_ERR("rova_send_to_app() failed (%s) \n", record->cmd);
    return 0;
}

#include "command/rova_cmd_forward.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "lib/rova_ipcc.h"

// A kind of answer that nobody knows is passed over: no answer, the last result stays.
static void pass_on(uint32_t cmd_type, const rova_cmd_response &answer)
{
    switch (answer.response_type) {
    case ROVA_RESPONSE_PLAIN:
        rova_cmd_resp(cmd_type, answer.result, &answer.stream);
        return;
    case ROVA_RESPONSE_PARAMS:
        rova_cmd_resp_ex(cmd_type, answer.result, answer.param1, answer.param2, answer.param3,
                         &answer.stream);
        return;
    }
}

int rova_cmd_ipcc_exec(uint32_t cmd_type, cmd_data *record)
{
    rova_cmd_response answer = {};
    if (rova_ipcc_send(cmd_type, record, &answer) != 0) {
        pass_on(cmd_type, answer);
        return 1;
    }
    ROVA_LOG_ERR("rova_ipcc_send() failed (%s) \n", record->cmd);
    return rova_cmd_resp(cmd_type, 1, nullptr);
}

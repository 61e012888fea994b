#include "command/rova_cmd_forward.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "lib/rova_app_thread.h"
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

namespace
{

struct channel {
    const char *name; // the sending function, for the log
    int (*send)(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);
};

constexpr channel ipcc = {"rova_ipcc_send", rova_ipcc_send};
constexpr channel app = {"rova_send_to_app", rova_send_to_app};

int send(const channel &to, uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    if (to.send(cmd_type, record, answer) != 0)
        return 1;
    ROVA_LOG_ERR("%s() failed (%s) \n", to.name, record->cmd);
    return 0;
}

int forward(const channel &to, uint32_t cmd_type, const cmd_data *record)
{
    rova_cmd_response answer = {};
    if (send(to, cmd_type, record, &answer) == 0)
        return rova_cmd_resp(cmd_type, 1, nullptr);
    pass_on(cmd_type, answer);
    return 1;
}

} // namespace

int rova_cmd_ipcc_exec(uint32_t cmd_type, cmd_data *record)
{
    return forward(ipcc, cmd_type, record);
}

int rova_cmd_app_exec(uint32_t cmd_type, cmd_data *record)
{
    return forward(app, cmd_type, record);
}

int rova_cmd_app_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    return send(app, cmd_type, record, answer);
}

#include "lib/rova_app_thread.h"

#include "lib/rova_channel.h"

namespace
{

int timeout_of(const cmd_data *)
{
    return ROVA_APP_TIMEOUT_SECONDS;
}

constinit rova_channel app = {
    ROVA_APP_PROJECT, ROVA_APP_SEM, ROVA_APP_MESSAGE_SIZE, timeout_of, {}};

} // namespace

int rova_send_to_app(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    return rova_channel_send(&app, cmd_type, record, answer);
}

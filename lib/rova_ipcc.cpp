#include "lib/rova_ipcc.h"

#include "common/rova_util.h"
#include "lib/rova_channel.h"

#include <strings.h>

namespace
{

constexpr int TIMEOUT_SECONDS = 360;
constexpr int TIMEOUT_ALT_SECONDS = 60;

struct ipcc_timeout {
    const char *cmd;
    int seconds;
};

// What takes another time, in ALT mode too.
constexpr ipcc_timeout ipcc_timeouts[] = {
    {"shutter", 0},
    {"defect_pixel", 600},
    {"vfpn", 600},
};

int timeout_of(const cmd_data *record)
{
    for (const ipcc_timeout &row : ipcc_timeouts)
        if (strcasecmp(row.cmd, record->cmd) == 0)
            return row.seconds;
    return rova_get_alt_mode() ? TIMEOUT_ALT_SECONDS : TIMEOUT_SECONDS;
}

constinit rova_channel ipcc = {
    ROVA_IPCC_PROJECT, ROVA_IPCC_SEM, ROVA_IPCC_MESSAGE_SIZE, timeout_of, {}};

} // namespace

int rova_ipcc_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    return rova_channel_send(&ipcc, cmd_type, record, answer);
}

#include "lib/rova_app_table.h"

#include "lib/pim/handler/rova_cmd_pim.h"

#include <strings.h>

static constexpr rova_app_cmd app_table[] = {
    // clang-format off
    {"mot",     rova_cmd_mot},
    {"dust",    rova_cmd_dust},
    {"noise",   rova_cmd_noise},
    {"movie",   rova_cmd_movie},
    {"afi_adj", rova_cmd_afi_adj},
    // clang-format on
};

std::span<const rova_app_cmd> rova_app_cmds()
{
    return app_table;
}

bool rova_app_cmd_exec(std::span<const rova_app_cmd> table, const cmd_data *record,
                       rova_cmd_response *answer)
{
    for (const rova_app_cmd &row : table) {
        if (strcasecmp(row.cmd, record->cmd) != 0)
            continue;
        row.handler(record, answer);
        return true;
    }
    return false;
}

#include "lib/rova_app_table.h"

#include <strings.h>

std::span<const rova_app_cmd> rova_app_cmds()
{
    return {}; // a row for each family that is here
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

#include "command/system/rova_bat_info.h"

#include "common/rova_log.h"
#include "common/rova_util.h"

#include <cstdio>
#include <cstring>

namespace
{

constexpr char SPEC_PATH[] = "/sys/devices/platform/m7-adc-battery/adc_spec";
constexpr std::size_t SPEC_SIZE = 96;

rova_bat_info_row parse_line(const char *line)
{
    rova_bat_info_row row = {};
    static_assert(sizeof(row.name) == 7 + 1);
    if (std::sscanf(line, "%d %d %7s", &row.level, &row.voltage, row.name) != 3)
        ROVA_LOG_ERR("\"%s\": \"%s\" is no level, voltage and name\n", SPEC_PATH, line);
    return row;
}

rova_bat_info_table parse(char *text)
{
    constexpr char line_ends[] = "\r\n";
    rova_bat_info_table table = {};
    char *rest = nullptr;
    const char *line = strtok_r(text, line_ends, &rest);
    while (line != nullptr && table.count < table.rows.size()) {
        table.rows[table.count++] = parse_line(line);
        line = strtok_r(nullptr, line_ends, &rest);
    }
    return table;
}

} // namespace

rova_bat_info_table rova_bat_info_read()
{
    char all[ROVA_SYSFS_TEXT_SIZE + 1] = {};
    if (rova_sysfs_read_string(SPEC_PATH, all) < 0 && all[0] == '\0')
        ROVA_LOG_ERR("failed to open \"%s\" (%s) \n", SPEC_PATH, rova_reason());
    char text[SPEC_SIZE] = {};
    std::memcpy(text, all, sizeof(text) - 1);
    return parse(text);
}

int rova_bat_info_get(int32_t level, rova_bat_info_row *out)
{
    static const rova_bat_info_table rova_bat_info = rova_bat_info_read();
    int found = 0;
    for (std::size_t i = 0; i < rova_bat_info.count; i++)
        if (rova_bat_info.rows[i].level == level) {
            *out = rova_bat_info.rows[i];
            found = 1;
        }
    return found;
}

#include "command/rova_cmd_util.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int rova_cmd_ok(uint32_t cmd_type)
{
    return rova_cmd_resp(cmd_type, 0, nullptr);
}

int rova_cmd_ng(uint32_t cmd_type)
{
    return rova_cmd_resp(cmd_type, 1, nullptr);
}

int rova_cmd_answer(uint32_t cmd_type, bool ok, const rova_resp_stream *stream)
{
    return rova_cmd_resp(cmd_type, ok ? 0 : 1, stream);
}

bool rova_cmd_succeeded(const char *call, int result)
{
    if (result < 0)
        ROVA_LOG_ERR("%s() failed (ret = %d) \n", call, result);
    return result >= 0;
}

// A record that came over a channel may claim more parameters than there is room for.
static uint32_t param_count(const cmd_data *record)
{
    return std::min<uint32_t>(record->p_count, ROVA_CMD_PARAM_MAX);
}

const char *rova_cmd_param(const cmd_data *record, uint32_t index)
{
    return index < param_count(record) ? record->p[index] : "";
}

bool rova_cmd_on_off(const char *word, uint8_t *on)
{
    bool is_on = std::strcmp(word, "on") == 0;
    if (!is_on && std::strcmp(word, "off") != 0)
        return false;
    *on = is_on ? 1 : 0;
    return true;
}

int rova_cmd_number(const char *text)
{
    return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

void rova_cmd_join_words(const cmd_data *record, uint32_t first, std::span<char> text)
{
    std::size_t length = 0;
    text[0] = '\0';
    for (uint32_t i = first; i < param_count(record) && length + 1 < text.size(); i++) {
        int wanted = std::snprintf(&text[length], text.size() - length, "%s%s",
                                   i == first ? "" : " ", record->p[i]);
        length += static_cast<std::size_t>(wanted);
    }
}

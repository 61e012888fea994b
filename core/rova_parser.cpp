#include "core/rova_parser.h"

#include "common/rova_log.h"

#include <cctype>
#include <cstring>

namespace
{

constexpr int TOKEN_MAX = 1 + ROVA_CMD_PARAM_MAX;

bool is_space(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// Cuts `line` into its tokens; returns how many there are, TOKEN_MAX at most.
int split(char *line, char *tokens[TOKEN_MAX])
{
    int count = 0;
    while (count < TOKEN_MAX) {
        while (is_space(*line))
            line++;
        if (*line == '\0' || std::strncmp(line, "//", 2) == 0)
            break;
        tokens[count++] = line;
        while (*line != '\0' && !is_space(*line))
            line++;
        if (*line != '\0')
            *line++ = '\0';
    }
    return count;
}

// A longer token is cut without report.  `dst` holds zeros.
void copy_word(char (&dst)[ROVA_CMD_WORD_SIZE], const char *token)
{
    std::memcpy(dst, token, strnlen(token, ROVA_CMD_WORD_SIZE - 1));
}

} // namespace

int rova_parse_cmd_data(char *line, uint32_t size, cmd_data *record)
{
    if (line == nullptr || size == 0 || record == nullptr) {
        ROVA_LOG_ERR("Invalid parameter\n");
        return -3;
    }

    char *tokens[TOKEN_MAX];
    const int count = split(line, tokens);
    if (count == 0) {
        std::strcpy(record->cmd, "comment");
        record->p_count = 0;
        return 0;
    }

    std::memset(record, 0, sizeof(*record));
    copy_word(record->cmd, tokens[0]);
    for (int i = 1; i < count; i++)
        copy_word(record->p[i - 1], tokens[i]);
    record->p_count = static_cast<uint32_t>(count - 1);
    return 0;
}

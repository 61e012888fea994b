// The line parser on any bytes: what comes out is a record that every handler may rely on.
#include "core/rova_parser.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void require_word(const char *word)
{
    const std::size_t length = strnlen(word, ROVA_CMD_WORD_SIZE);
    require(length > 0 && length < ROVA_CMD_WORD_SIZE);
    for (std::size_t i = 0; i < length; i++)
        require(std::isspace(static_cast<unsigned char>(word[i])) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    std::vector<char> line(data, data + size);
    line.push_back('\0');
    cmd_data record{};
    require(rova_parse_cmd_data(line.data(), static_cast<uint32_t>(line.size()), &record) == 0);
    require_word(record.cmd);
    require(record.p_count <= ROVA_CMD_PARAM_MAX);
    for (uint32_t i = 0; i < ROVA_CMD_PARAM_MAX; i++) {
        if (i < record.p_count)
            require_word(record.p[i]);
        else
            require(record.p[i][0] == '\0');
    }
    require(record.e[0] == 0 && record.data_path[0] == '\0');
    return 0;
}

#include "tools/vcam/script.h"

#include "common/rova_guard.h"
#include "core/rova_parser.h"
#include "tools/vcam/verb.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam
{
namespace
{

constexpr std::size_t LINE_SIZE = 1024;
constexpr unsigned int REPEAT_MAX = 8092;
constexpr unsigned int REPEAT_WORDS = 3; // count, delay, command

// The words from `first` on; 0 is the command word.
std::string text_from(const cmd_data &record, uint32_t first)
{
    std::string text = first == 0 ? record.cmd : record.p[first - 1];
    for (uint32_t i = first; i < record.p_count; i++)
        text += std::string(" ") + record.p[i];
    return text;
}

// False: refused.
bool add_repeated(const cmd_data &record, std::vector<std::string> &commands)
{
    if (record.p_count < REPEAT_WORDS)
        return false;
    const auto count = static_cast<unsigned int>(std::atoi(record.p[0]));
    const int delay = std::atoi(record.p[1]);
    if (count > REPEAT_MAX)
        return false;
    for (unsigned int i = 0; i < count; i++) {
        commands.push_back(text_from(record, REPEAT_WORDS));
        if (delay > 0)
            commands.push_back("delay " + std::to_string(delay));
    }
    return true;
}

bool add_line(char *line, std::vector<std::string> &commands)
{
    cmd_data record = {};
    if (rova_parse_cmd_data(line, LINE_SIZE, &record) != 0)
        return false;
    if (record.p_count == 0)
        return true;
    if (std::strcmp(record.cmd, "repeat") == 0)
        return add_repeated(record, commands);
    commands.push_back(text_from(record, 0));
    return true;
}

} // namespace

std::vector<std::string> script_commands(const std::filesystem::path &path)
{
    const rova_file file(std::fopen(path.c_str(), "re"));
    if (!file)
        throw failure("'" + path.string() + "' cannot be read");
    std::vector<std::string> commands;
    char line[LINE_SIZE];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        if (!add_line(line, commands))
            break;
    }
    return commands;
}

} // namespace vcam

#include "tests/command/command_test.h"

#include "command/rova_cmd_control_flags.h"
#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

namespace test
{

// "20260115 13:05:09 : "
static constexpr std::size_t STAMP_LENGTH = 20;

static std::string without_stamps(const std::string &log)
{
    std::string text;
    for (const std::string &line : lines_of(log))
        text += (line.size() > STAMP_LENGTH ? line.substr(STAMP_LENGTH) : line) + "\n";
    return text;
}

cmd_data record_of(const std::string &line)
{
    cmd_data record = {};
    std::istringstream words(line);
    std::string word;
    words >> word;
    word.copy(record.cmd, sizeof(record.cmd) - 1);
    while (record.p_count < ROVA_CMD_PARAM_MAX && words >> word)
        word.copy(record.p[record.p_count++], ROVA_CMD_WORD_SIZE - 1);
    return record;
}

std::string bytes_of(const cmd_data &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof(record));
}

std::size_t open_descriptors()
{
    auto folder = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

CommandTest::CommandTest()
{
    rova_log_set_enable(1);
    rova_control_flags = {};
    rova_cmd_set_dump(false);
    rova_cmd_resp(ROVA_CMD_SCRIPT, 0, nullptr);
}

CommandTest::~CommandTest()
{
    wrap_clear();
}

std::string CommandTest::run(const std::string &line, uint32_t cmd_type)
{
    return run(record_of(line), cmd_type);
}

std::string CommandTest::run(cmd_data record, uint32_t cmd_type)
{
    std::size_t before = camera.file_log().size();
    rova_process_cmd(cmd_type, &record);
    return without_stamps(camera.file_log().substr(before));
}

std::size_t CommandTest::times_logged(const std::string &text) const
{
    std::string log = camera.platform_log();
    std::size_t times = 0;
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
        times++;
    return times;
}

std::vector<std::string> CommandTest::told(const std::vector<std::string> &names) const
{
    std::vector<std::string> texts;
    for (const nlohmann::json &call : camera.calls()) {
        std::string name = call["call"];
        if (std::find(names.begin(), names.end(), name) != names.end())
            texts.push_back(name + call["args"].dump());
    }
    return texts;
}

std::vector<std::string> CommandTest::messages() const
{
    static const std::regex colour("\x1b\\[[0-9]*m");
    std::istringstream log(camera.platform_log());
    std::vector<std::string> texts;
    for (std::string line; std::getline(log, line);) {
        std::size_t at = line.find(") > ");
        if (at != std::string::npos)
            texts.push_back(std::regex_replace(line.substr(at + 4), colour, ""));
    }
    return texts;
}

std::vector<std::string> CommandTest::new_messages()
{
    std::vector<std::string> all = messages();
    std::vector<std::string> fresh(all.begin() + static_cast<std::ptrdiff_t>(told_), all.end());
    told_ = all.size();
    return fresh;
}

} // namespace test

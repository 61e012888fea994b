#include "tests/e2e/verdicts.h"

#include "tests/support/text.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace e2e
{

namespace
{

// The script's commands, in their order.
Lines commands(const std::string &script)
{
    std::ifstream file(script);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    Lines found = test::lines_of(text);
    std::erase_if(found, [](const std::string &line) { return line.empty() || line[0] == '/'; });
    return found;
}

} // namespace

Lines verdicts(const std::string &output)
{
    static const std::regex result("^ *[0-9]+  (OK|NG|skipped) +(?:[0-9.]+ s)? +(.*)$");
    Lines told;
    for (const std::string &line : test::lines_of(output)) {
        std::smatch parts;
        if (std::regex_match(line, parts, result))
            told.push_back(parts[1].str() + " " + parts[2].str());
    }
    return told;
}

Lines ended_at(const std::string &script, const std::string &last, const std::string &verdict,
               int nth)
{
    Lines told;
    std::string next = "OK";
    for (const std::string &command : commands(script)) {
        const bool is_last = command == last && --nth == 0;
        told.push_back((is_last ? verdict : next) + " " + command);
        if (is_last)
            next = "skipped";
    }
    return told;
}

std::size_t count_ok(const Lines &told)
{
    return static_cast<std::size_t>(std::ranges::count_if(
        told, [](const std::string &line) { return line.starts_with("OK "); }));
}

} // namespace e2e

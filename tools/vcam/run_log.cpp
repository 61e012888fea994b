#include "tools/vcam/run_log.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam
{
namespace
{

bool has(const std::string &line, const std::string &text)
{
    return line.find(text) != std::string::npos;
}

// The number in "rova-server: %dth cmd WHAT", or 0.
int number_before(const std::string &line, const char *what)
{
    constexpr char HEAD[] = "rova-server: ";
    const std::size_t at = line.find(HEAD);
    int number = 0;
    int length = 0;
    if (at == std::string::npos ||
        std::sscanf(line.c_str() + at, "rova-server: %dth cmd %n", &number, &length) < 1 ||
        length == 0 ||
        line.compare(at + static_cast<std::size_t>(length), std::strlen(what), what) != 0)
        return 0;
    return number;
}

// Each line of the platform log begins with the seconds of the monotonic clock.
double time_of(const std::string &line)
{
    return std::strtod(line.c_str(), nullptr);
}

} // namespace

// A command from another source runs in between and is told by its source's name.
std::string run_log::text_of_next(const std::string &line)
{
    const std::size_t start = line.find('[', line.find("rova-server: "));
    const std::size_t end = line.find(']', start);
    const std::string source = line.substr(start + 1, end - start - 1);
    if (source != "card")
        return "(" + source + ")";
    return next_ < commands_.size() ? commands_[next_++] : "";
}

command_result run_log::end(int number, command_verdict verdict, double seconds,
                            const std::string &text)
{
    switch (verdict) {
    case command_verdict::ok:
        counts_.ok++;
        break;
    case command_verdict::ng:
        counts_.ng++;
        break;
    case command_verdict::skipped:
        counts_.skipped++;
        break;
    }
    last_ = text;
    return {number, verdict, seconds, text};
}

void run_log::take_client_line(const std::string &line, const std::string &script)
{
    if (has(line, "rova-client: thread exited"))
        client_ended_ = true;
    if (has(line, "fopen(" + script + ") failed"))
        client_ended_ = client_gave_up_ = script_missing_ = true;
    if (has(line, "failed to send command (num: ") || has(line, "failed to parse line (num: "))
        client_gave_up_ = true;
}

std::optional<command_result> run_log::take(const std::string &line, const std::string &script)
{
    if (number_before(line, "recieved [") > 0) {
        running_ = text_of_next(line);
        started_ = time_of(line);
        return std::nullopt;
    }
    if (const int skipped = number_before(line, "skipped ["))
        return end(skipped, command_verdict::skipped, 0, text_of_next(line));
    if (const int done = number_before(line, "done [")) {
        const auto verdict = has(line, "done [OK]") ? command_verdict::ok : command_verdict::ng;
        const command_result result =
            end(done, verdict, (time_of(line) - started_) * speed_, running_);
        running_.clear();
        return result;
    }
    take_client_line(line, script);
    return std::nullopt;
}

} // namespace vcam

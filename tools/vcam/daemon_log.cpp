#include "tools/vcam/daemon_log.h"

#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"

namespace vcam
{

// The text between `before` and `after` where they occur last; "" if nowhere.
static std::string last_between(const std::string &text, const std::string &before,
                                const std::string &after)
{
    const std::size_t at = text.rfind(before);
    if (at == std::string::npos)
        return "";
    const std::size_t start = at + before.size();
    const std::size_t end = text.find(after, start);
    return end == std::string::npos ? "" : text.substr(start, end - start);
}

static std::string in_log(const std::string &before, const std::string &after)
{
    return last_between(read_file(virt::file("dlog")).value_or(""), before, after);
}

std::string daemon_mode()
{
    return in_log("Launched rovad daemon with ", " mode");
}

std::string last_result()
{
    return in_log("th cmd done [", "]");
}

} // namespace vcam

// vcam touch: the touch panel under a finger.
#include "platform/virtual/touch.h"
#include "platform/factory_osd.h"
#include "tools/vcam/number.h"
#include "tools/vcam/verb.h"

#include <cstdio>

namespace vcam
{
namespace
{

// By number.
constexpr const char *STATE_NAMES[] = {"not ready", "ready", "touched", "ghost"};
static_assert(std::size(STATE_NAMES) == FACTORY_OSD_TOUCH_GHOST + 1);

void print_state()
{
    const auto state = static_cast<std::size_t>(virt::touch_state());
    const bool known = state < std::size(STATE_NAMES);
    std::printf("%s\n%s", known ? STATE_NAMES[state] : "unknown", virt::touch_points().c_str());
}

int coordinate(const std::string &text, int size)
{
    const std::optional<long long> number = to_number(text);
    if (!number || *number < 0 || *number >= size)
        throw failure("'" + text + "' is no point of the panel, 0 to " + std::to_string(size - 1));
    return static_cast<int>(*number);
}

void check_taken(bool taken)
{
    if (taken)
        return;
    throw failure(virt::touch_state() == FACTORY_OSD_TOUCH_IDLE
                      ? "the touch panel takes no touches before 'touch ready' or 'touch test'"
                      : "the touch cannot be written");
}

void touch(const std::vector<std::string> &words)
{
    if (words == std::vector<std::string>{"ghost"})
        return check_taken(virt::touch_as_ghost());
    if (words.size() != 2)
        throw failure("a touch is X and Y, or ghost (vcam touch --help tells more)");
    const int x = coordinate(words[0], virt::touch_width);
    const int y = coordinate(words[1], virt::touch_height);
    check_taken(virt::touch_at(x, y));
}

} // namespace

int verb_touch(const invocation &in, CLI::App &app)
{
    std::vector<std::string> words;
    app.add_option("POINT", words, "X and Y, or ghost: a touch that nobody made");
    in.open(app);
    if (words.empty())
        print_state();
    else
        touch(words);
    return OK;
}

} // namespace vcam

// vcam plug and unplug: what a person connects to the camera.
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <algorithm>
#include <cstdio>

namespace vcam
{
namespace
{

// The card has a verb of its own.
std::vector<std::string> plugs()
{
    std::vector<std::string> names;
    for (const wire &wire : wires())
        if (wire.plug != std::string(CARD_PLUG) && wire.plug != std::string(LOCK_PLUG) &&
            (names.empty() || names.back() != wire.plug))
            names.emplace_back(wire.plug);
    return names;
}

int verb_moves(const invocation &in, CLI::App &app, bool inwards)
{
    const std::vector<std::string> known = plugs();
    std::vector<std::string> names;
    bool list = false;
    app.add_option("NAME", names, "One or more of: " + CLI::detail::join(known, " "))
        ->check(CLI::Validator(CLI::IsMember(known)).description(""));
    app.add_flag("--list", list, "Print the names instead");
    in.parse(app);
    if (list) {
        for (const std::string &name : known)
            std::puts(name.c_str());
        return OK;
    }
    if (names.empty())
        throw CLI::RequiredError("NAME");
    open_camera(in.dir);
    for (const std::string &name : names)
        move_plug(name, inwards);
    return OK;
}

} // namespace

int verb_plug(const invocation &in, CLI::App &app)
{
    return verb_moves(in, app, true);
}

int verb_unplug(const invocation &in, CLI::App &app)
{
    return verb_moves(in, app, false);
}

} // namespace vcam

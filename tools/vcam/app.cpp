// vcam app, and the application that goes with the daemon.
#include "tools/vcam/app.h"

#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"
#include "tools/vcam_app/channels.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace vcam
{

const companion_kind &app_kind()
{
    static const companion_kind kind = {
        .what = "the camera application",
        .words = {APPLICATION},
        .output = "app.out",
        .pid = app_pid,
        .is_up = vcam_app::channels_are_up,
        .clear = [] { vcam_app::clear_channels(); },
    };
    return kind;
}

fs::path find_app(const fs::path &given)
{
    static const program_place vcam_app = {
        "vcam-app", {".", "../vcam_app", "../../tools/vcam_app"}, "--app"};
    return find_program(vcam_app, given);
}

int verb_app(const invocation &in, CLI::App &app)
{
    fs::path program;
    app.add_option("--app", program, "The application's program")->type_name("FILE");
    in.open(app);
    refuse_second(app_kind());
    const fs::path found = find_app(program);
    fs::current_path(camera_root());
    char *const argv[] = {const_cast<char *>(APPLICATION), nullptr};
    execv(found.c_str(), argv);
    throw failure("'" + found.string() + "' cannot be started (" + std::strerror(errno) + ")");
}

} // namespace vcam

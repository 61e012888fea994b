// vcam app, and the application that goes with the daemon.
#include "tools/vcam/app.h"

#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"
#include "tools/vcam_app/channels.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace vcam
{
namespace
{

constexpr char OUTPUT[] = "app.out";
constexpr double UP_SECONDS = 10;
constexpr double END_SECONDS = 10;

const program_place &place()
{
    static const program_place vcam_app = {
        "vcam-app", {".", "../vcam_app", "../../tools/vcam_app"}, "--app"};
    return vcam_app;
}

} // namespace

app_process::app_process(const fs::path &program) : program_(find_program(place(), program)) {}

void app_process::start()
{
    if (app_pid() > 0)
        return;
    vcam_app::clear_channels(); // a stale queue would pass for one that is served
    process_.emplace(program_, std::vector<std::string>{APPLICATION}, camera_root(), OUTPUT);
    wait_until_up();
}

void app_process::wait_until_up()
{
    wait_until([this] { return vcam_app::channels_are_up() || process_->has_ended(); }, UP_SECONDS);
    if (vcam_app::channels_are_up() && !process_->has_ended())
        return;
    const std::string output = process_->output();
    const bool ended = process_->has_ended();
    stop();
    print_output(output);
    throw failure(ended ? "the camera application ended before it was up"
                        : "the camera application did not come up in time");
}

void app_process::stop()
{
    if (process_ && !process_->has_ended())
        end_app(process_->pid(), SIGTERM, END_SECONDS);
    process_.reset();
}

void app_options::add_to(CLI::App &app)
{
    auto *program =
        app.add_option("--app", program_, "The camera application's program")->type_name("FILE");
    app.add_flag("--no-app", none_, "Start no camera application")->excludes(program);
}

app_process *app_options::process()
{
    if (!none_ && !process_)
        process_.emplace(program_);
    return none_ ? nullptr : &*process_;
}

void end_app(pid_t pid, int signal, double seconds)
{
    kill(pid, signal);
    const auto has_ended = [pid] { return !process_runs(pid); };
    if (wait_until(has_ended, seconds))
        return;
    kill(pid, SIGKILL);
    wait_until(has_ended, END_SECONDS);
}

int verb_app(const invocation &in, CLI::App &app)
{
    fs::path program;
    app.add_option("--app", program, "The application's program")->type_name("FILE");
    in.open(app);
    if (const pid_t running = app_pid(); running > 0)
        throw failure("the camera application runs already (pid " + std::to_string(running) + ")");
    const fs::path found = find_program(place(), program);
    fs::current_path(camera_root());
    char *const argv[] = {const_cast<char *>(APPLICATION), nullptr};
    execv(found.c_str(), argv);
    throw failure("'" + found.string() + "' cannot be started (" + std::strerror(errno) + ")");
}

} // namespace vcam

#include "tools/vcam/companion.h"

#include "tools/vcam/app.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/sensor.h"
#include "tools/vcam/verb.h"

#include <csignal>
#include <cstdio>

namespace vcam
{
namespace
{

constexpr double UP_SECONDS = 10;
constexpr double END_SECONDS = 10;

} // namespace

companion::companion(const companion_kind &kind, fs::path program)
    : kind_(&kind), program_(std::move(program))
{
}

void companion::start()
{
    if (kind_->pid() > 0)
        return;
    kind_->clear();
    process_.emplace(program_, kind_->words, camera_root(), kind_->output);
    wait_until_up();
}

void companion::wait_until_up()
{
    wait_until([this] { return kind_->is_up() || process_->has_ended(); }, UP_SECONDS);
    if (kind_->is_up() && !process_->has_ended())
        return;
    const std::string output = process_->output();
    const bool ended = process_->has_ended();
    stop();
    print_output(output);
    throw failure(std::string(kind_->what) +
                  (ended ? " ended before it was up" : " did not come up in time"));
}

void companion::stop()
{
    if (process_ && !process_->has_ended())
        end_companion(process_->pid(), SIGTERM, END_SECONDS);
    process_.reset();
}

void companion::tell_end()
{
    if (!process_ || !process_->has_ended())
        return;
    std::fprintf(stderr, "vcam: %s has ended\n", kind_->what);
    process_.reset();
}

void companion_options::add_to(CLI::App &app)
{
    auto *program =
        app.add_option("--app", program_, "The camera application's program")->type_name("FILE");
    app.add_flag("--no-app", no_app_, "Start no camera application")->excludes(program);
    app.add_flag("--no-sensord", no_sensord_, "Start no sensor service");
}

std::vector<companion> companion_options::chosen() const
{
    std::vector<companion> companions;
    if (!no_app_)
        companions.emplace_back(app_kind(), find_app(program_));
    if (!no_sensord_)
        companions.emplace_back(sensor_kind(), fs::read_symlink("/proc/self/exe"));
    return companions;
}

void refuse_second(const companion_kind &kind)
{
    if (const pid_t running = kind.pid(); running > 0)
        throw failure(std::string(kind.what) + " runs already (pid " + std::to_string(running) +
                      ")");
}

void end_companion(pid_t pid, int signal, double seconds)
{
    kill(pid, signal);
    const auto has_ended = [pid] { return !process_runs(pid); };
    if (wait_until(has_ended, seconds))
        return;
    kill(pid, SIGKILL);
    wait_until(has_ended, END_SECONDS);
}

} // namespace vcam

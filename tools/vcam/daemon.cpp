#include "tools/vcam/daemon.h"

#include "common/rova_util.h"
#include "platform/vconf.h"
#include "platform/virtual/objects.h"
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/sensor.h"
#include "tools/vcam/verb.h"
#include "tools/vcam_app/channels.h"

#include <cstdlib>

namespace vcam
{
namespace
{

constexpr char CALL_LOG[] = "calls.jsonl";
constexpr char OUTPUT[] = "rovad.out";

// Beside vcam when installed, in the folder of its sources in the build tree.
const program_place &place()
{
    static const program_place rovad = {"rovad", {".", "../core", "../../core"}, "--rovad"};
    return rovad;
}

void remove_images()
{
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(virt::file("pref"), error)) {
        if (entry.path().extension() == ".image")
            fs::remove(entry.path());
    }
}

virt::KeptObjects objects_in_use()
{
    virt::KeptObjects objects;
    if (app_pid() > 0)
        objects = vcam_app::channel_objects();
    if (sensor_pid() > 0)
        objects.queues.push_back(sensor_requests());
    return objects;
}

// What does not outlive the power: kernel objects and the partitions' images in memory, which are
// loaded from flash again.  While a program of the camera runs, the power is on; then only what a
// killed daemon has left goes.
void switch_on()
{
    if (responder_runs())
        return;
    virt::clear_kernel_objects(objects_in_use());
    if (!camera_is_busy())
        remove_images();
}

std::string private_folder(const char *name)
{
    const fs::path path = virt::file(name);
    fs::create_directories(path);
    fs::permissions(path, fs::perms::owner_all);
    return path;
}

// The camera's boot starts the daemon on the card, where programs that it starts unpack archives.
fs::path working_directory()
{
    const fs::path card = on_pc("/sdcard");
    std::error_code error;
    return fs::is_directory(card, error) ? card : camera_root();
}

std::vector<std::string> words_of(const std::vector<std::string> &options)
{
    std::vector<std::string> words = {DAEMON};
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

// Surroundings of the daemon, which are also its companions': in the camera they are the same.
void set_environment()
{
    setenv("HOME", private_folder("home").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", private_folder("run").c_str(), 1);
}

} // namespace

daemon_process::daemon_process(const fs::path &program, const std::vector<std::string> &options,
                               std::vector<companion> companions)
    : companions_(std::move(companions))
{
    if (const pid_t running = daemon_pid(); running > 0)
        throw failure("rovad runs already (pid " + std::to_string(running) + ")");
    const fs::path found = find_program(place(), program);
    switch_on();
    set_environment();
    if (vconf_set_int(ROVA_KEY_START_CMD, 1) < 0)
        throw failure("the start key cannot be written");
    start_companions();
    process_.emplace(found, words_of(options), working_directory(), OUTPUT);
}

daemon_process::state daemon_process::wait_until_up(double seconds)
{
    const auto is_up = [] {
        int value = 1;
        return vconf_get_int(ROVA_KEY_START_CMD, &value) == 0 && value == 0;
    };
    wait_until([&] { return is_up() || has_ended(); }, seconds);
    if (is_up())
        return state::up;
    return has_ended() ? state::ended : state::late;
}

// None is left behind where one cannot be started.
void daemon_process::start_companions()
{
    try {
        for (companion &each : companions_)
            each.start();
    } catch (const failure &) {
        stop_companions();
        throw;
    }
}

void daemon_process::stop_companions()
{
    for (companion &each : companions_)
        each.stop();
}

void daemon_process::tell_ended_companions()
{
    for (companion &each : companions_)
        each.tell_end();
}

std::uintmax_t call_log_size()
{
    return size_of(virt::file(CALL_LOG));
}

bool was_switched_off(std::uintmax_t offset)
{
    const std::string text = read_file(virt::file(CALL_LOG)).value_or("");
    return text.find("\"call\":\"poweroff\"", offset) != std::string::npos ||
           text.find("\"call\":\"reboot\"", offset) != std::string::npos;
}

void ask_to_stop()
{
    if (vconf_set_int(ROVA_KEY_STOP_CMD, 1) < 0)
        throw failure("the stop key cannot be written");
}

} // namespace vcam

#include "tools/vcam/daemon.h"

#include "common/rova_util.h"
#include "platform/vconf.h"
#include "platform/virtual/objects.h"
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vcam
{
namespace
{

constexpr char CALL_LOG[] = "calls.jsonl";
constexpr char OUTPUT[] = "rovad.out";

bool is_program(const fs::path &path)
{
    std::error_code error;
    return fs::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

fs::path search_path()
{
    const char *path = std::getenv("PATH");
    std::string rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::size_t end = rest.find(':');
        const fs::path program = fs::path(rest.substr(0, end)) / "rovad";
        if (is_program(program))
            return fs::absolute(program);
        rest.erase(0, end == std::string::npos ? end : end + 1);
    }
    throw failure("rovad is neither beside vcam nor in $PATH; --rovad names it");
}

// Beside vcam when installed, in the folder of its sources in the build tree.
fs::path find_program(const fs::path &given)
{
    if (!given.empty() && !is_program(given))
        throw failure("'" + given.string() + "' is no program");
    if (!given.empty())
        return fs::canonical(given);
    const fs::path own = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char *place : {"rovad", "../core/rovad", "../../core/rovad"}) {
        if (is_program(own / place))
            return fs::canonical(own / place);
    }
    return search_path();
}

// What does not outlive the power: kernel objects and the partitions' images in memory, which are
// loaded from flash again.  While a program of the camera runs, the power is on.
void switch_on()
{
    if (camera_is_busy())
        return;
    virt::clear_kernel_objects();
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(virt::file("pref"), error)) {
        if (entry.path().extension() == ".image")
            fs::remove(entry.path());
    }
}

std::string private_folder(const char *name)
{
    const fs::path path = virt::file(name);
    fs::create_directories(path);
    fs::permissions(path, fs::perms::owner_all);
    return path;
}

std::uintmax_t size_of(const fs::path &path)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

// The camera's boot starts the daemon on the card, where programs that it starts unpack archives.
fs::path working_directory()
{
    const fs::path card = on_pc("/sdcard");
    std::error_code error;
    return fs::is_directory(card, error) ? card : camera_root();
}

// Child of the fork: only plain system calls.
[[noreturn]] void become_daemon(const char *program, const char *folder, const char *output,
                                char *const argv[])
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    setsid();
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(output, O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (in < 0 || out < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(out, 2) < 0 ||
        chdir(folder) != 0)
        _exit(127);
    closefrom(3);
    execv(program, argv);
    perror("rovad cannot be started");
    _exit(127);
}

pid_t launch(const fs::path &program, const std::vector<std::string> &options)
{
    const std::string output = virt::file(OUTPUT), folder = working_directory();
    setenv("HOME", private_folder("home").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", private_folder("run").c_str(), 1);
    std::vector<char *> argv = {const_cast<char *>(DAEMON)};
    for (const std::string &option : options)
        argv.push_back(const_cast<char *>(option.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0)
        become_daemon(program.c_str(), folder.c_str(), output.c_str(), argv.data());
    if (pid < 0)
        throw failure("no process for rovad");
    return pid;
}

} // namespace

daemon_process::daemon_process(const fs::path &program, const std::vector<std::string> &options)
    : output_start_(size_of(virt::file(OUTPUT))), pid_(-1)
{
    const pid_t running = daemon_pid();
    if (running > 0)
        throw failure("rovad runs already (pid " + std::to_string(running) + ")");
    const fs::path found = find_program(program);
    switch_on();
    if (vconf_set_int(ROVA_KEY_START_CMD, 1) < 0)
        throw failure("the start key cannot be written");
    pid_ = launch(found, options);
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

bool daemon_process::has_ended()
{
    int status = 0;
    if (!ended_)
        ended_ = waitpid(pid_, &status, WNOHANG) != 0;
    return ended_;
}

std::string daemon_process::output() const
{
    const std::string text = read_file(virt::file(OUTPUT)).value_or("");
    return text.size() > output_start_ ? text.substr(output_start_) : "";
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

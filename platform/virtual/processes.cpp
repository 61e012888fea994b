#include "platform/virtual/processes.h"

#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace virt
{

namespace
{

namespace fs = std::filesystem;

bool is_number(const std::string &name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(),
                                        [](unsigned char letter) { return std::isdigit(letter); });
}

// The process's ROVA_SYSROOT as it was started; the first one counts, as for getenv().
std::string sysroot_of(const std::string &process)
{
    constexpr std::string_view name = "ROVA_SYSROOT=";
    const std::string variables = read_file(process + "/environ");
    for (size_t at = 0; at < variables.size(); at += std::strlen(variables.c_str() + at) + 1)
        if (variables.compare(at, name.size(), name) == 0)
            return variables.c_str() + at + name.size();
    return "";
}

// Two names of one folder are one camera; a relative ROVA_SYSROOT counts from that process's own
// working directory.
bool runs_here(const std::string &process, const struct stat &here)
{
    std::string value = sysroot_of(process);
    if (value.empty())
        return false;
    struct stat there = {};
    std::string place = value.front() == '/' ? value : process + "/cwd/" + value;
    return stat(place.c_str(), &there) == 0 && there.st_dev == here.st_dev &&
           there.st_ino == here.st_ino;
}

void remove_stale(const std::string &view, const std::vector<pid_t> &alive)
{
    std::error_code error;
    fs::directory_iterator entries(view, error), end;
    for (; !error && entries != end; entries.increment(error)) {
        std::string name = entries->path().filename().string();
        if (!is_number(name) || !entries->is_symlink(error))
            continue;
        if (std::find(alive.begin(), alive.end(), std::atoi(name.c_str())) == alive.end())
            unlink(entries->path().c_str());
    }
}

} // namespace

std::vector<pid_t> processes()
{
    std::vector<pid_t> found;
    struct stat here = {};
    if (stat(root().c_str(), &here) != 0)
        return found; // no camera
    std::error_code error;
    fs::directory_iterator entries("/proc", error), end;
    for (; !error && entries != end; entries.increment(error)) {
        std::string name = entries->path().filename().string();
        if (is_number(name) && runs_here(entries->path().string(), here))
            found.push_back(static_cast<pid_t>(std::atoi(name.c_str())));
    }
    return found;
}

void refresh_processes()
{
    std::string view = path("/proc");
    mkdir(view.c_str(), 0755); // not the camera itself, if there is none
    std::vector<pid_t> alive = processes();
    remove_stale(view, alive);
    for (pid_t process : alive) {
        std::string name = std::to_string(process);
        int made = symlink(("/proc/" + name).c_str(), (view + "/" + name).c_str());
        (void)made; // there already
    }
}

} // namespace virt

#include "platform/virtual/processes.h"

#include "platform/virtual/root.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
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

std::string variable_of(const std::string &process, const std::string &name)
{
    std::ifstream in(process + "/environ", std::ios::binary);
    std::string entry;
    while (std::getline(in, entry, '\0'))
        if (entry.starts_with(name + "="))
            return entry.substr(name.size() + 1);
    return "";
}

// A relative ROVA_SYSROOT counts from that process's own working directory.
bool runs_here(const std::string &process, const std::string &here)
{
    std::string value = variable_of(process, "ROVA_SYSROOT");
    if (value.empty())
        return false;
    std::error_code error;
    fs::path folder = value.front() == '/' ? fs::path(value) : fs::path(process + "/cwd") / value;
    fs::path found = fs::weakly_canonical(folder, error);
    std::string text = found.string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return !error && text == here;
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
    std::string here = root();
    std::error_code error;
    fs::directory_iterator entries("/proc", error), end;
    for (; !here.empty() && !error && entries != end; entries.increment(error)) {
        std::string name = entries->path().filename().string();
        if (is_number(name) && runs_here(entries->path().string(), here))
            found.push_back(static_cast<pid_t>(std::atoi(name.c_str())));
    }
    return found;
}

void refresh_processes()
{
    std::string view = path("/proc");
    std::error_code error;
    fs::create_directories(view, error);
    std::vector<pid_t> alive = processes();
    remove_stale(view, alive);
    for (pid_t process : alive) {
        std::string name = std::to_string(process);
        int made = symlink(("/proc/" + name).c_str(), (view + "/" + name).c_str());
        (void)made; // there already
    }
}

} // namespace virt

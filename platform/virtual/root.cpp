#include "platform/virtual/root.h"

#include "platform/virtual/values.h"

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <pthread.h>
#include <unistd.h>

namespace virt
{

namespace
{

struct Kept {
    std::mutex lock;
    std::string variable, resolved;
};

Kept &kept_root();

void lock_for_fork()
{
    kept_root().lock.lock();
}

void unlock_behind_fork()
{
    kept_root().lock.unlock();
}

// A child asks for the root before it starts its program: the lock must not be held just then by a
// thread that fork() leaves behind.
Kept *make_kept_root()
{
    pthread_atfork(lock_for_fork, unlock_behind_fork, unlock_behind_fork);
    return new Kept;
}

Kept &kept_root()
{
    static Kept &kept = *make_kept_root(); // never destroyed: threads may outlive main()
    return kept;
}

std::string canonical(const std::string &folder)
{
    std::error_code error;
    auto found = std::filesystem::weakly_canonical(std::filesystem::absolute(folder, error), error);
    std::string text = error ? folder : found.string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

} // namespace

// The last answer is kept: resolving links costs more than the calls that ask for it.
std::string root()
{
    Kept &kept = kept_root();
    const char *now = std::getenv("ROVA_SYSROOT");
    if (!now || !*now)
        return "";
    std::lock_guard guard(kept.lock);
    if (kept.variable != now) {
        kept.variable = now;
        kept.resolved = canonical(kept.variable);
    }
    return kept.resolved;
}

std::string path(std::string_view camera_path)
{
    if (camera_path.empty() || camera_path.front() != '/' || camera_path == "/dev/null")
        return std::string(camera_path);
    if (camera_path.find("/..") == std::string_view::npos)
        return root().append(camera_path);
    return root() + std::filesystem::path(camera_path).lexically_normal().string();
}

std::string camera_path(std::string_view place)
{
    std::string top = root();
    if (top.empty() || !place.starts_with(top))
        return std::string(place);
    place.remove_prefix(top.size());
    if (place.empty())
        return "/";
    return place.front() == '/' ? std::string(place) : top.append(place);
}

std::string name_behind(int fd)
{
    char name[PATH_MAX];
    std::string link = "/proc/self/fd/" + std::to_string(fd);
    ssize_t length = readlink(link.c_str(), name, sizeof(name));
    if (length < 0)
        return "";
    return camera_path(std::string_view(name, static_cast<size_t>(length)));
}

std::string file(std::string_view name)
{
    return root().append("/virtual/").append(name);
}

bool present()
{
    static std::atomic<bool> told{false};

    if (const char *now = std::getenv("ROVA_SYSROOT"); now && *now)
        return true;
    if (!told.exchange(true))
        std::fputs("ROVA_SYSROOT is not set: there is no camera here\n", stderr);
    return false;
}

double speed()
{
    std::string text = read_file(file("speed"));
    double factor = std::strtod(text.c_str(), nullptr);
    return factor > 0 ? factor : 1;
}

unsigned long long hash(std::string_view text)
{
    unsigned long long sum = 0xcbf29ce484222325ULL;
    for (char byte : text)
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3ULL;
    return sum;
}

} // namespace virt

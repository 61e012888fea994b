#include "tools/vcam_app/lock.h"

#include "platform/virtual/root.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vcam_app
{
namespace
{

int lock_file = -1;

pid_t read_holder(int fd)
{
    char text[32] = {};
    return pread(fd, text, sizeof(text) - 1, 0) > 0 ? std::atoi(text) : 0;
}

bool write_holder(int fd)
{
    const std::string text = std::to_string(getpid()) + "\n";
    return ftruncate(fd, 0) == 0 &&
           pwrite(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

} // namespace

lock_result take_lock(pid_t &holder)
{
    const std::string place = virt::file("app/lock");
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(place).parent_path(), error);
    lock_file = open(place.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (lock_file < 0)
        return lock_result::failed;
    if (flock(lock_file, LOCK_EX | LOCK_NB) == 0)
        return write_holder(lock_file) ? lock_result::taken : lock_result::failed;
    holder = read_holder(lock_file);
    return errno == EWOULDBLOCK ? lock_result::held_by_other : lock_result::failed;
}

bool lock_is_there()
{
    struct stat status = {};
    return fstat(lock_file, &status) == 0 && status.st_nlink > 0;
}

} // namespace vcam_app

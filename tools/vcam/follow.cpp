#include "tools/vcam/follow.h"

#include "tools/vcam/process.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vcam
{

tail::tail(std::filesystem::path path, from where) : path_(std::move(path))
{
    struct stat status = {};
    if (where == from::end && stat(path_.c_str(), &status) == 0) {
        offset_ = static_cast<std::uintmax_t>(status.st_size);
        inode_ = status.st_ino;
    }
}

bool tail::read_more()
{
    const int fd = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat status = {};
    if (fstat(fd, &status) == 0 && status.st_ino != inode_) {
        inode_ = status.st_ino;
        offset_ = 0;
    }
    char buffer[65536];
    const ssize_t got = pread(fd, buffer, sizeof(buffer), static_cast<off_t>(offset_));
    close(fd);
    if (got <= 0)
        return false;
    offset_ += static_cast<std::uintmax_t>(got);
    pending_.append(buffer, static_cast<std::size_t>(got));
    return true;
}

std::optional<std::string> tail::next()
{
    std::size_t end;
    while ((end = pending_.find('\n')) == std::string::npos) {
        if (!read_more())
            return std::nullopt;
    }
    std::string line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    return line;
}

void show_lines(const std::filesystem::path &path, bool follow,
                const std::function<void(const std::string &)> &show)
{
    tail lines(path, tail::from::start);
    std::optional<std::string> line;
    catch_interrupts();
    do {
        while ((line = lines.next()) && !end_asked())
            show(*line);
        std::fflush(stdout);
        if (follow)
            usleep(20000);
    } while (follow && !end_asked());
}

} // namespace vcam

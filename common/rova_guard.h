// Owners of what has to be closed.
#pragma once

#include <cstdio>
#include <memory>
#include <unistd.h>

// Takes the descriptor over; a negative one, of an opening that failed, is left alone.
class rova_descriptor
{
public:
    explicit rova_descriptor(int fd) : fd_(fd) {}
    ~rova_descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    rova_descriptor(const rova_descriptor &) = delete;
    rova_descriptor &operator=(const rova_descriptor &) = delete;

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }

private:
    int fd_;
};

struct rova_file_closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using rova_file = std::unique_ptr<std::FILE, rova_file_closer>;

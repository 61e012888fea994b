// A descriptor that closes itself.
#pragma once

#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace virt
{

class Descriptor
{
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

    // Waits for the file's lock, which goes with the descriptor.
    bool lock() const { return fd_ >= 0 && flock(fd_, LOCK_EX) == 0; }

private:
    int fd_;
};

} // namespace virt

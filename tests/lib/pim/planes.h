// Picture planes as the capture service hands them out: below 4 GiB, with pages in front and behind
// that end the process when they are touched.
#pragma once

#include "lib/pim/rova_pim_image.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/mman.h>

namespace test
{

class Planes
{
public:
    // `size` bytes that end at the guard page; each byte differs from its neighbours.
    explicit Planes(std::size_t size) : size_(size), room_((size + PAGE - 1) / PAGE * PAGE)
    {
        base_ = static_cast<uint8_t *>(mmap(nullptr, room_ + 2 * PAGE, PROT_NONE,
                                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0));
        mprotect(base_ + PAGE, room_, PROT_READ | PROT_WRITE);
        for (std::size_t i = 0; i < size; i++)
            data()[i] = static_cast<uint8_t>(i * 7 + i / 251);
    }
    ~Planes() { munmap(base_, room_ + 2 * PAGE); }
    Planes(const Planes &) = delete;
    Planes &operator=(const Planes &) = delete;

    // From here on a read of any byte ends the process.
    void forbid() { mprotect(base_ + PAGE, room_, PROT_NONE); }

    uint8_t *data() const { return base_ + PAGE + room_ - size_; }
    std::span<const uint8_t> bytes() const { return {data(), size_}; }
    uint32_t address() const { return rova_pim_address(data()); }

private:
    static constexpr std::size_t PAGE = 4096;
    std::size_t size_;
    std::size_t room_;
    uint8_t *base_;
};

} // namespace test

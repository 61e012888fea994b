// The preference partitions behind platform/pref.h, for tools and tests.
#pragma once

#include <cstdint>
#include <string>

namespace virt
{

constexpr int partition_count = 10;

struct Partition {
    const char *name;
    std::uint32_t size; // of the data, in bytes
};

// nullptr for an unknown partition.
const Partition *partition(int number);
int partition_number(const std::string &name); // -1: no such name

// The files of a partition: `kind` is "image", "flash" or "default".
std::string partition_file(int number, const char *kind);

// Unmap this process's images.  Happens by itself when ROVA_SYSROOT changes.
void release_partitions();

} // namespace virt

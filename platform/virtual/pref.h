// The preference partitions behind platform/pref.h, for tools and tests.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

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

// The partition whose whole file these bytes are; -1 when the header or the length is nobody's.
int partition_of(std::string_view contents);

// What the image becomes when the camera is switched on: flash, else the defaults, else zeros.
std::string power_on_contents(int number);

// The image, header first, and its way to flash, for tools: no fault, nothing recorded.  nullptr
// and false: no such partition, no camera, or not to be written.
char *partition_image(int number);
bool save_partition(int number);

// Unmap this process's images.  Happens by itself when ROVA_SYSROOT changes.
void release_partitions();

} // namespace virt

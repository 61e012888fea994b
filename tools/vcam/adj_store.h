// The partitions of adjustment data and of the line: those of the camera, and copies of them.
//
// While a program of the camera runs, the images in memory are the truth.  While none runs the
// camera is off, and starting it fills the images from flash: flash is the truth.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vcam
{

inline constexpr int ADJ_PARTITIONS[] = {2, 4, 5, 6, 7, 8, 9};
std::string partition_name(int partition);

// Whole partitions in the form of the preference service's files, by number.
using partition_map = std::map<int, std::string>;

// The data behind the service's header.
std::string_view data_of(const std::string &contents);

// The open camera's partition, and all of them.
std::string camera_partition(int partition);
partition_map camera_partitions();
// The image as it stands, or as the camera left it when it was switched off; nothing if it is gone.
std::optional<std::string> partition_image(int partition);

// Replaces bytes of the open camera's partition.  `save` 0 changes the image only, and fails while
// the camera is off.
void put_bytes(int partition, std::size_t offset, std::string_view bytes, bool save);

// Partitions from another camera's folder, an archive, a folder of .bin files or one .bin file.
// Fails when one of them is damaged, or when there is none.
partition_map read_backup(const std::filesystem::path &source);
// An archive as the daemon's own backup makes it.
void write_backup(const std::filesystem::path &archive, const partition_map &partitions);

} // namespace vcam

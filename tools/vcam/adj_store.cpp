#include "tools/vcam/adj_store.h"

#include "platform/pref.h"
#include "platform/virtual/pref.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <cstring>

namespace vcam
{
namespace
{

void check_saved(bool saved, int partition)
{
    if (!saved)
        throw failure("the partition '" + partition_name(partition) + "' cannot be saved");
}

void put_into_image(int partition, std::size_t offset, std::string_view bytes, bool save)
{
    char *image = virt::partition_image(partition);
    if (image == nullptr)
        throw failure("the partition '" + partition_name(partition) + "' cannot be reached");
    std::memcpy(image + PREF_HEADER_SIZE + offset, bytes.data(), bytes.size());
    check_saved(!save || virt::save_partition(partition), partition);
}

// The image goes, as it does when the camera is switched off, or a daemon that is started by hand
// would go on with it.
void put_into_flash(int partition, std::size_t offset, std::string_view bytes)
{
    std::string contents = virt::power_on_contents(partition);
    contents.replace(PREF_HEADER_SIZE + offset, bytes.size(), bytes);
    check_saved(virt::replace_file(virt::partition_file(partition, "flash"), contents, true),
                partition);
    std::error_code error;
    fs::remove(virt::partition_file(partition, "image"), error);
}

} // namespace

std::string partition_name(int partition)
{
    return virt::partition(partition)->name;
}

std::string_view data_of(const std::string &contents)
{
    return std::string_view(contents).substr(PREF_HEADER_SIZE);
}

std::optional<std::string> partition_image(int partition)
{
    std::optional<std::string> contents = read_file(virt::partition_file(partition, "image"));
    if (contents && virt::partition_of(*contents) != partition)
        return std::nullopt;
    return contents;
}

std::string camera_partition(int partition)
{
    std::optional<std::string> image;
    if (camera_is_busy())
        image = partition_image(partition);
    return image ? *image : virt::power_on_contents(partition);
}

partition_map camera_partitions()
{
    partition_map partitions;
    for (const int partition : ADJ_PARTITIONS)
        partitions[partition] = camera_partition(partition);
    return partitions;
}

void put_bytes(int partition, std::size_t offset, std::string_view bytes, bool save)
{
    if (camera_is_busy())
        put_into_image(partition, offset, bytes, save);
    else if (save)
        put_into_flash(partition, offset, bytes);
    else
        throw failure("the camera is off: what is not saved would be lost when it starts");
}

} // namespace vcam

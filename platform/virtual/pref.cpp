#include "platform/pref.h"

#include "platform/virtual/calls.h"
#include "platform/virtual/faults.h"
#include "platform/virtual/guard.h"
#include "platform/virtual/pref.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>

namespace virt
{

namespace
{

constexpr Partition partitions[partition_count] = {
    {"boot", 0x10000}, {"reserved", 0x10000}, {"line", 0x10000}, {"count", 0x10000},
    {"adj_sys", 1169}, {"adj_cap", 84},       {"adj_iq", 152},   {"adj_vfpn", 22470},
    {"adj_cs", 56392}, {"adj_dpc", 4998916},
};

constexpr char magic[8] = {'R', 'O', 'V', 'A', 'P', 'R', 'E', 'F'};

// What stands at the head of an image, in memory as in all files of the service.
struct __attribute__((packed)) Header {
    char magic[8];
    uint32_t version;
    uint32_t partition;
    uint32_t size; // of the data
    char name[32];
    char unused[460];
};
static_assert(sizeof(Header) == PREF_HEADER_SIZE);
static_assert(offsetof(Header, partition) == 12 && offsetof(Header, size) == 16 &&
              offsetof(Header, name) == 20 && offsetof(Header, unused) == 52);

struct Image {
    char *bytes = nullptr;
    size_t size = 0;
};

struct Images {
    std::mutex lock;
    std::string root;
    Image of[partition_count];
};

Images &images()
{
    static Images &all = *new Images; // never destroyed: threads may outlive main()
    return all;
}

Header header_of(int number)
{
    Header header = {};
    std::memcpy(header.magic, magic, sizeof(magic));
    header.version = 1;
    header.partition = static_cast<uint32_t>(number);
    header.size = partitions[number].size;
    std::snprintf(header.name, sizeof(header.name), "%s", partitions[number].name);
    return header;
}

size_t image_size(int number)
{
    return PREF_HEADER_SIZE + partitions[number].size;
}

// A file of the service is good when its header is this partition's and it is whole.
bool fits(int number, std::string_view contents)
{
    Header good = header_of(number);
    return contents.size() == image_size(number) &&
           std::memcmp(contents.data(), &good, sizeof(good)) == 0;
}

// Its size is asked first: what cannot fit is not read, however long it is.
bool read_partition(int number, const std::string &place, std::string &contents)
{
    struct stat status = {};
    if (stat(place.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<size_t>(status.st_size) != image_size(number))
        return false;
    contents = read_file(place);
    return fits(number, contents);
}

std::string with_header(int number, std::string_view data)
{
    Header header = header_of(number);
    std::string contents(reinterpret_cast<const char *>(&header), sizeof(header));
    contents.append(data);
    contents.resize(image_size(number), '\0');
    return contents;
}

std::string default_contents(int number)
{
    std::string contents;
    if (read_partition(number, partition_file(number, "default"), contents))
        return contents;
    return with_header(number, "");
}

std::string first_contents(int number)
{
    std::string contents;
    if (read_partition(number, partition_file(number, "flash"), contents))
        return contents;
    return default_contents(number);
}

bool has_size(int fd, size_t size)
{
    struct stat status = {};
    return fstat(fd, &status) == 0 && static_cast<size_t>(status.st_size) == size;
}

// What was left behind when a power cut ended a save: nobody saves a partition without an image.
void remove_leftovers(int number)
{
    const std::string start = std::string(partitions[number].name) + ".";
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(file("pref"), error)) {
        const std::string name = entry.path().filename().string();
        for (const char *kind : {"flash.", "default.", "image."})
            if (name.starts_with(start + kind))
                unlink(entry.path().c_str());
    }
}

// Held while images are made and flash or defaults are written; waits for other processes and
// threads.
Descriptor lock_folder()
{
    std::error_code error;
    std::filesystem::create_directories(file("pref"), error);
    Descriptor folder(open(file("pref").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.lock() ? std::move(folder) : Descriptor();
}

// The first process that asks for a partition fills its image; others wait for the folder's lock.
Descriptor open_image(int number)
{
    const Descriptor lock = lock_folder();
    if (!lock)
        return Descriptor();
    std::string place = partition_file(number, "image");
    Descriptor fd(open(place.c_str(), O_RDWR | O_CLOEXEC));
    if (fd && has_size(fd.get(), image_size(number)))
        return fd;
    remove_leftovers(number);
    if (!replace_file(place, first_contents(number)))
        return Descriptor();
    return Descriptor(open(place.c_str(), O_RDWR | O_CLOEXEC));
}

Image map_image(int number)
{
    Descriptor fd = open_image(number);
    if (!fd)
        return {};
    size_t size = image_size(number);
    void *at = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (at == MAP_FAILED)
        return {};
    return {static_cast<char *>(at), size};
}

void unmap_all(Images &all)
{
    for (Image &image : all.of) {
        if (image.bytes)
            munmap(image.bytes, image.size);
        image = {};
    }
}

// nullptr: no such partition, or no camera.
char *image_of(int number)
{
    if (!partition(number) || !present())
        return nullptr;
    Images &all = images();
    std::lock_guard guard(all.lock);
    std::string now = root();
    if (all.root != now) {
        unmap_all(all);
        all.root = now;
    }
    if (!all.of[number].bytes)
        all.of[number] = map_image(number);
    return all.of[number].bytes;
}

int fill(int number, const std::string &contents)
{
    char *image = image_of(number);
    if (!image)
        return -1;
    std::memcpy(image, contents.data(), image_size(number));
    return 0;
}

int load(int number, int defaults)
{
    std::string contents;
    if (!partition(number))
        return -1;
    if (defaults)
        return fill(number, default_contents(number));
    if (!read_partition(number, partition_file(number, "flash"), contents))
        return -1;
    return fill(number, contents);
}

int write_image(int number, const char *image, const std::string &place, bool sync)
{
    return replace_file(place, std::string_view(image, image_size(number)), sync) ? 0 : -1;
}

// Two saves at once write one after the other: the flash never falls back to what the image held
// before a save that has ended.
int save(int number)
{
    const char *image = image_of(number);
    if (!image)
        return -1;
    const Descriptor lock = lock_folder();
    return lock ? write_image(number, image, partition_file(number, "flash"), true) : -1;
}

// On a camera too a file's folder must be there: without a card there is no /sdcard.
int save_to(int number, const char *path)
{
    if (!path || !present())
        return -1;
    std::string place = virt::path(path);
    std::error_code error;
    if (!std::filesystem::is_directory(std::filesystem::path(place).parent_path(), error))
        return -1;
    const char *image = image_of(number);
    return image ? write_image(number, image, place, false) : -1;
}

int load_from(int number, const char *path)
{
    std::string contents;
    if (!partition(number) || !path || !read_partition(number, virt::path(path), contents))
        return -1;
    return fill(number, contents);
}

int save_default(int number, const void *image, uint32_t size)
{
    const Partition *known = partition(number);
    if (!known || !image || size > known->size || !present())
        return -1;
    const std::string contents = with_header(number, {static_cast<const char *>(image), size});
    const Descriptor lock = lock_folder();
    return lock && replace_file(partition_file(number, "default"), contents, true) ? 0 : -1;
}

char *number_at(int number, int key)
{
    const Partition *known = partition(number);
    if (!known || key < 0 || static_cast<uint32_t>(key) + sizeof(int32_t) > known->size)
        return nullptr;
    char *image = image_of(number);
    return image ? image + PREF_HEADER_SIZE + key : nullptr;
}

int set_long(int number, int key, int value)
{
    char *at = number_at(number, key);
    if (!at)
        return -1;
    std::memcpy(at, &value, sizeof(int32_t));
    return 0;
}

} // namespace

const Partition *partition(int number)
{
    return number >= 0 && number < partition_count ? &partitions[number] : nullptr;
}

int partition_number(const std::string &name)
{
    for (int number = 0; number < partition_count; number++)
        if (name == partitions[number].name)
            return number;
    return -1;
}

std::string partition_file(int number, const char *kind)
{
    const Partition *known = partition(number);
    return known ? file(std::string("pref/") + known->name + "." + kind) : "";
}

int partition_of(std::string_view contents)
{
    for (int number = 0; number < partition_count; number++)
        if (fits(number, contents))
            return number;
    return -1;
}

std::string power_on_contents(int number)
{
    return partition(number) ? first_contents(number) : "";
}

char *partition_image(int number)
{
    return image_of(number);
}

bool save_partition(int number)
{
    return save(number) == 0;
}

void release_partitions()
{
    Images &all = images();
    std::lock_guard guard(all.lock);
    unmap_all(all);
    all.root.clear();
}

} // namespace virt

using nlohmann::json;

namespace
{

const char *name_of(int number)
{
    const virt::Partition *known = virt::partition(number);
    return known ? known->name : nullptr;
}

const char *or_empty(const char *text)
{
    return text ? text : "";
}

} // namespace

void *pref_get_addr(int partition, uint32_t *size)
{
    if (virt::fault("pref_get_addr", {name_of(partition)}))
        return nullptr;
    char *image = virt::image_of(partition);
    if (image && size)
        *size = virt::partition(partition)->size;
    return image;
}

const char *pref_get_name(int partition)
{
    const char *name = name_of(partition);
    return virt::fault("pref_get_name", {name}) ? nullptr : name;
}

int pref_load(int partition, int defaults)
{
    return virt::told("pref_load", {partition, defaults}, {name_of(partition)},
                      [=] { return virt::load(partition, defaults); });
}

int pref_save(int partition)
{
    return virt::told("pref_save", json::array({partition}), {name_of(partition)},
                      [=] { return virt::save(partition); });
}

int pref_save_to_file(int partition, const char *path)
{
    return virt::told("pref_save_to_file", {partition, or_empty(path)}, {path},
                      [=] { return virt::save_to(partition, path); });
}

int pref_load_from_file(int partition, const char *path)
{
    return virt::told("pref_load_from_file", {partition, or_empty(path)}, {path},
                      [=] { return virt::load_from(partition, path); });
}

int pref_save_default_to_file(int partition, const void *image, uint32_t size)
{
    return virt::told("pref_save_default_to_file", {partition, size}, {name_of(partition)},
                      [=] { return virt::save_default(partition, image, size); });
}

int pref_get_long(int partition, int key)
{
    if (auto failure = virt::fault("pref_get_long"))
        return static_cast<int>(*failure);
    const char *at = virt::number_at(partition, key);
    int32_t value = 0;
    if (at)
        std::memcpy(&value, at, sizeof(value));
    return value;
}

int pref_set_long(int partition, int key, int value)
{
    return virt::told("pref_set_long", {partition, key, value}, {name_of(partition)},
                      [=] { return virt::set_long(partition, key, value); });
}

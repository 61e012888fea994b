#include "platform/virtual/values.h"

#include "platform/virtual/guard.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace virt
{

namespace
{

bool read_all(int fd, std::string &text)
{
    char piece[4096];
    for (;;) {
        ssize_t got = pread(fd, piece, sizeof(piece), static_cast<off_t>(text.size()));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        text.append(piece, static_cast<size_t>(got));
    }
}

bool write_all(int fd, std::string_view data)
{
    while (!data.empty()) {
        ssize_t put = write(fd, data.data(), data.size());
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        data.remove_prefix(static_cast<size_t>(put));
    }
    return true;
}

std::string script_of(const std::string &place)
{
    return place + ".play";
}

std::string folder_of(const std::string &place)
{
    return std::filesystem::path(place).parent_path().string();
}

bool sync_folder(const std::string &folder)
{
    Descriptor fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && fsync(fd.get()) == 0;
}

// The lock on a .play file is worth something only while that file is still the one of that name:
// another reader may have replaced or used it up while we waited.
Descriptor lock_script(const std::string &script)
{
    for (;;) {
        Descriptor fd(open(script.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat held = {}, named = {};
        if (!fd.lock() || fstat(fd.get(), &held) != 0)
            return Descriptor();
        if (stat(script.c_str(), &named) != 0)
            return Descriptor();
        if (held.st_ino == named.st_ino && held.st_dev == named.st_dev)
            return fd;
    }
}

} // namespace

void play(const std::string &place)
{
    play(place, [&](std::string_view value) { write_value(place, value); });
}

void play(const std::string &place, const std::function<void(std::string_view)> &take)
{
    std::string script = script_of(place);
    if (access(script.c_str(), F_OK) != 0)
        return;
    Descriptor fd = lock_script(script);
    std::string lines;
    if (!fd || !read_all(fd.get(), lines))
        return;
    size_t end = lines.find('\n');
    if (!lines.empty())
        take(std::string_view(lines).substr(0, end));
    bool more = end != std::string::npos && end + 1 < lines.size();
    if (!more || !replace_file(script, std::string_view(lines).substr(end + 1)))
        unlink(script.c_str());
}

bool write_play(const std::string &place, const std::vector<std::string> &values)
{
    std::string lines;
    for (const std::string &value : values)
        lines += value + "\n";
    return replace_file(script_of(place), lines);
}

// A reader that has the lock puts its rest back: it is waited for.
void end_play(const std::string &place)
{
    const std::string script = script_of(place);
    if (lock_script(script))
        unlink(script.c_str());
}

std::optional<std::string> read_value(const std::string &place)
{
    play(place);
    Descriptor fd(open(place.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (!fd || !read_all(fd.get(), text))
        return std::nullopt;
    if (text.ends_with('\n'))
        text.pop_back();
    return text;
}

std::optional<long long> read_number(const std::string &place)
{
    std::optional<std::string> text = read_value(place);
    if (!text)
        return std::nullopt;
    char *end = nullptr;
    bool hexadecimal = text->starts_with("0x") || text->starts_with("0X");
    long long number = std::strtoll(text->c_str(), &end, hexadecimal ? 16 : 10);
    if (end == text->c_str())
        return std::nullopt;
    return number;
}

bool write_value(const std::string &place, std::string_view text)
{
    return replace_file(place, std::string(text) + "\n");
}

bool write_number(const std::string &place, long long number)
{
    return write_value(place, std::to_string(number));
}

std::string read_file(const std::string &place)
{
    Descriptor fd(open(place.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (!fd || !read_all(fd.get(), text))
        return "";
    return text;
}

bool replace_file(const std::string &place, std::string_view contents, bool sync)
{
    std::string folder = folder_of(place);
    std::error_code error;
    std::filesystem::create_directories(folder, error);

    std::string temporary = place + ".XXXXXX";
    Descriptor fd(mkostemp(temporary.data(), O_CLOEXEC));
    if (!fd)
        return false;
    bool good = write_all(fd.get(), contents) && fchmod(fd.get(), 0644) == 0;
    good = good && (!sync || fsync(fd.get()) == 0);
    if (!good || rename(temporary.c_str(), place.c_str()) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    return !sync || sync_folder(folder);
}

} // namespace virt

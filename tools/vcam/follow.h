// The lines of a file as they are appended, by whomever.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vcam
{

class tail
{
public:
    enum class from { start, end };

    // The file may come later, and may be renamed away for a new one: then the new one is read.
    tail(std::filesystem::path path, from where);

    // The next whole line, without its line feed; nothing while there is none.
    std::optional<std::string> next();

private:
    bool read_more();

    std::filesystem::path path_;
    std::uintmax_t offset_ = 0;
    std::uint64_t inode_ = 0;
    std::string pending_;
};

// Gives `show` every line there is, and with `follow` those to come until Ctrl-C.
void show_lines(const std::filesystem::path &path, bool follow,
                const std::function<void(const std::string &)> &show);

} // namespace vcam

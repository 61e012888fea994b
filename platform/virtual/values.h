// Small files that hold one value: the value, a line feed.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace virt
{

// One reading of the file `place` (a place on the PC): moves the next scripted value from
// `place`.play into it, then gives its text without the line feed.  nullopt: no such file.
std::optional<std::string> read_value(const std::string &place);

// The same as a number, decimal or 0x...; nullopt also when the text begins with none.
std::optional<long long> read_number(const std::string &place);

// Replace the file as a whole, making its folders: a reader sees the old or the new value.
bool write_value(const std::string &place, std::string_view text);
bool write_number(const std::string &place, long long number);

// Only the first half of read_value: what sys_open does when a file is opened for reading.
void play(const std::string &place);
// The same for values that no file holds: `take` is given the next scripted value, if there is one.
void play(const std::string &place, const std::function<void(std::string_view)> &take);

// Scripts the values to come in place of any others, or drops those that are left.
bool write_play(const std::string &place, const std::vector<std::string> &values);
void end_play(const std::string &place);

// Whole files of any kind: "" and false on failure.  replace_file writes a temporary file beside
// the place and renames it; with `sync` the new contents survive a power cut before it returns.
std::string read_file(const std::string &place);
bool replace_file(const std::string &place, std::string_view contents, bool sync = false);

} // namespace virt

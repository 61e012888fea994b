// The camera that this run of vcam is about: its folder and its files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vcam
{

namespace fs = std::filesystem;

// Points ROVA_SYSROOT, and so all platform calls, at the camera in `dir`; fails if there is none.
void open_camera(const fs::path &dir);
bool is_camera(const fs::path &dir);

// The open camera's folder, without links, and the place on the PC of a path of the camera.
const fs::path &camera_root();
fs::path on_pc(std::string_view camera_path);

// Whole files.  Reading one that cannot be opened gives nothing; writing makes the folder, and
// fails with a message.
std::optional<std::string> read_file(const fs::path &path);
void write_file(const fs::path &path, std::string_view text);
std::vector<std::string> split_lines(const std::string &text);
std::string join_words(const std::vector<std::string> &words);

} // namespace vcam

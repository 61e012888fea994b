#include "tools/vcam/camera.h"

#include "tools/vcam/verb.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace vcam
{
namespace
{

fs::path &root()
{
    static fs::path path;
    return path;
}

} // namespace

bool is_camera(const fs::path &dir)
{
    return fs::is_directory(dir / "virtual");
}

void open_camera(const fs::path &dir)
{
    if (!is_camera(dir))
        throw failure("no camera in '" + dir.string() + "'; vcam create makes one");
    root() = fs::canonical(dir);
    if (setenv("ROVA_SYSROOT", root().c_str(), 1) != 0)
        throw failure("ROVA_SYSROOT cannot be set");
}

const fs::path &camera_root()
{
    return root();
}

fs::path on_pc(std::string_view camera_path)
{
    return root() / fs::path(camera_path).relative_path();
}

std::optional<std::string> read_file(const fs::path &path)
{
    std::error_code error;
    std::ifstream file(path, std::ios::binary);
    if (!file || fs::is_directory(path, error))
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void write_file(const fs::path &path, std::string_view text)
{
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file)
        throw failure("'" + path.string() + "' cannot be written");
}

std::vector<std::string> split_lines(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string join_words(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

} // namespace vcam

#include "tests/support/camera.h"

#include "platform/virtual/faults.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/objects.h"
#include "platform/virtual/pref.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <glib.h>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

namespace test
{

namespace fs = std::filesystem;

namespace
{

constexpr const char *folders[] = {
    "sdcard",
    "mnt",
    "tmp",
    "opt/share/rova",
    "opt/storage",
    "var/run/memory/private",
    "dev",
    "sys",
    "usr/bin",
    "usr/apps",
    "proc",
    "virtual/property",
    "virtual/fail",
    "virtual/pref",
    "virtual/sound",
    "virtual/display",
    "virtual/firmware",
    "virtual/ipc",
};

fs::path make_folder()
{
    std::string name = (fs::temp_directory_path() / "rova-camera.XXXXXX").string();
    if (!mkdtemp(name.data()))
        std::abort();
    return fs::canonical(name);
}

// The cameras of this process, the newest one last: its end brings back the one before.
std::vector<fs::path> &cameras()
{
    static std::vector<fs::path> all;
    return all;
}

void select_newest()
{
    if (cameras().empty())
        unsetenv("ROVA_SYSROOT");
    else
        setenv("ROVA_SYSROOT", cameras().back().c_str(), 1);
}

std::string text_of(const nlohmann::json &call)
{
    std::string text = call.at("call").get<std::string>() + "(", separator;
    for (const nlohmann::json &argument : call.at("args")) {
        text += separator + argument.dump();
        separator = ", ";
    }
    return text + ")";
}

} // namespace

Camera::Camera() : root_(make_folder())
{
    for (const char *folder : folders)
        fs::create_directories(root_ / folder);
    fs::create_symlink("../sdcard", root_ / "mnt/mmc");
    fs::create_symlink("../../sdcard", root_ / "opt/storage/sdcard");
    cameras().push_back(root_);
    select_newest();
}

Camera::~Camera()
{
    setenv("ROVA_SYSROOT", root_.c_str(), 1);
    virt::clear_kernel_objects();
    virt::release_keys();
    virt::release_partitions();
    std::error_code error;
    fs::remove_all(root_, error);
    std::erase(cameras(), root_);
    select_newest();
}

fs::path Camera::path(const std::string &camera_path) const
{
    return fs::path(root_.string() + "/" + camera_path).lexically_normal();
}

void Camera::write(const std::string &camera_path, const std::string &text) const
{
    fs::create_directories(path(camera_path).parent_path());
    std::ofstream out(path(camera_path), std::ios::binary);
    out << text;
    out.close();
    EXPECT_TRUE(out) << "cannot write " << path(camera_path);
}

std::string Camera::read(const std::string &camera_path) const
{
    std::ifstream in(path(camera_path), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool Camera::exists(const std::string &camera_path) const
{
    std::error_code error;
    return fs::exists(path(camera_path), error);
}

void Camera::remove(const std::string &camera_path) const
{
    std::error_code error;
    fs::remove_all(path(camera_path), error);
}

void Camera::fault(const std::string &call, const std::string &how) const
{
    EXPECT_TRUE(virt::set_fault(call, how));
}

void Camera::clear_fault(const std::string &call) const
{
    virt::clear_fault(call);
}

void Camera::speed(double factor) const
{
    std::ostringstream text;
    text << factor << "\n";
    write("/virtual/speed", text.str());
}

std::optional<int> Camera::key_int(const std::string &key) const
{
    std::optional<virt::Key> found = virt::get_key(key);
    if (!found || found->type != virt::KeyType::integer)
        return std::nullopt;
    return found->number;
}

std::optional<std::string> Camera::key_string(const std::string &key) const
{
    std::optional<virt::Key> found = virt::get_key(key);
    if (!found || found->type != virt::KeyType::string)
        return std::nullopt;
    return found->text;
}

std::vector<nlohmann::json> Camera::calls() const
{
    std::vector<nlohmann::json> all;
    std::ifstream in(path("/virtual/calls.jsonl"));
    for (std::string line; std::getline(in, line);)
        all.push_back(nlohmann::json::parse(line));
    return all;
}

std::vector<nlohmann::json> Camera::calls(const std::string &name) const
{
    std::vector<nlohmann::json> found = calls();
    std::erase_if(found, [&](const nlohmann::json &call) { return call.at("call") != name; });
    return found;
}

std::vector<std::string> Camera::call_texts() const
{
    std::vector<std::string> texts;
    for (const nlohmann::json &call : calls())
        texts.push_back(text_of(call));
    return texts;
}

bool Camera::logged(const std::string &text) const
{
    return platform_log().find(text) != std::string::npos;
}

namespace
{

using Clock = std::chrono::steady_clock;

Clock::time_point in_seconds(double seconds)
{
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace

bool wait_for(const std::function<bool()> &condition, double seconds)
{
    Clock::time_point end = in_seconds(seconds);
    while (!condition()) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

bool serve_until(const std::function<bool()> &condition, double seconds)
{
    Clock::time_point end = in_seconds(seconds);
    while (!condition()) {
        if (Clock::now() > end)
            return false;
        if (!g_main_context_iteration(nullptr, FALSE))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace test

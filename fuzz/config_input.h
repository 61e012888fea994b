// What the targets of the picture tests' configuration files share.
#pragma once

#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace fuzz
{

// The names in a file are opened: a camera for each input, where relative names lie too.
class Camera
{
public:
    Camera() : before_(std::filesystem::current_path())
    {
        const char *base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        std::string name = std::string(base) + "/fuzz-camera-XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        root_ = name;
        std::filesystem::create_directories(root_ / "mnt/mmc");
        std::filesystem::create_directories(root_ / "virtual");
        setenv("ROVA_SYSROOT", name.c_str(), 1);
        std::filesystem::current_path(root_);
    }
    ~Camera()
    {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(root_);
    }
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    void write(const std::string &name, std::string_view text) const
    {
        std::ofstream(root_ / "mnt/mmc" / name, std::ios::binary)
            .write(text.data(), static_cast<std::streamsize>(text.size()));
    }

private:
    std::filesystem::path before_;
    std::filesystem::path root_;
};

inline void expect(bool holds)
{
    if (!holds)
        std::abort();
}

template <std::size_t N> bool has_end(const char (&word)[N])
{
    return std::memchr(word, '\0', N) != nullptr;
}

// Whether an input may be tried: no name in it leads out of the camera.
inline bool stays_inside(std::string_view text)
{
    return text.find("..") == std::string_view::npos;
}

// Loads the bytes as the mode's file of the camera LUMEN1.  What the loader says.
inline int load(int32_t mode, const std::string &test, std::string_view text)
{
    const Camera camera;
    camera.write(test + "_lumen1.cfg", text);
    if (GetPIMode() != mode)
        SetPIMode(mode);
    gDbgPrintOnOff = 0;
    const int result = rova_pim_read_config("LUMEN1", "lumen1");
    expect(gDbgFp == nullptr && gDbgCnt == 0);
    return result;
}

} // namespace fuzz

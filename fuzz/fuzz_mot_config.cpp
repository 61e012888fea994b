// Loading a configuration of the resolution test of any bytes: it is whole and its buffers are
// there, or the load fails.
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_buffers.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace
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

    void write(std::string_view text) const
    {
        std::ofstream(root_ / "mnt/mmc/mot_lumen1.cfg", std::ios::binary)
            .write(text.data(), static_cast<std::streamsize>(text.size()));
    }

private:
    std::filesystem::path before_;
    std::filesystem::path root_;
};

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

bool has_end(const char (&word)[256])
{
    return std::memchr(word, '\0', sizeof(word)) != nullptr;
}

void expect_whole()
{
    expect(cfgPm.configLoaded == 1 && cfgPm.finalResult == PIM_NO_RESULT);
    expect(std::strcmp(cfgPm.strModelName, "LUMEN1") == 0);
    expect(has_end(cfgPm.debugFile) && has_end(cfgPm.resultFile));
    expect(rova_pim_line_buffer().size() == static_cast<std::size_t>(cfgPm.imageH));
    for (const rova_pim_chart_config &chart : cfgPm.chart) {
        for (const rova_pim_box &box : chart.cmExpected)
            expect(box.x0 >= 0 && box.x1 <= cfgPm.imageW && box.y0 >= 0 && box.y1 <= cfgPm.imageH);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (text.find("..") != std::string_view::npos)
        return -1; // a name that leads out of the camera
    const Camera camera;
    camera.write(text);
    if (GetPIMode() != PI_MODE_MOT)
        SetPIMode(PI_MODE_MOT);
    rova_pim_buffers_free();
    gDbgPrintOnOff = 0;
    cmWinW = 600;
    cmWinH = 480;
    if (rova_pim_read_config("LUMEN1", "lumen1") == 0)
        expect_whole();
    else
        expect(cfgPm.configLoaded == 0 && gMallocFlag == 0);
    expect(gDbgFp == nullptr && gDbgCnt == 0);
    return 0;
}

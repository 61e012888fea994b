// Opening a result file of any bytes: the index goes on or starts again, and a row fits behind it.
#include "common/rova_csv.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace
{

// One camera for all inputs, in memory where there is room for it.
std::filesystem::path make_camera()
{
    const char *base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    std::string name = std::string(base) + "/fuzz-camera-XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        std::abort();
    std::filesystem::create_directories(name + "/sdcard");
    std::filesystem::create_directories(name + "/virtual");
    setenv("ROVA_SYSROOT", name.c_str(), 1);
    return name;
}

struct Camera {
    std::filesystem::path root = make_camera();
    ~Camera() { std::filesystem::remove_all(root); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    static const Camera camera;
    const std::filesystem::path file = camera.root / "sdcard/fuzz.csv";
    std::ofstream(file, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));

    rova_csv_handle csv = rova_csv_create("fuzz.csv", "A,B");
    if (csv == nullptr || rova_csv_write(csv, "%d,%d", 1, 2) != 1)
        std::abort();
    rova_resp_stream stream{};
    if (rova_csv_close(csv, &stream) != 1 || stream.stream_type != 1)
        std::abort();
    std::filesystem::remove(camera.root / "virtual/dlog");
    return std::filesystem::file_size(file) > size ? 0 : (std::abort(), 0);
}

#include "lib/pim/rova_pim_raw.h"

#include "common/rova_log.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr mode_t RAW_DIR_MODE = 755; // decimal: the cards of the line carry it so
constexpr int BYTES_PER_PIXEL = 2;
constexpr int OPEN_FAILED = -1;
constexpr int WRITE_FAILED = -2;

bool write_all(int fd, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = sys_write(fd, bytes.data(), bytes.size());
        if (written == 0)
            errno = ENOSPC;
        if (written > 0)
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

void make_raw_dir()
{
    if (sys_mkdir(ROVA_PIM_RAW_DIR, RAW_DIR_MODE) != 0 && errno != EEXIST)
        ROVA_LOG_ERR("failed to make %s (%s)\n", ROVA_PIM_RAW_DIR, std::strerror(errno));
}

// What tells the dumps of the two pictures apart.
struct raw_texts {
    const char *function;
    const char *sizes;
    const char *start;
    const char *path;
};

void save(const raw_texts &texts, int32_t number, const uint8_t *y, int32_t pitch, int32_t height)
{
    const std::size_t bytes =
        static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height) * BYTES_PER_PIXEL;
    char path[64];
    make_raw_dir();
    rova_pim_print(texts.sizes, number, pitch, height, pitch * height);
    rova_pim_print(texts.start, rova_pim_address(y));
    std::snprintf(path, sizeof(path), texts.path, number);
    if (rova_pim_dump(path, {y, bytes}) == OPEN_FAILED)
        rova_pim_print("%s, %d: piMode = %d, file open error. fp %d\n", texts.function, __LINE__,
                       GetPIMode(), OPEN_FAILED);
}

} // namespace

int rova_pim_dump(const char *path, std::span<const uint8_t> bytes)
{
    const int fd = sys_open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return OPEN_FAILED;
    bool whole = write_all(fd, bytes);
    whole = close(fd) == 0 && whole;
    if (!whole) {
        ROVA_LOG_ERR("failed to write %s (%s)\n", path, std::strerror(errno));
        sys_unlink(path);
        return WRITE_FAILED;
    }
    sys_sync();
    return 0;
}

void saveYuvRawMain(int32_t number, const uint8_t *mainY, int32_t mainGWidth, int32_t mainHeight)
{
    save({__func__, "Main %2dth  : %d x %d = %d\n", "Main Start Address : 0x%08x\n",
          "/mnt/mmc/DCIM_YUVRAW/HVXF_%04d.yuv.raw"},
         number, mainY, mainGWidth, mainHeight);
}

void saveYuvRawScreen(int32_t number, const uint8_t *screenY, int32_t screenGWidth,
                      int32_t screenHeight)
{
    save({__func__, "ScreenNail %2dth  : %d x %d = %d\n", "ScreenNail Start Address : 0x%08x\n",
          "/mnt/mmc/DCIM_YUVRAW/HVXS_%04d.yuv.raw"},
         number, screenY, screenGWidth, screenHeight);
}

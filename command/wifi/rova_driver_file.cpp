#include "command/wifi/rova_driver_file.h"

#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "platform/sys.h"

bool rova_driver_file_write(const char *path, const std::string &text)
{
    const rova_file file(sys_fopen(path, "w"));
    if (!file) {
        ROVA_LOG_ERR("file open failed\n");
        return false;
    }
    const bool written = std::fputs(text.c_str(), file.get()) >= 0 && std::fflush(file.get()) == 0;
    if (!written)
        ROVA_LOG_ERR("failed to write %s (%s) \n", path, rova_reason());
    return written;
}

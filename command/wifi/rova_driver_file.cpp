#include "command/wifi/rova_driver_file.h"

#include "common/rova_log.h"
#include "platform/sys.h"

rova_file rova_driver_file_open(const char *path)
{
    rova_file file(sys_fopen(path, "we"));
    if (!file)
        ROVA_LOG_ERR("file open failed\n");
    return file;
}

bool rova_driver_file_put(const rova_file &file, const char *path, const std::string &text)
{
    const bool written = std::fputs(text.c_str(), file.get()) >= 0 && std::fflush(file.get()) == 0;
    if (!written)
        ROVA_LOG_ERR("failed to write %s (%s) \n", path, rova_reason());
    return written;
}

bool rova_driver_file_write(const char *path, const std::string &text)
{
    const rova_file file = rova_driver_file_open(path);
    return file && rova_driver_file_put(file, path, text);
}

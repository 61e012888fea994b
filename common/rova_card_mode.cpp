#include "common/rova_card_mode.h"

#include "common/rova_util.h"
#include "platform/sys.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{

constexpr char MARKER_FACTORY[] = "/sdcard/rova.tg";
constexpr char FACTORY_WORD[] = "factory-mode";
constexpr char CARD_DIR[] = "/sdcard/";
constexpr std::size_t LINE_SIZE = 80;

bool readable(const char *path)
{
    return sys_access(path, R_OK) == 0;
}

bool readable_file(const char *path)
{
    struct stat status = {};
    return readable(path) && sys_stat(path, &status) == 0 && !S_ISDIR(status.st_mode);
}

bool read_first_line(const char *path, char *line, std::size_t size)
{
    FILE *file = sys_fopen(path, "r");
    if (file == nullptr)
        return false;
    bool read = std::fgets(line, static_cast<int>(size), file) != nullptr;
    std::fclose(file);
    return read;
}

// The marker names the script; blanks around the name do not count, as in the daemon itself.
int script_mode()
{
    char line[LINE_SIZE - sizeof(CARD_DIR) + 1] = {};
    if (!read_first_line(ROVA_MARKER_SCRIPT, line, sizeof(line)))
        return ROVA_CARD_MODE_NONE;
    char path[LINE_SIZE] = {};
    std::snprintf(path, sizeof(path), "%s%s", CARD_DIR, rova_str_trim(line));
    return readable_file(path) ? ROVA_CARD_MODE_SCRIPT : ROVA_CARD_MODE_NONE;
}

int factory_mode()
{
    char line[LINE_SIZE + 1] = {};
    if (!read_first_line(MARKER_FACTORY, line, sizeof(line)))
        return ROVA_CARD_MODE_NONE;
    return std::strstr(line, FACTORY_WORD) != nullptr ? ROVA_CARD_MODE_FACTORY
                                                      : ROVA_CARD_MODE_NONE;
}

int card_mode()
{
    if (readable(ROVA_MARKER_SCRIPT))
        return script_mode();
    if (readable(ROVA_MARKER_PTP))
        return ROVA_CARD_MODE_PTP;
    if (readable(MARKER_FACTORY))
        return factory_mode();
    return ROVA_CARD_MODE_NONE;
}

int report(int found, int *mode)
{
    if (mode != nullptr)
        *mode = found;
    return found != ROVA_CARD_MODE_NONE ? 1 : 0;
}

} // namespace

int rova_check_card_mode(int *mode)
{
    return report(card_mode(), mode);
}

int rova_check_cs_mode(int *mode)
{
    return report(readable(ROVA_MARKER_CS) ? ROVA_CARD_MODE_SCRIPT : ROVA_CARD_MODE_NONE, mode);
}

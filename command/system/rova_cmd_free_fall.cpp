#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_property.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"

#include <array>
#include <cstdio>
#include <platform/sys.h>
#include <unistd.h>

namespace
{

// The falls that the camera has seen, written by the camera application.
constexpr char FALLS_FILE[] = "/opt/share/rova/free_fall.txt";
constexpr char CARD_FILE[] = "/sdcard/free_fall.txt";

constexpr int CARD_CLASS = 11;
constexpr int CARD_STATE = 0;

bool card_is_in()
{
    int state = 0;
    if (!rova_property_get(CARD_CLASS, CARD_STATE, &state))
        return false;
    if (state == 0)
        ROVA_LOG_NOTICE("\033[33mplease insert sdcard\n");
    return state != 0;
}

bool copy_bytes(std::FILE *from, std::FILE *to)
{
    std::array<char, 4096> block;
    std::size_t size;
    while ((size = std::fread(block.data(), 1, block.size(), from)) > 0)
        if (std::fwrite(block.data(), 1, size, to) != size)
            return false;
    return std::ferror(from) == 0 && std::fflush(to) == 0 && sys_fdatasync(fileno(to)) == 0;
}

bool copy_falls()
{
    const rova_file from(sys_fopen(FALLS_FILE, "re"));
    const rova_file to(from ? sys_fopen(CARD_FILE, "we") : nullptr);
    if (!to) {
        ROVA_LOG_NOTICE("\033[33mfile open error\n");
        return false;
    }
    bool copied = copy_bytes(from.get(), to.get());
    if (!copied)
        ROVA_LOG_ERR("failed to copy %s to %s (%s) \n", FALLS_FILE, CARD_FILE, rova_reason());
    return copied;
}

int rova_cmd_free_fall_get_log(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, card_is_in() && copy_falls());
}

int rova_cmd_free_fall_delete_log(uint32_t cmd_type, cmd_data * /*record*/)
{
    if (sys_access(FALLS_FILE, F_OK) != 0) {
        ROVA_LOG_NOTICE("\033[33mthere is no free_fall data\n");
        return rova_cmd_ng(cmd_type);
    }
    bool removed = sys_unlink(FALLS_FILE) == 0;
    if (!removed)
        ROVA_LOG_NOTICE("\033[33mremove fail free_fall data\n");
    return rova_cmd_answer(cmd_type, removed);
}

constexpr rova_cmd_entry free_fall_table[] = {
    {"get_log", rova_cmd_free_fall_get_log},
    {"delete_log", rova_cmd_free_fall_delete_log},
};
static_assert(rova_cmd_table_is_sound(free_fall_table));

} // namespace

int rova_cmd_free_fall(uint32_t cmd_type, cmd_data *record)
{
    // Names another family; who reads the logs knows it by this text.
    return rova_cmd_run_sub(free_fall_table, "led", cmd_type, record);
}

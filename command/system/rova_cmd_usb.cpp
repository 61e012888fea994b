#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_in_out.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"

#include <cstdio>
#include <cstring>
#include <platform/production.h>
#include <platform/sys.h>

namespace
{

constexpr int USB_CHARGE_LAMP_OFF = 1;

constexpr char SPEED_PATH[] =
    "/sys/devices/platform/movrax-drd.0/movrax-ss-udc.0/udc/movrax-ss-udc.0/current_speed";
constexpr std::size_t SPEED_LINE_SIZE = 80;

int rova_cmd_usb_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, {.property = 4, .in = 1, .out = 0});
}

// ------------------------------------------------------------------------- charge

bool charge(int on)
{
    return rova_cmd_succeeded("set_charging", set_charging(on));
}

// A call that fails does not keep the others from being made.
bool leave_factory_charging()
{
    bool stopped = charge(0);
    bool dark = rova_cmd_succeeded("set_charge_led", set_charge_led(USB_CHARGE_LAMP_OFF));
    bool released = rova_cmd_succeeded("release_from_factorymode", release_from_factorymode());
    return stopped && dark && released;
}

int rova_cmd_usb_charge(uint32_t cmd_type, cmd_data *record)
{
    const char *word = rova_cmd_param(record, 1);
    if (std::strcmp(word, "on") == 0)
        return rova_cmd_answer(cmd_type, charge(1));
    if (std::strcmp(word, "off") == 0)
        return rova_cmd_answer(cmd_type, leave_factory_charging());
    if (std::strcmp(word, "disable") == 0)
        return rova_cmd_answer(cmd_type, charge(0));
    return rova_cmd_ng(cmd_type);
}

// ------------------------------------------------------------------------- mask, unmask

int rova_cmd_usb_mask(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- check_mode

struct speed_row {
    const char *name;
    const char *mode;
};

constexpr speed_row speeds[] = {
    {"UNKNOWN", "USB_ERROR"},
    {"high-speed", "2"},
    {"super-speed", "3"},
};

const char *mode_of_speed(const char *line)
{
    for (const speed_row &speed : speeds)
        if (std::strstr(line, speed.name) != nullptr)
            return speed.mode;
    ROVA_LOG_ERR("file write error\n");
    return "";
}

// The mode of the link that the controller runs at; empty when it does not tell.
const char *rova_cmd_UsbReadFile()
{
    ROVA_LOG_INFO("START !!\n");
    const rova_file file(sys_fopen(SPEED_PATH, "re"));
    if (!file) {
        ROVA_LOG_ERR("file open error\n");
        return "";
    }
    char line[SPEED_LINE_SIZE] = "";
    if (std::fgets(line, sizeof(line), file.get()) == nullptr)
        line[0] = '\0';
    const char *mode = mode_of_speed(line);
    ROVA_LOG_INFO("usb mode %s\n", mode);
    return mode;
}

int rova_cmd_usb_check_mode(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    const char *mode = rova_cmd_UsbReadFile();
    if (mode[0] == '\0' || std::strcmp(record->p[1], mode) != 0)
        return rova_cmd_ng(cmd_type);
    int number = rova_cmd_number(mode);
    rova_osd_printf(1, "check mode_%d.0\n", number);
    rova_osd_printf(2, "USB mode_%d.0\n", number);
    return rova_cmd_ok(cmd_type);
}

constexpr rova_cmd_entry usb_table[] = {
    // clang-format off
    {"wait",       rova_cmd_usb_wait},
    {"charge",     rova_cmd_usb_charge},
    {"mask",       rova_cmd_usb_mask},
    {"unmask",     rova_cmd_usb_mask},
    {"check_mode", rova_cmd_usb_check_mode},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(usb_table));

} // namespace

int rova_cmd_usb(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(usb_table, "usb", cmd_type, record);
}

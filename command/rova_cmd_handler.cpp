#include "command/rova_cmd_handler.h"

#include "command/capture/rova_cmd_capture.h"
#include "command/factory/rova_cmd_factory.h"
#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_control_flags.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_result.h"
#include "command/rova_ptp_resp.h"
#include "command/system/rova_cmd_system.h"
#include "command/wifi/rova_cmd_wireless.h"
#include "common/rova_log.h"
#include "common/rova_sound.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <platform/device.h>
#include <platform/factory_osd.h>
#include <platform/sys.h>
#include <strings.h>
#include <unistd.h>

// ------------------------------------------------------------------------- answers

int rova_cmd_resp(uint32_t cmd_type, uint32_t result, const rova_resp_stream *stream)
{
    return rova_cmd_resp_ex(cmd_type, result, ROVA_PTP_RESP_PLAIN, result != 0 ? 1 : 0, 0, stream);
}

int rova_cmd_resp_ex(uint32_t cmd_type, uint32_t result, uint32_t param1, uint32_t param2,
                     uint32_t /*param3*/, const rova_resp_stream *stream)
{
    rova_cmd_set_result(result);
    if (rova_cmd_is_ptp(cmd_type)) {
        rova_ptp_resp_stream(stream);
        rova_ptp_resp_msg(param1, param2, rova_ptp_stream_code(stream));
    } else {
        rova_log("resp : %s \n", rova_cmd_result_word(result == 0));
    }
    return 1;
}

// ------------------------------------------------------------------------- dump mode

static constexpr std::size_t DUMP_PIECE_SIZE = 80;
static constexpr std::size_t DUMP_LINE_LENGTH = 255;
static constexpr char DUMP_LINE_END[] = "\r\n";

static bool cmd_dump;

void rova_cmd_set_dump(bool on)
{
    cmd_dump = on;
}

// Appends " word" or "word" to the line; room for the line's end is kept.
static void add_piece(char *line, const char *blank, const char *word)
{
    char piece[DUMP_PIECE_SIZE];
    std::snprintf(piece, sizeof(piece), "%s%s", blank, word);
    std::size_t length = std::strlen(line);
    std::size_t room = DUMP_LINE_LENGTH - std::strlen(DUMP_LINE_END) - length;
    std::strncat(line, piece, room);
}

static void append_to_dump(const char *line)
{
    int fd = sys_open(ROVA_DUMP_FILE, O_APPEND | O_CREAT | O_WRONLY, 0755);
    if (fd < 0)
        return;
    if (sys_write(fd, line, std::strlen(line)) < 0 || sys_fdatasync(fd) < 0)
        ROVA_LOG_ERR("failed to write %s (%s) \n", ROVA_DUMP_FILE, rova_reason());
    close(fd);
}

void rova_dump_cmd(const cmd_data *record)
{
    char line[DUMP_LINE_LENGTH + 1] = "";
    add_piece(line, "", record->cmd);
    uint32_t count = std::min<uint32_t>(record->p_count, ROVA_CMD_PARAM_MAX);
    for (uint32_t i = 0; i < count; i++)
        add_piece(line, " ", record->p[i]);
    std::strcat(line, DUMP_LINE_END);
    ROVA_LOG_INFO("cmd_dump> %s", line);
    append_to_dump(line);
}

// ------------------------------------------------------------------------- feedback

rova_cmd_control_flags rova_control_flags;

namespace
{

// Feedback is given for any word that is not listed with 0.
struct feedback_exception {
    const char *word;
    int flag;
};

constexpr feedback_exception osd_exceptions[] = {
    {"osd", 0}, {"delay", 0}, {"control", 0}, {"power", 0}, {"lcd", 0},
};

constexpr feedback_exception sound_exceptions[] = {
    {"sys_param", 0},
    {"power", 0},
    {"sound", 0},
    {"capture", 0},
};

constexpr int LAMP_TYPE = 3;
constexpr int LAMP_AF = 4;
constexpr useconds_t LAMP_BLINK_US = 300000;

int wanted_for(std::span<const feedback_exception> exceptions, const char *word)
{
    for (const feedback_exception &row : exceptions)
        if (strcasecmp(row.word, word) == 0)
            return row.flag;
    return 1;
}

// The word comes from outside: it is shown as it stands, per cent signs included.
void show_word(const char *word, const char *tail)
{
    char text[ROVA_CMD_WORD_SIZE + 8];
    std::snprintf(text, sizeof(text), "%s%s", word, tail);
    factory_osd_grid_text_set(0, text);
}

void sound_result(uint32_t result)
{
    int old_volume = rova_set_volume(3);
    rova_play_sound(result != 0 ? ROVA_SOUND_LOW_BATTERY : ROVA_SOUND_BUTTON);
    rova_set_volume(old_volume);
}

void blink_result(uint32_t result)
{
    for (int blinks = result != 0 ? 2 : 1; blinks > 0; blinks--) {
        device_set_property(LAMP_TYPE, LAMP_AF, 1);
        sys_usleep(LAMP_BLINK_US);
        device_set_property(LAMP_TYPE, LAMP_AF, 0);
        sys_usleep(LAMP_BLINK_US);
    }
}

} // namespace

int rova_cmd_control_osd(const char *word)
{
    return rova_control_flags.osd == 0 ? 0 : wanted_for(osd_exceptions, word);
}

int rova_cmd_control_sound(const char *word)
{
    return rova_control_flags.sound == 0 ? 0 : wanted_for(sound_exceptions, word);
}

int rova_cmd_control_led()
{
    return rova_control_flags.led;
}

void rova_cmd_show_start(uint32_t /*cmd_type*/, const cmd_data *record)
{
    if (rova_cmd_control_osd(record->cmd))
        show_word(record->cmd, "    ");
}

void rova_cmd_show_result(uint32_t /*cmd_type*/, const cmd_data *record)
{
    uint32_t result = rova_cmd_get_result();
    if (rova_cmd_control_osd(record->cmd))
        show_word(record->cmd, result != 0 ? ": NG" : ": OK");
    if (rova_cmd_control_sound(record->cmd))
        sound_result(result);
    if (rova_cmd_control_led())
        blink_result(result);
}

// ------------------------------------------------------------------------- tables

static constexpr rova_cmd_entry system_table[] = {
    // clang-format off
    {"shell",         rova_cmd_shell},
    {"proximity",     rova_cmd_proximity},
    {"key",           rova_cmd_key},
    {"ext_release",   rova_cmd_ext_release},
    {"usb",           rova_cmd_usb},
    {"wheel",         rova_cmd_wheel},
    {"mode_dial",     rova_cmd_mode_dial},
    {"drive_dial",    rova_cmd_drive_dial},
    {"jog1",          rova_cmd_jog1},
    {"jog2",          rova_cmd_jog2},
    {"rtc",           rova_cmd_rtc},
    {"rtc2",          rova_cmd_rtc2},
    {"hdmi",          rova_cmd_hdmi},
    {"earjack",       rova_cmd_earjack},
    {"ext_mic",       rova_cmd_ext_mic},
    {"rotation",      rova_cmd_rotation},
    {"thermistor",    rova_cmd_thermistor},
    {"led",           rova_cmd_led},
    {"power",         rova_cmd_power},
    {"battery_level", rova_cmd_battery_level},
    {"dr",            rova_cmd_dr},
    {"adc",           rova_cmd_adc},
    {"accelometer",   rova_cmd_accelometer},
    {"gyroscope",     rova_cmd_gyroscope},
    {"cis_data",      rova_cmd_cis_data},
    {"cis_data2",     rova_cmd_cis_data2},
    {"cis_data_info", rova_cmd_cis_data_info},
    {"cis_data_file", rova_cmd_cis_data_file},
    {"sound",         rova_cmd_sound},
    {"stlcd",         rova_cmd_stlcd},
    {"vgrip",         rova_cmd_vgrip},
    {"sdcard",        rova_cmd_sdcard},
    {"free_fall",     rova_cmd_free_fall},
    {"mr",            rova_cmd_mr},
    // clang-format on
};

static constexpr rova_cmd_entry factory_table[] = {
    // clang-format off
    {"proc_mark",        rova_cmd_proc_mark},
    {"step_label",       rova_cmd_step_label},
    {"sample",           rova_cmd_sample},
    {"adj_data",         rova_cmd_adj_data},
    {"osd",              rova_cmd_osd},
    {"touch",            rova_cmd_touch},
    {"firmware",         rova_cmd_firmware},
    {"serial_number",    rova_cmd_serial_number},
    {"snapshot",         rova_cmd_snapshot},
    {"shipment_country", rova_cmd_shipment_country},
    {"factory_reset",    rova_cmd_factory_reset},
    {"create_file",      rova_cmd_create_file},
    {"file",             rova_cmd_file},
    {"image",            rova_cmd_image},
    {"sys_param",        rova_cmd_sys_param},
    {"delay",            rova_cmd_delay},
    {"exposure",         rova_cmd_exposure},
    {"lcd",              rova_cmd_lcd},
    {"model_name",       rova_cmd_model_name},
    {"control",          rova_cmd_control},
    {"gpio",             rova_cmd_gpio},
    // clang-format on
};

static constexpr rova_cmd_entry capture_table[] = {
    // clang-format off
    {"lens_mount",     rova_cmd_lens_mount},
    {"shutter_speed",  rova_cmd_shutter_speed},
    {"shutter_speed2", rova_cmd_shutter_speed2},
    {"lens",           rova_cmd_lens},
    {"capture",        rova_cmd_capture},
    {"st",             rova_cmd_capture},
    {"defect_pixel",   rova_cmd_defect_pixel},
    {"efs",            rova_cmd_efs},
    {"shutter",        rova_cmd_shutter},
    {"xsw",            rova_cmd_xsw},
    {"strobe",         rova_cmd_strobe},
    {"hotshoe",        rova_cmd_hotshoe},
    // clang-format on
};

static constexpr rova_cmd_entry image_quality_table[] = {
    // clang-format off
    {"iso",           rova_cmd_iso},
    {"awb",           rova_cmd_awb},
    {"color_shading", rova_cmd_color_shading},
    {"flangeback",    rova_cmd_flangeback},
    {"paf",           rova_cmd_paf},
    {"vfpn",          rova_cmd_vfpn},
    // clang-format on
};

static constexpr rova_cmd_entry extra_table[] = {
    // clang-format off
    {"mot",     rova_cmd_app_exec},
    {"dust",    rova_cmd_app_exec},
    {"noise",   rova_cmd_app_exec},
    {"movie",   rova_cmd_app_exec},
    {"afi_adj", rova_cmd_app_exec},
    // clang-format on
};

static constexpr rova_cmd_entry wireless_table[] = {
    {"wifi", rova_cmd_wifi},
    {"bluetooth", rova_cmd_bluetooth},
    {"nfc", rova_cmd_nfc},
};

static_assert(rova_cmd_table_is_sound(system_table));
static_assert(rova_cmd_table_is_sound(factory_table));
static_assert(rova_cmd_table_is_sound(capture_table));
static_assert(rova_cmd_table_is_sound(image_quality_table));
static_assert(rova_cmd_table_is_sound(extra_table));
static_assert(rova_cmd_table_is_sound(wireless_table));

// In the order of the search.
static constexpr rova_cmd_named_table command_tables[] = {
    {"system", system_table},   {"factory", factory_table},
    {"capture", capture_table}, {"image quality", image_quality_table},
    {"extra", extra_table},     {"wireless", wireless_table},
};

std::span<const rova_cmd_named_table> rova_cmd_tables()
{
    return command_tables;
}

const rova_cmd_entry *rova_cmd_find(rova_cmd_table table, const char *word)
{
    for (const rova_cmd_entry &row : table)
        if (strcasecmp(row.name, word) == 0)
            return &row;
    return nullptr;
}

int rova_cmd_run_sub(rova_cmd_table table, const char *family, uint32_t cmd_type, cmd_data *record)
{
    const rova_cmd_entry *row = rova_cmd_find(table, record->p[0]);
    if (row == nullptr) {
        ROVA_LOG_ERR("Not found on %s command table \n", family);
        return 0;
    }
    return row->handler(cmd_type, record);
}

// A handler that returns 0 has not taken the command: the search goes on in the next table.
static bool run_from_tables(uint32_t cmd_type, cmd_data *record)
{
    for (const rova_cmd_named_table &table : command_tables) {
        const rova_cmd_entry *row = rova_cmd_find(table.rows, record->cmd);
        if (row != nullptr && row->handler(cmd_type, record) != 0)
            return true;
    }
    return false;
}

void rova_process_cmd(uint32_t cmd_type, cmd_data *record)
{
    if (cmd_dump && std::strcmp(record->cmd, "create_file") != 0) {
        rova_dump_cmd(record);
        rova_cmd_resp(cmd_type, 0, nullptr);
        return;
    }
    if (run_from_tables(cmd_type, record))
        return;
    // Nobody answers: a script is stopped by the result, a PC by its own time-out.
    ROVA_LOG_ERR("Not found on command table, so skip all next command! \n");
    rova_cmd_set_result(1);
}

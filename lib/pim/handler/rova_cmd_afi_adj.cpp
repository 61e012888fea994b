// afi_adj: the table of an autofocus sensor's adjustment, and the scan by which a hand brings the
// sensor to a designed value.
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "lib/pim/handler/rova_cmd_pim.h"
#include "lib/pim/handler/rova_pim_family.h"
#include "lib/pim/rova_pim.h"
#include "platform/factory_osd.h"
#include "platform/sys.h"

#include <rova/rova.h>

#include <atomic>
#include <cstdio>

namespace
{

constexpr char NAME[] = "rova_cmd_afi_adj_set";
constexpr int POINTS = 256; // indexes of each table; rova-script(5) tells it
constexpr useconds_t SCAN_INTERVAL_US = 1000000;

struct afi_range {
    int32_t low;
    int32_t high;
};

// What the line sets, for the life of the process.  Only the scan's part is read here.
struct afi_state {
    int32_t total_point = 0;
    int32_t afi_read_point = 0;
    int32_t zoom_point_to_scan[POINTS] = {};
    afi_range zoom_angle[POINTS] = {};
    afi_range spec[POINTS] = {};
    int32_t designed_afi[POINTS] = {};
    int32_t adc_margin = 50;
    int32_t designed_adc[POINTS] = {};
    int32_t led_time = 50;
    int32_t wait_time = 50;
    int32_t row = 6;
};

constinit afi_state afi;
constinit std::atomic<uint16_t> latest_sample = 0; // the application's
constinit std::atomic<bool> scanning = false;

bool is_index(const char *what, int32_t index)
{
    if (index >= 0 && index < POINTS)
        return true;
    ROVA_LOG_ERR("%s %d is outside the table of %d\n", what, index, POINTS);
    return false;
}

bool set_total_zoom_point(const cmd_data *record)
{
    afi.total_point = rova_pim_number(record, 2);
    afi.afi_read_point = rova_pim_number(record, 3);
    ROVA_LOG_NOTICE("\033[42m %s %d total_point = %d, afi_read_point = %d \033[0m\n", NAME,
                    __LINE__, afi.total_point, afi.afi_read_point);
    return true;
}

bool set_adc(const cmd_data *)
{
    ROVA_LOG_NOTICE("\033[42m %s %d ADC SET \033[0m\n", NAME, __LINE__);
    return true;
}

bool set_zoom_point_to_scan(const cmd_data *record)
{
    const int32_t index = rova_pim_number(record, 2);
    if (!is_index("zoom point", index))
        return false;
    afi.zoom_point_to_scan[index] = rova_pim_number(record, 3);
    ROVA_LOG_NOTICE("\033[42m %s %d zoom_point_to_scan[%d] = %d \033[0m\n", NAME, __LINE__, index,
                    afi.zoom_point_to_scan[index]);
    return true;
}

bool set_zoom_angle(const cmd_data *record)
{
    const int32_t index = rova_pim_number(record, 2);
    if (!is_index("zoom angle", index))
        return false;
    afi.zoom_angle[index] = {rova_pim_number(record, 3), rova_pim_number(record, 4)};
    ROVA_LOG_NOTICE("\033[42m %s %d zoom_angle[%d] = %d, %d \033[0m\n", NAME, __LINE__, index,
                    afi.zoom_angle[index].low, afi.zoom_angle[index].high);
    return true;
}

bool set_spec(const cmd_data *record)
{
    const int32_t index = rova_pim_number(record, 2);
    if (!is_index("spec", index))
        return false;
    afi.spec[index] = {rova_pim_number(record, 3), rova_pim_number(record, 4)};
    ROVA_LOG_NOTICE("\033[42m %s %d spec[%d] = %d ~ %d \033[0m\n", NAME, __LINE__, index,
                    afi.spec[index].low, afi.spec[index].high);
    return true;
}

bool set_designed_afi(const cmd_data *record)
{
    const int32_t index = rova_pim_number(record, 2);
    if (!is_index("designed AFI", index))
        return false;
    afi.designed_afi[index] = rova_pim_number(record, 3);
    ROVA_LOG_NOTICE("\033[42m %s %d designed_afi[%d] = %d \033[0m\n", NAME, __LINE__, index,
                    afi.designed_afi[index]);
    return true;
}

bool set_adc_margin(const cmd_data *record)
{
    afi.adc_margin = rova_pim_number(record, 2);
    ROVA_LOG_NOTICE("\033[42m %s %d adc_margin = %d \033[0m\n", NAME, __LINE__, afi.adc_margin);
    return true;
}

bool set_designed_adc(const cmd_data *record)
{
    const int32_t index = rova_pim_number(record, 2);
    if (!is_index("designed ADC", index))
        return false;
    afi.designed_adc[index] = rova_pim_number(record, 3);
    ROVA_LOG_NOTICE("\033[44m %s %d designed_adc[%d] = %d \033[0m\n", NAME, __LINE__, index,
                    afi.designed_adc[index]);
    return true;
}

bool set_led_time(const cmd_data *record)
{
    afi.led_time = rova_pim_number(record, 2);
    ROVA_LOG_NOTICE("\033[42m %s %d led_time = %d \033[0m\n", NAME, __LINE__, afi.led_time);
    return true;
}

bool set_wait_time(const cmd_data *record)
{
    afi.wait_time = rova_pim_number(record, 2);
    ROVA_LOG_NOTICE("\033[42m %s %d wait_time = %d \033[0m\n", NAME, __LINE__, afi.wait_time);
    return true;
}

// Logs the wait time, not the row: the line's tools know it so.
bool set_row(const cmd_data *record)
{
    afi.row = rova_pim_number(record, 2);
    ROVA_LOG_NOTICE("\033[42m %s %d wait_time = %d \033[0m\n", NAME, __LINE__, afi.wait_time);
    return true;
}

// The sensor sends its high byte first.
int32_t read_adc(int count)
{
    const int32_t sample = latest_sample;
    const int32_t low = sample & 0xff;
    const int32_t high = sample >> 8;
    const int32_t value = high + (low << 8);
    ROVA_LOG_INFO("%4d : %4x, %4x, %4x, 0x%04x, %8d\n", count, static_cast<unsigned int>(sample),
                  static_cast<unsigned int>(low), static_cast<unsigned int>(high),
                  static_cast<unsigned int>(value), value);
    return value;
}

bool is_in_margin(int32_t value, int32_t target)
{
    const int64_t distance = int64_t{value} - target;
    return distance >= -int64_t{afi.adc_margin} && distance <= afi.adc_margin;
}

void show_gauge(int32_t value, int32_t target, const char *color)
{
    char text[48];
    std::snprintf(text, sizeof(text), "%d,%d,%s", value, target, color);
    rova_osd_draw(FACTORY_OSD_DRAW_GAUGE, text);
    sys_usleep(SCAN_INTERVAL_US);
}

// Until the value is in the margin; false when it may not wait for that.
bool scan_for(int32_t target)
{
    for (int count = 1; rova_pim_may_wait(); count++) {
        const int32_t value = read_adc(count);
        const bool reached = is_in_margin(value, target);
        rova_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
        show_gauge(value, target, reached ? "green" : "red");
        if (reached)
            return true;
    }
    ROVA_LOG_ERR("the scan for %d was stopped\n", target);
    return false;
}

bool scan(const cmd_data *record)
{
    const int32_t index = rova_pim_number(record, 2);
    if (!is_index("zoom point", index))
        return false;
    stepValue = index;
    const int32_t point = afi.zoom_point_to_scan[index];
    if (!is_index("scan point", point))
        return false;
    scanning = true;
    const bool reached = scan_for(afi.designed_adc[point]);
    scanning = false;
    rova_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    return reached;
}

struct afi_key {
    const char *key;
    bool (*apply)(const cmd_data *record);
};

constexpr afi_key AFI_KEYS[] = {
    // clang-format off
    {"totalZoomPoint",  set_total_zoom_point},
    {"ZoomPointToScan", set_zoom_point_to_scan},
    {"ZMAngle",         set_zoom_angle},
    {"ADC_Set",         set_adc},
    {"Spec",            set_spec},
    {"DesignedAFI",     set_designed_afi},
    {"ADCMargin",       set_adc_margin},
    {"DesignedADC",     set_designed_adc},
    {"ledTime",         set_led_time},
    {"waitTime",        set_wait_time},
    {"row",             set_row},
    {"scan",            scan},
    // clang-format on
};

int rova_cmd_afi_adj_set(const cmd_data *record, rova_cmd_response *answer)
{
    for (const afi_key &row : AFI_KEYS)
        if (rova_pim_param_is(record, 1, row.key))
            return rova_pim_answer(answer, row.apply(record));
    return rova_pim_answer(answer, false);
}

constexpr rova_pim_cmd AFI_ADJ_CMDS[] = {{"set", rova_cmd_afi_adj_set, 5, nullptr}};

} // namespace

int rova_cmd_afi_adj(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_family_exec(AFI_ADJ_CMDS, record, answer);
}

int rova_afi_adj_set_sample(uint16_t sample)
{
    latest_sample = sample;
    return scanning ? 1 : 0;
}

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_result.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_adc_channels.h"
#include "command/system/rova_adc_info.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_readout.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "platform/factory_osd.h"
#include "platform/sys.h"

#include <array>
#include <string>

namespace
{

void start_refreshing()
{
    rova_adc_set_update(1);
    sys_usleep(ROVA_ADC_REFRESH_US);
}

std::array<int, ROVA_ADC_CHANNELS> read_levels()
{
    std::array<int, ROVA_ADC_CHANNELS> levels = {};
    for (std::size_t channel = 0; channel < levels.size(); channel++)
        levels[channel] = rova_sysfs_read_int(rova_adc_paths[channel]);
    return levels;
}

// ------------------------------------------------------------------------- display

constexpr char READ_THREAD[] = "ROVA_ADC_READ";
constexpr useconds_t READ_INTERVAL_US = 250000;

pthread_t read_thread;

// Whether the system allows cancellation at all: it is waited for in rova_readout_sleep.  Here
// nothing may be cancelled, so the asynchronous type and the enabled state never hold at once.
void try_cancellation()
{
    const int type = pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, nullptr);
    const int state = pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    if (state != 0)
        ROVA_LOG_ERR("failed to set cancel state\n");
    if (type != 0)
        ROVA_LOG_ERR("failed to set cancel type\n");
}

void show_levels(const std::array<int, ROVA_ADC_CHANNELS> &adc)
{
    rova_osd_printf(1,
                    "ADC0 : %d\nADC1 : %d\nADC2 : %d\nADC3 : %d\nADC4 : %d\nADC5 : %d\nADC6 : "
                    "%d\nADC7 : %d\nADC8 : %d\nADC9 : %d",
                    adc[0], adc[1], adc[2], adc[3], adc[4], adc[5], adc[6], adc[7], adc[8], adc[9]);
}

void *__rova_adc_read(void * /*arg*/)
{
    rova_readout_begin(READ_THREAD);
    start_refreshing();
    try_cancellation();
    for (;;) {
        show_levels(read_levels());
        rova_readout_sleep(READ_INTERVAL_US);
    }
}

// There is one such thread at most.
bool __rova_adc_thread_create()
{
    rova_readout_cancel(&read_thread);
    if (rova_readout_create(&read_thread, READ_THREAD, __rova_adc_read) == 0)
        return true;
    ROVA_LOG_ERR("rova_adc_read_thread_create() failed \n");
    return false;
}

// The 0 comes when the thread has ended, which may only now have written its 1.
bool __rova_adc_read_exit(pthread_t *thread)
{
    const auto id = static_cast<unsigned int>(*thread);
    const bool cancelled = rova_readout_cancel(thread) == 0;
    rova_adc_set_update(0);
    if (!cancelled)
        ROVA_LOG_ERR("Thread cancel failed for thread [%u] \n", id);
    return cancelled;
}

bool stop_display()
{
    factory_osd_text_clear();
    return __rova_adc_read_exit(&read_thread);
}

int rova_cmd_adc_display(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    uint8_t on = 0;
    if (!rova_cmd_on_off(record->p[1], &on)) {
        ROVA_LOG_ERR("Wrong cmd_data->p[1] = %s\n", record->p[1]);
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_answer(cmd_type, on != 0 ? __rova_adc_thread_create() : stop_display());
}

// ------------------------------------------------------------------------- files

rova_csv_handle create_csv(const char *name, const char *header)
{
    rova_csv_handle csv = rova_csv_create(name, header);
    if (csv == nullptr)
        ROVA_LOG_ERR("csv create fail\n");
    return csv;
}

bool row_written(int written)
{
    if (written == 0)
        ROVA_LOG_ERR("csv write fail\n");
    return written != 0;
}

// ------------------------------------------------------------------------- log_file

constexpr char LOG_HEADER[] =
    "ch0, Min, Max, ch1,Min, Max, ch2,Min, Max, ch3,Min, Max, ch4,Min, Max, ch5, Min, Max, "
    "ch6, Min, Max,ch7,Min, Max,ch8,Min, Max,ch9, Min, Max, RESULT";

// One row of all channels, a comma behind each cell.
std::string windows_text(int row)
{
    std::string text;
    for (const rova_adc_info_row *info : rova_adc_info) {
        text += info[row].name;
        for (int32_t limit : {info[row].min, info[row].max})
            text.append(",").append(std::to_string(limit));
        text += ",";
    }
    return text;
}

bool write_windows(rova_csv_handle csv)
{
    for (int row = 0; row < ROVA_ADC_INFO_ROWS; row++)
        if (!row_written(rova_csv_write(csv, "%s%s", windows_text(row).c_str(), "OK")))
            return false;
    return true;
}

bool log_windows(rova_resp_stream *stream)
{
    rova_csv_handle csv = create_csv("adc.csv", LOG_HEADER);
    if (csv == nullptr)
        return false;
    const bool ok = write_windows(csv);
    rova_csv_close(csv, stream);
    return ok;
}

int rova_cmd_adc_log_file(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    start_refreshing();
    read_levels();
    rova_resp_stream stream = {};
    const bool ok = log_windows(&stream);
    rova_adc_set_update(0);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

// ------------------------------------------------------------------------- check

// What the row and the screen show of a channel that gives no level, whose check fails.
constexpr int NO_LEVEL = -1;

int read_level(int channel)
{
    if (channel < 0 || channel >= ROVA_ADC_CHANNELS) {
        ROVA_LOG_ERR("There is no channel %d, but 0 to %d\n", channel, ROVA_ADC_CHANNELS - 1);
        return NO_LEVEL;
    }
    const int level = rova_sysfs_read_int(rova_adc_paths[channel]);
    if (level == NO_LEVEL)
        ROVA_LOG_ERR("failed to read \"%s\" \n", rova_adc_paths[channel]);
    return level;
}

bool check_level(rova_csv_handle csv, const cmd_data *record)
{
    const int channel = rova_cmd_number(record->p[1]);
    const int level = read_level(channel);
    const int minimum = rova_cmd_number(record->p[2]);
    const int maximum = rova_cmd_number(rova_cmd_param(record, 3));
    const bool ok = level != NO_LEVEL && level >= minimum && level <= maximum;
    const char *word = rova_cmd_result_word(ok);
    if (!row_written(rova_csv_write(csv, "%d,%d,%d,%d,%s", channel, minimum, maximum, level, word)))
        return false;
    ROVA_LOG_INFO("ch%d : %d (%d - %d)\n", channel, level, minimum, maximum);
    rova_osd_printf(1, "adc check : %s\nch%d : %d (%d - %d)", word, channel, level, minimum,
                    maximum);
    return ok;
}

bool check_channel(const cmd_data *record, rova_resp_stream *stream)
{
    rova_csv_handle csv =
        create_csv("adc_channel.csv", "Channel, spec(min), spec(max), check_adc, Result");
    if (csv == nullptr)
        return false;
    const bool ok = check_level(csv, record);
    rova_csv_close(csv, stream);
    return ok;
}

int rova_cmd_adc_check(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 3)
        return rova_cmd_ng(cmd_type);
    rova_adc_set_update(1);
    rova_resp_stream stream = {};
    const bool ok = check_channel(record, &stream);
    rova_adc_set_update(0);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

constexpr rova_cmd_entry adc_table[] = {
    {"display", rova_cmd_adc_display},
    {"log_file", rova_cmd_adc_log_file},
    {"check", rova_cmd_adc_check},
};
static_assert(rova_cmd_table_is_sound(adc_table));

} // namespace

int rova_cmd_adc(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(adc_table, "adc", cmd_type, record);
}

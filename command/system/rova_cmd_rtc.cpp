#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_clock.h"
#include "command/system/rova_cmd_system.h"
#include "common/rova_log.h"

#include <cstring>

namespace
{

#define REPORT_COLUMNS                                                                             \
    "Diff(sec),year_C,month_C,day_C,hour_C,min_C,sec_C,year_S,mon_S,day_S,hour_S,min_S,sec_S,"

constexpr rova_clock_report manual_report = {"rtc_manual.csv", REPORT_COLUMNS "RESULT"};
constexpr rova_clock_report pc_report = {"rtc_pc.csv", REPORT_COLUMNS "Result"};

#undef REPORT_COLUMNS

// Parameters 2 to 7.
rova_clock_time time_in_words(const cmd_data *record)
{
    auto number = [record](uint32_t index) {
        return rova_cmd_number(rova_cmd_param(record, index));
    };
    return {
        .year = number(2),
        .month = number(3),
        .day = number(4),
        .hour = number(5),
        .minute = number(6),
        .second = number(7),
    };
}

// The answer asks the PC to send this predefined command, rtc2, with its time.
int ask_pc(uint32_t cmd_type)
{
    constexpr uint32_t RTC2_NUMBER = 0x10030000;
    if (rova_cmd_is_ptp(cmd_type))
        return rova_cmd_resp_ex(cmd_type, 0, RTC2_NUMBER, 0, 0, nullptr);
    ROVA_LOG_ERR("not PTP mode \n");
    return rova_cmd_ng(cmd_type);
}

int check_manual(uint32_t cmd_type, const cmd_data *record)
{
    if (record->p_count <= 8)
        return rova_cmd_ng(cmd_type);
    return rova_clock_check(cmd_type, time_in_words(record), rova_cmd_number(record->p[8]),
                            manual_report);
}

int rova_cmd_rtc_check(uint32_t cmd_type, cmd_data *record)
{
    const char *source = rova_cmd_param(record, 1);
    if (std::strcmp(source, "manual") == 0)
        return check_manual(cmd_type, record);
    return std::strcmp(source, "pc") == 0 ? ask_pc(cmd_type) : rova_cmd_ng(cmd_type);
}

// The second may be missing.
int set_manual(uint32_t cmd_type, const cmd_data *record)
{
    return rova_cmd_answer(cmd_type, record->p_count > 6 && rova_clock_set(time_in_words(record)));
}

int rova_cmd_rtc_set(uint32_t cmd_type, cmd_data *record)
{
    const char *source = rova_cmd_param(record, 1);
    if (std::strcmp(source, "manual") == 0)
        return set_manual(cmd_type, record);
    if (std::strcmp(source, "pc") == 0)
        return ask_pc(cmd_type);
    return rova_cmd_answer(cmd_type, record->p_count > 0);
}

constexpr rova_cmd_entry rtc_table[] = {
    {"check", rova_cmd_rtc_check},
    {"set", rova_cmd_rtc_set},
};
static_assert(rova_cmd_table_is_sound(rtc_table));

// ------------------------------------------------------------------------- rtc2

// Byte `index` of a number, 3 being its top one.
int byte_of(int32_t number, int index)
{
    return static_cast<int8_t>(static_cast<uint32_t>(number) >> (8 * index));
}

// Year, month and day; hour, minute and second with a byte behind them.
rova_clock_time time_in_numbers(int32_t date, int32_t time)
{
    return {
        .year = date >> 16,
        .month = byte_of(date, 1),
        .day = byte_of(date, 0),
        .hour = byte_of(time, 3),
        .minute = byte_of(time, 2),
        .second = byte_of(time, 1),
    };
}

} // namespace

int rova_cmd_rtc(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(rtc_table, "rtc", cmd_type, record);
}

// The words are those of the "rtc set pc" or "rtc check pc" before it.
int rova_cmd_rtc2(uint32_t cmd_type, cmd_data *record)
{
    const rova_clock_time time = time_in_numbers(record->e[0], record->e[1]);
    ROVA_LOG_NOTICE("\033[33mrtc2_set %d, %d, %d, %d:%d:%d, %d", time.year, time.month, time.day,
                    time.hour, time.minute, time.second, byte_of(record->e[1], 0));
    const char *word = rova_cmd_param(record, 0);
    if (std::strcmp(word, "set") == 0)
        return rova_cmd_answer(cmd_type, rova_clock_set(time));
    if (std::strcmp(word, "check") != 0) {
        ROVA_LOG_ERR("previous cmd is not 'rtc' \n");
        return rova_cmd_ng(cmd_type);
    }
    int64_t minutes = rova_cmd_number(rova_cmd_param(record, 2));
    return rova_clock_check(cmd_type, time, minutes * 60, pc_report);
}

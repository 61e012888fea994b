#include "command/system/rova_clock.h"

#include "command/rova_cmd_result.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_property.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"

#include <climits>
#include <cstdlib>
#include <ctime>

namespace
{

constexpr int CLOCK_CLASS = 14;
constexpr int CLOCK_TIME = 0;
constexpr int FIRST_YEAR = 1900;

// One of the two times that are compared.
struct instant {
    int epoch;
    std::tm local;
};

std::tm local_of(int epoch)
{
    std::time_t seconds = epoch;
    std::tm local = {};
    localtime_r(&seconds, &local);
    return local;
}

// The clock counts seconds in an int.
bool epoch_of(const rova_clock_time &time, int *epoch)
{
    std::tm local = {};
    // A year or a month at the end of an int has no time anyway.
    local.tm_year = time.year >= INT_MIN + FIRST_YEAR ? time.year - FIRST_YEAR : INT_MIN;
    local.tm_mon = time.month > INT_MIN ? time.month - 1 : INT_MIN;
    local.tm_mday = time.day;
    local.tm_hour = time.hour;
    local.tm_min = time.minute;
    local.tm_sec = time.second;
    local.tm_isdst = -1; // whether it is summer time follows from the time itself
    local.tm_wday = -1;  // set by a success only: -1 is a second of 1969 too
    std::time_t seconds = std::mktime(&local);
    if (local.tm_wday < 0 || seconds < INT_MIN || seconds > INT_MAX) {
        ROVA_LOG_ERR("the clock has no such time (%d-%d-%d %d:%d:%d) \n", time.year, time.month,
                     time.day, time.hour, time.minute, time.second);
        return false;
    }
    *epoch = static_cast<int>(seconds);
    return true;
}

void log_time(const char *name, const std::tm &local)
{
    ROVA_LOG_INFO("%s time : %d %d %d %d %d %d\n", name, local.tm_year, local.tm_mon, local.tm_mday,
                  local.tm_hour, local.tm_min, local.tm_sec);
}

bool read_input(const rova_clock_time &time, instant *input)
{
    if (!epoch_of(time, &input->epoch))
        return false;
    input->local = local_of(input->epoch);
    log_time("input", input->local);
    return true;
}

bool read_clock(instant *current)
{
    if (!rova_property_get(CLOCK_CLASS, CLOCK_TIME, &current->epoch))
        return false;
    current->local = local_of(current->epoch);
    log_time("current", current->local);
    return true;
}

bool write_row(rova_csv_handle csv, long long difference, const std::tm &current,
               const std::tm &input, bool ok)
{
    return rova_csv_write(csv,
                          "%11lld,%04d,%03d,%03d,%03d,%03d,%03d,%04d,%03d,%03d,%03d,%03d,%03d,%s",
                          difference, current.tm_year + FIRST_YEAR, current.tm_mon + 1,
                          current.tm_mday, current.tm_hour, current.tm_min, current.tm_sec,
                          input.tm_year + FIRST_YEAR, input.tm_mon + 1, input.tm_mday,
                          input.tm_hour, input.tm_min, input.tm_sec, rova_cmd_result_word(ok)) != 0;
}

} // namespace

bool rova_clock_set(const rova_clock_time &time)
{
    int epoch = 0;
    if (!epoch_of(time, &epoch))
        return false;
    ROVA_LOG_INFO("input epoch time : %d\n", epoch);
    return rova_property_set(CLOCK_CLASS, CLOCK_TIME, epoch);
}

int rova_clock_check(uint32_t cmd_type, const rova_clock_time &time, int64_t offset,
                     const rova_clock_report &report)
{
    ROVA_LOG_INFO("str : %s\n", "OK");
    instant input = {};
    instant current = {};
    if (!read_input(time, &input) || !read_clock(&current))
        return rova_cmd_ng(cmd_type);
    ROVA_LOG_INFO("input epoch time : %d\n", input.epoch);
    ROVA_LOG_INFO("current epoch time : %d\n", current.epoch);
    long long difference = std::llabs(static_cast<long long>(current.epoch) - input.epoch);
    ROVA_LOG_INFO("offset : %lld, difference : %lld\n", static_cast<long long>(offset), difference);
    bool ok = difference <= offset;

    rova_resp_stream stream = {};
    rova_csv_handle csv = rova_csv_create(report.file, report.header);
    if (csv == nullptr)
        ROVA_LOG_ERR("csv create fail\n");
    else if (!write_row(csv, difference, current.local, input.local, ok))
        ROVA_LOG_ERR("input csv write fail\n");
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

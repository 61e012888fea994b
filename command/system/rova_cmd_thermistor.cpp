#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_readout.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_sensor.h"
#include "platform/factory_osd.h"

#include <cerrno>
#include <cstring>
#include <mutex>

namespace
{

constexpr int LIMIT_ROW = 3;

// Whole degrees Celsius.
struct temperatures {
    int32_t isp;
    int32_t cpu;
    int32_t cis;
};

bool read_temperatures(temperatures *found)
{
    const bool cis = rova_read_cis_temperature(&found->cis) != 0;
    const bool isp = rova_read_isp_temperature(&found->isp) != 0;
    const bool cpu = rova_read_cpu_temperature(&found->cpu) != 0;
    return cis && isp && cpu;
}

void show_temperatures(const temperatures &found, int first_row)
{
    rova_osd_printf(first_row, "Temperature ISP: %d \n", found.isp);
    rova_osd_printf(first_row + 1, "Temperature CPU: %d \n", found.cpu);
    rova_osd_printf(first_row + 2, "Temperature CIS: %d \n", found.cis);
}

// ------------------------------------------------------------------------- show

int rova_cmd_thermistor_show(uint32_t cmd_type, cmd_data *record)
{
    temperatures found = {};
    if (record->p_count >= 2)
        return rova_cmd_ng(cmd_type);
    if (!read_temperatures(&found)) {
        ROVA_LOG_ERR("failed to read the temperatures \n");
        return rova_cmd_ng(cmd_type);
    }
    show_temperatures(found, 2);
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- limits

enum level { WARNING, CRITICAL, LEVELS };

constexpr const char *level_words[LEVELS] = {"warning", "critical"};

struct target {
    const char *word;
    uint64_t items[LEVELS]; // 0: none
};

// The number of a row from 1 on is what TEMP_SENSOR_SELECT holds; 0 is no limit.
constexpr target targets[] = {
    {"cis", {ADJ_ID_TEMP_SENSOR_CIS_TH_WARNING, ADJ_ID_TEMP_SENSOR_CIS_TH_CRITICAL}},
    {"cpu", {ADJ_ID_TEMP_SENSOR_CPU_TH_WARNING, ADJ_ID_TEMP_SENSOR_CPU_TH_CRITICAL}},
    {"isp", {ADJ_ID_TEMP_SENSOR_ISP_TH_WARNING, ADJ_ID_TEMP_SENSOR_ISP_TH_CRITICAL}},
    {"isp_cpu", {0, 0}},
};

const target *find_target(const char *word)
{
    for (const target &row : targets)
        if (std::strcmp(row.word, word) == 0)
            return &row;
    return nullptr;
}

bool store_number(uint64_t item, int32_t number)
{
    return rova_set_adjdata(item, &number, sizeof(number), 1) != 0;
}

int rova_cmd_thermistor_limit_on(uint32_t cmd_type, cmd_data *record)
{
    const target *wanted = find_target(rova_cmd_param(record, 1));
    if (wanted == nullptr)
        return rova_cmd_ng(cmd_type);
    if (!store_number(ADJ_ID_TEMP_SENSOR_SELECT, static_cast<int32_t>(wanted - targets) + 1))
        return rova_cmd_ng(cmd_type);
    ROVA_LOG_INFO("temp-sensor limit-on %s \n", wanted->word);
    rova_osd_printf(LIMIT_ROW, "temp-sensor limit-on %s \n", wanted->word);
    return rova_cmd_ok(cmd_type);
}

int rova_cmd_thermistor_limit_off(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count >= 2 || !store_number(ADJ_ID_TEMP_SENSOR_SELECT, 0))
        return rova_cmd_ng(cmd_type);
    ROVA_LOG_INFO("temp-sensor limit-off \n");
    rova_osd_printf(LIMIT_ROW, "temp-sensor limit-off \n");
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- thresh

// The item of a target's word and a level's; 0 for words that have none.
uint64_t find_threshold(const char *target_word, const char *level_word)
{
    const target *wanted = find_target(target_word);
    if (wanted == nullptr)
        return 0;
    for (int i = 0; i < LEVELS; i++)
        if (std::strcmp(level_words[i], level_word) == 0)
            return wanted->items[i];
    return 0;
}

bool get_or_set(const cmd_data *record, uint64_t item, int32_t *value)
{
    if (std::strcmp(record->p[1], "get") == 0)
        return rova_read_adjdata_number(item, sizeof(*value), value);
    if (std::strcmp(record->p[1], "set") != 0 || record->p_count == 4)
        return false;
    *value = rova_cmd_number(record->p[4]);
    return store_number(item, *value);
}

int rova_cmd_thermistor_thresh(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 4)
        return rova_cmd_ng(cmd_type);
    const char *target_word = record->p[2], *level_word = record->p[3];
    const uint64_t item = find_threshold(target_word, level_word);
    int32_t value = 0;
    if (item == 0 || !get_or_set(record, item, &value))
        return rova_cmd_ng(cmd_type);
    ROVA_LOG_INFO("temp-sensor threshold %s = %d [%s] \n", target_word, value, level_word);
    rova_osd_printf(LIMIT_ROW, "temp-sensor threshold %s = %d [%s] \n", target_word, value,
                    level_word);
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- osd

constexpr useconds_t SHOW_INTERVAL_US = 500000;

pthread_t osd_thread;

// The thread's rows go to a file that the commands open and close.
std::mutex csv_lock;
rova_csv_handle osd_csv;

void open_csv()
{
    std::lock_guard guard(csv_lock);
    osd_csv = rova_csv_create("thermistor.csv", "ISP, CPU, CIS");
    if (osd_csv == nullptr)
        ROVA_LOG_ERR("csv create fail\n");
}

void write_row(const temperatures &found)
{
    std::lock_guard guard(csv_lock);
    if (osd_csv != nullptr &&
        rova_csv_write(osd_csv, "%03d, %03d, %03d", found.isp, found.cpu, found.cis) == 0)
        ROVA_LOG_ERR("csv write fail\n");
}

void close_csv()
{
    std::lock_guard guard(csv_lock);
    if (osd_csv != nullptr)
        rova_csv_close(osd_csv, nullptr);
    osd_csv = nullptr;
}

void *show_for_ever(void * /*arg*/)
{
    rova_readout_begin("ROVA osd thermistor");
    for (;;) {
        temperatures found = {};
        if (read_temperatures(&found)) {
            show_temperatures(found, 5);
            write_row(found);
        }
        rova_readout_sleep(SHOW_INTERVAL_US);
    }
}

// 0, or -1 when there is no thread to end.
int end_thread()
{
    const int cancelled = rova_readout_cancel(&osd_thread);
    const int error = errno;
    close_csv();
    errno = error;
    return cancelled;
}

// There is one such thread at most.
bool start_thread()
{
    end_thread();
    open_csv();
    if (rova_readout_create(&osd_thread, "thermistor_osd", show_for_ever) == 0)
        return true;
    ROVA_LOG_ERR("rova_thread_create() failed \n");
    close_csv();
    return false;
}

bool stop_thread()
{
    if (osd_thread == 0) {
        ROVA_LOG_ERR("thread is not created yet \n");
        return false;
    }
    const auto id = static_cast<unsigned int>(osd_thread);
    if (end_thread() != 0) {
        ROVA_LOG_ERR("Thread cancel failed for thread [%u] (errno=%d) \n", id, errno);
        return false;
    }
    factory_osd_text_clear();
    return true;
}

int rova_cmd_thermistor_osd(uint32_t cmd_type, cmd_data *record)
{
    uint8_t on = 0;
    if (!rova_cmd_on_off(rova_cmd_param(record, 1), &on))
        return rova_cmd_ng(cmd_type);
    return rova_cmd_answer(cmd_type, on != 0 ? start_thread() : stop_thread());
}

constexpr rova_cmd_entry thermistor_table[] = {
    {"show", rova_cmd_thermistor_show},         {"thresh", rova_cmd_thermistor_thresh},
    {"limit_on", rova_cmd_thermistor_limit_on}, {"limit_off", rova_cmd_thermistor_limit_off},
    {"osd", rova_cmd_thermistor_osd},
};
static_assert(rova_cmd_table_is_sound(thermistor_table));

} // namespace

int rova_cmd_thermistor(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(thermistor_table, "thermistor", cmd_type, record);
}

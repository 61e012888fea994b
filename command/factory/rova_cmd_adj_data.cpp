#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_adjdata_backup.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_proc_mark_handler.h"
#include "common/rova_util.h"
#include "platform/sys.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <unistd.h>

namespace
{

constexpr int READ_ROW = 1;
constexpr int DEFAULT_ROW = 2;

constexpr char ARCHIVE_FOR_PC[] = "/tmp/pref.zip";
constexpr uint16_t STREAM_TEXT = 2;

// ------------------------------------------------------------------------- one item

// An item as a command names it.
struct adj_item {
    const char *name;
    uint64_t id; // 0: there is no such item
    uint32_t size;
};

adj_item named_item(const cmd_data *record)
{
    adj_item item = {.name = rova_cmd_param(record, 1), .id = 0, .size = 0};
    item.id = rova_get_adjdata_id(item.name, &item.size);
    return item;
}

// The command must say the item's size: a line meant for another layout of the data is refused.
bool size_is_right(const cmd_data *record, const adj_item &item)
{
    int size = rova_cmd_number(rova_cmd_param(record, 2));
    if (size >= 0 && static_cast<uint32_t>(size) == item.size)
        return true;
    ROVA_LOG_ERR("Invalid size [%s, %d] size=%d \n", item.name, static_cast<int>(item.size), size);
    return false;
}

bool size_is_supported(const adj_item &item)
{
    if (rova_adjdata_is_number(item.size))
        return true;
    ROVA_LOG_ERR("Not support size (sz=%d) \n", static_cast<int>(item.size));
    return false;
}

bool read_item(const adj_item &item, int32_t *value)
{
    return rova_read_adjdata_number(item.id, item.size, value);
}

// The number that an item of this size keeps of `value`.
int32_t cut(int32_t value, uint32_t size)
{
    return rova_adjdata_number(&value, size);
}

void log_item(const adj_item &item, int32_t value)
{
    int size = static_cast<int>(item.size);
    auto bits = static_cast<uint32_t>(value);
    if (size == 1)
        ROVA_LOG_INFO("%s [sz=%d]: %d (0x%02x) \n", item.name, size, value, bits);
    else if (size == 2)
        ROVA_LOG_INFO("%s [sz=%d]: %d (0x%04x) \n", item.name, size, value, bits);
    else
        ROVA_LOG_INFO("%s [sz=%d]: %d (0x%08x) \n", item.name, size, value, bits);
}

int rova_cmd_adj_data_read(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 3)
        return rova_cmd_ng(cmd_type);
    adj_item item = named_item(record);
    if (item.id == 0) {
        ROVA_LOG_ERR("Unknown id (%s) (0x%" PRIx64 ") \n", item.name, item.id);
        return rova_cmd_ng(cmd_type);
    }
    int32_t value = 0;
    if (!size_is_right(record, item) || !size_is_supported(item) || !read_item(item, &value))
        return rova_cmd_ng(cmd_type);

    log_item(item, value);
    rova_osd_printf(READ_ROW, "%s [sz=%d] = %d (0x%02x)\n", item.name, static_cast<int>(item.size),
                    value, static_cast<uint32_t>(value));
    return rova_cmd_ok(cmd_type);
}

bool is_known(const adj_item &item)
{
    if (item.id != 0)
        return true;
    ROVA_LOG_ERR("Unknown id (%s) \n", item.name);
    return false;
}

// A line without a value stores 0.
int rova_cmd_adj_data_write(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 3)
        return rova_cmd_ng(cmd_type);
    adj_item item = named_item(record);
    if (!is_known(item) || !size_is_right(record, item) || !size_is_supported(item))
        return rova_cmd_ng(cmd_type);

    int32_t value = cut(rova_str2int(rova_cmd_param(record, 3)), item.size);
    if (rova_set_adjdata(item.id, &value, item.size, 1) <= 0) {
        ROVA_LOG_ERR("rova_set_adjdata() failed [%s] val=%d, sz=%d \n", item.name, value,
                     static_cast<int>(item.size));
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_ok(cmd_type);
}

struct adj_range {
    int32_t min, max;
};

bool read_range(const cmd_data *record, adj_range *range)
{
    range->min = rova_cmd_number(rova_cmd_param(record, 3));
    range->max = rova_cmd_number(rova_cmd_param(record, 4));
    if (range->min <= range->max)
        return true;
    ROVA_LOG_ERR("Invalid range: min=%d, max=%d \n", range->min, range->max);
    return false;
}

bool is_within(const adj_item &item, int32_t value, const adj_range &range)
{
    int size = static_cast<int>(item.size);
    auto bits = static_cast<uint32_t>(value);
    if (range.min <= value && value <= range.max) {
        ROVA_LOG_INFO("%s [sz=%d]: %d (0x%02x), check=OK [%d, %d] \n", item.name, size, value, bits,
                      range.min, range.max);
        return true;
    }
    ROVA_LOG_ERR("%s [sz=%d]: %d (0x%02x), check=NG [%d, %d] \n", item.name, size, value, bits,
                 range.min, range.max);
    return false;
}

int rova_cmd_adj_data_check(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 5)
        return rova_cmd_ng(cmd_type);
    adj_item item = named_item(record);
    adj_range range = {};
    int32_t value = 0;
    if (!is_known(item) || !size_is_right(record, item) || !read_range(record, &range) ||
        !size_is_supported(item) || !read_item(item, &value))
        return rova_cmd_ng(cmd_type);

    // The limits lose what the item has no room for, and may then stand the wrong way round.
    range = {cut(range.min, item.size), cut(range.max, item.size)};
    return rova_cmd_answer(cmd_type, is_within(item, value, range));
}

// ------------------------------------------------------------------------- files

int rova_cmd_adj_data_backup(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    const char *part = record->p[1];
    int done = std::strcmp(part, "all") == 0 ? rova_backup_adjdata_part_all(cmd_type)
                                             : rova_backup_adjdata_part(part);
    return rova_cmd_answer(cmd_type, done != 0);
}

int rova_cmd_adj_data_restore(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    const char *part = record->p[1];
    int done = std::strcmp(part, "all") == 0 ? rova_restore_adjdata_part_all()
                                             : rova_restore_adjdata_part(part);
    return rova_cmd_answer(cmd_type, done != 0);
}

// Tells the PC where the archive lies; "adj_data backup all" has made it.
bool offer_archive(rova_resp_stream *stream)
{
    ROVA_LOG_NOTICE("\033[33mstart backup!!1");
    ROVA_LOG_NOTICE("\033[33mfinish backup!!1");
    if (sys_access(ARCHIVE_FOR_PC, R_OK) != 0) {
        ROVA_LOG_ERR("NOT ACCESS PATH!!! \n");
        return false;
    }
    std::strcat(stream->text, "|"); // the PC's end of the path
    ROVA_LOG_NOTICE("\033[33mPATH : %s, streambuffer : %s\n", ARCHIVE_FOR_PC, stream->text);
    return true;
}

int rova_cmd_adj_data_get(uint32_t cmd_type, cmd_data *record)
{
    rova_resp_stream stream = {.stream_type = STREAM_TEXT, .text = {}};
    static_assert(sizeof(ARCHIVE_FOR_PC) < sizeof(stream.text));
    std::strcpy(stream.text, ARCHIVE_FOR_PC);
    bool offered = record->p_count >= 1 && offer_archive(&stream);
    return rova_cmd_answer(cmd_type, offered, &stream);
}

// ------------------------------------------------------------------------- all items in a CSV file

// By pref id: adj_sys, adj_cap, adj_dpc, adj_vfpn, adj_cs, adj_iq.
constexpr uint32_t CSV_ORDER[] = {4, 5, 9, 7, 8, 6};
constexpr uint32_t ADJ_SYS = CSV_ORDER[0];

int row_count(const adjdata_part &part)
{
    int count = 0;
    while (part.items[count].size != 0)
        count++;
    return count;
}

bool write_item(rova_csv_handle csv, const adj_item &item)
{
    if (!rova_adjdata_is_number(item.size))
        return true;
    int32_t value = 0;
    if (!read_item(item, &value))
        return false;
    rova_csv_write(csv, "%s,%d,%d,0x%x", item.name, static_cast<int>(item.size), value,
                   static_cast<uint32_t>(value));
    return true;
}

bool write_part(rova_csv_handle csv, const adjdata_part &part)
{
    bool complete = true;
    int rows = row_count(part);
    for (int row = 0; row < rows; row++) {
        adj_item item = {.name = part.items[row].name, .id = 0, .size = 0};
        item.id = rova_get_adjdata_id(item.name, &item.size);
        if (part.pref_id == ADJ_SYS)
            ROVA_LOG_INFO("size[%d] %d, [adj_sz=%d]\n", row, static_cast<int>(item.size), rows);
        complete &= write_item(csv, item);
    }
    return complete;
}

bool write_all_parts(rova_csv_handle csv)
{
    bool complete = true;
    for (uint32_t pref_id : CSV_ORDER)
        for (const adjdata_part &part : rova_adjdata_parts())
            if (part.pref_id == pref_id)
                complete &= write_part(csv, part);
    return complete;
}

// A file that cannot be written is no failure, a partition that cannot be read is one.
int rova_cmd_adj_data_log_file(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    rova_csv_handle csv = rova_csv_create("adjdata.csv", "ID,SIZE, VALUE,[HEXA]");
    bool complete = write_all_parts(csv);
    rova_resp_stream stream = {};
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, complete, &stream);
}

// ------------------------------------------------------------------------- flash and defaults

int rova_cmd_adj_data_save(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    rova_save_adjdata_all();
    return rova_cmd_ok(cmd_type);
}

struct adj_default {
    const char *part;
    int (*load)();
};

constexpr adj_default defaults[] = {
    {"adj_sys", rova_load_default_adj_sys}, {"adj_cap", rova_load_default_adj_cap},
    {"adj_iq", rova_load_default_adj_iq},   {"adj_vfpn", rova_load_default_adj_vfpn},
    {"adj_cs", rova_load_default_adj_cs},   {"adj_dpc", rova_load_default_adj_dpc},
};

// A camera as it came to the line: no station passed.
void load_all_defaults()
{
    rova_load_default_adjdata_all();
    rova_clear_proc_marks();
    rova_osd_printf(DEFAULT_ROW, "set default adjdata!!\n");
}

bool load_default_part(const char *part)
{
    for (const adj_default &row : defaults) {
        if (strcasecmp(row.part, part) == 0) {
            row.load();
            rova_osd_printf(DEFAULT_ROW, "set default %s!!\n", row.part);
            return true;
        }
    }
    return false;
}

int rova_cmd_adj_data_default(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    if (record->p_count == 1) {
        load_all_defaults();
        return rova_cmd_ok(cmd_type);
    }
    if (record->p_count > 2 || !load_default_part(record->p[1])) {
        ROVA_LOG_ERR("Not Found argument !!");
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_ok(cmd_type);
}

constexpr rova_cmd_entry adj_data_table[] = {
    {"read", rova_cmd_adj_data_read},         {"write", rova_cmd_adj_data_write},
    {"check", rova_cmd_adj_data_check},       {"restore", rova_cmd_adj_data_restore},
    {"backup", rova_cmd_adj_data_backup},     {"default", rova_cmd_adj_data_default},
    {"log_file", rova_cmd_adj_data_log_file}, {"save", rova_cmd_adj_data_save},
    {"get", rova_cmd_adj_data_get},
};
static_assert(rova_cmd_table_is_sound(adj_data_table));

} // namespace

int rova_cmd_adj_data(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(adj_data_table, "adj_data", cmd_type, record);
}

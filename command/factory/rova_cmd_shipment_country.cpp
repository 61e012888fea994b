#include "command/factory/rova_cmd_factory.h"
#include "command/factory/rova_shipment_info.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"

#include <iterator>
#include <platform/device.h>

namespace
{

// ------------------------------------------------------------------------- set

// Numbers that have a row and are never shipped to.
constexpr int16_t REFUSED_COUNTRIES[] = {57, 137};

// An item of the block, and where its value stands in a country's row.
struct block_item {
    const char *name;
    uint64_t id;
    uint32_t size;
    std::size_t row_offset;
};

consteval uint32_t same_size(std::size_t item, std::size_t field)
{
    if (item != field)
        throw "a row's field is not as large as the item it is stored to";
    return static_cast<uint32_t>(item);
}

#define BLOCK_ITEM(item, field)                                                                    \
    {                                                                                              \
#item, ADJ_ID_##item, same_size(sizeof(adj_sys_data::item), sizeof(shipment_info::field)), \
            offsetof(shipment_info, field)                                                         \
    }

// In the order of writing, which is not the row's.
constexpr block_item BLOCK[] = {
    // clang-format off
    BLOCK_ITEM(LOCAL_MARKET_AFRICA,  local_market_africa),
    BLOCK_ITEM(LOCAL_MARKET_SAUDI,   local_market_saudi),
    BLOCK_ITEM(LANG_DEFAULT,         lang_default),
    BLOCK_ITEM(LANG_SUB,             lang_sub),
    BLOCK_ITEM(VOUT_DEFAULT,         vout_default),
    BLOCK_ITEM(QWERTY_TYPE,          qwerty_type),
    BLOCK_ITEM(QWERTY_DEFAULT,       qwerty_default),
    BLOCK_ITEM(WIFI_INFINITIUM_CERT, wifi_infinitium_cert),
    BLOCK_ITEM(WIFI_SNS_GATEWAY,     wifi_sns_gateway),
    BLOCK_ITEM(WIFI_COUNTRY_CODE,    wifi_country_code),
    BLOCK_ITEM(WIFI_COUNTRY_CODE_5G, wifi_country_code_5g),
    BLOCK_ITEM(WIFI_COUNTRY_CH,      wifi_country_ch),
    // clang-format on
};
#undef BLOCK_ITEM

bool set_item(const char *name, uint64_t id, const void *data, uint32_t size, int save)
{
    if (rova_set_adjdata(id, data, size, save) != 0)
        return true;
    ROVA_LOG_ERR("failed to rova_set_adjdata() ADJ_ID_%s\n", name);
    return false;
}

bool set_number(const char *name, uint64_t id, int16_t value)
{
    return set_item(name, id, &value, sizeof(value), 0);
}

// All items share a partition, so the last one's save is that of all.
bool set_block(int16_t country, const shipment_info &row)
{
    if (!set_number("SHIPPING_COUNTRY", ADJ_ID_SHIPPING_COUNTRY, country))
        return false;
    const auto *bytes = reinterpret_cast<const uint8_t *>(&row);
    const block_item *last = std::end(BLOCK) - 1;
    for (const block_item &item : BLOCK)
        if (!set_item(item.name, item.id, bytes + item.row_offset, item.size, &item == last))
            return false;
    return true;
}

bool is_refused(int16_t country)
{
    for (int16_t refused : REFUSED_COUNTRIES)
        if (country == refused)
            return true;
    return country >= ROVA_SHIPMENT_COUNTRIES;
}

// The property that a power off sets, too.  All is saved by now, so a refusal is only logged.
void tell_device_service()
{
    if (int ret = device_set_property(4, 21, 1); ret != 0)
        ROVA_LOG_ERR("device_set_property(4, 21, 1) failed (ret = %d) \n", ret);
}

int rova_cmd_shipment_country_set(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    auto country = static_cast<int16_t>(rova_cmd_number(record->p[1]));
    if (is_refused(country))
        return rova_cmd_ng(cmd_type);
    shipment_info row;
    if (get_shipment_info(country, &row) == 0) {
        ROVA_LOG_ERR("failed to get_shipment_info() country_id=%d\n", country);
        return rova_cmd_ng(cmd_type);
    }
    if (!set_block(country, row))
        return rova_cmd_ng(cmd_type);
    tell_device_service();
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- log_file

constexpr char CSV_HEADER[] = "Country,LANG DEF,LANG ADD,WIFI GW,WIFI CH,WIFI 5GHz,WIFI SNS,"
                              "WIFI TELMAX,QWERTY_DEF,QWERTY_ADD,AV,AFRICA,SAUDI";

#define READ(item, number)                                                                         \
    rova_read_adjdata_number(ADJ_ID_##item, sizeof(adj_sys_data::item), number)

// Gives two items their values ahead of the report; in memory only, until a save of the partition.
bool repair_block()
{
    int32_t qwerty_type = 0;
    if (!READ(QWERTY_TYPE, &qwerty_type))
        return false;
    if (qwerty_type == 0 && !set_number("QWERTY_TYPE", ADJ_ID_QWERTY_TYPE, 1))
        return false;
    int32_t country = 0;
    if (!READ(SHIPPING_COUNTRY, &country))
        return false;
    return country != 0 || set_number("LANG_SUB", ADJ_ID_LANG_SUB, 255);
}

// In the order of the columns.
struct block_row {
    int32_t country, lang_default, lang_sub, gateway, channel;
    const char *code_5g; // two characters
    int32_t code, cert, qwerty_default, qwerty_type, vout, africa, saudi;
};

bool read_row(block_row *row)
{
    row->code_5g = static_cast<const char *>(rova_get_adjdata(ADJ_ID_WIFI_COUNTRY_CODE_5G));
    return row->code_5g != nullptr && READ(SHIPPING_COUNTRY, &row->country) &&
           READ(LANG_DEFAULT, &row->lang_default) && READ(LANG_SUB, &row->lang_sub) &&
           READ(WIFI_SNS_GATEWAY, &row->gateway) && READ(WIFI_COUNTRY_CH, &row->channel) &&
           READ(WIFI_COUNTRY_CODE, &row->code) && READ(WIFI_INFINITIUM_CERT, &row->cert) &&
           READ(QWERTY_DEFAULT, &row->qwerty_default) && READ(QWERTY_TYPE, &row->qwerty_type) &&
           READ(VOUT_DEFAULT, &row->vout) && READ(LOCAL_MARKET_AFRICA, &row->africa) &&
           READ(LOCAL_MARKET_SAUDI, &row->saudi);
}
#undef READ

// A 5 GHz code that was never set is two zero bytes: they stand in the file as they are.
bool write_row(rova_csv_handle csv)
{
    block_row row = {};
    if (!read_row(&row))
        return false;
    rova_csv_write(csv, "%d,%d,%x,%d,%d,%c%c,%d,%d,%d,%d,%d,%d,%d", row.country, row.lang_default,
                   static_cast<uint32_t>(row.lang_sub), row.gateway, row.channel, row.code_5g[0],
                   row.code_5g[1], row.code, row.cert, row.qwerty_default, row.qwerty_type,
                   row.vout, row.africa, row.saudi);
    return true;
}

// A file that cannot be written leaves the stream empty, and costs only the row.
int rova_cmd_shipment_country_log_file(uint32_t cmd_type, cmd_data * /*record*/)
{
    if (!repair_block())
        return rova_cmd_ng(cmd_type);
    rova_resp_stream stream = {};
    rova_csv_handle csv = rova_csv_create("shipment_country.csv", CSV_HEADER);
    bool complete = write_row(csv);
    rova_csv_close(csv, complete ? &stream : nullptr);
    return rova_cmd_answer(cmd_type, complete, &stream);
}

constexpr rova_cmd_entry shipment_country_table[] = {
    {"log_file", rova_cmd_shipment_country_log_file},
    {"set", rova_cmd_shipment_country_set},
};
static_assert(rova_cmd_table_is_sound(shipment_country_table));

} // namespace

int rova_cmd_shipment_country(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(shipment_country_table, "shipment_country", cmd_type, record);
}

#include "common/rova_adjdata_table.h"

#include "common/rova_adjdata_items.h"
#include "common/rova_log.h"

#include <cstring>
#include <iterator>

namespace
{

// clang-format off
#define ROVA_ADJ_ROW(part, item, bytes) {.name = #item, .id = ADJ_ID_##item, .size = (bytes)},
#define ROVA_ADJ_END {.name = "end", .id = 0, .size = 0}
constexpr adjdata_info rova_adjdata_sys_info[] = {ROVA_ADJ_SYS_ITEMS(ROVA_ADJ_ROW, adj_sys) ROVA_ADJ_END};
constexpr adjdata_info rova_adjdata_cap_info[] = {ROVA_ADJ_CAP_ITEMS(ROVA_ADJ_ROW, adj_cap) ROVA_ADJ_END};
constexpr adjdata_info rova_adjdata_iq_info[] = {ROVA_ADJ_IQ_ITEMS(ROVA_ADJ_ROW, adj_iq) ROVA_ADJ_END};
constexpr adjdata_info rova_adjdata_vfpn_info[] = {ROVA_ADJ_VFPN_ITEMS(ROVA_ADJ_ROW, adj_vfpn) ROVA_ADJ_END};
constexpr adjdata_info rova_adjdata_cs_info[] = {ROVA_ADJ_CS_ITEMS(ROVA_ADJ_ROW, adj_cs) ROVA_ADJ_END};
constexpr adjdata_info rova_adjdata_dpc_info[] = {ROVA_ADJ_DPC_ITEMS(ROVA_ADJ_ROW, adj_dpc) ROVA_ADJ_END};
#undef ROVA_ADJ_ROW
#undef ROVA_ADJ_END
// clang-format on

static_assert(std::size(rova_adjdata_sys_info) == 39 + 1);
static_assert(std::size(rova_adjdata_cap_info) == 22 + 1);
static_assert(std::size(rova_adjdata_iq_info) == 31 + 1);
static_assert(std::size(rova_adjdata_vfpn_info) == 22 + 1);
static_assert(std::size(rova_adjdata_cs_info) == 4 + 1);
static_assert(std::size(rova_adjdata_dpc_info) == 34 + 1);

consteval void put(uint8_t (&item)[4], uint32_t value)
{
    for (uint8_t &byte : item) {
        byte = static_cast<uint8_t>(value);
        value >>= 8;
    }
}

// Zero but for the temperature limits, in degrees Celsius.
consteval adj_sys_data sys_defaults()
{
    adj_sys_data data = {};
    put(data.TEMP_SENSOR_SELECT, 4);
    put(data.TEMP_SENSOR_CIS_TH_WARNING, 106);
    put(data.TEMP_SENSOR_CIS_TH_CRITICAL, 110);
    put(data.TEMP_SENSOR_CPU_TH_WARNING, 102);
    put(data.TEMP_SENSOR_CPU_TH_CRITICAL, 105);
    put(data.TEMP_SENSOR_ISP_TH_WARNING, 106);
    put(data.TEMP_SENSOR_ISP_TH_CRITICAL, 110);
    return data;
}

constexpr adj_sys_data sys_default_image = sys_defaults();

// The default image of the other partitions, as long as the longest of them.  Not const, or its
// 5 MB would stand in the program file.
adj_dpc_data zeros;

constexpr adjdata_part rova_adjdata_part_tbl[] = {
    {4, rova_adjdata_sys_info, &sys_default_image, sizeof(adj_sys_data)},
    {5, rova_adjdata_cap_info, &zeros, sizeof(adj_cap_data)},
    {6, rova_adjdata_iq_info, &zeros, sizeof(adj_iq_data)},
    {7, rova_adjdata_vfpn_info, &zeros, sizeof(adj_vfpn_data)},
    {8, rova_adjdata_cs_info, &zeros, sizeof(adj_cs_data)},
    {9, rova_adjdata_dpc_info, &zeros, sizeof(adj_dpc_data)},
};

} // namespace

std::span<const adjdata_part> rova_adjdata_parts()
{
    return rova_adjdata_part_tbl;
}

const adjdata_info *rova_find_adjdata(const char *name)
{
    for (const adjdata_part &part : rova_adjdata_part_tbl)
        for (const adjdata_info *row = part.items; row->size != 0; row++)
            if (std::strcmp(row->name, name) == 0)
                return row;
    return nullptr;
}

const adjdata_info *rova_get_adjdata_info(uint64_t id)
{
    if (id == 0) {
        ROVA_LOG_ERR("id is invalid (id = 0) \n");
        return nullptr;
    }
    for (const adjdata_part &part : rova_adjdata_part_tbl)
        for (const adjdata_info *row = part.items; row->size != 0; row++)
            if (row->id == id)
                return row;
    return nullptr;
}

const adjdata_info *rova_find_adjdata_row(const adjdata_info *row, uint64_t id)
{
    for (; std::strcmp(row->name, "end") != 0; row++)
        if (row->id == id)
            return row;
    return nullptr;
}

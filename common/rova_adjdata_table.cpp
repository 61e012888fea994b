#include "common/rova_adjdata_table.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace
{

struct Item {
    const char *name;
    uint32_t size;
};

template <std::size_t N> using Table = std::array<adjdata_info, N + 1>;

consteval adjdata_info make_row(std::string_view name, uint64_t id, uint32_t size)
{
    adjdata_info row = {.name = {}, .id = id, .size = size};
    if (name.empty() || name.size() >= sizeof(row.name))
        throw "an item needs a name that fits its row";
    for (std::size_t i = 0; i < name.size(); i++)
        row.name[i] = name[i];
    return row;
}

// Items are packed: the sum of the sizes before an item is its offset, and so its id's low word.
template <std::size_t N> consteval Table<N> make_table(uint32_t high_word, const Item (&items)[N])
{
    Table<N> table = {};
    uint32_t offset = 0;
    for (std::size_t i = 0; i < N; i++) {
        table[i] = make_row(items[i].name, uint64_t{high_word} << 32 | offset, items[i].size);
        offset += items[i].size;
    }
    table[N] = make_row("end", 0, 0);
    return table;
}

template <std::size_t N> consteval uint32_t data_size(const std::array<adjdata_info, N> &table)
{
    uint32_t size = 0;
    for (const adjdata_info &row : table)
        size += row.size;
    return size;
}

template <std::size_t N> consteval bool names_differ(const std::array<adjdata_info, N> &table)
{
    for (std::size_t i = 0; i < N; i++)
        for (std::size_t j = 0; j < i; j++)
            if (std::string_view(table[i].name) == table[j].name)
                return false;
    return true;
}

// clang-format off
constexpr Item CAP_ITEMS[] = {
    {"CIS_SN", 4},
    {"CIS_CHIP_VERSION", 2},
    {"CIS_CLAMP_LEVEL", 2},
    {"CIS_PIXEL_NUM_B", 2},
    {"CIS_PIXEL_NUM_X", 2},
    {"CIS_PIXEL_NUM_T", 2},
    {"CIS_PIXEL_NUM_L", 2},
    {"CIS_PIXEL_NUM_S", 2},
    {"CIS_PIXEL_NUM_P", 2},
    {"CIS_LOT_NUMBER", 32},
    {"LENS_MOUNT_PIN_STATUS", 2},
    {"SS_OFFSET", 2},
    {"SS_AVR", 2},
    {"SS_VAR", 2},
    {"SS_MURA", 2},
    {"EFS_OFFSET", 4},
    {"EFS_COEFF1", 4},
    {"EFS_COEFF2", 4},
    {"EFS_COEFF3", 4},
    {"CIS_PIXEL_NUM_O", 2},
    {"CIS_PIXEL_NUM_W", 2},
    {"CIS_PIXEL_NUM_C", 2},
};
// clang-format on

constexpr auto rova_adjdata_cap_info = make_table(0x85601000, CAP_ITEMS);
static_assert(rova_adjdata_cap_info.size() == 22 + 1);
static_assert(data_size(rova_adjdata_cap_info) == 84);
static_assert(names_differ(rova_adjdata_cap_info));
static_assert(rova_adjdata_cap_info[0].id == ADJ_ID_CIS_SN);

constexpr adjdata_part rova_adjdata_part_tbl[] = {
    {5, rova_adjdata_cap_info.data(), data_size(rova_adjdata_cap_info)},
};

} // namespace

std::span<const adjdata_part> rova_adjdata_parts()
{
    return rova_adjdata_part_tbl;
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

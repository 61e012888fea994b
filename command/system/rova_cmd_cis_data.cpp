#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_cis_data.h"
#include "common/rova_log.h"

#include <array>
#include <cstring>

namespace
{

// The list's size, in bytes, that lies between the two is stored in adj_dpc.
constexpr int32_t PRESET_BYTES = sizeof(adj_dpc_data::DPC_PRESET_DATA);
constexpr int32_t DOT_DATA_SIZE_ABOVE = 0;
constexpr int32_t DOT_DATA_SIZE_BELOW = PRESET_BYTES + 1;

// A number of the dot file and its item.
struct item_row {
    const char *name;
    uint64_t id;
    uint32_t size;
    int32_t rova_cis_data::*number;
};

// clang-format off
#define ITEM(part, item, number)                                                                   \
    {#item, ADJ_ID_##item, sizeof(part::item), &rova_cis_data::number}
// clang-format on

constexpr item_row serial = ITEM(adj_cap_data, CIS_SN, serial);
constexpr item_row chip_version = ITEM(adj_cap_data, CIS_CHIP_VERSION, chip_ver);
constexpr item_row clamp_level = ITEM(adj_cap_data, CIS_CLAMP_LEVEL, clamp_level);
constexpr item_row list_size = ITEM(adj_dpc_data, DPC_PRESET_NUM, dot_data_size);
constexpr item_row count_b = ITEM(adj_cap_data, CIS_PIXEL_NUM_B, pixel_num_b);
constexpr item_row count_o = ITEM(adj_cap_data, CIS_PIXEL_NUM_O, pixel_num_o);
constexpr item_row count_t = ITEM(adj_cap_data, CIS_PIXEL_NUM_T, pixel_num_t);
constexpr item_row count_w = ITEM(adj_cap_data, CIS_PIXEL_NUM_W, pixel_num_w);
constexpr item_row count_c = ITEM(adj_cap_data, CIS_PIXEL_NUM_C, pixel_num_c);
constexpr item_row count_x = ITEM(adj_cap_data, CIS_PIXEL_NUM_X, pixel_num_x);
constexpr item_row count_s = ITEM(adj_cap_data, CIS_PIXEL_NUM_S, pixel_num_s);
constexpr item_row count_p = ITEM(adj_cap_data, CIS_PIXEL_NUM_P, pixel_num_p);
constexpr item_row count_l = ITEM(adj_cap_data, CIS_PIXEL_NUM_L, pixel_num_l);

#undef ITEM

// What is stored together, in order.
constexpr item_row sensor_items[] = {serial, chip_version, clamp_level};
constexpr item_row size_item[] = {list_size};
constexpr item_row count_items[] = {count_b, count_o, count_t, count_w, count_c,
                                    count_x, count_s, count_p, count_l};
constexpr item_row info_count_items[] = {count_p, count_s, count_l, count_t, count_x, count_b};

// The last item that a command stores in a partition saves it: flash is rewritten once.
constexpr int KEEP = 0;
constexpr int SAVE = 1;

int store_item(uint64_t id, const void *bytes, uint32_t size, int save, const char *name)
{
    if (rova_set_adjdata(id, bytes, size, save) != 0)
        return 1;
    ROVA_LOG_ERR("failed to rova_set_adjdata() ADJ_ID_%s\n", name);
    return 0;
}

// Items of 2 bytes take the lower half; the parser refuses what they do not hold.  `last` is KEEP
// or SAVE, for the last of the rows.
int store_numbers(std::span<const item_row> rows, int last, const rova_cis_data &data)
{
    for (const item_row &row : rows) {
        int32_t number = data.*row.number;
        int save = &row == &rows.back() ? last : KEEP;
        if (store_item(row.id, &number, row.size, save, row.name) == 0)
            return 0;
    }
    return 1;
}

// Saved with DPC_PRESET_NUM, which comes behind it.
int store_preset(const std::vector<rova_cis_pixel> &pixels)
{
    std::array<uint8_t, PRESET_BYTES> preset = {};
    std::memcpy(preset.data(), pixels.data(), std::span(pixels).size_bytes());
    return store_item(ADJ_ID_DPC_PRESET_DATA, preset.data(), preset.size(), KEEP,
                      "DPC_PRESET_DATA_SZ");
}

int load(int (*read)(std::vector<char> *), rova_cis_dots *dots)
{
    std::vector<char> text;
    if (read(&text) == 0)
        return 0;
    int parsed = rova_cis_data_parse(text, dots);
    if (dots->skipped > 0)
        ROVA_LOG_ERR("dot_data: %d lines begin like a pixel and are none \n", dots->skipped);
    if (parsed == 0)
        ROVA_LOG_ERR("dot_data: %s \n", dots->refused.c_str());
    return parsed;
}

int load_and_show(int (*read)(std::vector<char> *), rova_cis_dots *dots)
{
    if (load(read, dots) == 0)
        return 0;
    const rova_cis_data &data = dots->data;
    ROVA_LOG_INFO("cis_serial=%d, chip_ver=%d, clamp_level=%d, dot_data_size=%d \n", data.serial,
                  data.chip_ver, data.clamp_level, data.dot_data_size);
    ROVA_LOG_INFO("pixel (b=%d,o=%d,t=%d,w=%d,c=%d,x=%d,s=%d,p=%d,l=%d) \n", data.pixel_num_b,
                  data.pixel_num_o, data.pixel_num_t, data.pixel_num_w, data.pixel_num_c,
                  data.pixel_num_x, data.pixel_num_s, data.pixel_num_p, data.pixel_num_l);
    return 1;
}

// What follows the pixel list's own items.
int store_size_and_counts(const rova_cis_dots &dots)
{
    return store_numbers(size_item, SAVE, dots.data) != 0 &&
           rova_cis_data_write_pixels(dots.pixels) != 0 &&
           store_numbers(count_items, SAVE, dots.data) != 0;
}

// 1, or 0 on failure.  `record` may be NULL: where the data is, the files tell.
int rova_cis_data_adjust_script(const cmd_data * /*record*/)
{
    rova_cis_dots dots;
    return load_and_show(rova_cis_data_read, &dots) != 0 &&
           store_numbers(sensor_items, KEEP, dots.data) != 0 && store_size_and_counts(dots) != 0;
}

int adjust_from_pc()
{
    rova_cis_dots dots;
    if (load_and_show(rova_cis_data_read_pc, &dots) == 0)
        return 0;
    int32_t size = dots.data.dot_data_size;
    if (size <= DOT_DATA_SIZE_ABOVE || size >= DOT_DATA_SIZE_BELOW) {
        ROVA_LOG_ERR("dot_data_size(%d) is not valid (%d< <%d)\n", size, DOT_DATA_SIZE_ABOVE,
                     DOT_DATA_SIZE_BELOW);
        return 0;
    }
    return store_numbers(sensor_items, KEEP, dots.data) != 0 && store_preset(dots.pixels) != 0 &&
           store_size_and_counts(dots) != 0;
}

int store_counts_from_pc()
{
    rova_cis_dots dots;
    if (load(rova_cis_data_read_pc, &dots) == 0)
        return 0;
    const rova_cis_data &data = dots.data;
    ROVA_LOG_INFO("pixel (b=%d,x=%d,t=%d,s=%d,p=%d,l=%d) \n", data.pixel_num_b, data.pixel_num_x,
                  data.pixel_num_t, data.pixel_num_s, data.pixel_num_p, data.pixel_num_l);
    return store_numbers(info_count_items, SAVE, data);
}

// All answers are plain ones, to the PC too: none of these commands has a number to tell it.
int rova_cmd_cis_data_adjust(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type, rova_cis_data_adjust_script(record) != 0);
}

constexpr rova_cmd_entry cis_data_table[] = {
    {"adjust", rova_cmd_cis_data_adjust},
};
static_assert(rova_cmd_table_is_sound(cis_data_table));

} // namespace

int rova_cmd_cis_data(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(cis_data_table, "cis_data", cmd_type, record);
}

int rova_cmd_cis_data2(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, adjust_from_pc() != 0);
}

int rova_cmd_cis_data_info(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, store_counts_from_pc() != 0);
}

int rova_cmd_cis_data_file(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, rova_cis_data_adjust_script(nullptr) != 0);
}

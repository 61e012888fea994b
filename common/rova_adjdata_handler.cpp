#include "common/rova_adjdata_handler.h"

#include "common/rova_log.h"
#include "platform/pref.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

// The line of the file log that an operation begins is ended by the one raw text of its outcome.

namespace
{

// By pref id.
constexpr uint32_t HIGH_WORDS[] = {
    0x85480000,        0x854e0000,        0x85500000,       0x85580000, // hold no items
    adj_sys_high_word, adj_cap_high_word, adj_iq_high_word, adj_vfpn_high_word,
    adj_cs_high_word,  adj_dpc_high_word,
};

constexpr int FIRST_PART = 4, LAST_PART = 9;
constexpr int LAST_PART_OF_DEFAULT_ALL = 8; // the defect pixel lists outlive a reset of all

const char *item_name(uint64_t id)
{
    const adjdata_info *info = rova_get_adjdata_info(id);
    return info != nullptr ? info->name : "(null)";
}

uint8_t *item_address(void *image, uint64_t id)
{
    return static_cast<uint8_t *>(image) + PREF_HEADER_SIZE + static_cast<uint32_t>(id);
}

// The row of an item that `size` bytes may be written to, or NULL with the reason in both logs.
const adjdata_info *row_to_set(uint64_t id, uint32_t size)
{
    const adjdata_info *info = rova_get_adjdata_info(id);
    if (info == nullptr) {
        ROVA_LOG_ERR("adjdata_info is NULL (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", adjdata_info is NULL, NG \n");
        return nullptr;
    }
    info = rova_find_adjdata_row(info, id);
    if (info == nullptr) {
        ROVA_LOG_ERR("Not found on adjdata_info (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", Not found on adjdata_info, NG \n");
        return nullptr;
    }
    if (size != info->size) {
        const int adj_size = static_cast<int>(info->size);
        ROVA_LOG_ERR("size is different (id=0x%" PRIx64 ", adj_size=%d, size=%d) \n", id, adj_size,
                     static_cast<int>(size));
        rova_log_raw(", size is different (%s, %d), NG \n", info->name, adj_size);
        return nullptr;
    }
    return info;
}

int load_default(int pref_id)
{
    if (pref_load(pref_id, 1) >= 0)
        return 1;
    std::fprintf(stderr, "pref_load(id=%d) was failed! \n", pref_id);
    return 0;
}

int load_and_save_default(int pref_id)
{
    if (load_default(pref_id) == 0)
        return 0;
    pref_save(pref_id);
    return 1;
}

} // namespace

int rova_adjdata_pref_id(uint64_t id)
{
    int pref_id = 0;
    for (uint32_t high_word : HIGH_WORDS) {
        if (high_word == id >> 32)
            return pref_id;
        pref_id++;
    }
    return -1;
}

uint64_t rova_get_adjdata_id(const char *name, uint32_t *size_out)
{
    if (name == nullptr || name[0] == '\0') {
        ROVA_LOG_ERR("strId is invalid \n");
        return 0;
    }
    const adjdata_info *found = rova_find_adjdata(name);
    if (size_out != nullptr)
        *size_out = found != nullptr ? found->size : 0;
    return found != nullptr ? found->id : 0;
}

void *rova_get_adjdata(uint64_t id)
{
    if (id == 0) {
        ROVA_LOG_ERR("Invalid id (id=0x%" PRIx64 ") \n", id);
        return nullptr;
    }
    int pref_id = rova_adjdata_pref_id(id);
    if (pref_id < 0) {
        ROVA_LOG_ERR("pref_id is invalid (id=0x%" PRIx64 ") \n", id);
        rova_log("get_adjdata: pref_id is invalid (id=0x%" PRIx64 ") \n", id);
        return nullptr;
    }
    void *image = pref_get_addr(pref_id, nullptr);
    if (image == nullptr) {
        ROVA_LOG_ERR("pref_addr is NULL (id=0x%" PRIx64 ") \n", id);
        rova_log("pref_addr is NULL (id=0x%" PRIx64 ") \n", id);
        return nullptr;
    }
    ROVA_LOG_INFO("id=%s \n", item_name(id));
    return item_address(image, id);
}

bool rova_adjdata_is_number(uint32_t size)
{
    return size == 1 || size == 2 || size == 4;
}

int32_t rova_adjdata_number(const void *bytes, uint32_t size)
{
    if (!rova_adjdata_is_number(size))
        return 0;
    int32_t value = 0;
    std::memcpy(&value, bytes, size);
    switch (size) {
    case 1:
        return static_cast<int8_t>(value);
    case 2:
        return static_cast<int16_t>(value);
    default:
        return value;
    }
}

bool rova_read_adjdata_number(uint64_t id, uint32_t size, int32_t *number)
{
    const void *bytes = rova_get_adjdata(id);
    if (bytes == nullptr)
        return false;
    *number = rova_adjdata_number(bytes, size);
    return true;
}

int rova_set_adjdata(uint64_t id, const void *data, uint32_t size, int save)
{
    if (id == 0) {
        ROVA_LOG_ERR("Invalid id (id=0x%" PRIx64 ")\n", id);
        return 0;
    }
    rova_log("set_adjdata: 0x%" PRIx64 ", size=%d, save=%d", id, static_cast<int>(size), save);
    int pref_id = rova_adjdata_pref_id(id);
    if (pref_id < 0) {
        ROVA_LOG_ERR("pref_id is invalid (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", pref_id is invalid, NG \n");
        return 0;
    }
    void *image = pref_get_addr(pref_id, nullptr);
    if (image == nullptr) {
        ROVA_LOG_ERR("pref_addr is NULL (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", pref_addr is NULL, NG \n");
        return 0;
    }
    const adjdata_info *info = row_to_set(id, size);
    if (info == nullptr)
        return 0;
    std::memcpy(item_address(image, id), data, size);
    if (save != 0 && pref_save(pref_id) < 0) {
        ROVA_LOG_ERR("pref_save()failed (pref_id=%d) \n", pref_id);
        rova_log_raw(", %s, pref_save(%d) failed, NG \n", info->name, pref_id);
        return 0;
    }
    ROVA_LOG_INFO("set_adjdata done \n");
    rova_log_raw(", %s, OK \n", info->name);
    return 1;
}

int rova_save_adjdata(uint64_t id)
{
    if (id == 0) {
        ROVA_LOG_ERR("Invalid id (id=0x%" PRIx64 ")\n", id);
        return 0;
    }
    rova_log("save_adjdata: 0x%" PRIx64, id);
    int pref_id = rova_adjdata_pref_id(id);
    if (pref_id < 0) {
        ROVA_LOG_ERR("pref_id is invalid (id=0x%" PRIx64 ") \n", id);
        rova_log_raw(", pref_id is invalid, NG \n");
        return 0;
    }
    if (pref_save(pref_id) < 0) {
        ROVA_LOG_ERR("pref_save() failed (pref_id=%d) \n", pref_id);
        rova_log_raw(", pref_save(%d) failed, NG \n", pref_id);
        return 0;
    }
    rova_log_raw(", OK \n");
    return 1;
}

int rova_save_adjdata_all()
{
    for (int pref_id = FIRST_PART; pref_id <= LAST_PART; pref_id++)
        pref_save(pref_id);
    return 1;
}

int rova_save_adjdata_part(int pref_id)
{
    if (pref_id < FIRST_PART || pref_id > LAST_PART) {
        rova_log_raw("pref id invalid (%d), NG \n", pref_id);
        return 0;
    }
    pref_save(pref_id);
    return 1;
}

int rova_load_default_adjdata_all()
{
    for (int pref_id = FIRST_PART; pref_id <= LAST_PART_OF_DEFAULT_ALL; pref_id++) {
        load_default(pref_id);
        pref_save(pref_id);
    }
    return 1;
}

int rova_load_default_adj_sys()
{
    return load_and_save_default(4);
}

int rova_load_default_adj_cap()
{
    return load_and_save_default(5);
}

int rova_load_default_adj_iq()
{
    return load_and_save_default(6);
}

int rova_load_default_adj_vfpn()
{
    return load_and_save_default(7);
}

int rova_load_default_adj_cs()
{
    return load_and_save_default(8);
}

int rova_load_default_adj_dpc()
{
    return load_and_save_default(9);
}

int rova_save_default_adjdata()
{
    for (const adjdata_part &part : rova_adjdata_parts())
        if (pref_get_name(static_cast<int>(part.pref_id)) != nullptr)
            pref_save_default_to_file(static_cast<int>(part.pref_id), part.default_image,
                                      part.data_size);
    return 1;
}

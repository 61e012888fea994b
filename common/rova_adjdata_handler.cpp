#include "common/rova_adjdata_handler.h"

#include "common/rova_adjdata_table.h"
#include "common/rova_log.h"
#include "platform/pref.h"

#include <cinttypes>

namespace
{

// By pref id.
constexpr uint32_t HIGH_WORDS[] = {
    0x85480000, 0x854e0000, 0x85500000, 0x85580000, // no adjustment partitions, but they have ids
    0x85600000,                                     // adj_sys
    0x85601000,                                     // adj_cap
    0x85602000,                                     // adj_iq
    0x85603000,                                     // adj_vfpn
    0x85609000,                                     // adj_cs
    0x85619000,                                     // adj_dpc
};

const char *item_name(uint64_t id)
{
    const adjdata_info *info = rova_get_adjdata_info(id);
    return info != nullptr ? info->name : "(null)";
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
    return static_cast<char *>(image) + PREF_HEADER_SIZE + static_cast<uint32_t>(id);
}

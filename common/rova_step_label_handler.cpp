#include "common/rova_step_label_handler.h"

#include "common/rova_log.h"
#include "common/rova_proc_mark_handler.h"

#include <cinttypes>
#include <platform/pref.h>

static int8_t *label_address()
{
    auto *image = static_cast<int8_t *>(pref_get_addr(ROVA_PREF_ID_LINE, nullptr));
    if (image != nullptr)
        return image + PREF_HEADER_SIZE;
    ROVA_LOG_ERR("pref_addr is NULL (id=0x%" PRIx64 ") \n", ROVA_PROC_MARK_STEP_LABEL);
    return nullptr;
}

int rova_set_step_label_value(int8_t value)
{
    int8_t *label = label_address();
    if (label == nullptr)
        return 0;
    *label = value;
    if (pref_save(ROVA_PREF_ID_LINE) < 0) {
        ROVA_LOG_ERR("pref_save(PREF_ID_LINE) failed \n");
        return 0;
    }
    return 1;
}

int rova_get_step_label_value()
{
    const int8_t *label = label_address();
    return label != nullptr ? *label : 0;
}

#include "command/system/rova_keymask.h"

#include "command/system/rova_key_driver.h"
#include "common/rova_util.h"

bool rova_keymask_change(uint32_t keys, bool masked)
{
    unsigned long mask = rova_sysfs_read_ulong(ROVA_KEYMASK_PATH);
    unsigned long bits = keys;
    return rova_sysfs_write_ulong(ROVA_KEYMASK_PATH, masked ? mask | bits : mask & ~bits) == 0;
}

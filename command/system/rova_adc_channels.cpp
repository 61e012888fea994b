#include "command/system/rova_adc_channels.h"

#include "common/rova_log.h"
#include "common/rova_util.h"

void rova_adc_set_update(int on)
{
    if (rova_sysfs_write_int(ROVA_ADC_UPDATE_PATH, on) < 0)
        ROVA_LOG_ERR("failed to write ROVA_SYSFS_UPDATE_SYSFS_PATH sysfs\n");
}

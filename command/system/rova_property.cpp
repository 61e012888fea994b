#include "command/system/rova_property.h"

#include "common/rova_log.h"

#include <platform/device.h>

bool rova_property_get(int type, int property, int *value)
{
    int ret = device_get_property(type, property, value);
    if (ret < 0)
        ROVA_LOG_ERR("device_get_property(%d, %d) failed (ret = %d) \n", type, property, ret);
    return ret >= 0;
}

bool rova_property_set(int type, int property, int value)
{
    int ret = device_set_property(type, property, value);
    if (ret < 0)
        ROVA_LOG_ERR("device_set_property(%d, %d, %d) failed (ret = %d) \n", type, property, value,
                     ret);
    return ret >= 0;
}

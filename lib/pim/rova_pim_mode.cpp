#include "lib/pim/rova_pim_mode.h"

#include "lib/pim/rova_pim_debug.h"

#include <atomic>

namespace
{

constinit std::atomic<int32_t> piMode = PI_MODE_NONE;

} // namespace

void SetPIMode(int32_t mode)
{
    piMode = mode;
    rova_pim_print("%s %d, Mode : %d\n", __func__, __LINE__, mode);
}

int32_t GetPIMode()
{
    return piMode;
}

#include "command/rova_cmd_result.h"

static uint32_t last_result;

uint32_t rova_cmd_get_result()
{
    return last_result;
}

void rova_cmd_set_result(uint32_t result)
{
    last_result = result;
}

#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"

static int mark_sample(uint32_t cmd_type, int32_t is_sample)
{
    bool saved = rova_set_adjdata(ADJ_ID_ENGINEERING_SAMPLE, &is_sample, sizeof(is_sample), 1) != 0;
    if (!saved)
        ROVA_LOG_ERR("failed to rova_set_adjdata() ADJ_ID_ENGINEERING_SAMPLE\n");
    return rova_cmd_answer(cmd_type, saved);
}

static int rova_cmd_sample_on(uint32_t cmd_type, cmd_data * /*record*/)
{
    return mark_sample(cmd_type, 1);
}

static int rova_cmd_sample_off(uint32_t cmd_type, cmd_data * /*record*/)
{
    return mark_sample(cmd_type, 0);
}

static constexpr rova_cmd_entry sample_table[] = {
    {"on", rova_cmd_sample_on},
    {"off", rova_cmd_sample_off},
};
static_assert(rova_cmd_table_is_sound(sample_table));

// The second word is a value here, so another one is answered: no PC waits in vain for it.
int rova_cmd_sample(uint32_t cmd_type, cmd_data *record)
{
    if (rova_cmd_run_sub(sample_table, "sample", cmd_type, record) != 0)
        return 1;
    return rova_cmd_ng(cmd_type);
}

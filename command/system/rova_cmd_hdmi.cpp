#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/rova_wait.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_fake_key.h"

#include <platform/display.h>

namespace
{

constexpr useconds_t PLUG_POLL_US = 100000;
constexpr unsigned int PLUG_LOOKS = 100;
constexpr useconds_t MODE_POLL_US = 500000;
constexpr unsigned int MODE_LOOKS = 10;

// The display service's numbers for where the picture goes, and for the mode once it is there.
constexpr int PICTURE_ON_DEVICE = 1;
constexpr int PICTURE_ON_PANEL = 2;
constexpr int MODE_ON_DEVICE = 2;

struct hdmi_row {
    const char *name;
    int connected;
    int picture;
};

constexpr hdmi_row hdmi_words[] = {
    {"in", 1, PICTURE_ON_DEVICE},
    {"out", 0, PICTURE_ON_PANEL},
};

rova_look look_for(int wanted, const char *call, int state)
{
    if (!rova_cmd_succeeded(call, state))
        return rova_look::bad;
    return state == wanted ? rova_look::good : rova_look::again;
}

// ------------------------------------------------------------------------- wait

bool wait_for_plug(int wanted)
{
    auto look = [=] {
        return look_for(wanted, "utilx_get_hdmi_connect_state", utilx_get_hdmi_connect_state());
    };
    return rova_wait(PLUG_POLL_US, look, PLUG_LOOKS);
}

int rova_cmd_hdmi_wait(uint32_t cmd_type, cmd_data *record)
{
    const hdmi_row *row = rova_cmd_find_named(hdmi_words, record);
    return rova_cmd_answer(cmd_type, row != nullptr && wait_for_plug(row->connected));
}

// ------------------------------------------------------------------------- set

bool wait_for_mode(int wanted)
{
    auto look = [=] {
        return look_for(wanted, "utilx_disp_get_tv_mode", utilx_disp_get_tv_mode());
    };
    return rova_wait(MODE_POLL_US, look, MODE_LOOKS);
}

// Back on the panel the mode tells whether a device is connected.
bool move_picture(int picture)
{
    int wanted = picture == PICTURE_ON_DEVICE ? MODE_ON_DEVICE : utilx_get_hdmi_connect_state();
    if (!rova_cmd_succeeded("utilx_get_hdmi_connect_state", wanted) ||
        !rova_cmd_succeeded("utilx_set_hdmi_state", utilx_set_hdmi_state(picture)))
        return false;
    // Open while the picture moves.  Nothing is asked of it: where there is none the mode still
    // tells.
    const rova_key_display display;
    return wait_for_mode(wanted);
}

int rova_cmd_hdmi_set(uint32_t cmd_type, cmd_data *record)
{
    const hdmi_row *row = rova_cmd_find_named(hdmi_words, record);
    return rova_cmd_answer(cmd_type, row != nullptr && move_picture(row->picture));
}

// ------------------------------------------------------------------------- mask, unmask

// The plug is no key: scripts name it among the keys all the same.
int rova_cmd_hdmi_mask(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type, record->p_count > 0);
}

constexpr rova_cmd_entry hdmi_table[] = {
    {"wait", rova_cmd_hdmi_wait},
    {"set", rova_cmd_hdmi_set},
    {"mask", rova_cmd_hdmi_mask},
    {"unmask", rova_cmd_hdmi_mask},
};
static_assert(rova_cmd_table_is_sound(hdmi_table));

} // namespace

int rova_cmd_hdmi(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(hdmi_table, "hdmi", cmd_type, record);
}

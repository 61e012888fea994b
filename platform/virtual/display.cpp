#include "platform/display.h"

#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <cstdlib>

namespace
{

constexpr int on_hdmi = 1;
constexpr int on_panel = 2;
constexpr int hdmi_mode = 2;

int display_value(const char *name, int otherwise)
{
    if (!virt::present())
        return -1;
    return static_cast<int>(virt::read_number(virt::file(name)).value_or(otherwise));
}

// On the panel the mode is 1 while a device is connected.  Asking here uses up no scripted value.
int panel_mode()
{
    bool connected =
        std::atoi(virt::read_file(virt::file("display/hdmi_connect_state")).c_str()) != 0;
    return connected ? 1 : 0;
}

// The mode follows the picture.
int move_picture(int state)
{
    if (!virt::present() || (state != on_hdmi && state != on_panel))
        return -1;
    int mode = state == on_hdmi ? hdmi_mode : panel_mode();
    bool good = virt::write_number(virt::file("display/hdmi_state"), state) &&
                virt::write_number(virt::file("display/tv_mode"), mode);
    return good ? 0 : -1;
}

} // namespace

int utilx_set_hdmi_state(int state)
{
    return virt::told("utilx_set_hdmi_state", nlohmann::json::array({state}), {},
                      [=] { return move_picture(state); });
}

int utilx_get_hdmi_connect_state(void)
{
    if (auto failure = virt::fault("utilx_get_hdmi_connect_state"))
        return static_cast<int>(*failure);
    return display_value("display/hdmi_connect_state", 0);
}

int utilx_disp_get_tv_mode(void)
{
    if (auto failure = virt::fault("utilx_disp_get_tv_mode"))
        return static_cast<int>(*failure);
    return display_value("display/tv_mode", 0);
}

#include "platform/virtual/touch.h"

#include "platform/factory_osd.h"
#include "platform/sys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <cstdlib>

namespace
{

// The screen's own test gives up where nobody touches.
constexpr int test_looks = 100;
constexpr useconds_t test_poll_us = 100000;

std::string state_place()
{
    return virt::file("touch/state");
}

bool change_state(factory_osd_touch_state state)
{
    return virt::write_number(state_place(), state);
}

int read_state()
{
    if (!virt::present())
        return -1;
    return static_cast<int>(virt::read_number(state_place()).value_or(FACTORY_OSD_TOUCH_IDLE));
}

int make_ready()
{
    if (!virt::present())
        return -1;
    bool good =
        virt::replace_file(virt::file("touch/points"), "") && change_state(FACTORY_OSD_TOUCH_READY);
    return good ? 0 : -1;
}

int run_test()
{
    if (make_ready() < 0)
        return -1;
    for (int looks = 0; looks < test_looks; looks++) {
        int state = read_state();
        if (state != FACTORY_OSD_TOUCH_READY)
            return state == FACTORY_OSD_TOUCH_TOUCHED ? 0 : -1;
        sys_usleep(test_poll_us);
    }
    return -1;
}

} // namespace

namespace virt
{

int touch_state()
{
    return std::atoi(read_file(state_place()).c_str());
}

std::string touch_points()
{
    return read_file(file("touch/points"));
}

bool touch_at(int x, int y)
{
    int state = touch_state();
    if (state == FACTORY_OSD_TOUCH_IDLE)
        return false;
    std::string point = std::to_string(x) + " " + std::to_string(y) + "\n";
    return replace_file(file("touch/points"), touch_points() + point) &&
           (state != FACTORY_OSD_TOUCH_READY || change_state(FACTORY_OSD_TOUCH_TOUCHED));
}

bool touch_as_ghost()
{
    return touch_state() != FACTORY_OSD_TOUCH_IDLE && change_state(FACTORY_OSD_TOUCH_GHOST);
}

} // namespace virt

int factory_osd_touch_ready(int draw_lines)
{
    return virt::told("factory_osd_touch_ready", nlohmann::json::array({draw_lines}), {},
                      make_ready);
}

int factory_osd_touch_test(void)
{
    return virt::told("factory_osd_touch_test", nlohmann::json::array(), {}, run_test);
}

int factory_osd_get_touch_state(void)
{
    if (auto failure = virt::fault("factory_osd_get_touch_state"))
        return static_cast<int>(*failure);
    return read_state();
}

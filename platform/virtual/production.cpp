#include "platform/production.h"

#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <iterator>
#include <unistd.h>

using nlohmann::json;

namespace
{

constexpr int lamp_states[] = {1, 2};
constexpr int charging_states[] = {0, 1};
constexpr int patterns[] = {0, 1, 11, 12, 13, 14};

constexpr char charging[] = "production/charging";

// Keeps `state` in the file `name` below virtual/ when it is one of the known ones.
template <std::size_t count>
int keep(const char *call, const char *name, const int (&known)[count], int state)
{
    return virt::told(call, json::array({state}), {}, [&] {
        bool good = virt::present() &&
                    std::find(std::begin(known), std::end(known), state) != std::end(known) &&
                    virt::write_number(virt::file(name), state);
        return good ? 0 : -1;
    });
}

// Charging that nobody has set follows the camera's own control.
int give_charging_back()
{
    if (!virt::present())
        return -1;
    return unlink(virt::file(charging).c_str()) == 0 || errno == ENOENT ? 0 : -1;
}

} // namespace

int set_charge_led(int state)
{
    return keep("set_charge_led", "production/charge_led", lamp_states, state);
}

int set_charging(int on)
{
    return keep("set_charging", charging, charging_states, on);
}

int set_statusLCD_production(int pattern)
{
    return keep("set_statusLCD_production", "production/status_lcd", patterns, pattern);
}

int release_from_factorymode(void)
{
    return virt::told("release_from_factorymode", json::array(), {}, give_charging_back);
}

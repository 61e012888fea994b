#include "platform/device.h"

#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <string>

namespace
{

std::string place_of(int type, int property)
{
    return virt::file("property/" + std::to_string(type) + "." + std::to_string(property));
}

} // namespace

int device_get_property(int type, int property, int *value)
{
    if (auto failure = virt::fault("device_get_property"))
        return static_cast<int>(*failure);
    if (!value || !virt::present())
        return -1;
    *value = static_cast<int>(virt::read_number(place_of(type, property)).value_or(0));
    return 0;
}

int device_set_property(int type, int property, int value)
{
    return virt::told("device_set_property", {type, property, value}, {}, [=] {
        return virt::present() && virt::write_number(place_of(type, property), value) ? 0 : -1;
    });
}

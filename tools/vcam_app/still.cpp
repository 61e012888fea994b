#include "tools/vcam_app/still.h"

#include "platform/virtual/capture.h"
#include "platform/virtual/root.h"
#include "platform/virtual/scene.h"
#include "platform/virtual/values.h"

#include <cstdio>
#include <string>

namespace vcam_app
{
namespace
{

constexpr long long MOST_STILLS = 9999; // the name has four digits

std::string counter()
{
    return virt::file("app/still_number");
}

long long number_of_latest()
{
    return virt::read_number(counter()).value_or(0);
}

} // namespace

bool take_still()
{
    if (!virt::picture_in_front()) {
        std::puts("no still: virtual/scene holds no picture");
        return true;
    }
    if (!virt::take_still())
        return false;
    // Its file comes behind its delivery: who asks for the name meanwhile gets the still before.
    virt::finish_stills();
    virt::write_number(counter(), number_of_latest() % MOST_STILLS + 1);
    return true;
}

const char *still_name()
{
    static char name[32];
    std::snprintf(name, sizeof(name), "IMG_%04lld.JPG", number_of_latest() % (MOST_STILLS + 1));
    return name;
}

} // namespace vcam_app

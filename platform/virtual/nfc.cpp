// The NFC manager: its state lies below virtual/radio/nfc, where others change it too.
#include "platform/nfc.h"

#include "platform/virtual/later.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <memory>
#include <string>
#include <utility>

using nlohmann::json;

namespace
{

constexpr int FAILED = NFC_MANAGER_OPERATION_FAILED;

std::string place(const char *name)
{
    return virt::file(std::string("radio/nfc/") + name);
}

bool is_on(const char *name)
{
    return virt::present() && virt::read_number(place(name)).value_or(0) != 0;
}

int put(const char *name, int on)
{
    return virt::write_number(place(name), on) ? 0 : FAILED;
}

// A fault with any other result than these is a warning: the operation is done all the same.
template <typename Work> int told(const char *call, const json &args, const Work &work)
{
    const int result = virt::told(call, args, {}, work);
    if (result != 0 && result != FAILED)
        work();
    return result;
}

// The switching whose end is to be told; gone once it has been.
std::unique_ptr<virt::Later> &switching()
{
    static std::unique_ptr<virt::Later> one;
    return one;
}

void finish(int on, nfc_manager_activation_callback callback)
{
    const std::unique_ptr<virt::Later> ended = std::exchange(switching(), nullptr);
    auto result = static_cast<int>(virt::read_number(place("result")).value_or(0));
    if (result == 0)
        result = put("chip", on);
    callback(result);
}

int set_activation(int on, nfc_manager_activation_callback callback)
{
    if (!callback || !is_on("manager"))
        return FAILED;
    switching() = std::make_unique<virt::Later>();
    switching()->after(virt::read_delay(place("delay")), [=] { finish(on, callback); });
    return 0;
}

int initialize()
{
    return virt::present() ? put("manager", 1) : FAILED;
}

int deinitialize()
{
    switching().reset();
    return is_on("manager") ? put("manager", 0) : FAILED;
}

} // namespace

int nfc_manager_initialize(void * /*option1*/, void * /*option2*/)
{
    return told("nfc_manager_initialize", json::array(), initialize);
}

int nfc_manager_deinitialize(void)
{
    return told("nfc_manager_deinitialize", json::array(), deinitialize);
}

int nfc_manager_set_activation(int on, nfc_manager_activation_callback callback, void * /*option*/)
{
    return told("nfc_manager_set_activation", json::array({on}),
                [=] { return set_activation(on, callback); });
}

int nfc_manager_is_activated(void)
{
    if (auto failure = virt::fault("nfc_manager_is_activated"))
        return static_cast<int>(*failure);
    return is_on("chip") ? 1 : 0;
}

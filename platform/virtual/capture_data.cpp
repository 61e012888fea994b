// Data items of the capture service, which any process may ask for.
#include "platform/capture.h"

#include "platform/virtual/faults.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <cstring>
#include <string>

namespace
{

constexpr char usual_lens_version[] = "1.00";

// A text that does not fit with its zero byte is not given.
int give_text(const std::string &text, void *data, int *size)
{
    if (*size < 0 || text.size() >= static_cast<std::size_t>(*size))
        return -1;
    std::memcpy(data, text.c_str(), text.size() + 1);
    *size = static_cast<int>(text.size());
    return 0;
}

} // namespace

int GetCaptureData(int item, void *data, int *size)
{
    if (auto failure = virt::fault("GetCaptureData"))
        return static_cast<int>(*failure);
    if (item != CAPTURE_DATA_LENS_FIRMWARE || !data || !size || !virt::present())
        return -1;
    std::string version =
        virt::read_value(virt::file("firmware/lens_version")).value_or(usual_lens_version);
    return give_text(version, data, size);
}

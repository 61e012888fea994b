// The WLAN test library: the radio's state lies below virtual/radio/wifi, where others change it
// too.
#include "platform/wlan.h"

#include "platform/sys.h"
#include "platform/virtual/later.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <sstream>
#include <string>

using nlohmann::json;

namespace
{

constexpr useconds_t LOOK_US = 10000;

enum : int {
    INVALID = -1,
    NOT_LOADED = 1,
    NOT_OPEN,
    BUSY,
    NOT_RUNNING,
    NOT_FOUND,
    NOT_STORED,
};

struct error_row {
    int code;
    const char *text;
};

constexpr error_row ERRORS[] = {
    {INVALID, "invalid argument"},    {NOT_LOADED, "driver not loaded"},
    {NOT_OPEN, "DUT not open"},       {BUSY, "busy"},
    {NOT_RUNNING, "not running"},     {NOT_FOUND, "network not found"},
    {NOT_STORED, "state not stored"},
};

std::string place(const char *name)
{
    return virt::file(std::string("radio/wifi/") + name);
}

std::string value_of(const char *name, const char *otherwise)
{
    return virt::read_value(place(name)).value_or(otherwise);
}

int stored(bool written)
{
    return written ? 0 : NOT_STORED;
}

// A call that never answers does so when the file says something else.
void take_time()
{
    virt::Delay delay = virt::read_delay(place("delay"));
    for (; !delay; delay = virt::read_delay(place("delay")))
        sys_usleep(LOOK_US);
    if (*delay > 0)
        sys_usleep(static_cast<useconds_t>(*delay * 1000));
}

// A call to the radio, once a driver runs.
template <typename Work>
int radio(const char *call, const json &args, std::initializer_list<const char *> texts,
          const Work &work)
{
    return virt::told(call, args, texts, [&] {
        if (!virt::present() || value_of("driver", "none") == "none")
            return int{NOT_LOADED};
        take_time();
        return static_cast<int>(work());
    });
}

// The same, with the radio opened for tests.
template <typename Work>
int dut(const char *call, const json &args, std::initializer_list<const char *> texts,
        const Work &work)
{
    return radio(call, args, texts, [&]() -> int {
        return virt::read_number(place("dut")).value_or(0) != 0 ? work() : NOT_OPEN;
    });
}

int set(const char *call, const char *setting, int value)
{
    return dut(call, {value}, {},
               [&] { return stored(virt::write_number(place(setting), value)); });
}

int start(const char *call, const char *mode)
{
    return dut(call, json::array(), {}, [&]() -> int {
        return value_of("mode", "idle") == "idle" ? stored(virt::write_value(place("mode"), mode))
                                                  : BUSY;
    });
}

int stop(const char *call, const json &args, const char *mode)
{
    return dut(call, args, {}, [&]() -> int {
        return value_of("mode", "idle") == mode ? stored(virt::write_value(place("mode"), "idle"))
                                                : NOT_RUNNING;
    });
}

int reading(const char *call, const char *name)
{
    if (auto failure = virt::fault(call))
        return static_cast<int>(*failure);
    return virt::present() ? static_cast<int>(virt::read_number(place(name)).value_or(0)) : 0;
}

// Whether one of the access points in range carries this name, on this band unless it is empty.
bool in_range(const std::string &ssid, const std::string &band)
{
    std::istringstream points(virt::read_file(place("access_points")));
    for (std::string line; std::getline(points, line);) {
        std::string on, dbm, name;
        std::istringstream words(line);
        words >> on >> dbm;
        std::getline(words >> std::ws, name);
        if (name == ssid && (band.empty() || on == band))
            return true;
    }
    return false;
}

int join(const char *call, const char *ssid, const char *band)
{
    return dut(call, {ssid ? ssid : ""}, {ssid}, [&]() -> int {
        if (!ssid || !*ssid)
            return INVALID;
        return in_range(ssid, band) ? stored(virt::write_value(place("ssid"), ssid)) : NOT_FOUND;
    });
}

int open_dut()
{
    if (value_of("driver", "none") != "test")
        return NOT_LOADED;
    if (virt::read_number(place("dut")).value_or(0) != 0)
        return BUSY;
    return stored(virt::write_number(place("dut"), 1));
}

int close_dut()
{
    return stored(virt::write_value(place("mode"), "idle") && virt::write_number(place("dut"), 0));
}

} // namespace

int MRVL_RFT_OpenDUT(void)
{
    return radio("MRVL_RFT_OpenDUT", json::array(), {}, open_dut);
}

int MRVL_RFT_CloseDUT(void)
{
    return radio("MRVL_RFT_CloseDUT", json::array(), {}, close_dut);
}

int MRVL_RFT_SetBandAG(int band)
{
    return set("MRVL_RFT_SetBandAG", "band", band);
}

int MRVL_RFT_SetChannelBw(int width)
{
    return set("MRVL_RFT_SetChannelBw", "band_width", width);
}

int MRVL_RFT_Channel(int channel)
{
    return set("MRVL_RFT_Channel", "channel", channel);
}

int MRVL_RFT_TxDataRate(int rate)
{
    return set("MRVL_RFT_TxDataRate", "data_rate", rate);
}

int MRVL_RFT_SetPreamble(int preamble)
{
    return set("MRVL_RFT_SetPreamble", "preamble", preamble);
}

int MRVL_RFT_SetShortGI(int on)
{
    return set("MRVL_RFT_SetShortGI", "short_gi", on);
}

int MRVL_RFT_TxGain(int gain)
{
    return set("MRVL_RFT_TxGain", "tx_gain", gain);
}

int MRVL_RFT_TxPayloadLength(int length)
{
    return set("MRVL_RFT_TxPayloadLength", "payload_length", length);
}

int MRVL_RFT_TxBurstInterval(int interval)
{
    return set("MRVL_RFT_TxBurstInterval", "burst_interval", interval);
}

int MRVL_RFT_TxStart(void)
{
    return start("MRVL_RFT_TxStart", "tx");
}

int MRVL_RFT_TxStop(void)
{
    return stop("MRVL_RFT_TxStop", json::array(), "tx");
}

int MRVL_RFT_RxStart(void)
{
    return start("MRVL_RFT_RxStart", "rx");
}

int MRVL_RFT_RxStop(int option)
{
    return stop("MRVL_RFT_RxStop", {option}, "rx");
}

int MRVL_RFT_FRError(void)
{
    return reading("MRVL_RFT_FRError", "error_frames");
}

int MRVL_RFT_FRGood(void)
{
    return reading("MRVL_RFT_FRGood", "good_frames");
}

int MRVL_RFT_Get_RSSI(void)
{
    return reading("MRVL_RFT_Get_RSSI", "rssi");
}

int MRVL_RFT_SetSSID(const char *ssid)
{
    return join("MRVL_RFT_SetSSID", ssid, "");
}

int MRVL_RFT_SetSSID_24G(const char *ssid)
{
    return join("MRVL_RFT_SetSSID_24G", ssid, "2.4");
}

int MRVL_RFT_SetSSID_5G(const char *ssid)
{
    return join("MRVL_RFT_SetSSID_5G", ssid, "5");
}

const char *MRVL_RFT_GetErrorString(int code)
{
    if (virt::fault("MRVL_RFT_GetErrorString"))
        return nullptr;
    for (const error_row &row : ERRORS)
        if (row.code == code)
            return row.text;
    return "unknown error";
}

void Wlan_Status_Check(int code)
{
    if (!virt::fault("Wlan_Status_Check") && virt::present())
        virt::write_number(place("status"), code);
    virt::record("Wlan_Status_Check", {code});
}

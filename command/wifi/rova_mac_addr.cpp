#include "command/wifi/rova_mac_addr.h"

#include "command/rova_cmd_util.h"
#include "command/wifi/rova_cmd_wireless.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_osd.h"

#include <cstring>

namespace
{

constexpr int OSD_ROW = 2;
constexpr std::size_t LENGTH = 12;

// "0123456789AB" as "01:23:45:67:89:AB"; what stands in it is not judged.
std::string with_colons(const std::string &text)
{
    std::string colons = text.substr(0, 2);
    for (std::size_t at = 2; at < text.size(); at += 2)
        colons.append(":").append(text, at, 2);
    return colons;
}

int refuse(const rova_mac_addr &address, uint32_t cmd_type, int error, const char *text)
{
    ROVA_LOG_ERR("SET %s MAC: ERROR%d[%s]", address.radio, error, text);
    rova_osd_printf(OSD_ROW, "SET %s MAC: ERROR%d[%s]", address.radio, error, text);
    return rova_cmd_ng(cmd_type);
}

bool tell(const rova_mac_addr &address, const std::string &text)
{
    if (text.size() != LENGTH) {
        ROVA_LOG_ERR("GET %s MAC: ERROR\n", address.radio);
        rova_osd_printf(OSD_ROW, "GET %s MAC: ERROR[%s]", address.radio, text.c_str());
        return false;
    }
    const std::string colons = with_colons(text);
    ROVA_LOG_RADIO("GET %s MAC: OK[%d]= %s\n", address.radio, static_cast<int>(text.size()),
                   colons.c_str());
    rova_osd_printf(OSD_ROW, "GET %s MAC: OK[%s]", address.radio, colons.c_str());
    return true;
}

} // namespace

std::string rova_mac_addr_read(const rova_mac_addr &address)
{
    const auto *item = static_cast<const char *>(rova_get_adjdata(address.item));
    return item == nullptr ? "" : std::string(item, strnlen(item, LENGTH));
}

int rova_mac_addr_set(const rova_mac_addr &address, uint32_t cmd_type, const cmd_data *record)
{
    if (record->p_count < 2) {
        rova_osd_printf(OSD_ROW, "SET %s MAC: ERROR0[no param]", address.radio);
        return rova_cmd_ng(cmd_type);
    }
    const char *text = record->p[1];
    ROVA_LOG_RADIO("rova_cmd_%s_addr_set : mac address [%s]", address.family, text);
    if (std::strlen(text) != LENGTH)
        return refuse(address, cmd_type, 1, text);
    if (rova_set_adjdata(address.item, text, LENGTH, 1) == 0)
        return refuse(address, cmd_type, 3, text);
    if (!address.write_file(with_colons(text)))
        return refuse(address, cmd_type, 2, text);
    ROVA_LOG_RADIO("SET %s MAC: OK[%s]", address.radio, text);
    rova_osd_printf(OSD_ROW, "SET %s MAC: OK[%s]", address.radio, text);
    return rova_cmd_ok(cmd_type);
}

// Without a CSV file, with no card in, only the row is lost.
int rova_mac_addr_get(const rova_mac_addr &address, uint32_t cmd_type, const cmd_data *record)
{
    const std::string text = rova_mac_addr_read(address);
    if (record->p_count == 0)
        return rova_cmd_ng(cmd_type);
    ROVA_LOG_RADIO("%s MAC in NAND [%d]= %s\n", address.radio, static_cast<int>(text.size()),
                   text.c_str());
    rova_resp_stream stream = {};
    rova_csv_handle csv = rova_csv_create(address.csv, address.csv_heading);
    const bool good = tell(address, text);
    if (good)
        rova_csv_write(csv, "%s", text.c_str());
    if (good || csv != nullptr)
        rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, good, &stream);
}

#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_in_out.h"
#include "command/wifi/rova_cmd_wireless.h"
#include "command/wifi/rova_nested_loop.h"
#include "common/rova_csv.h"
#include "common/rova_guard.h"
#include "common/rova_util.h"

#include <platform/nfc.h>
#include <platform/sys.h>
#include <string>
#include <sys/stat.h>

namespace
{

constexpr char SUPPORT_CARD[] = "/sys/devices/platform/dw_mmc_sdio.0/support_card";
constexpr char TAG_FILE[] = "/opt/etc/nfctag.info";
constexpr std::size_t TAG_SIZE = 1024;

// ------------------------------------------------------------------------- chip

rova_nested_loop *nfc_main_loop; // while the end of a switching is waited for

void rova_cmd_set_activation_completed_cb(int result)
{
    ROVA_LOG_RADIO("set_activation_completed_cb  ret(%d) \n", result);
    if (nfc_main_loop != nullptr)
        nfc_main_loop->quit();
}

// Other results than these two are warnings and pass.
bool succeeded(const char *handler, const char *call, int result)
{
    if (result == 0)
        ROVA_LOG_RADIO("%s:%s - Operation succeeded!\n", handler, call);
    if (result == NFC_MANAGER_OPERATION_FAILED)
        ROVA_LOG_ERR("%s:%s - Operation failed!\n", handler, call);
    return result != NFC_MANAGER_OPERATION_FAILED;
}

bool begin_switching(const char *handler, int on)
{
    return succeeded(handler, "nfc_manager_set_activation",
                     nfc_manager_set_activation(on, rova_cmd_set_activation_completed_cb, nullptr));
}

bool switch_on()
{
    constexpr char HANDLER[] = "rova_cmd_nfc_on";
    return succeeded(HANDLER, "nfc_manager_initialize", nfc_manager_initialize(nullptr, nullptr)) &&
           begin_switching(HANDLER, 1) && nfc_main_loop->run();
}

bool switch_off()
{
    constexpr char HANDLER[] = "rova_cmd_nfc_off";
    if (!begin_switching(HANDLER, 0))
        return false;
    const bool told = nfc_main_loop->run();
    return succeeded(HANDLER, "nfc_manager_deinitialize", nfc_manager_deinitialize()) && told;
}

// The manager tells its events to the loop of the command that asked for them.
bool with_main_loop(bool (*work)())
{
    rova_nested_loop loop;
    nfc_main_loop = &loop;
    const bool done = work();
    nfc_main_loop = nullptr;
    return done;
}

int rova_cmd_nfc_on(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type, record->p_count > 0 && with_main_loop(switch_on));
}

bool release_support_card()
{
    const bool written = rova_sysfs_write_int(SUPPORT_CARD, 0) == 0;
    if (!written)
        ROVA_LOG_ERR("failed to write %s (%s) \n", SUPPORT_CARD, rova_reason());
    return written;
}

int rova_cmd_nfc_off(uint32_t cmd_type, cmd_data *record)
{
    const bool off = record->p_count > 0 && with_main_loop(switch_off);
    const bool released = release_support_card();
    return rova_cmd_answer(cmd_type, off && released);
}

// ------------------------------------------------------------------------- tag

off_t size_of(std::FILE *file)
{
    struct stat status = {};
    return fstat(fileno(file), &status) == 0 ? status.st_size : 0;
}

bool read_tag_file(std::string &tag)
{
    const rova_file file(sys_fopen(TAG_FILE, "re"));
    if (!file) {
        ROVA_LOG_ERR("%s open error\n", TAG_FILE);
        return false;
    }
    const off_t size = size_of(file.get());
    if (size < 1) {
        ROVA_LOG_ERR("file size is less \n");
        return false;
    }
    ROVA_LOG_RADIO("rova_cmd_nfc_read_taginfo file size %d\n", static_cast<int>(size));
    tag.resize(TAG_SIZE);
    tag.resize(std::fread(tag.data(), 1, tag.size(), file.get()));
    if (tag.empty())
        ROVA_LOG_ERR("file size read is %d and it is less than %d\n", static_cast<int>(tag.size()),
                     static_cast<int>(size));
    return !tag.empty();
}

bool read_tag(const cmd_data *record, std::string &tag)
{
    if (record->p_count == 0) {
        ROVA_LOG_ERR("rova_cmd_nfc_read_taginfo fail\n");
        return false;
    }
    if (nfc_manager_is_activated() == 0) {
        ROVA_LOG_ERR("NFC is not activated. Activate First.\n");
        return false;
    }
    const bool good = read_tag_file(tag);
    if (good)
        ROVA_LOG_RADIO("mrvl_api_read_nfc_tag end.");
    return good;
}

// The row is written in any case; without a CSV file, with no card in, only it is lost.
int rova_cmd_nfc_read_taginfo(uint32_t cmd_type, cmd_data *record)
{
    std::string tag;
    const bool good = read_tag(record, tag);
    rova_resp_stream stream = {};
    rova_csv_handle csv = rova_csv_create("nfc_tag.csv", "tag_data");
    rova_csv_write(csv, "%s", tag.c_str());
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, good, &stream);
}

// ------------------------------------------------------------------------- events

int rova_cmd_nfc_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, {.property = 14, .in = 1, .out = 0});
}

int rova_cmd_nfc_tag_event_cb(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count == 0)
        ROVA_LOG_ERR("rova_cmd_nfc_tag_event_cb fail\n");
    return rova_cmd_answer(cmd_type, record->p_count > 0);
}

constexpr rova_cmd_entry nfc_table[] = {
    // clang-format off
    {"wait",         rova_cmd_nfc_wait},
    {"nfc_on",       rova_cmd_nfc_on},
    {"nfc_off",      rova_cmd_nfc_off},
    {"read_taginfo", rova_cmd_nfc_read_taginfo},
    {"tag_event_cb", rova_cmd_nfc_tag_event_cb},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(nfc_table));

} // namespace

int rova_cmd_nfc(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(nfc_table, "nfc", cmd_type, record);
}

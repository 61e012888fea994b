#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <platform/capture.h>
#include <platform/factory_osd.h>
#include <platform/firmware.h>
#include <platform/sys.h>
#include <strings.h>

namespace
{

// ------------------------------------------------------------------------- check

constexpr uint32_t FIRST_VALUE = 2;
constexpr uint32_t VALUES_MAX = 3;

uint32_t value_count(const cmd_data *record)
{
    return record->p_count - FIRST_VALUE;
}

// What a message calls check value `index` of `count`.
const char *ordinal(uint32_t index, uint32_t count)
{
    static constexpr const char *words[VALUES_MAX] = {"1st ", "2nd ", "3rd "};
    return count == 1 ? "" : words[index];
}

// Whether the version equals any of the check values; each one is told when none does.
bool text_passes(const char *version, const cmd_data *record)
{
    uint32_t count = value_count(record);
    for (uint32_t i = 0; i < count; i++)
        if (std::strcmp(version, record->p[FIRST_VALUE + i]) == 0)
            return true;
    for (uint32_t i = 0; i < count; i++)
        ROVA_LOG_ERR("value(%s) != %scheck_val(%s) \n", version, ordinal(i, count),
                     record->p[FIRST_VALUE + i]);
    return false;
}

bool number_passes(uint32_t version, const cmd_data *record)
{
    uint32_t count = value_count(record);
    long long values[VALUES_MAX];
    for (uint32_t i = 0; i < count; i++) {
        values[i] = std::strtol(record->p[FIRST_VALUE + i], nullptr, 10);
        if (values[i] == version)
            return true;
    }
    for (uint32_t i = 0; i < count; i++)
        ROVA_LOG_ERR("value(%d) != %scheck_val(%d) \n", static_cast<int>(version),
                     ordinal(i, count), static_cast<int>(values[i]));
    return false;
}

// With more check values than are looked at, the body fails and the other two pass, whatever their
// versions.
bool has_too_many_values(const cmd_data *record)
{
    return value_count(record) > VALUES_MAX;
}

bool check_body(const cmd_data *record)
{
    return !has_too_many_values(record) && text_passes(get_fw_version_short(), record);
}

bool check_lens(const cmd_data *record)
{
    char text[64] = "";
    int size = sizeof(text) - 1;
    int ret = GetCaptureData(CAPTURE_DATA_LENS_FIRMWARE, text, &size);
    if (ret < 0) {
        ROVA_LOG_ERR("failed to GetCaptureData(%d) (ret=%d) \n", CAPTURE_DATA_LENS_FIRMWARE, ret);
        return false;
    }
    ROVA_LOG_NOTICE("\033[33mlens firmware_ver = %s, size=%d\n", text, size);
    return has_too_many_values(record) || text_passes(text, record);
}

bool check_micom(const cmd_data *record)
{
    uint32_t version = 0;
    uint32_t status = 0;
    if (get_micom_version(&version, &status) < 0) {
        ROVA_LOG_ERR("failed ot get_micom_version()\n");
        return false;
    }
    ROVA_LOG_NOTICE("\033[33mmicom ver=%x, status=%x\n", version, status);
    return has_too_many_values(record) || number_passes(version, record);
}

struct check_target {
    const char *word;
    bool (*check)(const cmd_data *record);
};

constexpr check_target check_targets[] = {
    {"body", check_body},
    {"lens", check_lens},
    {"micom", check_micom},
};

int rova_cmd_firmware_check(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count <= FIRST_VALUE)
        return rova_cmd_ng(cmd_type);
    for (const check_target &target : check_targets)
        if (strcasecmp(target.word, record->p[1]) == 0)
            return rova_cmd_answer(cmd_type, target.check(record));
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- update

constexpr std::size_t NAME_SIZE = 64;
constexpr char CARD[] = "/mnt/mmc";

int update_lens(uint32_t cmd_type, cmd_data *record, const char * /*name*/)
{
    rova_osd_printf(1, "lens upgrade");
    return rova_cmd_ipcc_exec(cmd_type, record);
}

// Whether the micro-controller took the update shows when its version is checked.
int update_micom(uint32_t cmd_type, cmd_data * /*record*/, const char * /*name*/)
{
    rova_osd_printf(1, "micom upgrade");
    sys_system("micom_updater tstop");
    sys_system("micom_updater update /sdcard/micom.hex");
    return rova_cmd_ok(cmd_type);
}

int start_upgrade(uint32_t cmd_type, const char *name)
{
    char file[NAME_SIZE + sizeof(".bin")];
    std::snprintf(file, sizeof(file), "%s.bin", name);
    int ret = fw_start_upgrade(file);
    if (ret < 0)
        ROVA_LOG_ERR("fw_start_upgrade(%s) failed (ret=%d) \n", file, ret);
    return rova_cmd_answer(cmd_type, ret >= 0);
}

// NG although nothing failed: a script that updates the body stops once that is done.
int tell_complete(uint32_t cmd_type)
{
    factory_osd_text_size_set(80);
    factory_osd_text_color_set(9);
    rova_osd_printf(4, "UPGRADE");
    rova_osd_printf(5, "COMPLETE!!");
    return rova_cmd_ng(cmd_type);
}

int update_body(uint32_t cmd_type, cmd_data * /*record*/, const char *name)
{
    char path[sizeof(CARD) + NAME_SIZE + sizeof("/.bin")];
    std::snprintf(path, sizeof(path), "%s/%s.bin", CARD, name);
    fw_info info = {};
    if (fw_validate(&info, path) < 0) {
        ROVA_LOG_ERR("firmware(%s) is not valid !! \n", path);
        return rova_cmd_ng(cmd_type);
    }
    if (fw_get_info(&info, path) < 0) {
        ROVA_LOG_ERR("fw_get_info(%s) failed \n", path);
        return rova_cmd_ng(cmd_type);
    }
    const char *version = get_fw_version_short();
    if (std::strcmp(version, info.version) != 0)
        return start_upgrade(cmd_type, name);
    ROVA_LOG_INFO("value(%s) == check_val(%s) \n", version, info.version);
    return tell_complete(cmd_type);
}

// `name` is the project name in small letters, which names the body's file.
struct update_target {
    const char *word;
    int (*update)(uint32_t cmd_type, cmd_data *record, const char *name);
};

constexpr update_target update_targets[] = {
    {"body", update_body},
    {"lens", update_lens},
    {"micom", update_micom},
};

void copy_small_letters(const char *text, char (&small)[NAME_SIZE])
{
    std::snprintf(small, sizeof(small), "%s", text);
    for (char *letter = small; *letter != '\0'; letter++)
        *letter = static_cast<char>(std::tolower(static_cast<unsigned char>(*letter)));
}

int rova_cmd_firmware_update(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count <= 1)
        return rova_cmd_ng(cmd_type);

    const char *name = get_project_name();
    char small[NAME_SIZE];
    copy_small_letters(name, small);
    ROVA_LOG_NOTICE("\033[33mproject_name = %s, small=%s \n", name, small);

    for (const update_target &target : update_targets)
        if (strcasecmp(target.word, record->p[1]) == 0)
            return target.update(cmd_type, record, small);
    return rova_cmd_ok(cmd_type);
}

constexpr rova_cmd_entry firmware_table[] = {
    {"check", rova_cmd_firmware_check},
    {"update", rova_cmd_firmware_update},
};
static_assert(rova_cmd_table_is_sound(firmware_table));

} // namespace

int rova_cmd_firmware(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(firmware_table, "firmware", cmd_type, record);
}

// vcam create: the file tree of a camera, with what its programs and files are on a PC.
#include "command/system/rova_accel_driver.h"
#include "common/rova_adjdata_table.h"
#include "platform/pref.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/motion.h"
#include "platform/virtual/pref.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/key_driver.h"
#include "tools/vcam/media.h"
#include "tools/vcam/sensor.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <cstdio>

namespace vcam
{
namespace
{

constexpr const char *FOLDERS[] = {
    "sdcard",
    "mnt",
    "tmp",
    "opt/share/rova",
    "opt/storage",
    "var/run/memory/private",
    "dev",
    "usr/bin",
    "virtual",
    "virtual/app/answer",
    "virtual/scene",
    "opt/etc",
    "usr/etc/bluetooth",
    "virtual/sensor",
    "virtual/radio/bluetooth",
    "virtual/radio/nfc",
    "virtual/radio/wifi",
};

// The card's other names.
struct link_row {
    const char *path;
    const char *target;
};

constexpr link_row CARD_LINKS[] = {
    {"/mnt/mmc", "../sdcard"},
    {"/opt/storage/sdcard", "../../sdcard"},
};

struct file_row {
    const char *path;
    const char *text;
};

constexpr file_row FILES[] = {
    {"dev/fb0", ""},
    {"dev/lsm", ""},
    {"opt/etc/nfctag.info", "LUMEN1-NFC"},
    {"sys/devices/platform/dw_mmc_sdio.0/support_card", "1\n"},
    {"sys/devices/platform/m7-adc-battery/adc_spec",
     "0 6200 off\n1 6500 empty\n2 6800 low\n3 7200 half\n4 7600 high\n5 8400 full\n"},
    {"sys/devices/platform/m7-keys/grip_key", "0\n"},
    {"sys/devices/platform/m7-keys/key_unmask_on_boot", "1\n"},
    {"sys/devices/platform/m7_tsu/cpu", "40\n"},
    {"sys/devices/platform/m7_tsu/isp", "35\n"},
    {"sys/devices/platform/movra7_wdt/boot_shutdown", "0\n"},
    {"sys/devices/platform/movra7_wdt/timer", "0\n"},
    {"virtual/property/4.0", "7800\n"},
};

constexpr int REST_DEGREES = 25; // of the image sensor

// What belongs to the battery's voltage above.
constexpr char BATTERY_LEVEL_KEY[] = "memory/sysman/battery_status_low";
constexpr int REST_LEVEL = 4;

// Every stand-in begins with this: it notes its call as the platform's calls are noted.  It uses
// the shell's own commands only, since the camera's programs come first in PATH.
constexpr char STAND_IN_HEAD[] = R"(#!/bin/bash
# Stand-in for a program of the camera, written by vcam create.
root=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd -P)
name=${0##*/}

note() {
    local now args="" word
    read -r now _ </proc/uptime
    for word in "$@"; do
        word=${word//\\/\\\\}
        args+=",\"${word//\"/\\\"}\""
    done
    printf '{"time":%s,"pid":%d,"call":"%s","args":[%s],"result":0}\n' \
        "$now" $$ "$name" "${args#,}" >>"$root/virtual/calls.jsonl"
}
note "$@"
)";

// Power is gone at once: nothing of this camera gets a chance to clean up.  A process is the
// camera's when it carries the camera's root and one of these names, never by one of them alone.
constexpr char POWER_CUT[] = R"(
is_ours() {
    local words word
    mapfile -d '' -t words <"$1/cmdline"
    case ${words[0]} in
    /usr/bin/rovad | /usr/bin/mtp-responder | /usr/bin/camera-app | /usr/bin/sensord) ;;
    *) return 1 ;;
    esac
    mapfile -d '' -t words <"$1/environ"
    for word in "${words[@]}"; do
        case $word in
        ROVA_SYSROOT=/*) [ "${word#*=}" -ef "$root" ] && return 0 ;;
        ROVA_SYSROOT=?*) [ "$1/cwd/${word#*=}" -ef "$root" ] && return 0 ;;
        esac
    done
    return 1
}

{
    for process in /proc/[0-9]*; do
        is_ours "$process" && kill -KILL "${process##*/}"
    done
} 2>/dev/null
exit 0
)";

constexpr char RESPOND[] = R"(
exec -a /usr/bin/mtp-responder sleep infinity
)";

// Another driver finds the radio closed.
constexpr char LOAD_DRIVER[] = R"(
load() {
    local radio=$root/virtual/radio/wifi
    echo "$1" >"$radio/driver" && echo 0 >"$radio/dut" && echo idle >"$radio/mode"
}

case $1 in
rftest) load test ;;
start) load station ;;
stop) load none ;;
*) echo "usage: $name rftest | start | stop" >&2 && exit 1 ;;
esac
)";

struct program_row {
    const char *name;
    const char *body; // behind STAND_IN_HEAD
};

constexpr program_row PROGRAMS[] = {
    {"poweroff", POWER_CUT},  {"reboot", POWER_CUT},      {"sync", ""},
    {"make_snapshot.sh", ""}, {"mtp-responder", RESPOND}, {"micom_updater", ""},
    {"wlan.sh", LOAD_DRIVER},
};

// They act on the radio's state, and its service tells of the change.
constexpr char EDUTM_HEAD[] = R"(#!/bin/bash
# Stand-in for a script of the camera, written by vcam create.
radio=$(cd "${BASH_SOURCE[0]%/*}/../../.." && pwd -P)/virtual/radio/bluetooth
)";

constexpr program_row EDUTM_SCRIPTS[] = {
    {"bt-edutm-on.sh", "echo 1 >\"$radio/test_mode\"\necho 1 >\"$radio/adapter\"\n"},
    {"bt-edutm-off.sh", "echo 0 >\"$radio/test_mode\"\necho 0 >\"$radio/adapter\"\n"},
};

// The line brings it on the card; its output has the form of iwlist's.
constexpr char SCAN_HEAD[] = R"(#!/bin/bash
# Stand-in for the line's script, written by vcam create.
card=$(cd -P "${BASH_SOURCE[0]%/*}" && pwd -P)
radio=$card/../virtual/radio/wifi
)";

constexpr program_row SCAN_SCRIPT = {"scan.sh", R"(
list() {
    local driver="" band dbm name
    [ -f "$radio/driver" ] && read -r driver <"$radio/driver"
    if [ "$driver" != station ] || [ ! -f "$radio/access_points" ]; then
        echo "wlan0     No scan results"
        return
    fi
    echo "wlan0     Scan completed :"
    while read -r band dbm name || [ -n "$band" ]; do
        [ -n "$name" ] && printf '          ESSID:"%s" %s GHz %s dBm\n' "$name" "$band" "$dbm"
    done <"$radio/access_points"
}
list >"$card/ap.list"
)"};

void refuse_foreign_folder(const fs::path &dir)
{
    std::error_code error;
    if (!fs::exists(fs::symlink_status(dir, error)))
        return;
    if (!fs::is_directory(dir))
        throw failure("'" + dir.string() + "' is not a folder");
    if (!fs::is_empty(dir) && !is_camera(dir))
        throw failure("'" + dir.string() + "' is not empty and no camera; nothing was made");
}

// What exists stays as it is: create only adds.
void add_file(const fs::path &path, const std::string &text)
{
    if (!fs::exists(fs::symlink_status(path)))
        write_file(path, text);
}

void add_program(const char *folder, const char *head, const program_row &row)
{
    const fs::path path = on_pc(folder) / row.name;
    if (fs::exists(fs::symlink_status(path)))
        return;
    write_file(path, std::string(head) + row.body);
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
}

// A card that was taken out stays out.
bool card_is_out()
{
    return fs::is_directory(on_pc("/virtual/card"));
}

void add_folders()
{
    for (const char *folder : FOLDERS) {
        if (std::string_view(folder) != "sdcard" || !card_is_out())
            fs::create_directories(on_pc(folder));
    }
    for (const link_row &row : CARD_LINKS)
        if (!fs::exists(fs::symlink_status(on_pc(row.path))))
            fs::create_directory_symlink(row.target, on_pc(row.path));
}

void add_pictures()
{
    fs::create_directories(on_pc(PICTURE_DIR));
    for (const picture_row &row : PICTURES) {
        const fs::path path = on_pc(PICTURE_DIR) / row.file;
        if (!fs::exists(path))
            save_picture(row, path);
    }
}

void add_battery_level()
{
    if (!virt::get_key(BATTERY_LEVEL_KEY) && !virt::set_int(BATTERY_LEVEL_KEY, REST_LEVEL))
        throw failure(std::string("key ") + BATTERY_LEVEL_KEY + " cannot be written");
}

// What resets give back.
void add_default_adjustment_data()
{
    for (const adjdata_part &part : rova_adjdata_parts()) {
        const int number = static_cast<int>(part.pref_id);
        if (!fs::exists(virt::partition_file(number, "default")) &&
            pref_save_default_to_file(number, part.default_image, part.data_size) < 0)
            throw failure("the defaults of " + std::string(pref_get_name(number)) +
                          " cannot be written");
    }
}

} // namespace

int verb_create(const invocation &in, CLI::App &app)
{
    in.parse(app);
    refuse_foreign_folder(in.dir);
    fs::create_directories(in.dir / "virtual");
    open_camera(in.dir);
    add_folders();
    for (const file_row &row : FILES)
        add_file(on_pc(row.path), row.text);
    add_file(on_pc(ROVA_ACCEL_RAW_DATA_PATH), accel_raw_data(0) + "\n");
    add_file(on_pc(virt::THERMISTOR), virt::thermistor_text(REST_DEGREES));
    for (const driver_file &row : driver_at_rest())
        add_file(on_pc(row.path), row.text);
    for (const program_row &row : PROGRAMS)
        add_program("/usr/bin", STAND_IN_HEAD, row);
    for (const program_row &row : EDUTM_SCRIPTS)
        add_program("/usr/etc/bluetooth", EDUTM_HEAD, row);
    if (!card_is_out())
        add_program("/sdcard", SCAN_HEAD, SCAN_SCRIPT);
    for (const sound_row &row : SOUNDS)
        add_file(on_pc(SOUND_DIR) / row.file, tone(row));
    add_battery_level();
    add_wires(!card_is_out());
    add_pictures();
    add_default_adjustment_data();
    std::printf("camera %s\n", camera_root().c_str());
    return OK;
}

} // namespace vcam

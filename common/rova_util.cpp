#include "common/rova_util.h"

#include "common/rova_dump.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "platform/sys.h"
#include "platform/vconf.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// One byte more than is ever read, so that the text always has its terminator.
using Text = char[ROVA_SYSFS_TEXT_SIZE + 1];

constexpr char CS_MODE_FILE[] = "/opt/share/rova/cs_mode.type";
constexpr char WDT_BOOT_SHUTDOWN[] = "/sys/devices/platform/movra7_wdt/boot_shutdown";
constexpr char WDT_TIMER[] = "/sys/devices/platform/movra7_wdt/timer";

constexpr std::string_view ALT_SCRIPTS[] = {
    "/sdcard/alt.adj", "/sdcard/alt_stress.adj", "/sdcard/stress.adj",
    "/tmp/alt.adj",    "/tmp/alt_stress.adj",    "/tmp/stress.adj",
};

constexpr const char *ADJ_SCRIPT_STEMS[] = {
    "cis_dot_data",  "simple_shutter", "iso",          "awb",    "efs", "vfpn_defect",
    "color_shading", "gyro",           "country_code", "sn_mac", "paf",
};
static_assert(std::size(ADJ_SCRIPT_STEMS) == 11);
constexpr std::size_t ADJ_SCRIPT_PATH_SIZE = 64;

constexpr off_t PAGE_SIZE_BYTES = 4096;

std::atomic<int> alt_mode{0};
std::atomic<bool> is_stopping{false};

class File : public rova_descriptor
{
public:
    File(const char *path, int flags) : rova_descriptor(sys_open(path, flags, 0644)) {}

    // The text read stands in `text`; its length, 0 when there is none.
    std::size_t read_text(Text &text) const
    {
        ssize_t got = read(get(), text, ROVA_SYSFS_TEXT_SIZE);
        return got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    bool write_text(const char *text) const
    {
        std::size_t length = std::strlen(text);
        return sys_write(get(), text, length) == static_cast<ssize_t>(length);
    }
};

unsigned long read_ulong(const char *path, const char *message)
{
    File file(path, O_RDONLY);
    if (!file)
        return 0;
    Text text = {};
    file.read_text(text);
    char *end = text;
    unsigned long value = std::strtoul(text, &end, 0);
    if (end == text) {
        ROVA_LOG_ERR("%s", message);
        return 0;
    }
    return value;
}

unsigned int hex_digit(char digit)
{
    if (digit >= '0' && digit <= '9')
        return static_cast<unsigned int>(digit - '0');
    return static_cast<unsigned int>(std::tolower(static_cast<unsigned char>(digit)) - 'a') + 10;
}

int hex2int(const char *digits)
{
    unsigned int value = 0;
    for (; std::isxdigit(static_cast<unsigned char>(*digits)); digits++)
        value = value << 4 | hex_digit(*digits);
    return static_cast<int>(value);
}

bool is_space(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

void flush_stdout_line(const char *line)
{
    std::puts(line);
}

// What a predefined command of the PC has besides its words.
void show_ptp2_data(const cmd_data *record)
{
    rova_log_raw(" |");
    for (int i = 0; i < 4; i++) {
        ROVA_LOG_INFO(">> e%d: %d \n", i, record->e[i]);
        rova_log_raw(" %d", record->e[i]);
    }
    if (record->data_path[0] == '\0')
        return;
    ROVA_LOG_INFO(">> data: %.128s \n", record->data_path);
    rova_log_raw(" | %.128s", record->data_path);
}

} // namespace

int rova_sysfs_read_int(const char *path)
{
    File file(path, O_RDONLY);
    if (!file)
        return -1;
    Text text = {};
    if (file.read_text(text) == 0)
        return 0;
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

int rova_sysfs_write_int(const char *path, int value)
{
    Text text = {};
    std::snprintf(text, sizeof(text), "%d", value);
    return rova_sysfs_write_string(path, text);
}

unsigned long rova_sysfs_read_ulong(const char *path)
{
    return read_ulong(path, "simple_strtoul failed \n");
}

int rova_sysfs_write_ulong(const char *path, unsigned long value)
{
    Text text = {};
    std::snprintf(text, sizeof(text), "%lu", value);
    return rova_sysfs_write_string(path, text);
}

int rova_sysfs_read_string(const char *path, char *dst)
{
    File file(path, O_RDONLY);
    if (!file)
        return -1;
    Text text = {};
    if (file.read_text(text) == 0)
        return 0;
    std::memcpy(dst, text, std::strlen(text));
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

int rova_sysfs_write_string(const char *path, const char *text)
{
    // A kernel attribute knows no length; where a plain file stands in for it, nothing of a longer
    // old value may stay behind.
    File file(path, O_WRONLY | O_TRUNC);
    if (!file)
        return -1;
    return file.write_text(text) ? 0 : -1;
}

unsigned long rova_file_read_ulong(const char *path)
{
    return read_ulong(path, "strtoul failed \n");
}

int rova_file_write_ulong(const char *path, unsigned long value)
{
    File file(path, O_RDWR | O_CREAT | O_TRUNC);
    if (!file)
        return -1;
    Text text = {};
    std::snprintf(text, sizeof(text), "%lu", value);
    if (!file.write_text(text))
        return -1;
    return sys_fdatasync(file.get()) < 0 ? -1 : 0;
}

int rova_str2int(const char *text)
{
    if (text == nullptr)
        return 0;
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        return hex2int(text + 2);
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

char *rova_str_trim(char *text)
{
    while (is_space(*text))
        text++;
    char *end = text + std::strlen(text);
    while (end > text && is_space(end[-1]))
        end--;
    *end = '\0';
    return text;
}

void rova_dump_stdout(const void *data, uint32_t base, std::size_t length, int no_address)
{
    rova_dump_lines(data, base, length, no_address != 0, flush_stdout_line);
}

const char *rova_cmd_type_name(uint32_t type)
{
    switch (type) {
    case ROVA_CTRL_STOP_PACKET:
        return "stop";
    case ROVA_CMD_CARD:
        return "card";
    case ROVA_CMD_SCRIPT:
        return "script";
    case ROVA_CMD_PTP:
        return "ptp";
    case ROVA_CMD_PTP2:
        return "ptp2";
    }
    return "unknown";
}

// The precisions keep a record without terminators inside its fields.
void rova_show_cmd_data(const cmd_data *record, uint32_t type)
{
    ROVA_LOG_INFO("> cmd: %.32s (%s) \n", record->cmd, rova_cmd_type_name(type));
    rova_log_raw("%.32s", record->cmd);
    int count = static_cast<int>(std::min<uint32_t>(record->p_count, ROVA_CMD_PARAM_MAX));
    for (int i = 0; i < count; i++) {
        ROVA_LOG_INFO(">> p%d: %.32s \n", i, record->p[i]);
        rova_log_raw(" %.32s", record->p[i]);
    }
    if (type == ROVA_CMD_PTP2)
        show_ptp2_data(record);
    rova_log_raw("\n");
}

int rova_check_stop()
{
    int stop = 0;
    vconf_get_int(ROVA_KEY_STOP_CMD, &stop);
    return stop > 0 ? 1 : 0;
}

void rova_set_stopping(bool stopping)
{
    is_stopping = stopping;
}

bool rova_is_stopping()
{
    return is_stopping;
}

int rova_set_alt_mode(const char *script_path)
{
    alt_mode = script_path != nullptr &&
               std::ranges::find(ALT_SCRIPTS, script_path) != std::end(ALT_SCRIPTS);
    return alt_mode;
}

int rova_get_alt_mode()
{
    return alt_mode;
}

unsigned long rova_get_cs_mode_type()
{
    return rova_file_read_ulong(CS_MODE_FILE);
}

int rova_get_adj_script_path(unsigned long index, char *out)
{
    if (index >= std::size(ADJ_SCRIPT_STEMS))
        return 0;
    char path[ADJ_SCRIPT_PATH_SIZE] = {};
    std::snprintf(path, sizeof(path), "/sdcard/adjustment/qz700/%d.%s.adj", static_cast<int>(index),
                  ADJ_SCRIPT_STEMS[index]);
    std::memcpy(out, path, sizeof(path));
    return 1;
}

int rova_wdt_set(int seconds, int boot_shutdown)
{
    if (seconds != 0)
        rova_sysfs_write_int(WDT_BOOT_SHUTDOWN, boot_shutdown);
    return rova_sysfs_write_int(WDT_TIMER, seconds) == 0 ? 1 : 0;
}

int rova_ioctl(const char *path, unsigned long request, void *arg)
{
    File file(path, O_RDWR);
    if (!file)
        return -1;
    return sys_ioctl(file.get(), request, arg) < 0 ? -1 : 0;
}

// Access behind the end of a file would end the process; a device has no end to go by.
static bool file_ends_before(int fd, off_t end)
{
    struct stat status = {};
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size < end;
}

int rova_mmap_region(int fd, off_t offset, std::size_t length, void **mapped_addr, void **map_base)
{
    *map_base = MAP_FAILED;
    if (file_ends_before(fd, offset + static_cast<off_t>(length))) {
        errno = ENXIO;
        return -1;
    }
    off_t in_page = offset % PAGE_SIZE_BYTES;
    void *base = mmap(nullptr, length + static_cast<std::size_t>(in_page), PROT_READ | PROT_WRITE,
                      MAP_SHARED, fd, offset - in_page);
    *map_base = base;
    if (base == nullptr || base == MAP_FAILED)
        return -1;
    *mapped_addr = static_cast<char *>(base) + in_page;
    return 0;
}

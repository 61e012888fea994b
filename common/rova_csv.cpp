#include "common/rova_csv.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_card_mode.h"
#include "common/rova_log.h"
#include "platform/sys.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#pragma pack(push, 1)
struct rova_csv {
    int32_t fd;
    uint32_t line_index; // the next row's number
    uint8_t ptpmode;     // 1: in /tmp, for the PC link
    char path[510];
};
#pragma pack(pop)

static_assert(sizeof(rova_csv) == 519);
static_assert(offsetof(rova_csv, line_index) == 4);
static_assert(offsetof(rova_csv, ptpmode) == 8);
static_assert(offsetof(rova_csv, path) == 9);

namespace
{

constexpr std::size_t TEXT_SIZE = 4096;
constexpr std::size_t INDEX_SIZE = 12;
constexpr char LINE_END[] = "\r\n";

struct FreeDeleter {
    void operator()(void *block) const { std::free(block); }
};
using FileText = std::unique_ptr<char, FreeDeleter>;

uintptr_t handle_number(rova_csv_handle handle)
{
    return reinterpret_cast<uintptr_t>(handle);
}

// The bytes of a text that are in the buffer, by what vsnprintf said of its length.
std::size_t kept_length(int formatted)
{
    return std::min(static_cast<std::size_t>(std::max(formatted, 0)), TEXT_SIZE - 1);
}

// A full disk takes part of a text and refuses the rest: only the whole text counts.
bool write_all(int fd, const char *text, std::size_t length)
{
    while (length > 0) {
        ssize_t written = sys_write(fd, text, length);
        if (written <= 0) {
            std::fputs("write failed \n", stderr);
            return false;
        }
        text += written;
        length -= std::min(length, static_cast<std::size_t>(written));
    }
    return true;
}

// The line's first field as text; empty when it has none that could be a number.
void copy_index_field(const char *line, const char *last, char (&index)[INDEX_SIZE])
{
    std::memset(index, 0, sizeof(index));
    if (line > last)
        return;
    const char *comma = std::find(line, last + 1, ',');
    if (comma > last)
        return;
    auto length = static_cast<std::size_t>(comma - line);
    if (length == 0 || length >= INDEX_SIZE) {
        ROVA_LOG_ERR("Too many index was created\n");
        return;
    }
    std::memcpy(index, line, length);
}

// The number behind that of the last line of the `size` bytes at `text`.
uint32_t next_index(const char *text, std::size_t size)
{
    if (size < 3) {
        ROVA_LOG_INFO("file_size <=2, line_index=%d", 0);
        return 0;
    }
    // The last byte is the line feed of the last line.
    const char *last = text + size - 2;
    const char *line = last + 1;
    while (line > text && line[-1] != '\n')
        line--;

    char index[INDEX_SIZE];
    copy_index_field(line, last, index);
    if (std::strcmp(index, "Index") == 0) {
        ROVA_LOG_INFO("failed to seek Index, line_index=%d", 0);
        return 0;
    }
    uint32_t result = static_cast<uint32_t>(std::strtol(index, nullptr, 10)) + 1;
    ROVA_LOG_INFO("Get Last line_index=%d\n", static_cast<int>(result));
    return result;
}

bool read_all(int fd, char *text, std::size_t size)
{
    while (size > 0) {
        ssize_t got = read(fd, text, size);
        if (got < 0)
            return false;
        if (got == 0)
            break;
        text += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

uint32_t get_last_line_index(int fd)
{
    if (fd < 0) {
        ROVA_LOG_INFO("Not ready for get_last_line_index()\n");
        return 0;
    }
    off_t end = lseek(fd, 0, SEEK_END);
    if (end < 0) {
        ROVA_LOG_ERR("lseek error (%s) \n", rova_reason());
        return 0;
    }
    auto size = static_cast<std::size_t>(end);
    FileText text(static_cast<char *>(std::calloc(size, 1)));
    if (!text) {
        ROVA_LOG_INFO("Memory allocation failed\n");
        return 0;
    }
    if (lseek(fd, 0, SEEK_SET) < 0) {
        ROVA_LOG_ERR("File control error[get_last_line_index->seek]\n");
        return 0;
    }
    if (!read_all(fd, text.get(), size)) {
        ROVA_LOG_ERR("File control error[get_last_line_index->read]\n");
        return 0;
    }
    return next_index(text.get(), size);
}

void write_new_header(rova_csv *csv, const char *filename, const char *header)
{
    if (csv->ptpmode != 0) {
        rova_fd_printf(csv->fd, "%s\r\n", filename);
        rova_log_raw("%s\r\n", filename);
    }
    rova_fd_printf(csv->fd, "Index,CIS S/N,");
    rova_log_raw("Index,CIS S/N,");
    rova_fd_printf(csv->fd, "%s\r\n", header);
    rova_log_raw("%s\r\n", header);
    sys_fdatasync(csv->fd);
}

int open_file(const rova_csv *csv)
{
    int flags = O_RDWR | O_CREAT | (csv->ptpmode != 0 ? O_TRUNC : O_APPEND);
    return sys_open(csv->path, flags, 0644);
}

// A camera without the partition has no serial number; its rows say 0.
int32_t sensor_serial()
{
    int32_t serial = 0;
    if (const void *item = rova_get_adjdata(ADJ_ID_CIS_SN); item != nullptr)
        std::memcpy(&serial, item, sizeof(serial));
    return serial;
}

} // namespace

rova_csv_handle rova_csv_create(const char *filename, const char *header)
{
    if (filename == nullptr || filename[0] == '\0') {
        ROVA_LOG_ERR("filename is invalid \n");
        rova_log("csv_create: filename is invalid, NG \n");
        return nullptr;
    }
    int mode = ROVA_CARD_MODE_NONE;
    rova_check_card_mode(&mode);
    bool ptpmode = mode == ROVA_CARD_MODE_PTP;
    rova_log("csv_create: %s, ptpmode=%d", filename, ptpmode);

    auto *csv = static_cast<rova_csv *>(std::malloc(sizeof(rova_csv)));
    if (csv == nullptr) {
        rova_log_raw(", memory is not enough, NG \n");
        ROVA_LOG_ERR("Memory allocate failed!!\n");
        return nullptr;
    }
    *csv = rova_csv{.fd = -1, .line_index = 0, .ptpmode = ptpmode, .path = {}};
    std::snprintf(csv->path, sizeof(csv->path), "%s/%s", ptpmode ? "/tmp" : "/sdcard", filename);
    csv->fd = open_file(csv);
    if (csv->fd < 0) {
        ROVA_LOG_ERR("failed to open(%s), %s \n", csv->path, rova_reason());
        rova_log_raw(", fopen failed, NG \n");
        std::free(csv);
        return nullptr;
    }
    rova_log_raw(", handle=0x%" PRIxPTR ", data: \n", handle_number(csv));
    if (lseek(csv->fd, 0, SEEK_END) == 0) {
        write_new_header(csv, filename, header != nullptr ? header : "");
        csv->line_index = 1;
    } else {
        csv->line_index = get_last_line_index(csv->fd);
    }
    rova_log_raw("%s opened, handle=0x%" PRIxPTR ", OK \n", csv->path, handle_number(csv));
    return csv;
}

int rova_csv_write(rova_csv_handle handle, const char *fmt, ...)
{
    if (handle == nullptr)
        return 0;
    int serial = sensor_serial();
    int index = static_cast<int>(handle->line_index);
    rova_log("csv_write: handle=0x%" PRIxPTR ", data: \n", handle_number(handle));
    rova_fd_printf(handle->fd, "%d,%d,", index, serial);
    handle->line_index++;
    rova_log_raw("%d,%d,", index, serial);

    char text[TEXT_SIZE] = {};
    va_list args;
    va_start(args, fmt);
    int length = std::vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    if (!write_all(handle->fd, text, kept_length(length)))
        return 0;
    rova_log_raw("%s", text);
    rova_fd_printf(handle->fd, "%s", LINE_END);
    rova_log_raw("%s", LINE_END);
    sys_fdatasync(handle->fd);
    return 1;
}

int rova_csv_close(rova_csv_handle handle, rova_resp_stream *stream)
{
    if (handle == nullptr) {
        rova_log("csv_close: handle is NULL, NG \n");
        return 0;
    }
    if (handle->fd != 0) {
        rova_log("csv_close: handle=0x%" PRIxPTR ", OK \n", handle_number(handle));
        close(handle->fd);
        handle->fd = -1;
    }
    if (stream != nullptr) {
        stream->stream_type = 1;
        std::memset(stream->text, 0, sizeof(stream->text));
        std::memcpy(stream->text, handle->path, std::strlen(handle->path));
        ROVA_LOG_NOTICE("\033[33mtype=%d, file=%s \n", stream->stream_type, stream->text);
    }
    std::free(handle);
    return 1;
}

int rova_fd_printf(int fd, const char *fmt, ...)
{
    char text[TEXT_SIZE] = {};
    va_list args;
    va_start(args, fmt);
    int length = std::vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    write_all(fd, text, kept_length(length));
    return length;
}

#include "common/rova_log.h"

#include "common/rova_dump.h"
#include "platform/dlog.h"
#include "platform/sys.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr int DLOG_ID = 3;
constexpr int DLOG_INFO = 4;
constexpr int DLOG_ERROR = 6;
constexpr char LINE_END[] = "\033[m\n";

constexpr std::size_t LINE_SIZE = 256;
constexpr std::size_t MESSAGE_SIZE = 2048;
constexpr std::size_t STAMP_SIZE = 128;

// What distinguishes the macros.  `room` is what the line buffer has left for the caller's text;
// the prefix of the last two stands in that text.
struct LineKind {
    int priority;
    const char *prefix;
    std::size_t room;
};

constexpr LineKind LINE_KINDS[] = {
    {DLOG_ERROR, "\033[31m", 246}, // err
    {DLOG_INFO, "\033[m", 248},    // info
    {DLOG_INFO, "", 246},          // notice
    {DLOG_INFO, "", 246},          // conn
};

constexpr std::size_t line_need(const LineKind &kind)
{
    return std::char_traits<char>::length(kind.prefix) + kind.room + sizeof(LINE_END);
}
static_assert(line_need(LINE_KINDS[0]) == LINE_SIZE && line_need(LINE_KINDS[1]) == LINE_SIZE &&
              line_need(LINE_KINDS[2]) <= LINE_SIZE && line_need(LINE_KINDS[3]) <= LINE_SIZE);

std::atomic<uint32_t> log_enable{0};

// A log call between a failure and the report of its reason must not change the reason.
class ErrnoKeeper
{
public:
    ErrnoKeeper() = default;
    ~ErrnoKeeper() { errno = saved_; }
    ErrnoKeeper(const ErrnoKeeper &) = delete;
    ErrnoKeeper &operator=(const ErrnoKeeper &) = delete;

private:
    int saved_ = errno;
};

const char *base_name(const char *path)
{
    const char *slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

// Makes the log's folder unless it is there; returns the status of the command.
int make_log_dir(char (&message)[MESSAGE_SIZE])
{
    if (sys_access(ROVA_LOG_DIR, R_OK) == 0)
        return 0;
    std::snprintf(message, sizeof(message), "mkdir -p %s --mode=0755", ROVA_LOG_DIR);
    int status = sys_system(message);
    std::memset(message, 0, sizeof(message));
    return status;
}

bool make_stamp(char (&stamp)[STAMP_SIZE])
{
    time_t now = sys_time(nullptr);
    struct tm local = {};
    tzset(); // localtime_r alone may stay with the zone of its first call
    if (localtime_r(&now, &local) == nullptr)
        return false;
    std::snprintf(stamp, sizeof(stamp), "%04ld%02d%02d %02d:%02d:%02d : ", local.tm_year + 1900L,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return true;
}

void rotate()
{
    struct stat status = {};
    if (sys_stat(ROVA_LOG_FILE, &status) != 0 || status.st_size < ROVA_LOG_FILE_LIMIT)
        return;
    if (sys_rename(ROVA_LOG_FILE, ROVA_LOG_FILE_OLD) != 0)
        perror("rova_log: ");
}

int write_text(int fd, const char *text)
{
    ssize_t written = sys_write(fd, text, std::strlen(text));
    return written > 0 ? static_cast<int>(written) : 0;
}

// Appends both texts; the number of bytes written, or the negative result of the opening.
int append(const char *stamp, const char *message)
{
    rotate();
    int fd = sys_open(ROVA_LOG_FILE, O_WRONLY | O_CREAT | O_APPEND, 0755);
    if (fd < 0)
        return fd;
    int written = stamp[0] == '\0' ? 0 : write_text(fd, stamp);
    written += write_text(fd, message);
    sys_fdatasync(fd);
    close(fd);
    return written;
}

void flush_dump_line(const char *line)
{
    rova_log_raw("%s \n", line);
}

} // namespace

void rova_log_line(rova_log_kind kind, const rova_log_site &site, std::FILE *echo, const char *fmt,
                   ...)
{
    const ErrnoKeeper keeper;
    const LineKind &form = LINE_KINDS[static_cast<std::size_t>(kind)];
    char line[LINE_SIZE] = {};
    std::strcpy(line, form.prefix);

    va_list args;
    va_start(args, fmt);
    std::vsnprintf(line + std::strlen(form.prefix), form.room + 1, fmt, args);
    va_end(args);

    std::size_t length = std::strlen(line);
    if (length > 0 && line[length - 1] == '\n')
        line[length - 1] = '\0';
    std::strcat(line, LINE_END);

    __dlog_print(DLOG_ID, form.priority, site.tag, "%s: %s(%d) > %s", base_name(site.file),
                 site.function, site.line, line);
    if (echo != nullptr)
        std::fprintf(echo, "[%-10s] %s", site.tag, line);
}

const char *rova_reason()
{
    return std::strerror(errno);
}

void rova_log_set_enable(uint32_t on)
{
    log_enable = on;
}

int rova_log(const char *fmt, ...)
{
    const ErrnoKeeper keeper;
    char message[MESSAGE_SIZE] = {};
    char stamp[STAMP_SIZE] = {};
    if (log_enable == 0)
        return 0;
    make_log_dir(message);
    if (!make_stamp(stamp))
        return 0;

    va_list args;
    va_start(args, fmt);
    std::vsnprintf(message, sizeof(message), fmt, args);
    va_end(args);
    return append(stamp, message);
}

int rova_log_raw(const char *fmt, ...)
{
    const ErrnoKeeper keeper;
    char message[MESSAGE_SIZE] = {};
    if (log_enable == 0)
        return 0;
    if (int status = make_log_dir(message); status != 0)
        return status;

    va_list args;
    va_start(args, fmt);
    std::vsnprintf(message, sizeof(message), fmt, args);
    va_end(args);
    return append("", message);
}

void rova_log_dump(const void *data, uint32_t base, std::size_t length)
{
    rova_dump_lines(data, base, length, false, flush_dump_line);
}

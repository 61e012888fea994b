#include "lib/pim/rova_pim_debug.h"

#include "lib/pim/rova_pim_sink.h"

#include <cstdarg>
#include <string_view>

int32_t gDbgPrintOnOff;
std::FILE *gDbgFp;
int32_t gDbgFpState;
int32_t gDbgCnt;
char pDbgData[8192];

namespace
{

// A piece that no empty buffer holds goes to the file by itself.
void print_buffered(const char *fmt, va_list args) __attribute__((format(printf, 1, 0)));
void print_buffered(const char *fmt, va_list args)
{
    va_list again;
    va_copy(again, args);
    if (rova_pim_sink_append(pDbgData, gDbgCnt, fmt, args) != 0) {
        rova_pim_sink_flush(pDbgData, gDbgCnt, gDbgFp);
        va_list direct;
        va_copy(direct, again);
        if (rova_pim_sink_append(pDbgData, gDbgCnt, fmt, again) != 0)
            std::vfprintf(gDbgFp, fmt, direct);
        va_end(direct);
    }
    va_end(again);
}

void print(const char *fmt, va_list args) __attribute__((format(printf, 1, 0)));
void print(const char *fmt, va_list args)
{
    if (gDbgPrintOnOff == PIM_DEBUG_STDOUT)
        std::vprintf(fmt, args);
    else if (gDbgPrintOnOff == PIM_DEBUG_BUFFERED && gDbgFpState != 0)
        print_buffered(fmt, args);
    else if (gDbgPrintOnOff == PIM_DEBUG_DIRECT && gDbgFpState != 0)
        std::vfprintf(gDbgFp, fmt, args);
}

std::string_view without_blanks(std::string_view text)
{
    constexpr char BLANKS[] = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(BLANKS) + 1 - begin);
}

} // namespace

void rova_pim_print(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    std::vprintf(fmt, args);
    va_end(args);
}

int rova_pim_debug_open(const char *path)
{
    rova_pim_sink_flush(pDbgData, gDbgCnt, gDbgFp);
    return rova_pim_sink_open(path, gDbgFp, gDbgFpState);
}

void rova_pim_debug(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    print(fmt, args);
    va_end(args);
}

void rova_pim_debug_close()
{
    rova_pim_sink_flush(pDbgData, gDbgCnt, gDbgFp);
    rova_pim_sink_close(gDbgFp, gDbgFpState);
}

void rova_pim_report_at(const rova_log_site &site, const char *fmt, ...)
{
    char text[512];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    rova_pim_debug("%s", text);
    const std::string_view line = without_blanks(text);
    rova_log_line(rova_log_kind::err, site, stderr, "%.*s\n", static_cast<int>(line.size()),
                  line.data());
}

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

const rova_pim_text_sink SINK = {gDbgPrintOnOff, gDbgFp, gDbgFpState, gDbgCnt, pDbgData};

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
    return rova_pim_text_open(SINK, path);
}

void rova_pim_debug(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    rova_pim_text_print(SINK, fmt, args);
    va_end(args);
}

void rova_pim_debug_close()
{
    rova_pim_text_close(SINK);
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

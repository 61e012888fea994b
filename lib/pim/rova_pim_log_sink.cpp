#include "lib/pim/rova_pim_log_sink.h"

#include "lib/pim/rova_pim_sink.h"

#include <cstdarg>

int32_t gLogPrintOnOff;
std::FILE *gLogFp;
int32_t gLogFpState;

namespace
{

char text[8192];
int32_t held = 0; // bytes in it

const rova_pim_text_sink SINK = {gLogPrintOnOff, gLogFp, gLogFpState, held, text};

} // namespace

int rova_pim_log_open(const char *path)
{
    return rova_pim_text_open(SINK, path);
}

void rova_pim_log(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    rova_pim_text_print(SINK, fmt, args);
    va_end(args);
}

void rova_pim_log_close()
{
    rova_pim_text_close(SINK);
}

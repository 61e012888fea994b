#include "lib/pim/rova_pim_debug.h"

#include <cstdarg>
#include <cstdio>

void rova_pim_debug_print(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    std::vprintf(fmt, args);
    va_end(args);
}

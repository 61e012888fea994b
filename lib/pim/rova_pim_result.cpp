#include "lib/pim/rova_pim_result.h"

#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_sink.h"

#include <algorithm>
#include <cstdarg>

int32_t gRstPrintOpt;
std::FILE *gRstFp;
int32_t gRstFpState;
int32_t gRstCnt;
char pRstData[4096];

namespace
{

void append(const char *fmt, va_list args) __attribute__((format(printf, 1, 0)));
void append(const char *fmt, va_list args)
{
    if (rova_pim_sink_append(pRstData, gRstCnt, fmt, args) == 0)
        return;
    pRstData[gRstCnt] = '\0';
    rova_pim_report("no room for a piece of the result behind %d bytes\n", gRstCnt);
}

void print_buffered(const char *fmt, va_list args) __attribute__((format(printf, 1, 0)));
void print_buffered(const char *fmt, va_list args)
{
    va_list again;
    va_copy(again, args);
    if (rova_pim_sink_append(pRstData, gRstCnt, fmt, args) != 0) {
        rova_pim_sink_flush(pRstData, gRstCnt, gRstFp);
        append(fmt, again);
    }
    va_end(again);
}

void print(const char *fmt, va_list args) __attribute__((format(printf, 1, 0)));
void print(const char *fmt, va_list args)
{
    if (gRstPrintOpt == PIM_RESULT_KEPT)
        append(fmt, args);
    else if (gRstPrintOpt == PIM_RESULT_BUFFERED && gRstFpState != 0)
        print_buffered(fmt, args);
    else if (gRstPrintOpt == PIM_RESULT_DIRECT && gRstFpState != 0)
        std::vfprintf(gRstFp, fmt, args);
}

} // namespace

int rova_pim_result_open(const char *path)
{
    return rova_pim_sink_open(path, gRstFp, gRstFpState);
}

int32_t rova_pim_result_size()
{
    if (gRstFp == nullptr || std::fseek(gRstFp, 0, SEEK_END) != 0)
        return -1;
    return static_cast<int32_t>(std::ftell(gRstFp));
}

void rova_pim_result_clear()
{
    rova_pim_sink_flush(pRstData, gRstCnt, nullptr);
}

void rova_pim_result_restart()
{
    gRstCnt = 0;
}

void rova_pim_result_print(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    print(fmt, args);
    va_end(args);
}

void rova_pim_result_print_empty_columns(int32_t columns)
{
    constexpr int32_t MOST = sizeof(pRstData) - 1;
    const int32_t empty = std::max(columns, 0);
    if (empty > MOST) {
        rova_pim_report("refused %d empty columns in the result: more than %d\n", empty, MOST);
        return;
    }
    char text[MOST + 1] = {};
    std::fill_n(text, empty, ',');
    rova_pim_result_print("%s", text);
}

void rova_pim_result_flush()
{
    if (gRstPrintOpt == PIM_RESULT_BUFFERED)
        rova_pim_sink_flush(pRstData, gRstCnt, gRstFp);
    if (gRstFp != nullptr)
        std::fflush(gRstFp);
}

void rova_pim_result_close()
{
    rova_pim_result_flush();
    rova_pim_sink_close(gRstFp, gRstFpState);
}

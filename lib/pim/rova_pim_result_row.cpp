#include "lib/pim/rova_pim_result_row.h"

#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr int32_t NEW_FILE = 1; // bytes of a file that has no rows yet, at most

// Whether the file is open and has no heads.
bool open_new(const char *path)
{
    if (rova_pim_result_open(path) != 0) {
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", path);
        return false;
    }
    const int32_t size = rova_pim_result_size();
    rova_pim_debug(" OUTFILE SIZE = %d \n", size);
    return size <= NEW_FILE;
}

} // namespace

void rova_pim_result_begin_row(int32_t mode, const char *path, const char *title,
                               const char *columns)
{
    rova_pim_result_close();
    rova_pim_result_clear();
    std::ranges::fill(pPtpTile, '\0');
    if (mode == PIM_RESULT_KEPT) {
        std::snprintf(pPtpTile, sizeof(pPtpTile), "%s", title);
        rova_pim_result_print("%s", columns);
    } else if ((mode == PIM_RESULT_BUFFERED || mode == PIM_RESULT_DIRECT) && open_new(path)) {
        rova_pim_result_print("%s%s", title, columns);
    }
}

const char *rova_pim_verdict_word(int32_t verdict)
{
    if (verdict == 1)
        return "OK";
    return verdict == 0 ? "NG" : "-";
}

void rova_pim_result_print_verdict(int32_t verdict)
{
    rova_pim_result_print("%s,", rova_pim_verdict_word(verdict));
}

void rova_pim_result_print_values(int32_t verdict, std::initializer_list<float> values)
{
    for (const float value : values) {
        if (verdict == PIM_NO_RESULT)
            rova_pim_result_print("-,");
        else
            rova_pim_result_print("%3.2f,", value);
    }
}

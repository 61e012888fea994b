#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"

#include <algorithm>

int32_t rova_pim_mot_qa_rows;

namespace
{

constexpr char TITLE[] =
    " FILE    , F.Num, SHTTR , ISO, 35mm F.Len , CN_H , CN_V , LT_H , LT_V , LB_H , LB_V , RT_H , "
    "RT_V , RB_H , RB_V , Y-VAL, RESULT \n";

// The file of buffered rows stays open from the first row on; behind it the rows before this one
// are written out, since the buffer is cleared and each picture has its row.
int open_file(const rova_pim_pm_config &cfg)
{
    const bool first = rova_pim_mot_qa_rows == 0;
    if (cfg.rstPrint == PIM_RESULT_DIRECT || (cfg.rstPrint == PIM_RESULT_BUFFERED && first))
        return rova_pim_mot_open_result(cfg);
    if (cfg.rstPrint == PIM_RESULT_BUFFERED && gRstFpState == 0)
        rova_pim_report(" the file of %d rows is closed, the next one is lost\n",
                        rova_pim_mot_qa_rows);
    rova_pim_result_flush();
    return 0;
}

int begin_row(const rova_pim_pm_config &cfg)
{
    if (open_file(cfg) != 0)
        return -1;
    rova_pim_result_clear();
    std::ranges::fill(pPtpTile, '\0');
    if (rova_pim_mot_qa_rows == 0) {
        rova_pim_result_print("%s", TITLE);
        rova_pim_mot_end_title(cfg);
    }
    rova_pim_result_print_empty_columns(cfg.dbgOption[0]);
    return 0;
}

void print_exif(const rova_pim_pm_config &cfg)
{
    const rova_pim_exif_info &exif = gMotExifInfo;
    const struct {
        const char *text;
        const char *label;
    } fields[] = {
        {exif.filename, " File Name = %s \n"},     {exif.f_number, " F No.     = %s \n"},
        {exif.exposure, " Shttr     = %s \n"},     {exif.iso, " ISO       = %s \n"},
        {exif.focal_length, " 35mm      = %s \n"},
    };
    for (const auto &[text, label] : fields)
        rova_pim_result_print("%s,", text);
    if (cfg.dbgLevel[0] == 0)
        return;
    for (const auto &[text, label] : fields)
        rova_pim_debug(label, text);
}

// No value lies below the floor.
void judge(const rova_pim_chart_config &config, rova_pim_pm_config &cfg)
{
    int passed = 0;
    for (int i = 0; i < PIM_WINDOWS; i++) {
        const int32_t floor = rova_pim_mot_floor(config, i);
        if (cfg.motValue[i] <= floor)
            cfg.motValue[i] = cfg.motOrgValue[i] = floor;
        if (cfg.motValue[i] >= config.okLevel[i])
            passed++;
    }
    cfg.qaResult = passed == PIM_WINDOWS ? 1 : 0;
}

void print_values(const rova_pim_pm_config &cfg)
{
    for (int i = 0; i < PIM_WINDOWS; i++)
        rova_pim_mot_print_value(cfg.motValue[i], cfg.motOrgValue[i], cfg);
    rova_pim_result_print("%4d,", cfg.yValueNow);
    rova_pim_result_print("%s\n", cfg.qaResult == 1 ? "OK," : "NG,");
}

void end_row(const rova_pim_pm_config &cfg)
{
    rova_pim_mot_qa_rows++;
    if (cfg.rstPrint == PIM_RESULT_BUFFERED && rova_pim_mot_qa_rows == cfg.qaPicNum) {
        rova_pim_buffers_free();
        rova_pim_result_close();
    } else if (cfg.rstPrint == PIM_RESULT_DIRECT) {
        rova_pim_result_close();
    } else if (cfg.rstPrint == PIM_RESULT_KEPT) {
        rova_pim_result_restart();
    }
}

} // namespace

void rova_pim_mot_write_qa_row(int32_t chart, rova_pim_pm_config &cfg)
{
    if (begin_row(cfg) != 0)
        return;
    print_exif(cfg);
    judge(cfg.chart[chart], cfg);
    print_values(cfg);
    end_row(cfg);
}

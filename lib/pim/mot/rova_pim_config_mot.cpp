// The resolution test's configuration file.
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_window.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_reader.h"

#include <algorithm>

namespace
{

constexpr int32_t USED = 1;
constexpr const char *CHARTS[PIM_CHARTS] = {"WIDE", "TELE", "MID "};

const char *result_print_word(int32_t value)
{
    return value != 0 ? "DIRECT PRINT" : "BUFFER PRINT";
}

const char *result_type_word(int32_t value)
{
    return value == 0 ? "One Time a Chart" : "All Chart";
}

const char *test_mode_word(int32_t value)
{
    if (value == 0)
        return "NORMAL MODE";
    return value == 1 ? "QA MODE" : "TILT MODE";
}

const char *reversed_pima_word(int32_t value)
{
    return value == 1 ? "REVERSED PIMA" : "NORMAL PIMA";
}

#define ONE(member) ROVA_PIM_FIELD(rova_pim_pm_config, member)
#define MORE(first, last) ROVA_PIM_FIELDS(rova_pim_pm_config, first, last)

// The rows stand in the file's order, parted where something happens between two of them.
// clang-format off
constexpr rova_pim_row MODEL_ROW[] = {
    {"%s", ONE(strModelName), " MODEL NUM = %s \n\n", nullptr},
};

constexpr rova_pim_row DEBUG_ROWS[] = {
    {"%d", ONE(argMode),  " ARG. MODE = %d \n", nullptr},
    {"%d", ONE(dbgPrint), " DBG_PRINT = %d [%s]\n", rova_pim_on_if_set},
};

constexpr rova_pim_row RESULT_ROW[] = {
    {"%d", ONE(rstPrint), " RESULT_PRINT = %d [%s]\n", result_print_word},
};

constexpr rova_pim_row DEBUG_FILE_ROW[] = {
    {"%s", ONE(debugFile), " Debugging File Name : %s \n\n", nullptr},
};

constexpr rova_pim_row RUN_ROWS[] = {
    {"%s", ONE(resultFile),        " Output File Name for Test Result : %s \n\n", nullptr},
    {"%d", ONE(resultType),        " RESULT TYPE = %d [ %s ]\n", result_type_word},
    {"%d", ONE(developMode),       " MOT MODE = %d [ %s ] \n\n", rova_pim_on_if_one},
    {"%d", ONE(avcsMode),          " AVCS MODE = %d [ %s ] \n\n", rova_pim_on_if_one},
    {"%d", ONE(saveJpeg),          " Save JPEG Image = %d [ %s ] \n\n", rova_pim_on_if_one},
    {"%d", ONE(saveRaw),           " Save Raw  Image = %d [ %s ] \n\n", rova_pim_on_if_one},
    {"%d", ONE(writeDefocus),      " Write Defocus Level = %d [ %s ] \n\n", rova_pim_on_if_one},
    {"%d", ONE(orgResultData),     " Org. Result Data = %d [ %s ] \n\n", rova_pim_on_if_one},
    {"%d", ONE(cmWindowDrawing),   " Color Marker Window Drawing = %d [ %s ] \n", rova_pim_on_if_one},
    {"%d", ONE(pimaWindowDrawing), " PIMA Window Drawing = %d [ %s ] \n", rova_pim_on_if_one},
    {"%d %d %d %d %d %d %d %d", ONE(dbgLevel),
     " Debugging Print Level = %d %d %d %d %d %d %d %d\t\n\n", nullptr},
    {"%d %d %d %d %d %d %d %d", ONE(dbgOption),
     " Debugging Option = %d %d %d %d %d %d %d %d\t\n\n", nullptr},
    {"%d", ONE(testMode),          " TEST MODE = %d [ %s ] \n", test_mode_word},
    {"%d", ONE(qaPicNum),          " QA PIC. NUM = %d \n", nullptr},
    {"%f", ONE(pixelSize),         " CCD Pixel Size  : %f \n", nullptr},
    {"%f", ONE(effectivePixel),    " CCD Effective Pixel : %f \n\n", nullptr},
    {"%f", ONE(chartHeight[0]),    " WIDE Chart Height : %f \n", nullptr},
    {"%f", ONE(chartHeight[1]),    " TELE Chart Height : %f \n", nullptr},
    {"%f", ONE(chartHeight[2]),    " MID. Chart Height : %f \n\n", nullptr},
    {"%f", ONE(centerPimaHeight[0]), " WIDE's Center Pima Height : %f \n", nullptr},
    {"%f", ONE(centerPimaHeight[1]), " TELE's Center Pima Height : %f \n", nullptr},
    {"%f", ONE(centerPimaHeight[2]), " MID.'s Center Pima Height : %f \n\n", nullptr},
    {"%d %d", MORE(imageW, imageH),     " Image Size : %d x %d \n\n", nullptr},
    {"%d %d", MORE(screenW, screenH),   " Screen Nail Image Size : %d x %d \n\n", nullptr},
    {"%d %d", MORE(liveTvW, liveTvH),   " Live View Image Size [ TV  OUT ] : %d x %d \n\n", nullptr},
    {"%d %d", MORE(liveLcdW, liveLcdH), " Live View Image Size [ LCD OUT ] : %d x %d \n\n", nullptr},
    {"%d %d", MORE(lcdW, lcdH),         " LCD Size : %d x %d \n\n", nullptr},
    {"%d", ONE(screenOutType), " SCREEN OUTPUT TYPE : %d [ %s ] \n\n", rova_pim_screen_word},
};

constexpr rova_pim_row OFFSET_ROWS[] = {
    {"%d", ONE(meadLoop),        " Mead Loop : %d \n", nullptr},
    {"%d", ONE(sucValleyDepth),  " SUC Valley Depth : %d \n", nullptr},
    {"%d", ONE(sucValleyN),      " SUC Valley N : %d \n", nullptr},
    {"%d", ONE(failCnt),         " Fail Cnt : %d \n", nullptr},
    {"%d", ONE(binaryTreeLevel), " Binary Tree Algorithm Level : %d \n\n", nullptr},
    {"%d", ONE(lineDataOffset),  " Line Data Offset : %d \n", nullptr},
    {"%d", ONE(mainCbOffset),    " [ MAIN IMG ] CB Offset = %d \n", nullptr},
    {"%d", ONE(mainCrOffset),    " [ MAIN IMG ] CR Offset = %d \n", nullptr},
    {"%d", ONE(scrCbOffset),     " [ SCR. IMG ] CB Offset = %d \n", nullptr},
    {"%d", ONE(scrCrOffset),     " [ SRC. IMG ] CR Offset = %d \n", nullptr},
    {"%d", ONE(liveLcdCbOffset), " [ LIVE LCD IMG ] CB Offset = %d \n", nullptr},
    {"%d", ONE(liveLcdCrOffset), " [ LIVE LCD IMG ] CR Offset = %d \n", nullptr},
    {"%d", ONE(liveTvCbOffset),  " [ LIVE TV  IMG ] CB Offset = %d \n", nullptr},
    {"%d", ONE(liveTvCrOffset),  " [ LIVE TV  IMG ] CR Offset = %d \n", nullptr},
};

constexpr rova_pim_row SEARCH_ROWS[] = {
    {"%d %d", MORE(lvSearchW, lvSearchH),   " Color Searching Size [in LV Img]: %d x %d \n", nullptr},
    {"%d %d", MORE(scrSearchW, scrSearchH), " Color Searching Size [in SCR Img]: %d x %d \n", nullptr},
    {"%d %d", MORE(arrayW, arrayH), " Array Size : %d x %d [in SN Img] \n", nullptr},
    {"%d",    ONE(arrayCount),      " Array Pixel Count : %d [in SN Img]\n", nullptr},
    {"%d",    ONE(avcsOkDelay),     " AVCS OK Delay = %d [msec] \n", nullptr},
    {"%d",    ONE(motOkDelay),      " MOT OK Delay = %d [msec] \n", nullptr},
    {"%d %d", PIM_DROPPED,          " Color Searching Size [in FI] : %d x %d \n", nullptr},
    {"%d %d", PIM_DROPPED,          " Array Size [in FI] : %d x %d \n", nullptr},
    {"%d",    PIM_DROPPED,          " Array Pixel Count [in FI]: %d \n", nullptr},
    {"%d",    ONE(alpha),           " ALPHA = %d \n", nullptr},
    {"%d",    ONE(beta),            " BETA = %d \n", nullptr},
    {"%d %d %d", ONE(chartUsage),   " Chart Usage = WIDE-[%d], TELE-[%d], MID-[%d] \n", nullptr},
};
#undef ONE
#undef MORE

#define ONE(member) ROVA_PIM_FIELD(rova_pim_chart_config, member)
#define MORE(first, last) ROVA_PIM_FIELDS(rova_pim_chart_config, first, last)

constexpr rova_pim_row RANGE_ROW[] = {
    {"%d %d %d %d", MORE(afStart, rangeSize), nullptr, nullptr}, // printed in another order
};

constexpr char EIGHT[] = "%d %d %d %d %d %d %d %d";
constexpr char MARKER[] = " CM COORDINATE :  ( %4d, %4d ) \n";

constexpr rova_pim_row MARKER_ROWS[] = {
    {"%d %d %d %d %d", ONE(remappedAfLevel), " REMAPPED AF LEVEL : %d, %d, %d, %d, %d \n", nullptr},
    {"%d %d", MORE(dir[0], dir[1]), nullptr, nullptr},
    {EIGHT,   MORE(dir[2], dir[9]), " DIR : %d %d %d %d %d %d %d %d %d %d \n", nullptr, ONE(dir)},
    {"%d %d", MORE(pos[0], pos[1]), nullptr, nullptr},
    {EIGHT,   MORE(pos[2], pos[9]), " POS : %d %d %d %d %d %d %d %d %d %d \n", nullptr, ONE(pos)},
    {"%d",    ONE(reversedPima),    " REVERSED PIMA = %d [ %s ] \n", reversed_pima_word},
    {"%d %d", MORE(colorMin, colorMax), " Color Range : %d ~ %d \n", nullptr},
    {"%d %d", ONE(cm[0]), MARKER, nullptr},
    {"%d %d", ONE(cm[1]), MARKER, nullptr},
    {"%d %d", ONE(cm[2]), MARKER, nullptr},
    {"%d %d", ONE(cm[3]), MARKER, nullptr},
};

constexpr char WINDOW[] = " ORG WIN. Offset ( %5d %5d ) LEN ( %5d x %5d )\n";

constexpr rova_pim_row WINDOW_ROWS[] = {
    {"%d %d %d %d", ONE(orgWin[0]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[1]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[2]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[3]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[4]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[5]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[6]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[7]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[8]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(orgWin[9]), WINDOW, nullptr},
    {"%d %d %d %d", ONE(ref), nullptr, nullptr}, // printed with the chart's number
};

constexpr rova_pim_row LEVEL_ROWS[] = {
    {"%d %d", MORE(okLevel[0], okLevel[1]), nullptr, nullptr},
    {EIGHT,   MORE(okLevel[2], okLevel[9]), nullptr, nullptr},
    {"%d", ONE(okCntCondition),       " OK CNT CONDITION = %d \n", nullptr},
    {"%d", ONE(bestDefocusAlgorithm), " Best Defocuding Algorithm = %d \n", nullptr},
};
// clang-format on
#undef ONE
#undef MORE

static_assert(rova_pim_rows_are_sound(MODEL_ROW, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(DEBUG_ROWS, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(RESULT_ROW, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(DEBUG_FILE_ROW, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(RUN_ROWS, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(OFFSET_ROWS, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(SEARCH_ROWS, sizeof(rova_pim_pm_config)));
static_assert(rova_pim_rows_are_sound(RANGE_ROW, sizeof(rova_pim_chart_config)));
static_assert(rova_pim_rows_are_sound(MARKER_ROWS, sizeof(rova_pim_chart_config)));
static_assert(rova_pim_rows_are_sound(WINDOW_ROWS, sizeof(rova_pim_chart_config)));
static_assert(rova_pim_rows_are_sound(LEVEL_ROWS, sizeof(rova_pim_chart_config)));

constexpr rova_pim_reader READER = {
    .record = " pCfgPm     = %s \n",
    .wrong_model = " MODEL NUMBER IS WRONG.....!!!!  %s : %s \n",
    .version = " MODEL NUM = %s : VER = %s \n\n",
    .model = MODEL_ROW,
    .debug = DEBUG_ROWS,
    .result = RESULT_ROW,
    .file = DEBUG_FILE_ROW,
};

// On a television the live view has its size and its chroma.
void use_tv_size(rova_pim_pm_config &cfg)
{
    if (cfg.screenOutType == 0)
        return;
    cfg.liveLcdW = cfg.liveTvW;
    cfg.liveLcdH = cfg.liveTvH;
}

void use_tv_offsets(rova_pim_pm_config &cfg)
{
    if (cfg.screenOutType == 0)
        return;
    cfg.liveLcdCbOffset = cfg.liveTvCbOffset;
    cfg.liveLcdCrOffset = cfg.liveTvCrOffset;
}

int read_settings(rova_pim_lines &lines, rova_pim_pm_config &cfg)
{
    if (rova_pim_read_and_print_rows(lines, RUN_ROWS, &cfg) != 0)
        return -1;
    use_tv_size(cfg);
    if (rova_pim_read_and_print_rows(lines, OFFSET_ROWS, &cfg) != 0)
        return -1;
    use_tv_offsets(cfg);
    return rova_pim_read_and_print_rows(lines, SEARCH_ROWS, &cfg);
}

void derive_levels(rova_pim_chart_config &chart, ChartResult &result)
{
    const int32_t back = rova_pim_narrow(-int64_t{chart.cz});
    const int32_t defocus[PIM_LEVELS] = {back, back, 0, chart.cz, chart.cz};
    std::ranges::copy(defocus, chart.defocus);
    for (int k = 0; k < PIM_LEVELS; k++) {
        result.afLevel[k] = k - 2;
        result.remapped[k] = chart.remappedAfLevel[k];
        result.defocus[k] = chart.defocus[k];
    }
}

void derive_marker_distance(rova_pim_chart_config &chart)
{
    chart.cmDist = rova_pim_marker_distance(chart.cm);
    rova_pim_debug(" CM DIST. : %d %d \n", chart.cmDist.x, chart.cmDist.y);
}

void derive_markers(const rova_pim_pm_config &cfg, rova_pim_chart_config &chart)
{
    derive_marker_distance(chart);
    for (int k = 0; k < PIM_MARKERS; k++)
        chart.cmExpected[k] = rova_pim_marker_window(chart.cm[k], cfg);
}

int read_chart(rova_pim_lines &lines, rova_pim_pm_config &cfg, int index)
{
    rova_pim_chart_config &chart = cfg.chart[index];
    const auto &ref = chart.ref;
    rova_pim_debug("========== %s Chart's Parameters ========== \n\n", CHARTS[index]);
    if (rova_pim_read_and_print_rows(lines, RANGE_ROW, &chart) != 0)
        return -1;
    rova_pim_debug(" AF RANGE : %d ~ %d [%2d], CZ = %d \n", chart.afStart, chart.afEnd,
                   chart.rangeSize, chart.cz);
    if (rova_pim_read_and_print_rows(lines, MARKER_ROWS, &chart) != 0)
        return -1;
    derive_levels(chart, cfg.result[index]);
    derive_markers(cfg, chart);
    if (rova_pim_read_and_print_rows(lines, WINDOW_ROWS, &chart) != 0)
        return -1;
    rova_pim_debug(" Ref[%d] : %4d %4d %4d %4d \n", index, ref[0], ref[1], ref[2], ref[3]);
    return rova_pim_read_and_print_rows(lines, LEVEL_ROWS, &chart);
}

int read_charts(rova_pim_lines &lines, rova_pim_pm_config &cfg)
{
    for (int i = 0; i < PIM_CHARTS; i++) {
        if (cfg.chartUsage[i] == USED && read_chart(lines, cfg, i) != 0)
            return -1;
    }
    return 0;
}

void reset_results(rova_pim_pm_config &cfg)
{
    for (ChartResult &result : cfg.result) {
        result.bestLevel = PIM_NO_RESULT;
        result.bestAfStep = PIM_NO_RESULT;
        result.bestRemapped = PIM_NO_RESULT;
        result.okCount = PIM_NO_RESULT;
    }
    cfg.finalResult = PIM_NO_RESULT;
}

int read_body(rova_pim_lines &lines, rova_pim_pm_config &cfg)
{
    if (read_settings(lines, cfg) != 0 || read_charts(lines, cfg) != 0 ||
        rova_pim_buffers_allocate(cfg.imageW, cfg.imageH) != 0)
        return -1;
    cfg.configLoaded = 1;
    reset_results(cfg);
    return 0;
}

} // namespace

void rova_pim_open_debug_file(const rova_pim_pm_config &cfg)
{
    rova_pim_open_debug(cfg.dbgPrint, cfg.debugFile);
}

int rova_pim_read_config_mot(const char *path, rova_pim_pm_config *cfg, const char *project)
{
    return rova_pim_read_record(READER, path, cfg, project, read_body);
}

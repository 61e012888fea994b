// The dust test's configuration file.
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_reader.h"

#include <cstddef>
#include <iterator>

namespace
{

// Values that the record keeps apart from each other, as their line has them.
struct line_values {
    int32_t numbers[PIM_SEARCH_AREAS];
    float limits[PIM_SEARCH_AREAS];
    int32_t hundreds[PIM_SEARCH_AREAS]; // the limits times 100
};

#define ONE(member) ROVA_PIM_FIELD(rova_pim_dust_config, member)
#define MORE(first, last) ROVA_PIM_FIELDS(rova_pim_dust_config, first, last)
#define IN_LINE(first, last) ROVA_PIM_FIELDS(line_values, first, last)

constexpr rova_pim_head HEAD = rova_pim_head_of(ONE(strModelName), ONE(iDbgPrint), ONE(iRstPrint),
                                                PIM_SWITCH, ONE(strDbgFile));

// The rows stand in the file's order, parted where something happens between two of them.
// clang-format off
constexpr rova_pim_row SAVE_ROWS[] = {
    {"%s",    ONE(strOutFile),  " Output File Name for Test Result : %s \n\n", nullptr},
    {"%d",    ONE(RunDustFunc), " RunDustFunc. = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(iJpegSave),   " Jpeg Save = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(iRawSave),    " Raw Save = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(iLogSave),    " Log Save = %d [%s] \n", PIM_SWITCH},
};

constexpr rova_pim_row RUN_ROWS[] = {
    {"%s",    ONE(strLogFile),   " Log File Name = %s \n", nullptr},
    {"%d",    ONE(iPixelSave),   " Pixel Data Save = %d [%s] \n", PIM_SWITCH},
    {"%d %d", MORE(iPixelFrom, iPixelTo), " Pixel Data Range = %d ,%d \n", nullptr},
    {"%s",    ONE(strPixelFile), " Pixel File Name = %s \n", nullptr},
    {"%d",    ONE(iBmpSave),     " BMP Save = %d [ %s ] \n", PIM_SWITCH},
    {"%s",    ONE(strBmpFile),   " BMP File = %s  \n", nullptr},
    {PIM_EIGHT, ONE(iDbgLevel),  " Debugging Print Level = %d %d %d %d %d %d %d %d\t\n", nullptr},
    {PIM_EIGHT, ONE(iDbgOption), " Debugging Option = %d %d %d %d %d %d %d %d\t\n", nullptr},
    {"%d %d", MORE(iImgX, iImgY), " Image Size  %4d x %4d \n", nullptr},
    {"%d %d", MORE(iTvX, iTvY),   " Live View Image Size [ TV  OUT ] : %d x %d \n", nullptr},
    {"%d %d", MORE(iLcdLiveX, iLcdLiveY), " Live View Image Size [ LCD OUT ] : %d x %d \n", nullptr},
    {"%d %d", MORE(iLcdX, iLcdY), " LCD Size : %d x %d \n", nullptr},
    {"%d",    ONE(iScreenOut),    " SCREEN OUTPUT TYPE : %d [ %s ] \n", rova_pim_screen_word},
};

constexpr rova_pim_row SHADING_ROWS[] = {
    {"%d",    ONE(iCbOffset),  " [ MAIN IMG ] CB Offset = %d \n", nullptr},
    {"%d",    ONE(iCrOffset),  " [ MAIN IMG ] CR Offset = %d \n", nullptr},
    {"%d %d", MORE(iBlockX, iBlockY), " BLOCK SIZE = %3d x %3d \n", nullptr},
    {"%d",    ONE(iShadingOn), " Shading On/Off = %d [ %s] \n", PIM_SWITCH},
    {"%d %d %d %d", MORE(iShadingU, iShadingR),
     " Shading Range : U-[ %d ], L-[%d], L-[%d], R-[%d] blocks \n", nullptr},
    {"%d",    ONE(iShadingRef), " Shading Ref. = %d  \n", nullptr},
};

constexpr rova_pim_row QUADRANT_ROW[] = {
    {"%d", ONE(i4xOn), " 4X Shading On/Off = %d [%s] \n", PIM_SWITCH},
};

constexpr rova_pim_row EXPOSURE_ROWS[] = {
    {"%d", ONE(iExpOn),   " Exposure/Darness On/Off = %d [ %s ] \n", PIM_SWITCH},
    {"%d", ONE(iExpHigh), " Exposure Y High. = %d  \n", nullptr},
    {"%d", ONE(iExpLow),  " Exposure Y Low. = %d  \n", nullptr},
    {"%d", ONE(iDustOn),  " Dust On/Off = %d [ %s ] \n", PIM_SWITCH},
};

constexpr rova_pim_row PERCENT_ROW[] = {
    {"%d %d %d %d %d", IN_LINE(numbers, numbers), " Search Area [%%] = %d %d %d / %d %d \n", nullptr},
};

// Upper, lower, left, right.
constexpr rova_pim_row EXCEPT_ROW[] = {
    {"%d %d %d %d", IN_LINE(numbers[0], numbers[3]), " Exception Block = %d %d %d %d \n", nullptr},
};

constexpr rova_pim_row SMALL_ROW[] = {
    {"%d", ONE(iSmallOffset), " Small Dust Block Offset = %d \n", nullptr},
};

constexpr rova_pim_row BIG_ROW[] = {
    {"%d", ONE(iBigOffset), " Big  Dust Block Offset = %d \n", nullptr},
};

// Upper, lower, left, right.
constexpr rova_pim_row BLUR_ROW[] = {
    {"%d %d %d %d", IN_LINE(numbers[0], numbers[3]), " Blur Aread [%%] = %d %d %d %d \n", nullptr},
};

constexpr rova_pim_row COLOUR_ROW[] = {
    {"%d", ONE(iCsOn), " Color Shading = %d [ %s ] \n", PIM_SWITCH},
};

// Of any of the three windows: x, y and the size are printed in another order than they are read.
constexpr rova_pim_row WINDOW_ROW[] = {
    {"%d %d %d %d", IN_LINE(numbers[0], numbers[3]), nullptr, nullptr},
};

constexpr rova_pim_row ALPHA_ROW[] = {
    {"%f", ONE(fAlpha), " ALPHA = %7.2f\n", nullptr},
};

// A line of limits is read, and printed a second time in hundredths.
struct limit_rows {
    rova_pim_row line[1];
    rova_pim_row hundreds[1];
};

constexpr rova_pim_field LIMIT = IN_LINE(limits[0], limits[0]);
constexpr rova_pim_field HUNDRED = IN_LINE(hundreds[0], hundreds[0]);

constexpr limit_rows SHADING_LIMIT = {
    {{"%f", LIMIT,   " Shading Diff. = %3.2f  \n", nullptr}},
    {{"%d", HUNDRED, " Shading Diff*100. = %d  \n", nullptr}},
};

constexpr limit_rows QUADRANT_LIMIT = {
    {{"%f", LIMIT,   " 4X Shading Diff. = %3.2f  \n", nullptr}},
    {{"%d", HUNDRED, " 4X Shading Diff*100 = %d  \n", nullptr}},
};

constexpr limit_rows SMALL_LIMITS = {
    {{"%f %f %f %f %f", IN_LINE(limits, limits),
      " Small Dust Pass Ref. = %3.2f %3.2f %3.2f / %3.2f %3.2f \n", nullptr}},
    {{"%d %d %d %d %d", IN_LINE(hundreds, hundreds),
      " Small Dust Pass Ref*100. = %5d %5d %5d / %5d %5d \n", nullptr}},
};

constexpr limit_rows BIG_LIMITS = {
    {{"%f %f %f %f %f", IN_LINE(limits, limits),
      " Big  Dust Pass Ref. = %3.2f %3.2f %3.2f / %3.2f %3.2f \n", nullptr}},
    {{"%d %d %d %d %d", IN_LINE(hundreds, hundreds),
      " Big  Dust Pass Ref.*100 = %5d %5d %5d / %5d %5d \n", nullptr}},
};

constexpr limit_rows BLUR_LIMIT = {
    {{"%f", LIMIT,   " Blur Pass Ref. = %3.2f \n", nullptr}},
    {{"%d", HUNDRED, " Blur Pass Ref.*100 = %5d \n", nullptr}},
};
// clang-format on
#undef ONE
#undef MORE
#undef IN_LINE

static_assert(rova_pim_tables_are_sound(sizeof(rova_pim_dust_config), HEAD.model, HEAD.debug,
                                        HEAD.result, HEAD.file, SAVE_ROWS, RUN_ROWS, SHADING_ROWS,
                                        QUADRANT_ROW, EXPOSURE_ROWS, SMALL_ROW, BIG_ROW, COLOUR_ROW,
                                        ALPHA_ROW));
static_assert(rova_pim_tables_are_sound(sizeof(line_values), PERCENT_ROW, EXCEPT_ROW, BLUR_ROW,
                                        WINDOW_ROW));

consteval bool limits_are_sound()
{
    for (const limit_rows *rows :
         {&SHADING_LIMIT, &QUADRANT_LIMIT, &SMALL_LIMITS, &BIG_LIMITS, &BLUR_LIMIT}) {
        if (!rova_pim_rows_are_sound(rows->line, sizeof(line_values)) ||
            !rova_pim_rows_are_sound(rows->hundreds, sizeof(line_values)))
            return false;
    }
    return true;
}
static_assert(limits_are_sound());

constexpr rova_pim_reader READER = rova_pim_reader_of(HEAD, " pDustCfg     = %s \n");

// A float product, cut to a whole number; one that a record has no room for becomes the nearest
// that it has.
int32_t hundred_times(float limit)
{
    constexpr float BEYOND = 2147483648.0F;
    const float product = limit * 100.0F;
    if (product >= BEYOND)
        return INT32_MAX;
    return product < -BEYOND ? INT32_MIN : static_cast<int32_t>(product);
}

int read_limits(rova_pim_lines &lines, const limit_rows &rows, line_values &values)
{
    values = {};
    if (rova_pim_read_and_print_rows(lines, rows.line, &values) != 0)
        return -1;
    for (std::size_t i = 0; i < std::size(values.limits); i++)
        values.hundreds[i] = hundred_times(values.limits[i]);
    rova_pim_print_rows(rows.hundreds, &values);
    return 0;
}

int read_limit(rova_pim_lines &lines, const limit_rows &rows, float &limit, int32_t &hundred)
{
    line_values values;
    if (read_limits(lines, rows, values) != 0)
        return -1;
    limit = values.limits[0];
    hundred = values.hundreds[0];
    return 0;
}

int read_percents(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    line_values values = {};
    if (rova_pim_read_and_print_rows(lines, PERCENT_ROW, &values) != 0)
        return -1;
    for (std::size_t i = 0; i < PIM_SEARCH_AREAS; i++)
        cfg.tSearchArea[i].iPercent = values.numbers[i];
    return 0;
}

// The lines name left before right, the record has them the other way round.
int read_except(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    line_values values = {};
    if (rova_pim_read_and_print_rows(lines, EXCEPT_ROW, &values) != 0)
        return -1;
    cfg.iExceptU = values.numbers[0];
    cfg.iExceptLo = values.numbers[1];
    cfg.iExceptL = values.numbers[2];
    cfg.iExceptR = values.numbers[3];
    return 0;
}

int read_blur(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    line_values values = {};
    if (rova_pim_read_and_print_rows(lines, BLUR_ROW, &values) != 0)
        return -1;
    cfg.iBlurU = values.numbers[0];
    cfg.iBlurLo = values.numbers[1];
    cfg.iBlurL = values.numbers[2];
    cfg.iBlurR = values.numbers[3];
    return read_limit(lines, BLUR_LIMIT, cfg.fBlurRef, cfg.iBlurRef100);
}

int read_small(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    line_values values;
    if (rova_pim_read_and_print_rows(lines, SMALL_ROW, &cfg) != 0 ||
        read_limits(lines, SMALL_LIMITS, values) != 0)
        return -1;
    for (std::size_t i = 0; i < PIM_SEARCH_AREAS; i++) {
        cfg.tSearchArea[i].fSmallRef = values.limits[i];
        cfg.tSearchArea[i].iSmallRef100 = values.hundreds[i];
    }
    return 0;
}

int read_big(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    line_values values;
    if (rova_pim_read_and_print_rows(lines, BIG_ROW, &cfg) != 0 ||
        read_limits(lines, BIG_LIMITS, values) != 0)
        return -1;
    for (std::size_t i = 0; i < PIM_SEARCH_AREAS; i++) {
        cfg.tSearchArea[i].fBigRef = values.limits[i];
        cfg.tSearchArea[i].iBigRef100 = values.hundreds[i];
    }
    return 0;
}

int read_settings(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    if (rova_pim_read_and_print_rows(lines, SAVE_ROWS, &cfg) != 0)
        return -1;
    gLogPrintOnOff = cfg.iLogSave;
    if (rova_pim_read_and_print_rows(lines, RUN_ROWS, &cfg) != 0)
        return -1;
    rova_pim_use_tv_size(cfg);
    return 0;
}

int read_brightness(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    if (rova_pim_read_and_print_rows(lines, SHADING_ROWS, &cfg) != 0 ||
        read_limit(lines, SHADING_LIMIT, cfg.fShadingDiff, cfg.iShadingDiff100) != 0 ||
        rova_pim_read_and_print_rows(lines, QUADRANT_ROW, &cfg) != 0 ||
        read_limit(lines, QUADRANT_LIMIT, cfg.f4xDiff, cfg.i4xDiff100) != 0)
        return -1;
    return rova_pim_read_and_print_rows(lines, EXPOSURE_ROWS, &cfg);
}

int read_dust(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    if (read_percents(lines, cfg) != 0 || read_except(lines, cfg) != 0 ||
        read_small(lines, cfg) != 0 || read_big(lines, cfg) != 0)
        return -1;
    return read_blur(lines, cfg);
}

int read_colour_shading(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    if (rova_pim_read_and_print_rows(lines, COLOUR_ROW, &cfg) != 0)
        return -1;
    for (std::size_t i = 0; i < PIM_SHADING_WINDOWS; i++) {
        line_values values = {};
        if (rova_pim_read_rows(lines, WINDOW_ROW, &values) != 0)
            return -1;
        cfg.iWinX[i] = values.numbers[0];
        cfg.iWinW[i] = values.numbers[1];
        cfg.iWinY[i] = values.numbers[2];
        cfg.iWinH[i] = values.numbers[3];
        rova_pim_debug(" Left Win. = S(%4d, %4d), SZ(%d x %d) \n", cfg.iWinX[i], cfg.iWinY[i],
                       cfg.iWinW[i], cfg.iWinH[i]);
    }
    return rova_pim_read_and_print_rows(lines, ALPHA_ROW, &cfg);
}

rova_pim_corners corners(int64_t x1, int64_t y1, int64_t x2, int64_t y2)
{
    return {rova_pim_narrow(x1), rova_pim_narrow(y1), rova_pim_narrow(x2), rova_pim_narrow(y2)};
}

// What blocks and parts of the picture measure in pixels.
class Pixels
{
public:
    explicit Pixels(const rova_pim_dust_config &cfg) : cfg_(cfg) {}
    int64_t width() const { return cfg_.iImgX; }
    int64_t height() const { return cfg_.iImgY; }
    int64_t blocks_x(int64_t blocks) const { return blocks * cfg_.iBlockX; }
    int64_t blocks_y(int64_t blocks) const { return blocks * cfg_.iBlockY; }
    int64_t percent_x(int64_t percent) const { return percent * width() / 100; }
    int64_t percent_y(int64_t percent) const { return percent * height() / 100; }

private:
    const rova_pim_dust_config &cfg_;
};

void derive_except_areas(rova_pim_dust_config &cfg)
{
    const Pixels p(cfg);
    const int64_t left = p.blocks_x(cfg.iExceptL);
    const int64_t right = p.width() - p.blocks_x(cfg.iExceptR);
    const int64_t upper = p.blocks_y(cfg.iExceptU);
    const int64_t lower = p.height() - p.blocks_y(cfg.iExceptLo);
    cfg.tExceptArea[0] = corners(left, 0, right, upper);
    cfg.tExceptArea[1] = corners(left, lower, right, p.height());
    cfg.tExceptArea[2] = corners(0, 0, left, p.height());
    cfg.tExceptArea[3] = corners(right, 0, p.width(), p.height());
}

// The percentage of B plays no part.
void derive_search_areas(rova_pim_dust_config &cfg)
{
    const Pixels p(cfg);
    auto &areas = cfg.tSearchArea;
    const int64_t upper = p.blocks_y(cfg.iExceptU);
    const int64_t lower = p.height() - p.blocks_y(cfg.iExceptLo);
    const int64_t a = p.percent_y(areas[0].iPercent);
    const int64_t c = p.height() - p.percent_y(areas[2].iPercent);
    const int64_t d = p.percent_x(areas[3].iPercent);
    const int64_t e = p.width() - p.percent_x(areas[4].iPercent);
    const rova_pim_corners derived[PIM_SEARCH_AREAS] = {
        corners(d, upper, e, a),
        corners(d, a, e, c),
        corners(d, c, e, lower),
        corners(p.blocks_x(cfg.iExceptL), upper, d, lower),
        corners(e, upper, p.width() - p.blocks_x(cfg.iExceptR), lower),
    };
    for (std::size_t i = 0; i < PIM_SEARCH_AREAS; i++) {
        areas[i].x1 = derived[i].x1;
        areas[i].y1 = derived[i].y1;
        areas[i].x2 = derived[i].x2;
        areas[i].y2 = derived[i].y2;
    }
}

// The upper percentage makes the left edge too: that of the left side plays no part.  The fifth
// area stays empty.
void derive_blur_areas(rova_pim_dust_config &cfg)
{
    const Pixels p(cfg);
    const int64_t left = p.percent_x(cfg.iBlurU);
    const int64_t right = p.width() - p.percent_x(cfg.iBlurR);
    cfg.BlurArea[0] = corners(left, 0, right, p.percent_y(cfg.iBlurU));
    cfg.BlurArea[1] = corners(left, p.height() - p.percent_y(cfg.iBlurLo), right, p.height());
    cfg.BlurArea[2] = corners(0, 0, left, p.height());
    cfg.BlurArea[3] = corners(right, 0, p.width(), p.height());
}

// Bands are five blocks wide, but for the upper one, and of the range only its upper and left
// values are used.
void derive_shading_areas(rova_pim_dust_config &cfg)
{
    constexpr int64_t BAND = 5;
    const Pixels p(cfg);
    const int64_t band = p.blocks_x(BAND);
    const int64_t right = p.width() - band;
    cfg.tShadingArea[0] = corners(p.blocks_x(cfg.iShadingL), 0, right, p.blocks_y(cfg.iShadingU));
    cfg.tShadingArea[1] = corners(band, p.height() - p.blocks_y(BAND), right, p.height());
    cfg.tShadingArea[2] = corners(0, 0, band, p.height());
    cfg.tShadingArea[3] = corners(right, 0, p.width(), p.height());
}

template <typename area, std::size_t N>
void print_areas(const char *label, const area (&areas)[N], std::size_t count = N)
{
    for (std::size_t i = 0; i < count; i++)
        rova_pim_debug(label, static_cast<int>(i), areas[i].x1, areas[i].y1, areas[i].x2,
                       areas[i].y2);
}

// Of the blur areas those that are derived are printed.
void print_all_areas(const rova_pim_dust_config &cfg)
{
    print_areas(" tExceptArea[%d] = (%5d, %5d) (%5d, %5d) \n", cfg.tExceptArea);
    print_areas(" tSearchArea[%d] = (%5d, %5d) (%5d, %5d) \n", cfg.tSearchArea);
    print_areas(" BlurArea[%d] = (%5d, %5d) (%5d, %5d) \n", cfg.BlurArea, PIM_BLUR_AREAS - 1);
    print_areas(" tShadingArea[%d] = (%5d, %5d) (%5d, %5d) \n", cfg.tShadingArea);
}

void derive_areas(rova_pim_dust_config &cfg)
{
    derive_except_areas(cfg);
    derive_search_areas(cfg);
    derive_blur_areas(cfg);
    derive_shading_areas(cfg);
    print_all_areas(cfg);
}

void reset_results(rova_pim_dust_config &cfg)
{
    for (int32_t *verdict :
         {&cfg.iShadingOk, &cfg.iShadingRst, &cfg.i4xOk, &cfg.i4xRst, &cfg.iExpOk, &cfg.iExpRst,
          &cfg.iDustOk, &cfg.iDustRst, &cfg.iCsOk, &cfg.iCsRst, &cfg.iTotal})
        *verdict = PIM_NO_RESULT;
    gMotExifInfo = {};
}

int read_body(rova_pim_lines &lines, rova_pim_dust_config &cfg)
{
    if (read_settings(lines, cfg) != 0 || read_brightness(lines, cfg) != 0 ||
        read_dust(lines, cfg) != 0)
        return -1;
    derive_areas(cfg);
    if (read_colour_shading(lines, cfg) != 0)
        return -1;
    reset_results(cfg);
    return 0;
}

} // namespace

int rova_pim_read_config_dust(const char *path, rova_pim_dust_config *cfg, const char *project)
{
    return rova_pim_read_record(READER, path, cfg, project, read_body);
}

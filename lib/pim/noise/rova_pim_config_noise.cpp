// The noise test's configuration file.
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_reader.h"

namespace
{

#define ONE(member) ROVA_PIM_FIELD(rova_pim_noise_config, member)
#define MORE(first, last) ROVA_PIM_FIELDS(rova_pim_noise_config, first, last)

constexpr rova_pim_head HEAD = rova_pim_head_of(ONE(strModelName), ONE(iDbgPrint), ONE(iRstPrint),
                                                PIM_SWITCH, ONE(strDbgFile));

// The rows stand in the file's order, parted where something happens between two of them.
// clang-format off
constexpr rova_pim_row RUN_ROWS[] = {
    {"%s",    ONE(strOutFile),   " Output File Name = %s \n", nullptr},
    {"%d",    ONE(RunNoiseFunc), " RunNoiseFunc. = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(iJpegSave),    " Jpeg Save = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(iRawSave),     " Raw Save = %d [%s] \n", PIM_SWITCH},
    {PIM_EIGHT, ONE(iDbgLevel),  " Debugging Print Level = %d %d %d %d %d %d %d %d\t\n\n", nullptr},
    {PIM_EIGHT, ONE(iDbgOption), " Debugging Option = %d %d %d %d %d %d %d %d\t\n\n", nullptr},
    {"%d %d", MORE(iImgX, iImgY), " Image Size : %4d x %4d \n", nullptr},
    {"%d %d", MORE(iTvX, iTvY),   " Live View Image Size [ TV  OUT ] : %d x %d \n\n", nullptr},
    {"%d %d", MORE(iLcdLiveX, iLcdLiveY), " Live View Image Size [ LCD OUT ] : %d x %d \n\n", nullptr},
    {"%d %d", MORE(iLcdX, iLcdY), " LCD Size : %d x %d \n\n", nullptr},
    {"%d",    ONE(iScreenOut),    " SCREEN OUTPUT TYPE : %d [ %s ] \n\n", rova_pim_screen_word},
};

constexpr rova_pim_row ISO_ROWS[] = {
    {"%d",    ONE(iCbOffset), " [ MAIN IMG ] CB Offset = %d \n", nullptr},
    {"%d",    ONE(iCrOffset), " [ MAIN IMG ] CR Offset = %d \n", nullptr},
    {"%d %d", MORE(iNX, iNY),     " Number of Sub Blocks = %d %d \n", nullptr},
    {"%d %d", MORE(iDivX, iDivY), " Sub Block Size = %d %d \n", nullptr},
    {"%d %d", MORE(iIsoLow, iIsoHigh), " ISO DEFINE : LOW ISO = %d , HIGH ISO = %d \n", nullptr},
    {"%d",    ONE(iIso),      " ISO = %5d  \n", nullptr},
};

constexpr rova_pim_row CHECK_ROWS[] = {
    {"%d",    ONE(iNormBase),       " Normalizing Base :  %d  \n", nullptr},
    {"%d",    ONE(iDotOn),          " Dot Noise = %d [ %s ] \n", PIM_SWITCH},
    {"%f %f", ONE(fYSpec),          " Y Spec. = %3.2f : %3.2f  \n", nullptr},
    {"%f %f", ONE(fYMaxMinSpec),    " Y's Max-Min Spec. = %3.2f : %3.2f  \n", nullptr},
    {"%f %f", ONE(fNormMaxMinSpec), " Normalized Y's Max-Min Spec. = %3.2f : %3.2f  \n", nullptr},
    {"%d",    ONE(iColorOn),        " Color Noise = %d [ %s ] \n", PIM_SWITCH},
    {"%f %f", ONE(fRedSpec),        " RED   Spec. = %3.2f %3.2f \n", nullptr},
    {"%f %f", ONE(fGreenSpec),      " GREEN Spec. = %3.2f %3.2f \n", nullptr},
    {"%f %f", ONE(fBlueSpec),       " BLUE  Spec. = %3.2f %3.2f \n", nullptr},
    {"%f %f", ONE(fRGDiffSpec),     " RED -GREEN  Diff. = %3.2f :  %3.2f \n", nullptr},
    {"%f %f", ONE(fBGDiffSpec),     " BLUE - GREEN Diff. = %3.2f : %3.2f \n", nullptr},
    {"%f %f", ONE(fRGMaxMinSpec),   " (R-G)Max - (R-G)Min Diff. = %3.2f : %3.2f \n", nullptr},
    {"%f %f", ONE(fBGMaxMinSpec),   " (B-G)Max - (B-G)Min Diff. = %3.2f : %3.2f \n", nullptr},
    {"%d",    ONE(iLineOn),         " Line Noise = %d [ %s ] \n", PIM_SWITCH},
    {"%f %f", ONE(fLineDiff),       " Line Diff. = %3.2f : %3.2f \n", nullptr},
    {"%d %d", ONE(iLineOffset),     " Line Offset = %d : %d \n", nullptr},
};
// clang-format on
#undef ONE
#undef MORE

static_assert(rova_pim_tables_are_sound(sizeof(rova_pim_noise_config), HEAD.model, HEAD.debug,
                                        HEAD.result, HEAD.file, RUN_ROWS, ISO_ROWS, CHECK_ROWS));

constexpr rova_pim_reader READER = rova_pim_reader_of(HEAD, " pNsCfg       = %s \n");

void reset_results(rova_pim_noise_config &cfg)
{
    for (int32_t *verdict :
         {&cfg.iDotOk, &cfg.iDotRst, &cfg.iColorOk, &cfg.iColorRst, &cfg.iLineOk, &cfg.iLineRst})
        *verdict = PIM_NO_RESULT;
    gMotExifInfo = {};
}

int read_body(rova_pim_lines &lines, rova_pim_noise_config &cfg)
{
    if (rova_pim_read_and_print_rows(lines, RUN_ROWS, &cfg) != 0)
        return -1;
    rova_pim_use_tv_size(cfg);
    if (rova_pim_read_and_print_rows(lines, ISO_ROWS, &cfg) != 0)
        return -1;
    SetNoiseIso(cfg.iIso, cfg);
    if (rova_pim_read_and_print_rows(lines, CHECK_ROWS, &cfg) != 0)
        return -1;
    reset_results(cfg);
    return 0;
}

} // namespace

int rova_pim_read_config_noise(const char *path, rova_pim_noise_config *cfg, const char *project)
{
    return rova_pim_read_record(READER, path, cfg, project, read_body);
}

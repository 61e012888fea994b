// The movie test's configuration file.
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim_reader.h"

namespace
{

const char *result_word(int32_t value)
{
    if (value == 0)
        return "DIRECT PRINT";
    return value == 1 ? "BUFFERED PRINT" : "PTP TRANSFER";
}

#define ONE(member) ROVA_PIM_FIELD(rova_pim_movie_config, member)
#define MORE(first, last) ROVA_PIM_FIELDS(rova_pim_movie_config, first, last)

constexpr rova_pim_head HEAD =
    rova_pim_head_of(ONE(strModelName), ONE(dbgPrint), ONE(rstPrint), result_word, ONE(debugFile));

// The rows stand in the file's order, parted where something happens between two of them.
// clang-format off
constexpr rova_pim_row RUN_ROWS[] = {
    {"%s",    ONE(resultFile),       " Output File Name = %s \n\n", nullptr},
    {"%d",    ONE(enableTest),       " RunNoiseFunc. = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(enableSaveRaw),    " Raw Save = %d [%s] \n", PIM_SWITCH},
    {"%d",    ONE(enableSaveErrRaw), " Err. Raw Save = %d [%s] \n", PIM_SWITCH},
    {PIM_EIGHT, ONE(dbgLevel),  " Debugging Print Level = %d %d %d %d %d %d %d %d\t\n\n", nullptr},
    {PIM_EIGHT, ONE(dbgOption), " Debugging Option = %d %d %d %d %d %d %d %d\t\n\n", nullptr},
    {"%d %d", MORE(imageW, imageH),     " Image Size : %4d x %4d \n", nullptr},
    {"%d %d", MORE(liveTvW, liveTvH),   " Live View Image Size [ TV  OUT ] : %d x %d \n\n", nullptr},
    {"%d %d", MORE(liveLcdW, liveLcdH), " Live View Image Size [ LCD OUT ] : %d x %d \n\n", nullptr},
    {"%d %d", MORE(lcdW, lcdH),         " LCD Size : %d x %d \n\n", nullptr},
    {"%d",    ONE(screenOutType), " SCREEN OUTPUT TYPE : %d [ %s ] \n\n", rova_pim_screen_word},
    {"%d",    ONE(cbOffset), " [ LCD OUT ] Cb Color Offset = %d \n", nullptr},
    {"%d",    ONE(crOffset), " [ LCD OUT ] Cr Color Offset = %d \n", nullptr},
};

constexpr char TV_CB[] = " [ TV OUT ] Cb Color Offset = %d \n";
constexpr char TV_CR[] = " [ TV OUT ] Cr Color Offset = %d \n";

constexpr rova_pim_row TV_ROWS[] = {
    {"%d", ONE(cbOffset), TV_CB, nullptr},
    {"%d", ONE(crOffset), TV_CR, nullptr},
};

constexpr rova_pim_row DROPPED_TV_ROWS[] = {
    {"%d", PIM_DROPPED, TV_CB, nullptr},
    {"%d", PIM_DROPPED, TV_CR, nullptr},
};

constexpr rova_pim_row FRAME_ROWS[] = {
    {"%f",    ONE(testField), " Test Field. = %f  \n", nullptr},
    {"%d",    ONE(redStart),  " Red Frame Start = %d \n", nullptr},
    {"%d",    ONE(redNum),    " Red Frame Num. = %d \n", nullptr},
    {"%d",    ONE(redInc),    " Red Frame Inc. = %d \n", nullptr},
    {"%d %d", MORE(redMin, redMax),     " Red Color Range : %d - %d  \n", nullptr},
    {"%d %d", MORE(redOffX, redOffY),   " Red Color X/Y Offset = %3d %3d \n", nullptr},
    {"%d %d", MORE(redDiffX, redDiffY), " Red Color X/Y Diff. = %3d %3d \n", nullptr},
    {"%d",    ONE(blueStart), " Blue Frame Start = %d \n", nullptr},
    {"%d",    ONE(blueNum),   " Blue Frame Num. = %d \n", nullptr},
    {"%d",    ONE(blueInc),   " Blue Frame Inc. = %d \n", nullptr},
    {"%d %d", MORE(blueMin, blueMax),     " Blue Color Range : %d - %d  \n", nullptr},
    {"%d %d", MORE(blueOffX, blueOffY),   " Blue Color X/Y Offset = %3d %3d \n", nullptr},
    {"%d %d", MORE(blueDiffX, blueDiffY), " Blue Color X/Y Diff. = %3d %3d \n", nullptr},
};

constexpr char AUDIO[] = " Audio Freq. Spec = %.2f : [ %.2f ~ %.2f ] \n"; // of the level too

constexpr rova_pim_row AUDIO_ROWS[] = {
    {"%d",       ONE(audioTest),          " Audio Test On/Off = %d [ %s ] \n", PIM_SWITCH},
    {"%f %f %f", MORE(freqSpec, freqMax), AUDIO, nullptr},
    {"%f %f %f", MORE(dbfsSpec, dbfsMax), AUDIO, nullptr},
};
// clang-format on
#undef ONE
#undef MORE

static_assert(rova_pim_tables_are_sound(sizeof(rova_pim_movie_config), HEAD.model, HEAD.debug,
                                        HEAD.result, HEAD.file, RUN_ROWS, TV_ROWS, DROPPED_TV_ROWS,
                                        FRAME_ROWS, AUDIO_ROWS));

// Its report names the record as that of the resolution test does.
constexpr rova_pim_reader READER = rova_pim_reader_of(HEAD, " pCfgPm     = %s \n");

// The television's offsets take the place of the panel's, or none.
int read_tv_offsets(rova_pim_lines &lines, rova_pim_movie_config &cfg)
{
    constexpr int32_t TV = 1;
    return cfg.screenOutType == TV ? rova_pim_read_and_print_rows(lines, TV_ROWS, &cfg)
                                   : rova_pim_read_and_print_rows(lines, DROPPED_TV_ROWS, &cfg);
}

void reset_results(rova_pim_movie_config &cfg)
{
    constexpr int32_t UNUSED = 3; // no colour
    constexpr float NONE = -99.0F;
    cfg.movieResult = PIM_NO_RESULT;
    cfg.audioResult = PIM_NO_RESULT;
    for (rova_pim_frame_record &frame : cfg.frame) {
        frame.colour = UNUSED;
        frame.result = PIM_NO_RESULT;
    }
    for (rova_pim_audio_record &audio : cfg.audio)
        audio = {0, PIM_NO_RESULT, NONE, NONE, NONE, NONE};
}

int read_body(rova_pim_lines &lines, rova_pim_movie_config &cfg)
{
    if (rova_pim_read_and_print_rows(lines, RUN_ROWS, &cfg) != 0 ||
        read_tv_offsets(lines, cfg) != 0 ||
        rova_pim_read_and_print_rows(lines, FRAME_ROWS, &cfg) != 0)
        return -1;
    cfg.totalFrames = rova_pim_narrow(int64_t{cfg.redNum} + cfg.blueNum);
    if (rova_pim_read_and_print_rows(lines, AUDIO_ROWS, &cfg) != 0)
        return -1;
    reset_results(cfg);
    return 0;
}

} // namespace

int rova_pim_read_config_movie(const char *path, rova_pim_movie_config *cfg, const char *project)
{
    return rova_pim_read_record(READER, path, cfg, project, read_body);
}

#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_raw.h"
#include "lib/pim/rova_pim_reader.h"

#include <cstdio>

int32_t rova_pim_movie_done[2];

namespace
{

constexpr int FAILED = -1;

void append(const rova_pim_frame_record &record, rova_pim_movie_config &cfg)
{
    if (cfg.frameCount < PIM_MOVIE_FRAMES)
        cfg.frame[cfg.frameCount] = record;
    else
        rova_pim_report(" frame %d counts without a record: there are %d \n", record.frame,
                        PIM_MOVIE_FRAMES);
    cfg.frameCount++;
    cfg.frameOk += record.result;
}

int judge(int32_t frame, const rova_pim_image &image, const rova_pim_movie_part &part,
          rova_pim_movie_config &cfg)
{
    rova_pim_frame_record record = {};
    record.frame = frame;
    record.colour = part.colour;
    if (!rova_pim_movie_judge_field(image, part, cfg.testField, &record)) {
        cfg.refused++;
        return FAILED;
    }
    append(record, cfg);
    return record.result == 1 ? 0 : FAILED;
}

// A frame out of step is passed over.
int check_frame(int32_t frame, const rova_pim_image &image, const rova_pim_movie_part &part,
                rova_pim_movie_config &cfg)
{
    int32_t &done = rova_pim_movie_done[part.colour == PIM_COLOUR_CR ? 0 : 1];
    if (frame != part.start + int64_t{done} * part.inc)
        return 0;
    done++;
    rova_pim_debug(" >>> Frame # = %d \n", frame);
    return judge(frame, image, part, cfg);
}

bool is_of(int32_t frame, const rova_pim_movie_part &part)
{
    return frame >= part.start && frame <= rova_pim_movie_last(part);
}

int32_t printed_last(const rova_pim_movie_part &part)
{
    return rova_pim_narrow(rova_pim_movie_last(part));
}

// The frame's colour; false for a frame of neither.
bool classify(int32_t frame, const rova_pim_movie_config &cfg, rova_pim_movie_part *part)
{
    const rova_pim_movie_part red = rova_pim_movie_red(cfg);
    const rova_pim_movie_part blue = rova_pim_movie_blue(cfg);
    if (is_of(frame, red)) {
        rova_pim_debug(" RED     : [ %d ] :::: %5d - %5d \n", frame, red.start, printed_last(red));
        *part = red;
    } else if (is_of(frame, blue)) {
        rova_pim_debug(" BLUE    : [ %d ] :::: %5d - %5d \n", frame, blue.start,
                       printed_last(blue));
        *part = blue;
    } else {
        rova_pim_debug(" D'CARE  : [ %d ] :::: %5d - %5d , %5d - %5d  \n", frame, red.start,
                       printed_last(red), blue.start, printed_last(blue));
        return false;
    }
    return true;
}

int test_frame(int32_t frame, const rova_pim_image &image, rova_pim_movie_config &cfg)
{
    rova_pim_movie_part part;
    if (!classify(frame, cfg, &part))
        return 0;
    const int result = check_frame(frame, image, part, cfg);
    if (result == FAILED)
        rova_pim_report(" ERROR ::: %s COLOR Mis-Matching \n", part.word);
    else
        rova_pim_debug(" GOOD  ::: %s COLOR Matching OK \n", part.word);
    rova_pim_movie_write_table(frame, cfg);
    return result;
}

// 0 when there can be no such frame.
uint64_t bytes_of(const uint8_t *y, int32_t width, int32_t height)
{
    const auto address = reinterpret_cast<uintptr_t>(y);
    if (y == nullptr || width <= 0 || height <= 0 || address >= ROVA_PIM_ADDRESS_END)
        return 0;
    const uint64_t bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 3 / 2;
    return bytes <= ROVA_PIM_ADDRESS_END - address ? bytes : 0;
}

bool find_frame(const uint8_t *y, int32_t width, int32_t height, int32_t frame,
                rova_pim_image *image)
{
    const uint64_t bytes = bytes_of(y, width, height);
    *image = {{y, static_cast<std::size_t>(bytes)}, width, height, width, CS420_Y_CbCr};
    if (bytes == 0)
        rova_pim_report(" ERROR :  no frame %d of %d x %d at 0x%08x \n", frame, width, height,
                        rova_pim_address(y));
    return bytes != 0;
}

void dump(const char *name, const char *form, int32_t frame, const rova_pim_image &image)
{
    constexpr int OPEN_FAILED = -1;
    char path[64];
    std::snprintf(path, sizeof(path), form, frame);
    if (rova_pim_dump(path, image.bytes) == OPEN_FAILED)
        rova_pim_print("%s, %d: file open error. fp %d\n", name, __LINE__, OPEN_FAILED);
}

} // namespace

// clang-format off
rova_pim_movie_part rova_pim_movie_red(const rova_pim_movie_config &cfg)
{
    return {.word  = "RED",          .colour = PIM_COLOUR_CR, .plane = cfg.crOffset,
            .start = cfg.redStart,   .num    = cfg.redNum,    .inc   = cfg.redInc,
            .min   = cfg.redMin,     .max    = cfg.redMax,    .off   = cfg.redOffY,
            .diffX = cfg.redDiffX,   .diffY  = cfg.redDiffY};
}

rova_pim_movie_part rova_pim_movie_blue(const rova_pim_movie_config &cfg)
{
    return {.word  = "BLUE",         .colour = PIM_COLOUR_CB, .plane = cfg.cbOffset,
            .start = cfg.blueStart,  .num    = cfg.blueNum,   .inc   = cfg.blueInc,
            .min   = cfg.blueMin,    .max    = cfg.blueMax,   .off   = cfg.blueOffY,
            .diffX = cfg.blueDiffX,  .diffY  = cfg.blueDiffY};
}
// clang-format on

int rova_pim_movie_test_frame(int32_t frame, const rova_pim_image &image,
                              rova_pim_movie_config &cfg)
{
    rova_pim_open_debug(cfg.dbgPrint, cfg.debugFile);
    const int result = test_frame(frame, image, cfg);
    rova_pim_debug_close();
    return result;
}

int32_t GetMovieDebugValue7()
{
    return cfgMovie.dbgOption[7];
}

void CheckMovie(const uint8_t *y, int32_t width, int32_t height, int32_t frame)
{
    const auto lock = rova_pim_lock_records();
    rova_pim_movie_config &cfg = cfgMovie;
    rova_pim_image image;
    int result = 0;
    if (cfg.dbgOption[6] == 1)
        rova_pim_print("\033[43m%s %d : 0x%08x, %d x %d, frame = %d, enableTest = %d, "
                       "enableSaveRaw = %d, enableSaveErrRaw = %d\033[0m\n",
                       __func__, __LINE__, rova_pim_address(y), width, height, frame,
                       cfg.enableTest, cfg.enableSaveRaw, cfg.enableSaveErrRaw);
    if (cfg.enableTest != 1 && cfg.enableSaveRaw != 1)
        return;
    if (!find_frame(y, width, height, frame, &image)) {
        cfg.refused++;
        return;
    }
    if (cfg.enableTest == 1) {
        result = rova_pim_movie_test_frame(frame, image, cfg);
        rova_pim_print("\033[42m%s %d : frame %3d returnValue = %d\033[0m\n", __func__, __LINE__,
                       frame, result);
    }
    if (cfg.enableSaveRaw == 1)
        dump(__func__, "/mnt/mmc/MovieRawDump%03dC.raw", frame, image);
    else if (cfg.enableSaveErrRaw == 1 && result == FAILED)
        dump(__func__, "/mnt/mmc/MovieErrRawDump%03dC.raw", frame, image);
}

// Loading a configuration of the movie test of any bytes: it is whole, or the load fails.
#include "fuzz/config_input.h"
#include "lib/pim/movie/rova_pim_movie_test.h"

namespace
{

using fuzz::expect;

void expect_whole()
{
    expect(std::strcmp(cfgMovie.strModelName, "LUMEN1") == 0);
    expect(fuzz::has_end(cfgMovie.debugFile) && fuzz::has_end(cfgMovie.resultFile));
    const int64_t frames = int64_t{cfgMovie.redNum} + cfgMovie.blueNum;
    expect(cfgMovie.totalFrames == static_cast<int32_t>(frames));
    expect(cfgMovie.movieResult == PIM_NO_RESULT && cfgMovie.audioResult == PIM_NO_RESULT);
    expect(cfgMovie.frameCount == 0 && cfgMovie.audioCount == 0 && cfgMovie.tableDone == 0);
    for (const rova_pim_frame_record &frame : cfgMovie.frame)
        expect(frame.result == PIM_NO_RESULT);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (!fuzz::stays_inside(text))
        return -1;
    if (fuzz::load(PI_MODE_MOVIE, "movie", text) == 0)
        expect_whole();
    return 0;
}

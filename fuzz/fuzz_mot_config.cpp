// Loading a configuration of the resolution test of any bytes: it is whole and its buffers are
// there, or the load fails.
#include "fuzz/config_input.h"
#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_config_mot.h"

namespace
{

using fuzz::expect;

void expect_whole()
{
    expect(cfgPm.configLoaded == 1 && cfgPm.finalResult == PIM_NO_RESULT);
    expect(std::strcmp(cfgPm.strModelName, "LUMEN1") == 0);
    expect(fuzz::has_end(cfgPm.debugFile) && fuzz::has_end(cfgPm.resultFile));
    expect(rova_pim_line_buffer().size() == static_cast<std::size_t>(cfgPm.imageH));
    for (const rova_pim_chart_config &chart : cfgPm.chart) {
        for (const rova_pim_box &box : chart.cmExpected)
            expect(box.x0 >= 0 && box.x1 <= cfgPm.imageW && box.y0 >= 0 && box.y1 <= cfgPm.imageH);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (!fuzz::stays_inside(text))
        return -1;
    rova_pim_buffers_free();
    cmWinW = 600;
    cmWinH = 480;
    if (fuzz::load(PI_MODE_MOT, "mot", text) == 0)
        expect_whole();
    else
        expect(cfgPm.configLoaded == 0 && gMallocFlag == 0);
    return 0;
}

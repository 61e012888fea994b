// Loading a configuration of the dust test of any bytes: it is whole and its areas hang together,
// or the load fails.
#include "fuzz/config_input.h"
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim_log_sink.h"

namespace
{

using fuzz::expect;

void expect_words()
{
    expect(std::strcmp(cfgDust.strModelName, "LUMEN1") == 0);
    expect(fuzz::has_end(cfgDust.strDbgFile) && fuzz::has_end(cfgDust.strOutFile));
    expect(fuzz::has_end(cfgDust.strLogFile) && fuzz::has_end(cfgDust.strPixelFile));
    expect(fuzz::has_end(cfgDust.strBmpFile));
}

// Edges that areas share.
void expect_areas()
{
    const auto &search = cfgDust.tSearchArea;
    const auto &except = cfgDust.tExceptArea;
    expect(search[0].y2 == search[1].y1 && search[1].y2 == search[2].y1);
    expect(search[3].x2 == search[0].x1 && search[0].x2 == search[4].x1);
    expect(except[2].x2 == search[3].x1 && except[3].x1 == search[4].x2);
    expect(except[0].y2 == search[0].y1 && except[1].y1 == search[2].y2);
    expect(cfgDust.BlurArea[2].x2 == cfgDust.BlurArea[0].x1);
    expect(cfgDust.BlurArea[4].x2 == 0 && cfgDust.BlurArea[4].y2 == 0);
    expect(cfgDust.tShadingArea[3].x1 == cfgDust.tShadingArea[0].x2);
}

void expect_whole()
{
    expect_words();
    expect_areas();
    for (int32_t verdict : {cfgDust.iShadingOk, cfgDust.i4xOk, cfgDust.iExpOk, cfgDust.iDustOk,
                            cfgDust.iCsOk, cfgDust.iTotal})
        expect(verdict == PIM_NO_RESULT);
    expect(gLogPrintOnOff == cfgDust.iLogSave);
    expect(gMotExifInfo.filename[0] == '\0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (!fuzz::stays_inside(text))
        return -1;
    if (fuzz::load(PI_MODE_DUST, "dust", text) == 0)
        expect_whole();
    return 0;
}

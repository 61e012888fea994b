// Loading a configuration of the noise test of any bytes: it is whole, or the load fails.
#include "fuzz/config_input.h"
#include "lib/pim/noise/rova_pim_noise.h"

namespace
{

using fuzz::expect;

void expect_whole()
{
    expect(std::strcmp(cfgNoise.strModelName, "LUMEN1") == 0);
    expect(fuzz::has_end(cfgNoise.strDbgFile) && fuzz::has_end(cfgNoise.strOutFile));
    expect(cfgNoise.iIsoIdx == 0 || cfgNoise.iIsoIdx == 1);
    expect(cfgNoise.iIsoIdx == 0 || cfgNoise.iIso == cfgNoise.iIsoHigh);
    for (int32_t verdict : {cfgNoise.iDotOk, cfgNoise.iDotRst, cfgNoise.iColorOk,
                            cfgNoise.iColorRst, cfgNoise.iLineOk, cfgNoise.iLineRst})
        expect(verdict == PIM_NO_RESULT);
    if (cfgNoise.iScreenOut != 0)
        expect(cfgNoise.iLcdLiveX == cfgNoise.iTvX && cfgNoise.iLcdLiveY == cfgNoise.iTvY);
    expect(gMotExifInfo.filename[0] == '\0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (!fuzz::stays_inside(text))
        return -1;
    if (fuzz::load(PI_MODE_NOISE, "noise", text) == 0)
        expect_whole();
    return 0;
}

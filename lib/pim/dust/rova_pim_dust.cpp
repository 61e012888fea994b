#include "lib/pim/dust/rova_pim_dust.h"

#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <algorithm>
#include <atomic>

namespace
{

constexpr char START[] =
    " <<<<< RunDust. START.... >>>>>                                                   \n";
constexpr char END[] =
    " <<<<< RunDust. END.... >>>>>                                                   \n";

constexpr int ALL_IN_ONE_PASS = 1; // debug options
constexpr int HOOK = 7;

constinit std::atomic<rova_pim_dust_hook> called_after = nullptr;

// In the order of their run.
struct dust_check {
    int (*check)(const rova_pim_image &image, rova_pim_dust_config &cfg);
    const char *failed;
};

// Sizes that it refuses leave a record without the verdict on the picture before.
int check_dust(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iDustOn != 0)
        cfg.iDustOk = cfg.iDustRst = PIM_NO_RESULT;
    return CheckDust(image, cfg);
}

constexpr dust_check CHECKS[] = {
    {CheckSangGaRim, " ERROR ~~! : Found Shading Error. "},
    {Check4xShading, " ERROR ~~! : Found 4xShading Error/ "},
    {CheckExposure, " ERROR ~~! : Found Exposure Error. "},
    {check_dust, " ERROR ~~! : Found E Error. "},
    {CheckColorShading, " ERROR ~~~! : Found Color Shading Error. "},
};

void open_files(const rova_pim_dust_config &cfg)
{
    if (cfg.iDbgPrint != 0 && rova_pim_debug_open(cfg.strDbgFile) != 0)
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.strDbgFile);
    if (cfg.iLogSave != 0 && rova_pim_log_open(cfg.strLogFile) != 0)
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.strLogFile);
}

int run_checks(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    int result = 0;
    for (const auto &[check, failed] : CHECKS) {
        result = check(image, cfg);
        if (result == -1) {
            rova_pim_debug("%s", failed);
            break;
        }
    }
    return result;
}

// A check that did not run, since one before it failed, counts against the picture.  So does one
// that refused it: the verdict in the record is still that on another picture.
int32_t find_total(const rova_pim_dust_config &cfg, int result)
{
    if (result == -1)
        return 0;
    struct verdict {
        int32_t on;
        int32_t ok;
    };
    const verdict verdicts[] = {{cfg.iShadingOn, cfg.iShadingOk},
                                {cfg.i4xOn, cfg.i4xOk},
                                {cfg.iExpOn, cfg.iExpOk},
                                {cfg.iDustOn, cfg.iDustOk},
                                {cfg.iCsOn, cfg.iCsOk}};
    const auto is_on = [](const verdict &check) { return check.on != 0; };
    if (std::ranges::none_of(verdicts, is_on))
        return PIM_NO_RESULT;
    const auto is_good = [](const verdict &check) { return check.on == 0 || check.ok == 1; };
    return std::ranges::all_of(verdicts, is_good) ? 1 : 0;
}

} // namespace

void rova_pim_set_dust_hook(rova_pim_dust_hook hook)
{
    called_after = hook;
}

int RunDust(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    open_files(cfg);
    rova_pim_debug(PIM_RULE);
    rova_pim_debug(START);
    rova_pim_debug(PIM_RULE);
    const bool in_one_pass = cfg.iDbgOption[ALL_IN_ONE_PASS] != 0;
    const int result = in_one_pass ? CheckDustAll(image, cfg) : run_checks(image, cfg);
    cfg.iTotal = find_total(cfg, result);
    rova_pim_log_close();
    WriteDustResult(cfg);
    rova_pim_debug(END);
    rova_pim_debug_close();
    if (const rova_pim_dust_hook call = called_after; call != nullptr && cfg.iDbgOption[HOOK] != 0)
        call(image);
    return in_one_pass ? 0 : result;
}

#include "lib/pim/rova_pim_dust.h"

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

constinit std::atomic<rova_pim_dust_hook> hook = nullptr;

// In the order of their run.
struct dust_check {
    int (*check)(const rova_pim_image &image, rova_pim_dust_config &cfg);
    const char *failed;
};

constexpr dust_check CHECKS[] = {
    {CheckSangGaRim, " ERROR ~~! : Found Shading Error. "},
    {Check4xShading, " ERROR ~~! : Found 4xShading Error/ "},
    {CheckExposure, " ERROR ~~! : Found Exposure Error. "},
    {CheckDust, " ERROR ~~! : Found E Error. "},
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

int run_all_in_one_pass(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    CheckDustAll(image, cfg);
    return 0;
}

// A check that did not run, since one before it failed, counts against the picture.
int32_t find_total(const rova_pim_dust_config &cfg)
{
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

void rova_pim_set_dust_hook(rova_pim_dust_hook set)
{
    hook = set;
}

int RunDust(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    open_files(cfg);
    rova_pim_debug(PIM_RULE);
    rova_pim_debug(START);
    rova_pim_debug(PIM_RULE);
    const bool in_one_pass = cfg.iDbgOption[ALL_IN_ONE_PASS] != 0;
    const int result = in_one_pass ? run_all_in_one_pass(image, cfg) : run_checks(image, cfg);
    cfg.iTotal = find_total(cfg);
    rova_pim_log_close();
    WriteDustResult(cfg);
    rova_pim_debug(END);
    rova_pim_debug_close();
    if (const rova_pim_dust_hook call = hook; call != nullptr && cfg.iDbgOption[HOOK] != 0)
        call(image);
    return result;
}

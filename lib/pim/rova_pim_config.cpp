#include "lib/pim/rova_pim_config.h"
#include "lib/pim/mot/rova_pim_config_mot.h"

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_mode.h"
#include "lib/pim/rova_pim_result.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <string_view>

rova_pim_pm_config cfgPm;
rova_pim_dust_config cfgDust;
rova_pim_noise_config cfgNoise;
rova_pim_movie_config cfgMovie;
int32_t cmWinW;
int32_t cmWinH;

namespace
{

constinit std::mutex g_records;

int read_mot(const char *path, const char *project)
{
    return rova_pim_read_config_mot(path, &cfgPm, project);
}

int read_dust(const char *path, const char *project)
{
    return rova_pim_read_config_dust(path, &cfgDust, project);
}

int read_noise(const char *path, const char *project)
{
    return rova_pim_read_config_noise(path, &cfgNoise, project);
}

int read_movie(const char *path, const char *project)
{
    return rova_pim_read_config_movie(path, &cfgMovie, project);
}

// A test's file; the path takes the project's name in lower case.
struct config_file {
    int32_t mode;
    const char *path;
    int (*read)(const char *path, const char *project);
};

constexpr config_file FILES[] = {
    {PI_MODE_MOT, "/mnt/mmc/mot_%s.cfg", read_mot},
    {PI_MODE_DUST, "/mnt/mmc/dust_%s.cfg", read_dust},
    {PI_MODE_NOISE, "/mnt/mmc/noise_%s.cfg", read_noise},
    {PI_MODE_MOVIE, "/mnt/mmc/movie_%s.cfg", read_movie},
};

} // namespace

void rova_pim_lower_name(const char *name, char (&lower)[PIM_LOWER_NAME_SIZE])
{
    std::snprintf(lower, sizeof(lower), "%s", name);
    std::ranges::transform(std::string_view(lower), lower,
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
}

std::unique_lock<std::mutex> rova_pim_lock_records()
{
    return std::unique_lock(g_records);
}

int rova_pim_read_config(const char *project, const char *lower)
{
    char path[88];
    const auto file = std::ranges::find(FILES, GetPIMode(), &config_file::mode);
    if (file == std::end(FILES)) {
        rova_pim_report("Can not read Config file!!!");
        return -1;
    }
    std::snprintf(path, sizeof(path), file->path, lower != nullptr ? lower : "");
    const auto lock = rova_pim_lock_records();
    rova_pim_result_flush();
    return file->read(lower != nullptr ? path : nullptr, project);
}

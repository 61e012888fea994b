#include "tools/vcam_app/application.h"

#include "platform/virtual/app.h"
#include "platform/virtual/capture.h"
#include "tools/vcam_app/afi.h"
#include "tools/vcam_app/commands.h"
#include "tools/vcam_app/movie.h"
#include "tools/vcam_app/still.h"

#include <rova/rova.h>

#include <cstdio>

namespace vcam_app
{
namespace
{

int camera; // its address is the handle: there is one camera

void tell_unreleased()
{
    if (const std::size_t pictures = virt::capture_buffers_out(); pictures > 0)
        std::fprintf(stderr, "vcam-app: %zu pictures of stills were not released\n", pictures);
}

} // namespace

bool start_application()
{
    register_movie_functions();
    rova_register_app_func(ROVA_APP_STILL_NAME, reinterpret_cast<rova_app_func>(still_name));
    return virt::start_live_view() && rova_start_ipcc(&camera) == 1 &&
           rova_start_app(run_command) == 1;
}

void stop_application()
{
    virt::end_app_answers();
    rova_stop_app();
    end_samples();
    rova_stop_ipcc();
    virt::stop_live_view();
    tell_unreleased();
}

} // namespace vcam_app

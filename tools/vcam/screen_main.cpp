// vcam-screen: the part of "vcam screen" that draws.  The camera is $ROVA_SYSROOT.
#include "tools/vcam/camera.h"
#include "tools/vcam/screen_draw.h"
#include "tools/vcam/screen_window.h"
#include "tools/vcam/verb.h"

#include <cstdio>
#include <cstdlib>

namespace
{

void show(const std::vector<std::string> &arguments)
{
    const char *camera = std::getenv("ROVA_SYSROOT");
    vcam::open_camera(camera != nullptr ? camera : "");
    if (arguments == std::vector<std::string>{"--window"})
        vcam::show_screen_window();
    else if (arguments.size() == 2 && arguments[0] == "--png")
        vcam::save_drawing(arguments[1]);
    else
        throw vcam::failure("vcam-screen is started by 'vcam screen'");
}

} // namespace

int main(int argc, char **argv)
{
    try {
        show({argv + 1, argv + argc});
        return vcam::OK;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vcam: %s\n", error.what());
        return vcam::TROUBLE;
    }
}

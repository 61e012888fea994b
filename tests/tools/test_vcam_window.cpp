// The live window, on an X server of the test's own.
#include <gtest/gtest.h>

#include "tests/support/xserver.h"
#include "tests/tools/tool.h"

#include "platform/factory_osd.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace
{

// How many pixels of the whole display are of this colour.
int count_pixels(Display *display, unsigned long color)
{
    XWindowAttributes root = {};
    XGetWindowAttributes(display, DefaultRootWindow(display), &root);
    XImage *image =
        XGetImage(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned int>(root.width),
                  static_cast<unsigned int>(root.height), AllPlanes, ZPixmap);
    int found = 0;
    for (int i = 0; image != nullptr && i < root.width * root.height; i++)
        found += (XGetPixel(image, i % root.width, i / root.width) & 0xffffff) == color;
    if (image != nullptr)
        XDestroyImage(image);
    return found;
}

} // namespace

TEST(VcamScreenWindow, FollowsTheScreenUntilInterrupted)
{
    const test::Camera camera;
    const test::XServer server;
    if (!server.running())
        GTEST_SKIP() << "no X server is installed";
    factory_osd_init();
    factory_osd_window_move_resize(320, 240, 0, 0);
    factory_osd_background_color_set(1);
    test::Process window({VCAM_PROGRAM, "screen", "--window"});
    Display *display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    EXPECT_TRUE(test::wait_for([&] { return count_pixels(display, 0x0000ff) == 320 * 240; }));
    factory_osd_background_color_set(4);
    EXPECT_TRUE(test::wait_for([&] { return count_pixels(display, 0xff0000) == 320 * 240; }));
    factory_osd_text_set(1, "HELLO");
    EXPECT_TRUE(test::wait_for([&] { return count_pixels(display, 0xffffff) > 50; }));
    XCloseDisplay(display);
    window.signal(SIGINT);
    EXPECT_EQ(window.wait(), 0);
}

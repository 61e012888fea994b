// The application's window, for the keys that the daemon fakes.
#pragma once

#include <thread>

struct xcb_connection_t;

namespace vcam_app
{

// A window on the display that DISPLAY names, with the focus, while the object lives.  Each key
// that arrives is told on the standard output and in the call log; that of a dial's position moves
// the dial.  Without DISPLAY there is no window.  A display that cannot be opened, or is gone
// later, is told on the error stream, and nothing else ends.
class key_window
{
public:
    key_window();
    ~key_window();
    key_window(const key_window &) = delete;
    key_window &operator=(const key_window &) = delete;

private:
    void watch();

    xcb_connection_t *display_ = nullptr;
    int end_ = -1; // readable when the thread is to end
    std::thread thread_;
};

} // namespace vcam_app

// Keys faked towards the camera application, whose window is on the X display.  Server thread.
#pragma once

#include <cstdint>

struct _XDisplay;

// The display, open while the object lives.
class rova_key_display
{
public:
    // A display that cannot be opened is logged; the object is false then.
    rova_key_display();
    ~rova_key_display();
    rova_key_display(const rova_key_display &) = delete;
    rova_key_display &operator=(const rova_key_display &) = delete;

    explicit operator bool() const { return display_ != nullptr; }

    // Presses (true) or releases the key with the driver's code.  False, with a line in the log,
    // when the display does not fake keys, or is not open.
    bool send(uint32_t code, bool pressed) const;

private:
    _XDisplay *display_;
};

// Opens the display, presses and releases the key, closes the display.  False when any of it
// failed.
bool rova_fake_key_click(uint32_t code);

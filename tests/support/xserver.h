// An X server of a test's own, without a screen, and a window on it that has the focus.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace test
{

class XServer
{
public:
    // Starts Xvfb, with further options, on a display of its own choice and points DISPLAY at it;
    // the destructor ends it and brings back the old DISPLAY.
    explicit XServer(const std::vector<std::string> &options = {});
    ~XServer();
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    bool running() const { return !name_.empty(); }
    const std::string &name() const { return name_; }

private:
    std::string name_; // such as ":3"; empty when there is no server
    std::optional<std::string> before_;
    pid_t pid_ = -1;
};

// A window that sees all keys of the server named by DISPLAY; a key that is held is not repeated.
class FocusWindow
{
public:
    FocusWindow();
    ~FocusWindow();
    FocusWindow(const FocusWindow &) = delete;
    FocusWindow &operator=(const FocusWindow &) = delete;

    // The keys so far: code, and true for pressed.  Waits until there are `count`.
    const std::vector<std::pair<unsigned int, bool>> &keys(std::size_t count);

private:
    void take_events();

    void *display_;
    std::vector<std::pair<unsigned int, bool>> keys_;
};

} // namespace test

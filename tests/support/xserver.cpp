#include "tests/support/xserver.h"

#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <X11/Xlib.h>
#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test
{

namespace
{

// The number that the server writes once it can be reached; empty when it ends without.
std::string read_line(int fd)
{
    std::string line;
    char letter = 0;
    while (read(fd, &letter, 1) == 1 && letter != '\n')
        line += letter;
    return line;
}

Display *as_display(void *display)
{
    return static_cast<Display *>(display);
}

} // namespace

XServer::XServer(const std::vector<std::string> &options)
{
    if (const char *old = std::getenv("DISPLAY"))
        before_ = old;
    int ends[2];
    if (pipe(ends) != 0)
        return;
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM); // it does not outlive a test that crashes
        close(ends[0]);
        std::string fd = std::to_string(ends[1]);
        std::vector<const char *> words = {"Xvfb",       "-displayfd", fd.c_str(), "-screen", "0",
                                           "640x480x24", "-nolisten",  "tcp",      "-noreset"};
        for (const std::string &option : options)
            words.push_back(option.c_str());
        words.push_back(nullptr);
        execvp("Xvfb", const_cast<char *const *>(words.data()));
        _exit(127);
    }
    close(ends[1]);
    std::string number = read_line(ends[0]);
    close(ends[0]);
    if (number.empty())
        return;
    name_ = ":" + number;
    setenv("DISPLAY", name_.c_str(), 1);
}

XServer::~XServer()
{
    if (before_)
        setenv("DISPLAY", before_->c_str(), 1);
    else
        unsetenv("DISPLAY");
    if (pid_ <= 0)
        return;
    test::send_signal(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
}

FocusWindow::FocusWindow() : display_(XOpenDisplay(nullptr))
{
    Display *display = as_display(display_);
    if (display == nullptr)
        return;
    Window window =
        XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 100, 100, 0, 0, 0);
    XSelectInput(display, window, KeyPressMask | KeyReleaseMask | StructureNotifyMask);
    XMapWindow(display, window);
    XEvent event = {};
    do
        XNextEvent(display, &event);
    while (event.type != MapNotify);
    XAutoRepeatOff(display);
    XSetInputFocus(display, window, RevertToNone, CurrentTime);
    XSync(display, False);
}

FocusWindow::~FocusWindow()
{
    if (display_ != nullptr)
        XCloseDisplay(as_display(display_));
}

void FocusWindow::take_events()
{
    Display *display = as_display(display_);
    while (display != nullptr && XPending(display) > 0) {
        XEvent event = {};
        XNextEvent(display, &event);
        if (event.type == KeyPress || event.type == KeyRelease)
            keys_.emplace_back(event.xkey.keycode, event.type == KeyPress);
    }
}

const std::vector<std::pair<unsigned int, bool>> &FocusWindow::keys(std::size_t count)
{
    wait_for([&] {
        take_events();
        return keys_.size() >= count;
    });
    return keys_;
}

} // namespace test

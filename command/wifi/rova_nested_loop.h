// A wait for events of a platform service, in the midst of a command.  Server thread.
//
// The main loop has a context of its own, which is the thread's default for as long as this lives:
// services called meanwhile tell their events here, and the main thread keeps serving its own.
#pragma once

#include <glib.h>

class rova_nested_loop
{
public:
    rova_nested_loop();
    ~rova_nested_loop(); // drops the events that have not been served
    rova_nested_loop(const rova_nested_loop &) = delete;
    rova_nested_loop &operator=(const rova_nested_loop &) = delete;

    // Serves events until one of them quits the loop; false when the daemon was asked to stop
    // first: at once by the key, 20 seconds after a signal.  May be run again.
    bool run();
    void quit();

    // Calls `function` once, `milliseconds` from now.  The number is good for cancel(), as long as
    // the call has not come.
    guint after(unsigned int milliseconds, GSourceFunc function, void *data);
    void cancel(guint call);

private:
    guint add(guint interval, GSourceFunc function, void *data);
    static gboolean look_for_stop(gpointer self);
    static gboolean give_up(gpointer self);

    GMainContext *context_;
    GMainLoop *loop_;
    bool stopped_ = false;
    guint last_wait_ = 0; // since a signal
};

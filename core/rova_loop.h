// The toolkit's main loop, serving GLib's default context as well.
#pragma once

// Blocks the daemon's stop signals (SIGINT, SIGTERM, SIGQUIT, SIGHUP) in the calling thread and in
// every thread it creates.  Before any other thread exists.
void rova_loop_block_signals();

// After rova_loop_init: `handler` runs on the main thread only, while the loop waits, with no lock
// held.
void rova_loop_catch_signals(void (*handler)(int signal));

// Around one blocking call of the main thread, with no lock held that a stop needs: lets the stop
// signals in, as the loop's wait does.  Nothing on other threads and before
// rova_loop_catch_signals.
void rova_loop_open_signal_window();
void rova_loop_close_signal_window();
// A stop has begun: windows stay shut from now on, further signals wait for the loop.
void rova_loop_hold_signals();

// elm_init, with what a daemon without a desktop needs first.
void rova_loop_init(int argc, char **argv);

// elm_run: returns after elm_exit.  A stop signal that came too late for the loop is handled before
// the return.
void rova_loop_run();

// elm_exit, elm_shutdown.
void rova_loop_exit();
void rova_loop_shutdown();

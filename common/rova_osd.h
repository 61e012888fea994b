// Text and drawings on the camera's screen: directly, or through the display thread for callers
// that may not touch the display themselves.
#pragma once

// Any thread.  Texts are cut at 511 bytes and lose one line feed at their end.
void rova_osd_printf(int row, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
void rova_osd_grid_printf(int row, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

// Puts a drawing over the picture: a kind and its text as platform/factory_osd.h has them.  A
// failure is logged.  Any thread.
void rova_osd_draw(int kind, const char *text);

// Main thread.  rova_osd_init returns 0, or -1 with everything undone.
int rova_osd_init();
void rova_osd_exit();

// Requests to the display thread, one at a time, from any thread but that one.  Each waits until
// the request has been carried out, 60 seconds at most.  0, or -1.
int rova_osd_ipcc_text_size(int size);
int rova_osd_ipcc_text_color(int color);
int rova_osd_ipcc_bg_color(int color);
int rova_osd_ipcc_clear_screen();
int rova_osd_ipcc_clear_window();
int rova_osd_ipcc_text(int row, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

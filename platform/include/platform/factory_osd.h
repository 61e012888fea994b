/*
 * Factory screen service: text, grid text, a background, one picture and drawings over the camera's
 * display.
 *
 * Each call acts at once; results are 0 on success and negative on failure.  Texts are copied.
 * Any thread.
 */
#ifndef PLATFORM_FACTORY_OSD_H
#define PLATFORM_FACTORY_OSD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Put up and take down the layer.  Taking it down clears it. */
int factory_osd_init(void);
int factory_osd_deinit(void);

/* Text rows stand large from 1, grid rows small from 0; setting a row replaces it. */
int factory_osd_text_set(uint16_t row, const char *text);
int factory_osd_grid_text_set(uint16_t row, const char *text);
int factory_osd_text_clear(void);
int factory_osd_grid_text_clear(void);

/* Size in points; colours by number, 0 to 12: black, blue, lime, aqua, red, fuchsia, yellow, white,
 * gray, green, purple, pink, orange. */
int factory_osd_text_size_set(int size);
int factory_osd_text_color_set(int color);
int factory_osd_background_color_set(int color);

/* The whole window: texts, grid texts, picture, drawings, background. */
int factory_osd_clear(void);

/* Pixels of the display. */
int factory_osd_window_move_resize(int width, int height, int x, int y);

/* `path` is a picture file of the camera. */
int factory_osd_image_draw(const char *path);
int factory_osd_image_clear(void);

enum factory_osd_drawing {
    FACTORY_OSD_DRAW_TEXT = 2,
    FACTORY_OSD_DRAW_OK = 10,        /* the OK mark; no text */
    FACTORY_OSD_DRAW_NG = 20,        /* the NG mark, with a text, which may be empty */
    FACTORY_OSD_DRAW_LINE = 30,      /* upright: "x, y, w, h, colour" */
    FACTORY_OSD_DRAW_TABLE = 40,     /* a table of results */
    FACTORY_OSD_DRAW_RECTANGLE = 50, /* its frame: "x,y,w,h,colour" or "x1, y1, x2, y2, colour" */
    FACTORY_OSD_DRAW_CLEAR = 60,     /* takes all drawings away; "0" */
    FACTORY_OSD_DRAW_GAUGE = 70,
};

/* Put a drawing over what is there.  In a line and a rectangle the numbers are pixels of the
 * display, the colour a word such as "red".  A rectangle with a blank behind its first comma is
 * told by two corners, both of them in it; in a line blanks do not count. */
int factory_osd_draw(int kind, const char *text);

enum factory_osd_touch_state {
    FACTORY_OSD_TOUCH_IDLE = 0,    /* not made ready: touches do not count */
    FACTORY_OSD_TOUCH_READY = 1,   /* ready, and not touched since */
    FACTORY_OSD_TOUCH_TOUCHED = 2, /* touched as it should be */
    FACTORY_OSD_TOUCH_GHOST = 3,   /* there was a touch that nobody made */
};

/* The touch panel: make it ready, with the lines drawn that a finger draws (1) or without (0); run
 * the screen's own test, to its end, which fails when it is not passed; ask for the panel's state,
 * negative on failure. */
int factory_osd_touch_ready(int draw_lines);
int factory_osd_touch_test(void);
int factory_osd_get_touch_state(void);

#ifdef __cplusplus
}
#endif

#endif

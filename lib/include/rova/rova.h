/*
 * librova: what a camera application calls.
 *
 * The application serves two channels on which the factory daemon hands it commands, lends the
 * library functions of its own, and starts and stops the daemon.  All calls may be made on any
 * thread; starting and stopping the same channel on two threads at once is the caller's mistake.
 * The library starts one thread for each channel, named "ROVA IPCC Thread" and "ROVA App Thread".
 * Nothing here throws or ends the process.  Failures are logged with their reason.
 */
#ifndef ROVA_ROVA_H
#define ROVA_ROVA_H

#include <rova/record.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The channel of the camera stack: capture, lens and image quality.
 */

/* Begins to serve it.  Each command is passed to the camera stack behind `handle`, which stays the
 * caller's and has to live until rova_stop_ipcc; the stack gets the library's services (adjustment
 * data, CSV files, screen texts, power) and the function that tells the end of a command.
 * 1, also when it is served already; 0 when it cannot be served: `handle` is NULL, or the queue of
 * another process, living or killed, is in the way. */
int rova_start_ipcc(void *handle);

/* Waits for the command that runs, and ends the channel.  1, also when it is not served. */
int rova_stop_ipcc(void);

/*
 * The channel of the application's own thread.
 */

/* The application's command function.  Fills `answer`, which is zeros before, and returns non-zero
 * when the command was its own; returns 0 and leaves `answer` alone to have the library's own
 * commands (image inspection) looked through.  Runs on the channel's thread, one command at a time;
 * the daemon waits 360 seconds.  Both records stay the library's and are valid until it returns. */
typedef int (*rova_app_exec)(const struct cmd_data *record, struct rova_cmd_response *answer);

/* Begins to serve it.  1, also when it is served already; 0 when it cannot be, as above. */
int rova_start_app(rova_app_exec exec);

/* Waits for the command that runs, and ends the channel.  One of the library's own that waits for
 * something of the camera ends at once, with NG.  1, also when it is not served. */
int rova_stop_app(void);

/*
 * Functions that the application lends to the image inspection.  They are called on the thread of
 * the channel that runs the inspection; ROVA_APP_STILL_NAME on the capture service's, within the
 * callback of a still.
 */

/* A function in a slot.  Its real type belongs to the slot and is given there. */
typedef void (*rova_app_func)(void);

enum rova_app_func_id {
    ROVA_APP_MOVIE_SET_POS = 0, /* int f(int ms): moves the loaded movie to that time */
    ROVA_APP_MOVIE_RESUME = 1,  /* int f(void): plays */
    ROVA_APP_MOVIE_PAUSE = 2,   /* int f(void): pauses */
    ROVA_APP_MOVIE_STOP = 3,    /* int f(void): stops and unloads */
    ROVA_APP_VIDEO_FRAME = 4,   /* int f(void): delivers the current frame, see below */
    ROVA_APP_AUDIO_FRAME = 5,   /* int f(void): delivers what is heard now, see below */
    ROVA_APP_STILL_NAME = 6,    /* const char *f(void): the file name of the latest still, the
                                 * application's; four digits and a four-character extension end
                                 * it, such as "IMG_0012.JPG" */
};

/* Puts `function` into the slot `id`; NULL empties it.  1, or 0 for an
 * unknown slot. */
int rova_register_app_func(int id, rova_app_func function);

/* A frame of the movie in 4:2:0, one Y byte a pixel without gaps, pairs of Cb and Cr behind them.
 * Addresses are 32-bit words: the planes lie below 4 GiB, and stay until the next frame. */
struct rova_pim_frame_info {
    uint32_t y_address;
    uint32_t chroma_address;
    int32_t width; /* pixels */
    int32_t height;
};

/* What is heard of the movie. */
struct rova_pim_aframe_info {
    int32_t left_frequency; /* Hz */
    int32_t right_frequency;
    float left_peak;
    float right_peak;
    float left_rms;
    float right_rms;
    float left_loudness; /* dBFS */
    float right_loudness;
};

/* Deliver the frame of ROVA_APP_VIDEO_FRAME and the analysis of ROVA_APP_AUDIO_FRAME.  The record
 * is copied.  1, or 0 for NULL. */
int rova_pim_movie_set_frame_info(const struct rova_pim_frame_info *info);
int rova_pim_aframe_set_frame_info(const struct rova_pim_aframe_info *info);

/*
 * The autofocus sensor, for the scan of afi_adj.
 */

/* Stores the sensor's latest sample as the sensor sends it: its value with the two bytes exchanged,
 * 0x1234 for 0x3412.  The scan looks at the latest one each second.  Before the first it is 0.  Any
 * thread.  1 while a scan waits for samples, else 0; the sample is kept in any case. */
int rova_afi_adj_set_sample(uint16_t sample);

/*
 * The factory daemon.
 */

/* Starts the daemon and waits up to 3 seconds for it to come up: `kind` 1 in test mode, others in
 * the mode that the memory card tells.  1, or 0 when it could not be started.  `kind` 0 only raises
 * the start key and returns 0. */
int rova_launch_daemon(int kind);

/* Asks the daemon to stop, waits up to 5 seconds, and sends SIGTERM in any case.  1, also when none
 * runs; 0 when it did not answer in time. */
int rova_terminate_daemon(void);

#ifdef __cplusplus
}
#endif

#endif

/*
 * Sound service: plays files and sets the volume of a volume type (0: system).
 *
 * Results are 0 on success and negative on failure.  Any thread.
 */
#ifndef PLATFORM_SOUND_H
#define PLATFORM_SOUND_H

#ifdef __cplusplus
extern "C" {
#endif

/* Called when a sound has ended; nothing is to be relied on. */
typedef void (*mm_sound_qz_callback)(void *user_data);

/* How many volume levels there are: 0 to `*max` - 1. */
int mm_sound_qz_volume_get_max(int type, unsigned int *max);
int mm_sound_qz_volume_set_value(int type, unsigned int value);

/* Play a file of the camera to its end, or start it and return.  `*handle` names the playing. */
int mm_sound_qz_play_sound_sync(const char *path, int type, mm_sound_qz_callback callback,
                                void *user_data, int *handle);
int mm_sound_qz_play_sound(const char *path, int type, mm_sound_qz_callback callback,
                           void *user_data, int *handle);

/* Stop a playing; -1 stops all. */
int mm_sound_qz_stop_sound(int handle);

#ifdef __cplusplus
}
#endif

#endif

/*
 * Preference service: ten numbered partitions (0 to 9), each kept as one image in memory, shared by
 * all processes of the camera, and moved to and from flash and files as a whole.
 *
 * An image begins with PREF_HEADER_SIZE bytes that belong to the service; the data stands behind
 * it.  Results are 0 on success and negative on failure unless said otherwise.  Any thread; the
 * service does not guard an image against two writers.
 */
#ifndef PLATFORM_PREF_H
#define PLATFORM_PREF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define PREF_HEADER_SIZE 512

/* The image's address, stable for the life of the process and owned by the service; NULL when the
 * partition is not available.  `*size` (may be NULL) is the data's size in bytes. */
void *pref_get_addr(int partition, uint32_t *size);

/* The partition's name, such as "adj_sys"; NULL for an unknown partition. */
const char *pref_get_name(int partition);

/* Replace the image: by the contents of flash (`defaults` 0) or by the default contents (1). */
int pref_load(int partition, int defaults);

/* Write the image to flash: after a power cut the flash holds the old or the new image, whole. */
int pref_save(int partition);

/* Write the partition to a file of the camera; fill the image from such a file. */
int pref_save_to_file(int partition, const char *path);
int pref_load_from_file(int partition, const char *path);

/* Make `size` bytes at `image` the partition's default contents. */
int pref_save_default_to_file(int partition, const void *image, uint32_t size);

/* One 32-bit number at byte offset `key` of the data.  A partition or offset that does not exist
 * reads as 0. */
int pref_get_long(int partition, int key);
int pref_set_long(int partition, int key, int value);

#ifdef __cplusplus
}
#endif

#endif

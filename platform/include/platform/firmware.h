/*
 * Firmware service: what the camera is, which versions run on it, and the body's update.
 *
 * Results are 0 on success and negative on failure unless said otherwise.  Texts returned are owned
 * by the service, end in a zero byte and stay the same for the life of the process.  Any thread.
 */
#ifndef PLATFORM_FIRMWARE_H
#define PLATFORM_FIRMWARE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define FW_VERSION_SIZE 32

/* What a firmware file says about itself.  Owned by the caller. */
struct fw_info {
    char version[FW_VERSION_SIZE]; /* in the form of get_fw_version_short(), zero byte included */
};

/* The name of the camera model, such as the names of its firmware and configuration files are made
 * from; never NULL. */
const char *get_project_name(void);

/* The version of the body's firmware in its short form, such as "1.01"; never NULL. */
const char *get_fw_version_short(void);

/* The number of the hardware revision; negative on failure. */
int get_board_version(void);

/* Negative when the file at `path` is not valid firmware for this body.  `info` is cleared. */
int fw_validate(struct fw_info *info, const char *path);

/* Fill `info` from the file at `path`; on failure `info` holds an empty version. */
int fw_get_info(struct fw_info *info, const char *path);

/* Start the update from the firmware file of this name, without a folder, on the memory card.
 * Returns at once; the camera updates itself and restarts. */
int fw_start_upgrade(const char *name);

/* The micro-controller's version and status word; both are left alone on failure. */
int get_micom_version(uint32_t *version, uint32_t *status);

#ifdef __cplusplus
}
#endif

#endif

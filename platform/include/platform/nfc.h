/*
 * NFC manager.
 *
 * Results are 0 on success and NFC_MANAGER_OPERATION_FAILED on failure; other values are warnings
 * and leave the operation done.  Calls come from one thread.
 */
#ifndef PLATFORM_NFC_H
#define PLATFORM_NFC_H

#ifdef __cplusplus
extern "C" {
#endif

#define NFC_MANAGER_OPERATION_FAILED (-32255)

/* The chip was switched; `result` as above.  Runs on the GLib main context that was the thread's
 * default when nfc_manager_set_activation was called. */
typedef void (*nfc_manager_activation_callback)(int result);

/* Start and end the manager.  Both arguments are NULL. */
int nfc_manager_initialize(void *option1, void *option2);
int nfc_manager_deinitialize(void);

/* Switch the chip on (1) or off (0).  Returns at once; the callback tells the end, once, unless
 * the call failed.  `option` is NULL. */
int nfc_manager_set_activation(int on, nfc_manager_activation_callback callback, void *option);

/* Other than 0 while the chip is on. */
int nfc_manager_is_activated(void);

#ifdef __cplusplus
}
#endif

#endif

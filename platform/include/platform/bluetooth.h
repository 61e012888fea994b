/*
 * Bluetooth service: the adapter and the search for devices.
 *
 * Calls that start something return at once: 0 when it was started, negative on failure; an event
 * tells the end.  Events arrive on the GLib main context that was the thread's default when the
 * callback was registered.  One client a process; its calls come from one thread.
 */
#ifndef PLATFORM_BLUETOOTH_H
#define PLATFORM_BLUETOOTH_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum bluetooth_event_number {
    BLUETOOTH_EVENT_ENABLED = 1,
    BLUETOOTH_EVENT_DISABLED = 2,
    BLUETOOTH_EVENT_DISCOVERY_STARTED = 7,
    BLUETOOTH_EVENT_DISCOVERY_FINISHED = 8,
    /* Both numbers tell of a device found. */
    BLUETOOTH_EVENT_DEVICE_FOUND = 9,
    BLUETOOTH_EVENT_DEVICE_FOUND_2 = 10,
};

/* A device in range. */
struct bluetooth_device {
    uint8_t address[6]; /* in the order it is written */
    char name[249];     /* ends in a zero byte */
};

/* One event: owned by the service, valid during the callback only. */
struct bluetooth_event {
    int number;                            /* enum bluetooth_event_number, or another */
    int result;                            /* 0: it went well */
    const struct bluetooth_device *device; /* device found only; else NULL */
};

typedef void (*bluetooth_event_callback)(const struct bluetooth_event *event, void *user_data);

/* Registering again replaces the callback. */
int bluetooth_register_callback(bluetooth_event_callback callback, void *user_data);
int bluetooth_unregister_callback(void);

/* 0 while the adapter is off, 1 while it is on, negative on failure. */
int bluetooth_check_adapter(void);

int bluetooth_enable_adapter(void);
int bluetooth_disable_adapter(void);

/* Let other devices find the camera: `mode` 1, `option` 0.  Done when the call returns. */
int bluetooth_set_discoverable_mode(int mode, int option);

/* Look for devices: `mode` 1, the options 0.  What else there is belongs to the service. */
int bluetooth_start_custom_discovery(int mode, int option1, int option2, int option3);
int bluetooth_cancel_discovery(void);

/* 1 while a search runs, else 0. */
int bluetooth_is_discovering(void);

#ifdef __cplusplus
}
#endif

#endif

/*
 * Device service: integer properties of device classes, addressed by the number of the class
 * (`type`) and of the property within it.  What the numbers mean is private to the service.
 *
 * Results are 0 on success and negative on failure.  Any thread.
 */
#ifndef PLATFORM_DEVICE_H
#define PLATFORM_DEVICE_H

#ifdef __cplusplus
extern "C" {
#endif

/* `*value` is left alone on failure. */
int device_get_property(int type, int property, int *value);
int device_set_property(int type, int property, int value);

#ifdef __cplusplus
}
#endif

#endif

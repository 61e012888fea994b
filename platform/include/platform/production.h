/*
 * Production service: charging, its lamp and the status display, as the line wants them.
 *
 * What the numbers mean is private to the service.  Results are 0 on success and negative on
 * failure.  Any thread.
 */
#ifndef PLATFORM_PRODUCTION_H
#define PLATFORM_PRODUCTION_H

#ifdef __cplusplus
extern "C" {
#endif

/* The charge lamp: 1 off, 2 on. */
int set_charge_led(int state);

/* Charging over USB: 1 on, 0 off. */
int set_charging(int on);

/* The test pattern of the status display: 1 all, 11 to 14 one of four, 0 none. */
int set_statusLCD_production(int pattern);

/* Give charging back to the camera's own control. */
int release_from_factorymode(void);

#ifdef __cplusplus
}
#endif

#endif

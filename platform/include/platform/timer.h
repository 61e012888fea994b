/*
 * System timer.  Any thread.
 */
#ifndef PLATFORM_TIMER_H
#define PLATFORM_TIMER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Free-running count of microseconds. */
uint64_t get_sys_timer_utick(void);

#ifdef __cplusplus
}
#endif

#endif

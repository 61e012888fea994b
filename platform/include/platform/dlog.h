/*
 * Platform log service: one line a call, from any thread.
 */
#ifndef PLATFORM_DLOG_H
#define PLATFORM_DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/* `log_id` selects the log (the daemon always writes to 3), `priority` is 4 for information and 6
 * for errors.  Returns the number of bytes logged or a negative value; nobody looks at it. */
int __dlog_print(int log_id, int priority, const char *tag, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif

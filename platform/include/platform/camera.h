/*
 * Camera stack: requests to the camera behind a handle.
 *
 * The handle belongs to the camera application, which alone may use it.  Any thread of that
 * process.
 */
#ifndef PLATFORM_CAMERA_H
#define PLATFORM_CAMERA_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void *mm_camera_handle;

enum mm_camera_request {
    /* `data`: a uint32_t, the physical address of the command to run; `size` 4.  Only the
     * completion callback tells the end of the command; the result says nothing. */
    MM_CAMERA_RUN_COMMAND = 116,
    /* `data`: the completion callback itself, an mm_camera_done_callback; `size` sizeof(void *). */
    MM_CAMERA_SET_DONE_CALLBACK = 117,
    /* `data`: a struct mm_camera_service, copied; `size` its size.  Returns 0, or 1 on failure. */
    MM_CAMERA_SET_SERVICE = 120,
};

/* A command has ended; `answer` points to its answer, whose first byte is logged, and is owned by
 * the stack.  Returns 0, or -1 on failure.  Runs on a thread of the stack. */
typedef int (*mm_camera_done_callback)(void *answer);

/* A function that the camera's commands may call, under an agreed number.  Its real type belongs to
 * the number; it runs on threads of the stack. */
struct mm_camera_service {
    uint32_t number;
    void (*function)(void);
};

/* The last two arguments are 0.  Results are those of the request; negative on failure. */
int mm_camera_ioctl(mm_camera_handle handle, int request, void *data, int size, int option1,
                    int option2);

#ifdef __cplusplus
}
#endif

#endif

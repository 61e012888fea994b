/*
 * Capture service: hands stills and live-view frames to its clients, in the camera application's
 * process.
 *
 * Calls may come from any thread of that process; both callbacks run on the service's own thread,
 * one picture at a time.  Addresses of picture planes are 32-bit words: the planes lie below 4 GiB.
 * Results are 0 on success and negative on failure unless said otherwise.
 */
#ifndef PLATFORM_CAPTURE_H
#define PLATFORM_CAPTURE_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What callbacks are registered for. */
#define CAPTURE_STILL_ID 0x4010001
#define CAPTURE_LIVE_VIEW_ID 0x3030001

/* The data items of GetCaptureData. */
#define CAPTURE_DATA_LENS_FIRMWARE 16

enum capture_buffer_kind {
    CAPTURE_BUFFER_MAIN = 2,
    CAPTURE_BUFFER_SCREEN = 3,
    CAPTURE_BUFFER_THUMB = 4,
};

/* The pictures of one still: sizes in pixels, one Y byte a pixel. */
struct capture_image_set {
    uint8_t reserved_0[144];
    int32_t mainGWidth;  /* line pitch of the full image */
    int32_t mainGHeight; /* allocated height */
    int32_t mainWidth;   /* valid width */
    int32_t mainHeight;  /* valid height */
    uint8_t reserved_160[68];
    uint32_t mainYAddress;
    uint32_t mainCAddress;
    uint8_t reserved_236[44];
    int32_t screenGWidth; /* the same of the screen-nail image */
    int32_t screenGHeight;
    int32_t screenWidth;
    int32_t screenHeight;
    uint8_t reserved_296[68];
    uint32_t screenYAddress;
    uint32_t screenCAddress;
    uint8_t reserved_372[128];
    uint32_t thumbYAddress; /* the thumbnail: there to be released */
};

static_assert(offsetof(struct capture_image_set, mainGWidth) == 144, "layout of the service");
static_assert(offsetof(struct capture_image_set, mainGHeight) == 148, "layout of the service");
static_assert(offsetof(struct capture_image_set, mainWidth) == 152, "layout of the service");
static_assert(offsetof(struct capture_image_set, mainHeight) == 156, "layout of the service");
static_assert(offsetof(struct capture_image_set, mainYAddress) == 228, "layout of the service");
static_assert(offsetof(struct capture_image_set, mainCAddress) == 232, "layout of the service");
static_assert(offsetof(struct capture_image_set, screenGWidth) == 280, "layout of the service");
static_assert(offsetof(struct capture_image_set, screenGHeight) == 284, "layout of the service");
static_assert(offsetof(struct capture_image_set, screenWidth) == 288, "layout of the service");
static_assert(offsetof(struct capture_image_set, screenHeight) == 292, "layout of the service");
static_assert(offsetof(struct capture_image_set, screenYAddress) == 364, "layout of the service");
static_assert(offsetof(struct capture_image_set, screenCAddress) == 368, "layout of the service");
static_assert(offsetof(struct capture_image_set, thumbYAddress) == 500, "layout of the service");
static_assert(sizeof(struct capture_image_set) == 504, "layout of the service");

/* A still with its shooting data.  Fractions are numerator and denominator: seconds, f-number. */
struct capture_still {
    union {
        const struct capture_image_set *image_set;
        uint8_t reserved_0[8];
    };
    uint32_t ExposureTimeNum;
    uint32_t ExposureTimeDen;
    uint32_t FNumberNum;
    uint32_t FNumberDen;
    uint8_t reserved_24[88];
    uint16_t FocalLengthIn35mmFilm; /* mm */
    uint8_t reserved_114[6];
    uint32_t ISOValue;
    uint8_t reserved_124[696];
    uint16_t afStep; /* focus position of the lens */
    uint8_t reserved_822[2];
};

static_assert(offsetof(struct capture_still, image_set) == 0, "layout of the service");
static_assert(offsetof(struct capture_still, ExposureTimeNum) == 8, "layout of the service");
static_assert(offsetof(struct capture_still, ExposureTimeDen) == 12, "layout of the service");
static_assert(offsetof(struct capture_still, FNumberNum) == 16, "layout of the service");
static_assert(offsetof(struct capture_still, FNumberDen) == 20, "layout of the service");
static_assert(offsetof(struct capture_still, FocalLengthIn35mmFilm) == 112,
              "layout of the service");
static_assert(offsetof(struct capture_still, ISOValue) == 120, "layout of the service");
static_assert(offsetof(struct capture_still, afStep) == 820, "layout of the service");
static_assert(sizeof(struct capture_still) == 824, "layout of the service");

/* A live-view frame.  The chroma plane follows at y_address + pitch * height. */
struct capture_live_view {
    int32_t pitch; /* pixels */
    uint32_t reserved_1;
    int32_t width;
    int32_t height;
    uint32_t reserved_4[17];
    uint32_t y_address;
};

static_assert(offsetof(struct capture_live_view, pitch) == 0, "layout of the service");
static_assert(offsetof(struct capture_live_view, width) == 2 * 4, "layout of the service");
static_assert(offsetof(struct capture_live_view, height) == 3 * 4, "layout of the service");
static_assert(offsetof(struct capture_live_view, y_address) == 21 * 4, "layout of the service");

/* The record is the service's, for the time of the call; a still's planes stay valid until they are
 * given back by ReleaseCaptureBuffer.  A second still does not come before the first returned. */
typedef void (*capture_still_callback)(uint32_t id, const struct capture_still *still);
typedef void (*capture_live_view_callback)(uint32_t id, const struct capture_live_view *frame);

/* Become a client.  Returns its handle, negative on failure; `option` is 0. */
int RegCallbackClient(const char *name, int option, capture_live_view_callback live_view,
                      capture_still_callback still);
int UnRegCallbackClient(int handle);

/* Stills: once for each picture taken; `id` is CAPTURE_STILL_ID. */
int RegImageSetCallbackId(int handle, uint32_t id);
int UnRegImageSetCallbackId(int handle, uint32_t id);

/* Live view: every frame; `id` is CAPTURE_LIVE_VIEW_ID. */
int RegImageCallbackId(int handle, uint32_t id);
int UnRegImageCallbackId(int handle, uint32_t id);

/* Give back the picture of this kind (enum capture_buffer_kind) whose Y plane is at `address`. */
int ReleaseCaptureBuffer(int kind, uint32_t address);

/* Copy a data item to `data`, a buffer of the caller's with room for `*size` bytes; `*size` becomes
 * the item's size.  Texts end in a zero byte, which `*size` does not count.  Also called outside
 * the camera application. */
int GetCaptureData(int item, void *data, int *size);

#ifdef __cplusplus
}
#endif

#endif

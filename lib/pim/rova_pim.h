// Production inspection mode: between the camera's capture service and the picture tests, in the
// camera application's process.
//
// The two receivers run on the capture service's thread, beside the command thread that waits in a
// handler.  They meet in the words below and in the records of rova_pim_config.h; the tests share
// static buffers, so the service delivers one still at a time.
#pragma once

#include "lib/pim/rova_pim_image.h"
#include "lib/pim/rova_pim_mode.h"
#include "platform/capture.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

enum rova_pim_chart : int32_t { PIM_CHART_WIDE, PIM_CHART_TELE, PIM_CHART_MID };

// The shooting data of the latest still.
struct rova_pim_exif_info {
    char filename[64]; // of the next JPEG
    char f_number[32];
    char exposure[32];
    char iso[32];
    char focal_length[32];
    int32_t afStep;
    uint8_t reserved[4];
};

static_assert(offsetof(rova_pim_exif_info, f_number) == 64);
static_assert(offsetof(rova_pim_exif_info, exposure) == 96);
static_assert(offsetof(rova_pim_exif_info, iso) == 128);
static_assert(offsetof(rova_pim_exif_info, focal_length) == 160);
static_assert(offsetof(rova_pim_exif_info, afStep) == 192);
static_assert(sizeof(rova_pim_exif_info) == 200);

extern std::atomic<int32_t> stepValue;    // rova_pim_chart: what stands before the camera
extern std::atomic<int32_t> regPim;       // the client's handle
extern std::atomic<int32_t> callbackFlag; // 1 while the client is registered for stills
extern std::atomic<int32_t> gCaptureDone; // set behind each still, cleared by who waits for it
extern rova_pim_exif_info gMotExifInfo;   // of the still in hand; under the lock of the records

// The title of the last result, as CSV text, filled by the tests; its data are in pRstData
// (rova_pim_result.h).
extern char pPtpTile[512];
extern char pPtpTilefromEEPROM[512];

// Tells which chart is in front of the camera; in MOT mode only.  Nothing is sent.
void SendSetChart(int32_t chart);

// The capture service, with the engine's name and ids; `id` is not looked at.  Results are the
// service's, failures logged.
int rova_pim_register_callback_client(capture_still_callback capture,
                                      capture_live_view_callback liveview);
int rova_pim_unregister_callback_client();
int rova_pim_register_image_set_callback_id(int handle, uint32_t id);
int rova_pim_unregister_image_set_callback_id(int handle, uint32_t id);
int rova_pim_register_image_callback_id(int handle, uint32_t id);
int rova_pim_unregister_image_callback_id(int handle, uint32_t id);

// A still as the tests get it, valid while the test runs.  Only the pictures that the test looks at
// are filled, and their sizes and addresses have been proved sound.
struct rova_pim_still {
    rova_pim_image main;
    rova_pim_image screen; // MOT only
    int32_t chart;
    int32_t colour; // of the markers
};

// A picture test.  It throws nothing.
using rova_pim_test = void (*)(const rova_pim_still &still);

// Set before the first still: what CheckMain runs in this mode (MOT, dust or noise) in place of the
// engine's own test, which NULL brings back.  1, or 0 for another mode.
int rova_pim_set_test(int32_t mode, rova_pim_test test);

// Routes a still to the active test; dumps it before if the configuration says so.  Addresses are
// those of planes that the service keeps for the time of the call.  Under the lock of the records.
void CheckMain(int32_t mainGWidth, int32_t mainGHeight, int32_t mainWidth, int32_t mainHeight,
               uint32_t mainY, uint32_t mainC, int32_t screenGWidth, int32_t screenGHeight,
               int32_t screenWidth, int32_t screenHeight, uint32_t screenY, uint32_t screenC,
               int32_t chart, int32_t reserved, int32_t fileNumber);

// The capture service's callback for stills (rova_pim_avcs.h has the live view's).  A still's
// buffers are given back and gCaptureDone is set in any case.
void rova_pim_capture_data_receiver(uint32_t id, const capture_still *still);

// From a JPEG's name, which ends in four digits and four characters of extension, to the next
// one's, cut at `size` bytes with its NUL.  Returns the next one's number.  A shorter name has no
// digits: the next number is 1.
int32_t rova_pim_next_name(std::string_view name, char *next, std::size_t size);

/*
 * Display service: where the picture goes, the panel or HDMI.  Any thread.
 */
#ifndef PLATFORM_DISPLAY_H
#define PLATFORM_DISPLAY_H

#ifdef __cplusplus
extern "C" {
#endif

/* 1 shows the picture on the HDMI device, 2 on the camera's panel.  0, or negative on failure. */
int utilx_set_hdmi_state(int state);

/* 1 while an HDMI device is connected, else 0. */
int utilx_get_hdmi_connect_state(void);

/* The display mode in force: 2 once the picture is on the HDMI device; with the picture on the
 * panel 1 while a device is connected, else 0. */
int utilx_disp_get_tv_mode(void);

#ifdef __cplusplus
}
#endif

#endif

/*
 * Every call of the platform's services with nothing behind it.  It stands in for a camera's own
 * libraries where only their being there matters: linking, and the headers being sound C.
 */
#include <platform/bluetooth.h>
#include <platform/camera.h>
#include <platform/capture.h>
#include <platform/device.h>
#include <platform/display.h>
#include <platform/dlog.h>
#include <platform/factory_osd.h>
#include <platform/firmware.h>
#include <platform/nfc.h>
#include <platform/pref.h>
#include <platform/production.h>
#include <platform/sound.h>
#include <platform/timer.h>
#include <platform/vconf.h>
#include <platform/wlan.h>

#pragma GCC diagnostic ignored "-Wunused-parameter"

/* bluetooth.h */

int bluetooth_register_callback(bluetooth_event_callback callback, void *user_data)
{
    return 0;
}

int bluetooth_unregister_callback(void)
{
    return 0;
}

int bluetooth_check_adapter(void)
{
    return 0;
}

int bluetooth_enable_adapter(void)
{
    return 0;
}

int bluetooth_disable_adapter(void)
{
    return 0;
}

int bluetooth_set_discoverable_mode(int mode, int option)
{
    return 0;
}

int bluetooth_start_custom_discovery(int mode, int option1, int option2, int option3)
{
    return 0;
}

int bluetooth_cancel_discovery(void)
{
    return 0;
}

int bluetooth_is_discovering(void)
{
    return 0;
}

/* camera.h */

int mm_camera_ioctl(mm_camera_handle handle, int request, void *data, int size, int option1,
                    int option2)
{
    return 0;
}

/* capture.h */

int RegCallbackClient(const char *name, int option, capture_live_view_callback live_view,
                      capture_still_callback still)
{
    return 0;
}

int UnRegCallbackClient(int handle)
{
    return 0;
}

int RegImageSetCallbackId(int handle, uint32_t id)
{
    return 0;
}

int UnRegImageSetCallbackId(int handle, uint32_t id)
{
    return 0;
}

int RegImageCallbackId(int handle, uint32_t id)
{
    return 0;
}

int UnRegImageCallbackId(int handle, uint32_t id)
{
    return 0;
}

int ReleaseCaptureBuffer(int kind, uint32_t address)
{
    return 0;
}

int GetCaptureData(int item, void *data, int *size)
{
    return 0;
}

/* device.h */

int device_get_property(int type, int property, int *value)
{
    return 0;
}

int device_set_property(int type, int property, int value)
{
    return 0;
}

/* display.h */

int utilx_set_hdmi_state(int state)
{
    return 0;
}

int utilx_get_hdmi_connect_state(void)
{
    return 0;
}

int utilx_disp_get_tv_mode(void)
{
    return 0;
}

/* dlog.h */

int __dlog_print(int log_id, int priority, const char *tag, const char *format, ...)
{
    return 0;
}

/* factory_osd.h */

int factory_osd_init(void)
{
    return 0;
}

int factory_osd_deinit(void)
{
    return 0;
}

int factory_osd_text_set(uint16_t row, const char *text)
{
    return 0;
}

int factory_osd_grid_text_set(uint16_t row, const char *text)
{
    return 0;
}

int factory_osd_text_clear(void)
{
    return 0;
}

int factory_osd_grid_text_clear(void)
{
    return 0;
}

int factory_osd_text_size_set(int size)
{
    return 0;
}

int factory_osd_text_color_set(int color)
{
    return 0;
}

int factory_osd_background_color_set(int color)
{
    return 0;
}

int factory_osd_clear(void)
{
    return 0;
}

int factory_osd_window_move_resize(int width, int height, int x, int y)
{
    return 0;
}

int factory_osd_image_draw(const char *path)
{
    return 0;
}

int factory_osd_image_clear(void)
{
    return 0;
}

int factory_osd_draw(int kind, const char *text)
{
    return 0;
}

int factory_osd_touch_ready(int draw_lines)
{
    return 0;
}

int factory_osd_touch_test(void)
{
    return 0;
}

int factory_osd_get_touch_state(void)
{
    return 0;
}

/* firmware.h */

const char *get_project_name(void)
{
    return NULL;
}

const char *get_fw_version_short(void)
{
    return NULL;
}

int get_board_version(void)
{
    return 0;
}

int fw_validate(struct fw_info *info, const char *path)
{
    return 0;
}

int fw_get_info(struct fw_info *info, const char *path)
{
    return 0;
}

int fw_start_upgrade(const char *name)
{
    return 0;
}

int get_micom_version(uint32_t *version, uint32_t *status)
{
    return 0;
}

/* nfc.h */

int nfc_manager_initialize(void *option1, void *option2)
{
    return 0;
}

int nfc_manager_deinitialize(void)
{
    return 0;
}

int nfc_manager_set_activation(int on, nfc_manager_activation_callback callback, void *option)
{
    return 0;
}

int nfc_manager_is_activated(void)
{
    return 0;
}

/* pref.h */

void *pref_get_addr(int partition, uint32_t *size)
{
    return NULL;
}

const char *pref_get_name(int partition)
{
    return NULL;
}

int pref_load(int partition, int defaults)
{
    return 0;
}

int pref_save(int partition)
{
    return 0;
}

int pref_save_to_file(int partition, const char *path)
{
    return 0;
}

int pref_load_from_file(int partition, const char *path)
{
    return 0;
}

int pref_save_default_to_file(int partition, const void *image, uint32_t size)
{
    return 0;
}

int pref_get_long(int partition, int key)
{
    return 0;
}

int pref_set_long(int partition, int key, int value)
{
    return 0;
}

/* production.h */

int set_charge_led(int state)
{
    return 0;
}

int set_charging(int on)
{
    return 0;
}

int set_statusLCD_production(int pattern)
{
    return 0;
}

int release_from_factorymode(void)
{
    return 0;
}

/* sound.h */

int mm_sound_qz_volume_get_max(int type, unsigned int *max)
{
    return 0;
}

int mm_sound_qz_volume_set_value(int type, unsigned int value)
{
    return 0;
}

int mm_sound_qz_play_sound_sync(const char *path, int type, mm_sound_qz_callback callback,
                                void *user_data, int *handle)
{
    return 0;
}

int mm_sound_qz_play_sound(const char *path, int type, mm_sound_qz_callback callback,
                           void *user_data, int *handle)
{
    return 0;
}

int mm_sound_qz_stop_sound(int handle)
{
    return 0;
}

/* timer.h */

uint64_t get_sys_timer_utick(void)
{
    return 0;
}

/* vconf.h */

int vconf_get_int(const char *key, int *value)
{
    return 0;
}

int vconf_get_bool(const char *key, int *value)
{
    return 0;
}

int vconf_set_int(const char *key, int value)
{
    return 0;
}

int vconf_set_str(const char *key, const char *value)
{
    return 0;
}

int vconf_notify_key_changed(const char *key, vconf_callback_fn callback, void *user_data)
{
    return 0;
}

int vconf_ignore_key_changed(const char *key, vconf_callback_fn callback)
{
    return 0;
}

int vconf_keynode_get_type(const keynode_t *node)
{
    return 0;
}

int vconf_keynode_get_int(const keynode_t *node)
{
    return 0;
}

char *vconf_keynode_get_str(const keynode_t *node)
{
    return NULL;
}

char *vconf_keynode_get_name(const keynode_t *node)
{
    return NULL;
}

/* wlan.h */

int MRVL_RFT_OpenDUT(void)
{
    return 0;
}

int MRVL_RFT_CloseDUT(void)
{
    return 0;
}

int MRVL_RFT_SetBandAG(int band)
{
    return 0;
}

int MRVL_RFT_SetChannelBw(int width)
{
    return 0;
}

int MRVL_RFT_Channel(int channel)
{
    return 0;
}

int MRVL_RFT_TxDataRate(int rate)
{
    return 0;
}

int MRVL_RFT_SetPreamble(int preamble)
{
    return 0;
}

int MRVL_RFT_SetShortGI(int on)
{
    return 0;
}

int MRVL_RFT_TxGain(int gain)
{
    return 0;
}

int MRVL_RFT_TxPayloadLength(int length)
{
    return 0;
}

int MRVL_RFT_TxBurstInterval(int interval)
{
    return 0;
}

int MRVL_RFT_TxStart(void)
{
    return 0;
}

int MRVL_RFT_TxStop(void)
{
    return 0;
}

int MRVL_RFT_RxStart(void)
{
    return 0;
}

int MRVL_RFT_RxStop(int option)
{
    return 0;
}

int MRVL_RFT_FRError(void)
{
    return 0;
}

int MRVL_RFT_FRGood(void)
{
    return 0;
}

int MRVL_RFT_Get_RSSI(void)
{
    return 0;
}

int MRVL_RFT_SetSSID(const char *ssid)
{
    return 0;
}

int MRVL_RFT_SetSSID_24G(const char *ssid)
{
    return 0;
}

int MRVL_RFT_SetSSID_5G(const char *ssid)
{
    return 0;
}

const char *MRVL_RFT_GetErrorString(int code)
{
    return NULL;
}

void Wlan_Status_Check(int code) {}

/*
 * WLAN test library of the radio's vendor.
 *
 * Each call returns 0 on success and an error code otherwise, unless said otherwise.  The radio
 * must run its test driver.  One thread at a time.
 */
#ifndef PLATFORM_WLAN_H
#define PLATFORM_WLAN_H

#ifdef __cplusplus
extern "C" {
#endif

/* Open the radio for tests, and close it. */
int MRVL_RFT_OpenDUT(void);
int MRVL_RFT_CloseDUT(void);

/* Settings, in the vendor's numbers. */
int MRVL_RFT_SetBandAG(int band);
int MRVL_RFT_SetChannelBw(int width);
int MRVL_RFT_Channel(int channel);
int MRVL_RFT_TxDataRate(int rate);
int MRVL_RFT_SetPreamble(int preamble);
int MRVL_RFT_SetShortGI(int on);
int MRVL_RFT_TxGain(int gain);
int MRVL_RFT_TxPayloadLength(int length);
int MRVL_RFT_TxBurstInterval(int interval);

/* Transmit and receive until stopped; `option` is 0. */
int MRVL_RFT_TxStart(void);
int MRVL_RFT_TxStop(void);
int MRVL_RFT_RxStart(void);
int MRVL_RFT_RxStop(int option);

/* The number of frames received with errors and without, and the signal's strength in dBm.  They
 * return the reading itself and cannot tell a failure. */
int MRVL_RFT_FRError(void);
int MRVL_RFT_FRGood(void);
int MRVL_RFT_Get_RSSI(void);

/* Join the network of this name: on any band, on 2.4 GHz, on 5 GHz. */
int MRVL_RFT_SetSSID(const char *ssid);
int MRVL_RFT_SetSSID_24G(const char *ssid);
int MRVL_RFT_SetSSID_5G(const char *ssid);

/* A text for an error code, owned by the library; may be NULL. */
const char *MRVL_RFT_GetErrorString(int code);

/* To be told of the code of a failed setting, start, stop or join. */
void Wlan_Status_Check(int code);

#ifdef __cplusplus
}
#endif

#endif

// The keys through which the PC link's responder and the daemon exchange commands and answers.
#pragma once

// Written by the PC side: a command line, or the number of a predefined command and its integers.
// The number's change is the trigger; the integers are written before it.
inline constexpr char ROVA_KEY_PMODE[] = "memory/private/pmode";
inline constexpr char ROVA_KEY_PMODE_PROTOCOL1[] = "memory/private/pmode_protocol1";
inline constexpr char ROVA_KEY_PMODE_PROTOCOL2[] = "memory/private/pmode_protocol2";
inline constexpr char ROVA_KEY_PMODE_PROTOCOL3[] = "memory/private/pmode_protocol3";
inline constexpr char ROVA_KEY_PMODE_PROTOCOL4[] = "memory/private/pmode_protocol4";
inline constexpr char ROVA_KEY_PMODE_PROTOCOL5[] = "memory/private/pmode_protocol5";

// Binary data of a predefined command; also the bare name of its file.
inline constexpr char ROVA_KEY_PMODE_SHUTTER_DATA[] = "memory/private/pmode_shutter_data";

// Written by the daemon, in this order; the change of Param1 is the end of the answer.
inline constexpr char ROVA_KEY_PMODE_STREAM_TYPE[] = "memory/private/pmode_stream_type";
inline constexpr char ROVA_KEY_PMODE_STREAM[] = "memory/private/pmode_stream";
inline constexpr char ROVA_KEY_PMODE_PARAM3[] = "memory/private/pmode_Param3";
inline constexpr char ROVA_KEY_PMODE_PARAM2[] = "memory/private/pmode_Param2";
inline constexpr char ROVA_KEY_PMODE_PARAM1[] = "memory/private/pmode_Param1";

// State of the USB socket, from the platform: 0 disconnected, 2 available.
inline constexpr char ROVA_KEY_USB_STATUS[] = "memory/sysman/usb_status";

// The attribute files of the key driver, one value each.
#pragma once

// The last key's code; 0 clears it.
inline constexpr char ROVA_KEYCODE_PATH[] = "/sys/devices/platform/m7-keys/keycode";
// A key whose bit is set is masked.
inline constexpr char ROVA_KEYMASK_PATH[] = "/sys/devices/platform/m7-keys/keymask";
// The bits of the keys that are held now, and of those seen held.
inline constexpr char ROVA_PUSHED_KEYS_PATH[] = "/sys/devices/platform/m7-keys/pushed_keys";
inline constexpr char ROVA_CHECK_PUSH_KEY_PATH[] = "/sys/devices/platform/m7-keys/check_push_key";
// Channel and name of the last key.
inline constexpr char ROVA_KEYDESC_PATH[] = "/sys/devices/platform/m7-keys/keydesc";
// The top panel's light.
inline constexpr char ROVA_TNLCD_STATUS_PATH[] = "/sys/devices/platform/m7-keys/tnlcd_status";

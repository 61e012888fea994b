// What the marker files on the memory card ask for.  Any thread.
#pragma once

inline constexpr char ROVA_MARKER_SCRIPT[] = "/sdcard/info.tg";
inline constexpr char ROVA_MARKER_PTP[] = "/sdcard/info.tgw";
inline constexpr char ROVA_MARKER_CS[] = "/sdcard/qz_cs.adj";

enum rova_card_mode {
    ROVA_CARD_MODE_NONE = 0,
    ROVA_CARD_MODE_FACTORY = 1,
    ROVA_CARD_MODE_SCRIPT = 2,
    ROVA_CARD_MODE_PTP = 3,
};

// Return 1 and the mode, or 0 and ROVA_CARD_MODE_NONE.  `mode` may be null.
int rova_check_card_mode(int *mode);
int rova_check_cs_mode(int *mode);

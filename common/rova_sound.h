// The five test sounds and the loudspeaker's volume.  Server thread.
#pragma once

enum rova_sound_type {
    ROVA_SOUND_AF = 0,
    ROVA_SOUND_BUTTON = 1,
    ROVA_SOUND_SHUTTER = 2,
    ROVA_SOUND_LOW_BATTERY = 3,
    ROVA_SOUND_1KHZ = 4,
};

// Returns the step that was in force; 3 is the loudest.
int rova_set_volume(int step);

// 1, or 0 for an unknown type or a failed playing.
int rova_play_sound(int type);       // to the end
int rova_play_sound_async(int type); // starts it
int rova_stop_sound();               // always 1

// The wedges of a picture of the resolution chart: found in the screen nail, then measured in the
// full image.
//
// Both stages work on cfg.scrWin and the boxes behind it, in the picture buffer and the line
// buffer, and take the chart's number (0 to 2) as given.  The capture service's thread; nothing is
// allocated.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_image.h"

#include <cstdint>

// The first stage: fills scrPima, orgRelPima, orgWin, orgAbsPima and rangeFail; screenW and screenH
// become the picture's.  0, or -1 where a window has no wedge.
int rova_pim_find_wedges(const rova_pim_image &screen, int32_t chart, rova_pim_pm_config &cfg);

// The second stage: moves the ends of orgAbsPima to the bars and fills motValue, motOrgValue,
// posFound and posCorrected; imageW and imageH become the picture's.  A wedge that has no pixels,
// or more than the buffers hold, is reported and gets the chart's least value.  0.
int rova_pim_measure_wedges(const rova_pim_image &full, int32_t chart, rova_pim_pm_config &cfg);

// Where a wedge begins and ends in its strip, and the last line that is resolved.
struct rova_pim_resolved {
    int32_t start;
    int32_t end;
    int32_t position;
};

// A window's value from what was resolved in it, by the chart's references, corrected for the
// magnification by the size of window 0's orgAbsPima.
void rova_pim_mot_value(const rova_pim_resolved &resolved, int32_t chart, int32_t index,
                        rova_pim_pm_config &cfg);

// The autofocus sensor, for the scan of afi_adj.
#pragma once

namespace vcam_app
{

// From now on the sensor's samples are those of virtual/afi/sample: one now, and one each second of
// camera time while a scan waits for them.
void begin_samples();

// Ends that, if it was begun.
void end_samples();

} // namespace vcam_app

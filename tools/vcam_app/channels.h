// What the channels of a camera application leave in the kernel.  Also for vcam.
#pragma once

#include "platform/virtual/objects.h"

namespace vcam_app
{

// Both channels are there to be sent to.
bool channels_are_up();

// What they are made of, as far as it is there.
virt::KeptObjects channel_objects();

// Removes what a killed application has left of its channels; the number of channels found.  Only
// while none runs.
int clear_channels();

} // namespace vcam_app

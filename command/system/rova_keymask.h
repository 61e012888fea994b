// The keys that the key driver keeps to itself.  Server thread.
#pragma once

#include <cstdint>

// Masks (true) or unmasks keys by their bits and leaves the others.  False when the driver's mask
// could not be written; the message is the caller's.
bool rova_keymask_change(uint32_t keys, bool masked);

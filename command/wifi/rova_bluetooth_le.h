// Tests of Bluetooth low energy, by a D-Bus service.  Server thread.
#pragma once

// The service's methods, over the system bus: 0, or 1 with the reason in the log.  `type` is the
// payload, `value` the frequency in MHz.
int rova_bluetooth_le_set_tx(unsigned int type, unsigned int value);
int rova_bluetooth_le_set_rx(unsigned int value);
int rova_bluetooth_le_reset();

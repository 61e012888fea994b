// The radio work of the family `bluetooth`: each step of the platform's service that tells its end
// by an event becomes a call that waits for it.  Server thread.
#pragma once

// Devices found by the last search, until the command takes them.
extern int g_dev_cnt;

// 0, or another value on failure, with the reason in the log; 1 for a pair of numbers that means
// nothing.  Waits as long as the service takes; only a daemon that is asked to stop ends the wait
// before (1).  `buffer` is not used.
//
// 0, 0: adapter on.  1, 1: search; 1, 3: the same without starting a discovery.  2, 0 and 2, 1:
// adapter off, by the service or by a script; 3, 0: RF test mode on.  2, 2 and 4, 0: audio test,
// which fails.  5, 0 to 8 and 6, 0 to 9: tests of the low energy radio by a D-Bus service.
int process_FCBTTEST(int command, int mode, char *buffer);

// The event queue: command records on their way to the server thread.
#pragma once

#include "common/rova_cmd_data.h"
#include "core/rova_ipc.h"

// 1, or 0 after logging.
int rova_event_init(rova_ipc **ipc, uint32_t kind, uint32_t count);
int rova_event_deinit(rova_ipc **ipc);

// Sends a copy of `record`; a `repeat` line is expanded (and `record` rewritten).  Blocks while the
// queue is full.  0, or negative with nothing owed.  Any thread.
int rova_event_send(rova_ipc *ipc, uint32_t type, cmd_data *record, uint32_t size);

// Takes one packet, blocking.  `*buffer` must be null; it receives the record, to be freed with
// g_free.  0, or negative.  Server thread.
int rova_event_receive(rova_ipc *ipc, uint32_t *type, void **buffer, uint32_t *size);

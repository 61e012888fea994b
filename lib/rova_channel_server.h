// The serving end of a channel to the camera application: its queue, its semaphore and its thread.
#pragma once

#include "lib/rova_channel.h"

#include <pthread.h>
#include <semaphore.h>

// What a served channel holds.  Started and stopped by one thread; its own thread reads it.
struct rova_channel_server {
    const rova_channel *channel;
    const char *name; // in messages
    uint8_t started = 0;
    int32_t mq_id = -1;
    sem_t *sem = nullptr;
    pthread_t thread = 0;
};

// Make the queue, which must not be there, and the semaphore; start the thread.  False with the
// reason logged: rova_channel_close undoes what has been done.
bool rova_channel_open(rova_channel_server *server, key_t key);
bool rova_channel_start(rova_channel_server *server, void *(*body)(void *), void *arg);

// Has the thread end, after what is on the queue, and waits for it.
void rova_channel_stop(rova_channel_server *server);
// Removes queue and semaphore, as far as they are there.  The channel is down afterwards.
void rova_channel_close(rova_channel_server *server);

// The next command, for the channel's thread, which can be cancelled here and nowhere else.  False
// after the end packet, and with the reason logged when the queue cannot be read.
bool rova_channel_receive(const rova_channel_server *server, rova_channel_message *message);

// Tells the sender that its answer stands in the answer area.  0, or -1 with the reason logged.
int rova_channel_acknowledge(const rova_channel *channel);

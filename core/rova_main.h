// What the daemon's threads share.
#pragma once

#include "core/rova_ipc.h"
#include "core/rova_option.h"

#include <pthread.h>

struct rova_main_data {
    rova_option *option;
    rova_ipc *ipc;
    pthread_t server_thread; // non-zero while it runs
    pthread_t client_thread; // non-zero from its start to its join
};

// The daemon's life from the command line to the exit status.
int rova_main(int argc, char **argv);

/*
 * The records that pass between the daemon and the camera application.  They are wire formats:
 * packed, numbers little-endian, texts NUL-terminated.
 */
#ifndef ROVA_RECORD_H
#define ROVA_RECORD_H

#include <stdint.h>

#pragma pack(push, 1)

/* One command, 500 bytes. */
struct cmd_data {
    char cmd[32];        /* command word or family name */
    uint32_t p_count;    /* filled entries of p, 0 to 10 */
    char p[10][32];      /* parameters; p[0] is the subcommand */
    int32_t e[4];        /* numbers of a predefined PTP command */
    char data_path[128]; /* data file of a predefined PTP command */
};

/* Text for the PC that goes with an answer, 512 bytes. */
struct rova_resp_stream {
    uint16_t stream_type; /* 0 none, 1 the text is the path of a file, 2 the text itself */
    char text[510];
};

/* The answer to a command, 526 bytes.  All zeros are a plain OK. */
struct rova_cmd_response {
    uint8_t response_type; /* 0 plain, 1 the three parameters are the words of the answer */
    uint8_t result;        /* 0 is OK, anything else NG */
    uint32_t param1;
    uint32_t param2;
    uint32_t param3;
    struct rova_resp_stream stream;
};

#pragma pack(pop)

#endif

// The answer of the camera application to a forwarded command.  A wire format.
#pragma once

#include "common/rova_cmd_data.h"

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t ROVA_CMD_RESPONSE_SIZE = 526;

enum rova_response_type : uint8_t {
    ROVA_RESPONSE_PLAIN = 0,
    ROVA_RESPONSE_PARAMS = 1, // the three parameters are the words of the answer to the PC
};

#pragma pack(push, 1)

struct rova_cmd_response {
    uint8_t response_type; // rova_response_type
    uint8_t result;        // 0 is OK, anything else NG
    uint32_t param1;       // numbers are little-endian
    uint32_t param2;
    uint32_t param3;
    rova_resp_stream stream;
};

#pragma pack(pop)

static_assert(sizeof(rova_cmd_response) == ROVA_CMD_RESPONSE_SIZE);
static_assert(offsetof(rova_cmd_response, response_type) == 0);
static_assert(offsetof(rova_cmd_response, result) == 1);
static_assert(offsetof(rova_cmd_response, param1) == 2);
static_assert(offsetof(rova_cmd_response, param2) == 6);
static_assert(offsetof(rova_cmd_response, param3) == 10);
static_assert(offsetof(rova_cmd_response, stream) == 14);

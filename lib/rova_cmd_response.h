// The answer of the camera application to a forwarded command.
#pragma once

#include "common/rova_cmd_data.h"

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t ROVA_CMD_RESPONSE_SIZE = 526;

enum rova_response_type : uint8_t {
    ROVA_RESPONSE_PLAIN = 0,
    ROVA_RESPONSE_PARAMS = 1, // the three parameters are the words of the answer to the PC
};

static_assert(sizeof(rova_cmd_response) == ROVA_CMD_RESPONSE_SIZE);
static_assert(offsetof(rova_cmd_response, response_type) == 0);
static_assert(offsetof(rova_cmd_response, result) == 1);
static_assert(offsetof(rova_cmd_response, param1) == 2);
static_assert(offsetof(rova_cmd_response, param2) == 6);
static_assert(offsetof(rova_cmd_response, param3) == 10);
static_assert(offsetof(rova_cmd_response, stream) == 14);

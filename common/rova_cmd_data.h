// The command record, the command types and the response stream: what every source of commands,
// every handler and the camera application share.
#pragma once

#include <rova/record.h>

#include <cstddef>
#include <cstdint>

inline constexpr int ROVA_CMD_PARAM_MAX = 10;
inline constexpr std::size_t ROVA_CMD_WORD_SIZE = 32;
inline constexpr std::size_t ROVA_CMD_DATA_SIZE = 500;

static_assert(sizeof(cmd_data) == ROVA_CMD_DATA_SIZE);
static_assert(sizeof(cmd_data::cmd) == ROVA_CMD_WORD_SIZE);
static_assert(sizeof(cmd_data::p) == ROVA_CMD_PARAM_MAX * ROVA_CMD_WORD_SIZE);
static_assert(offsetof(cmd_data, p_count) == 32);
static_assert(offsetof(cmd_data, p) == 36);
static_assert(offsetof(cmd_data, e) == 356);
static_assert(offsetof(cmd_data, data_path) == 372);
static_assert(sizeof(rova_resp_stream) == 512);
static_assert(offsetof(rova_resp_stream, text) == 2);

// Where a command comes from; also the message type of its packet, so never 0.
enum rova_cmd_type : uint32_t {
    ROVA_CTRL_STOP_PACKET = 1, // the daemon itself, to end the server thread
    ROVA_CMD_CARD = 2,         // a line of the script file
    ROVA_CMD_SCRIPT = 3,       // a line written to memory/rova/script_cmd
    ROVA_CMD_PTP = 4,          // a line written by the PC
    ROVA_CMD_PTP2 = 5,         // a predefined command chosen by the PC by number
};

inline bool rova_cmd_is_ptp(uint32_t cmd_type)
{
    return cmd_type == ROVA_CMD_PTP || cmd_type == ROVA_CMD_PTP2;
}

// A command handler runs on the server thread, answers exactly once through rova_cmd_resp or
// rova_cmd_resp_ex and returns 1; it returns 0, without an answer, when p[0] is not its own.
using rova_cmd_handler_fn = int (*)(uint32_t cmd_type, cmd_data *record);

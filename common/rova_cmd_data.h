// The command record, the command types and the response stream: what every source of commands,
// every handler and the camera application share.  The records are wire formats.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int ROVA_CMD_PARAM_MAX = 10;
inline constexpr std::size_t ROVA_CMD_WORD_SIZE = 32;
inline constexpr std::size_t ROVA_CMD_DATA_SIZE = 500;

#pragma pack(push, 1)

// One command.  Texts are NUL-terminated; numbers are little-endian.
struct cmd_data {
    char cmd[ROVA_CMD_WORD_SIZE];                   // command word or family name
    uint32_t p_count;                               // filled entries of p, 0 to 10
    char p[ROVA_CMD_PARAM_MAX][ROVA_CMD_WORD_SIZE]; // parameters; p[0] is the subcommand
    int32_t e[4];                                   // numbers of a predefined PTP command
    char data_path[128];                            // data file of a predefined PTP command
};

// Text for the PC that goes with an answer.
struct rova_resp_stream {
    uint16_t stream_type; // 0 none, 1 the text is the path of a file, 2 the text itself
    char text[510];
};

#pragma pack(pop)

static_assert(sizeof(cmd_data) == ROVA_CMD_DATA_SIZE);
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

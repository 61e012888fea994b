// Answers to the PC, through the PTP keys.  Server thread.
#pragma once

#include "common/rova_cmd_data.h"

// Param1 of a plain answer.
inline constexpr uint32_t ROVA_PTP_RESP_PLAIN = 0x10000002;
// Param1 of an answer whose Param2 is a reading of a radio.
inline constexpr uint32_t ROVA_PTP_RESP_NUMBER = 0x10040001;

// The answer's three words; Param1 is written last and tells the PC that the answer is complete.
// 1, or 0 when a key could not be written.
int rova_ptp_resp_msg(uint32_t param1, uint32_t param2, uint32_t param3);

// The stream keys, written by every answer before its words.  `stream` may be NULL.  Returns 1.
int rova_ptp_resp_stream(const rova_resp_stream *stream);

// Word 3 of an answer: 0x10000 and 0x20000 for stream types 1 and 2, else 0.
uint32_t rova_ptp_stream_code(const rova_resp_stream *stream);

#include "command/rova_ptp_resp.h"

#include "command/rova_cmd_result.h"
#include "common/rova_log.h"
#include "common/rova_ptp_keys.h"

#include <cstdio>
#include <mutex>
#include <platform/vconf.h>

static std::mutex response_lock;
static int ptp_resp_count;

static bool set_word(const char *key, uint32_t word)
{
    return vconf_set_int(key, static_cast<int>(word)) >= 0;
}

// Param1 last: its change is what the PC waits for.
static bool set_words(uint32_t param1, uint32_t param2, uint32_t param3)
{
    return set_word(ROVA_KEY_PMODE_PARAM3, param3) && set_word(ROVA_KEY_PMODE_PARAM2, param2) &&
           set_word(ROVA_KEY_PMODE_PARAM1, param1);
}

int rova_ptp_resp_msg(uint32_t param1, uint32_t param2, uint32_t param3)
{
    std::lock_guard guard(response_lock);

    rova_log("resp : %s <ptp> 0x%08x, 0x%08x, 0x%08x \n",
             rova_cmd_result_word(rova_cmd_get_result() == 0), param1, param2, param3);
    bool written = set_words(param1, param2, param3);
    ptp_resp_count++;
    if (!written) {
        ROVA_LOG_ERR("ptp-response: [0x%08x, 0x%08x, 0x%08x] failed. (cnt=%d) \n", param1, param2,
                     param3, ptp_resp_count);
        return 0;
    }
    ROVA_LOG_INFO("ptp-response: [0x%08x, 0x%08x, 0x%08x] (cnt=%d) \n", param1, param2, param3,
                  ptp_resp_count);
    return 1;
}

int rova_ptp_resp_stream(const rova_resp_stream *stream)
{
    std::lock_guard guard(response_lock);
    int type = stream != nullptr ? stream->stream_type : 0;

    // A stream that another process filled may lack its terminator.
    char text[sizeof(stream->text) + 1] = "";
    if (type != 0)
        std::snprintf(text, sizeof(text), "%.*s", static_cast<int>(sizeof(stream->text)),
                      stream->text);
    if (vconf_set_int(ROVA_KEY_PMODE_STREAM_TYPE, type) < 0)
        ROVA_LOG_ERR("vconf_set_int(%s, %d) failed \n", ROVA_KEY_PMODE_STREAM_TYPE, type);
    if (vconf_set_str(ROVA_KEY_PMODE_STREAM, text) < 0)
        ROVA_LOG_ERR("vconf_set_str(%s, %s) failed \n", ROVA_KEY_PMODE_STREAM, text);
    return 1;
}

uint32_t rova_ptp_stream_code(const rova_resp_stream *stream)
{
    if (stream == nullptr)
        return 0;
    return stream->stream_type == 1 ? 0x10000U : stream->stream_type == 2 ? 0x20000U : 0U;
}

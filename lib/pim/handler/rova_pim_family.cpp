#include "lib/pim/handler/rova_pim_family.h"

#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "lib/pim/mot/rova_pim_avcs.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"
#include "lib/rova_app_thread.h"
#include "platform/capture.h"
#include "platform/factory_osd.h"
#include "platform/firmware.h"
#include "platform/sys.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <strings.h>

namespace
{

constexpr useconds_t CAPTURE_INTERVAL_US = 100000;
constexpr unsigned int CAPTURE_LOOKS = 280;
constexpr int NOTICE_SIZE = 20; // of a text on the screen
constexpr int NOTICE_COLOR = 4; // red
constexpr char NO_VERDICT[] = "-99";

bool may_run(const rova_pim_cmd &row, const cmd_data *record)
{
    return record->p_count >= row.min_count &&
           (row.status == nullptr || *row.status != PIM_CONFIG_MISSING);
}

void end_stills()
{
    rova_pim_unregister_image_set_callback_id(regPim, CAPTURE_STILL_ID);
    rova_pim_unregister_callback_client();
    regPim = 0; // a later client may get the same handle
}

// False, with nothing left registered, when the capture service refuses.
bool begin_stills()
{
    const int handle = rova_pim_register_callback_client(rova_pim_capture_data_receiver,
                                                         rova_pim_liveview_data_receiver);
    if (handle < 0)
        return false;
    regPim = handle;
    if (rova_pim_register_image_set_callback_id(handle, CAPTURE_STILL_ID) < 0) {
        rova_pim_unregister_callback_client();
        return false;
    }
    callbackFlag = 1;
    return true;
}

void tell_missing_capture(const char *name)
{
    rova_pim_print("%s, %d : capture was not conducted!\n", name, __LINE__);
    ROVA_LOG_ERR("%s, %d : capture was not conducted!\n", name, __LINE__);
    rova_osd_ipcc_text_size(NOTICE_SIZE);
    rova_osd_ipcc_text_color(NOTICE_COLOR);
    rova_osd_draw(FACTORY_OSD_DRAW_TEXT, "Capture was not conducted!");
}

std::string without_line_feed(const char *text)
{
    std::string copy = text;
    if (copy.ends_with('\n'))
        copy.pop_back();
    return copy;
}

// The file and the verdict do not depend on each other; the command is OK when both are there.
bool display_on(const rova_pim_display &display, const cmd_data *record, rova_cmd_response *answer)
{
    if (!rova_pim_wait_for(gCaptureDone, CAPTURE_INTERVAL_US, CAPTURE_LOOKS)) {
        tell_missing_capture(display.name);
        return false;
    }
    const auto lock = rova_pim_lock_records();
    const bool written =
        rova_pim_write_csv(display.name, rova_pim_param(record, 2), &answer->stream);
    return display.verdict(display.name) && written;
}

bool display_result(const rova_pim_display &display, const cmd_data *record,
                    rova_cmd_response *answer)
{
    if (record->p_count < display.min_count)
        return false;
    if (rova_pim_param_is(record, 1, "off"))
        return rova_pim_display_off(display.name);
    if (*display.status == PIM_CONFIG_MISSING) {
        display.print_config_error(display.name);
        rova_osd_draw(FACTORY_OSD_DRAW_NG, NO_VERDICT);
        return false;
    }
    return rova_pim_param_is(record, 1, "on") && display_on(display, record, answer);
}

} // namespace

int rova_pim_family_exec(std::span<const rova_pim_cmd> table, const cmd_data *record,
                         rova_cmd_response *answer)
{
    const char *word = rova_pim_param(record, 0);
    const auto row = std::ranges::find_if(
        table, [&](const rova_pim_cmd &cmd) { return strcasecmp(cmd.name, word) == 0; });
    if (row == table.end()) {
        ROVA_LOG_ERR("Not found on mot command table \n");
        return 0;
    }
    return may_run(*row, record) ? row->handler(record, answer) : rova_pim_answer(answer, false);
}

int rova_pim_answer(rova_cmd_response *answer, bool ok)
{
    answer->response_type = ROVA_RESPONSE_PLAIN;
    answer->result = ok ? 0 : 1;
    return 1;
}

const char *rova_pim_param(const cmd_data *record, uint32_t index)
{
    return index < record->p_count ? record->p[index] : "";
}

bool rova_pim_param_is(const cmd_data *record, uint32_t index, const char *word)
{
    return std::strcmp(rova_pim_param(record, index), word) == 0;
}

int32_t rova_pim_number(const cmd_data *record, uint32_t index)
{
    return rova_str2int(rova_pim_param(record, index));
}

int rova_pim_set_family_mode(const cmd_data *record, rova_cmd_response *answer, int32_t mode)
{
    const bool known = rova_pim_param_is(record, 1, "pimode");
    if (known)
        SetPIMode(mode);
    return rova_pim_answer(answer, known);
}

bool rova_pim_may_wait()
{
    return !rova_app_is_stopping() && rova_check_stop() == 0;
}

bool rova_pim_wait_for(const std::atomic<int32_t> &flag, useconds_t interval_us, unsigned int limit)
{
    for (unsigned int sleeps = 0; flag == 0; sleeps++) {
        if ((limit != 0 && sleeps == limit) || !rova_pim_may_wait())
            return false;
        sys_usleep(interval_us);
    }
    return true;
}

bool rova_pim_load_config(const char *name, int32_t *status, bool stills)
{
    const char *project = get_project_name();
    char lower[PIM_LOWER_NAME_SIZE];
    rova_pim_lower_name(project, lower);
    *status = rova_pim_read_config(project, lower);
    if (*status == PIM_CONFIG_MISSING) {
        rova_pim_print("%s, %d, ROVA_RESULT_NG\n", name, __LINE__);
        return false;
    }
    return !stills || callbackFlag != 0 || begin_stills();
}

bool rova_pim_display_off(const char *name)
{
    rova_pim_print("%s %d : display result off\n", name, __LINE__);
    ROVA_LOG_INFO("%s %d : display result off\n", name, __LINE__);
    rova_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    return true;
}

bool rova_pim_write_csv(const char *name, const char *filename, rova_resp_stream *stream)
{
    ROVA_LOG_INFO("%s %d : display result on\n", name, __LINE__);
    rova_pim_print("%s %d : display result on\n", name, __LINE__);
    const std::string title = without_line_feed(pPtpTile);
    const std::string data = without_line_feed(pRstData);
    rova_pim_print("pimCsvTitle %s, pimCsvData %s \n", title.c_str(), data.c_str());
    rova_csv_handle handle = rova_csv_create(filename, title.c_str());
    const bool written = rova_csv_write(handle, "%s", data.c_str()) == 1;
    return rova_csv_close(handle, stream) == 1 && written;
}

int rova_pim_display_result(const rova_pim_display &display, const cmd_data *record,
                            rova_cmd_response *answer)
{
    const bool ok = display_result(display, record, answer);
    end_stills();
    callbackFlag = 0;
    gCaptureDone = 0;
    return rova_pim_answer(answer, ok);
}

bool rova_pim_show_verdict(int32_t total, std::span<const rova_pim_check> checks)
{
    if (total == 1) {
        rova_osd_draw(FACTORY_OSD_DRAW_OK, "");
        return true;
    }
    const auto failed =
        std::ranges::find_if(checks, [](const rova_pim_check &check) { return check.ok() == 0; });
    if (failed != checks.end() && failed->mark != nullptr)
        failed->mark();
    rova_osd_draw(FACTORY_OSD_DRAW_NG, failed != checks.end() ? failed->word : NO_VERDICT);
    return false;
}

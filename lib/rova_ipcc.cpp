#include "lib/rova_ipcc.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_power.h"
#include "common/rova_thread.h"
#include "common/rova_util.h"
#include "lib/rova_channel_server.h"
#include "platform/camera.h"

#include <strings.h>
#include <sys/prctl.h>

namespace
{

constexpr char THREAD_NAME[] = "ROVA IPCC Thread";
constexpr char THREAD_RESULT[] = "rova_ipcc_thread";

constexpr int TIMEOUT_SECONDS = 360;
constexpr int TIMEOUT_ALT_SECONDS = 60;

struct ipcc_timeout {
    const char *cmd;
    int seconds;
};

// What takes another time, in ALT mode too.
constexpr ipcc_timeout ipcc_timeouts[] = {
    {"shutter", 0},
    {"defect_pixel", 600},
    {"vfpn", 600},
};

int timeout_of(const cmd_data *record)
{
    for (const ipcc_timeout &row : ipcc_timeouts)
        if (strcasecmp(row.cmd, record->cmd) == 0)
            return row.seconds;
    return rova_get_alt_mode() ? TIMEOUT_ALT_SECONDS : TIMEOUT_SECONDS;
}

constinit rova_channel ipcc = {
    ROVA_IPCC_PROJECT, ROVA_IPCC_SEM, ROVA_IPCC_MESSAGE_SIZE, timeout_of, {}};

struct ipcc_state {
    rova_channel_server server = {.channel = &ipcc, .name = "rova ipcc"};
    mm_camera_handle handle = nullptr;
};

constinit ipcc_state state;

using service_function = void (*)(void);

template <typename Function> service_function as_service(Function *function)
{
    return reinterpret_cast<service_function>(function);
}

// 1 when the camera stack took it.
int register_service(mm_camera_service service)
{
    return 1 -
           mm_camera_ioctl(state.handle, MM_CAMERA_SET_SERVICE, &service, sizeof(service), 0, 0);
}

// What the camera's commands may call, by the numbers that the camera stack knows.
void register_services()
{
    const mm_camera_service services[] = {
        {1, as_service(rova_set_adjdata)},
        {2, as_service(rova_csv_create)},
        {3, as_service(rova_csv_write)},
        {4, as_service(rova_csv_close)},
        {6, as_service(rova_osd_ipcc_text_size)},
        {7, as_service(rova_osd_ipcc_text_color)},
        {8, as_service(rova_osd_ipcc_text)},
        {9, as_service(rova_osd_ipcc_clear_screen)},
        {10, as_service(rova_osd_ipcc_clear_window)},
        {11, as_service(rova_osd_ipcc_bg_color)},
        {20, as_service(rova_power_reset)},
        {21, as_service(rova_power_reboot)},
    };
    for (const mm_camera_service &service : services)
        if (register_service(service) != 1)
            ROVA_LOG_ERR("failed to register service %u \n", service.number);
}

// Without them commands run all the same, and one that needs them fails by itself.
void register_callbacks()
{
    void *callback = reinterpret_cast<void *>(rova_ipcc_ack);
    if (mm_camera_ioctl(state.handle, MM_CAMERA_SET_DONE_CALLBACK, callback, sizeof(void *), 0,
                        0) != 0)
        ROVA_LOG_ERR("failed to register the completion callback \n");
    register_services();
}

void serve(const ipcc_state *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return;
    }
    rova_channel_message message = {};
    for (int number = 1; rova_channel_receive(&pdata->server, &message); number++) {
        ROVA_LOG_INFO("rova-ipcc: %dth cmd recieved [%s] -------- \n", number,
                      rova_cmd_type_name(static_cast<uint32_t>(message.type)));
        mm_camera_ioctl(pdata->handle, MM_CAMERA_RUN_COMMAND, &message.address,
                        sizeof(message.address), 0, 0);
        ROVA_LOG_INFO("rova-ipcc: %dth cmd done ------------- \n", number);
    }
}

void *rova_ipcc_thread(void *argument)
{
    prctl(PR_SET_NAME, THREAD_NAME);
    rova_thread_make_cancellable();
    serve(static_cast<const ipcc_state *>(argument));
    ROVA_LOG_NOTICE("\033[33mrova-ipcc: thread exited \n");
    rova_thread_exit(const_cast<char *>(THREAD_RESULT));
}

bool start_serving()
{
    const key_t key = rova_channel_key(&ipcc);
    if (key == -1 || !rova_channel_open(&state.server, key))
        return false;
    register_callbacks();
    return rova_channel_start(&state.server, rova_ipcc_thread, &state);
}

} // namespace

int rova_ipcc_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    return rova_channel_send(&ipcc, cmd_type, record, answer);
}

int rova_start_ipcc(void *handle)
{
    if (state.server.started != 0) {
        ROVA_LOG_INFO("already started rova ipcc \n");
        return 1;
    }
    if (handle == nullptr) {
        ROVA_LOG_ERR("handle is NULL \n");
        return 0;
    }
    state = {.handle = handle};
    if (!start_serving()) {
        rova_channel_close(&state.server);
        return 0;
    }
    state.server.started = 1;
    return 1;
}

int rova_stop_ipcc()
{
    if (state.server.started == 0) {
        ROVA_LOG_INFO("already stopped rova ipcc \n");
        return 1;
    }
    rova_channel_stop(&state.server);
    rova_channel_close(&state.server);
    return 1;
}

int rova_ipcc_ack(void *answer)
{
    if (answer == nullptr) {
        ROVA_LOG_ERR("param is null \n");
        return -1;
    }
    ROVA_LOG_INFO("cmd result = %d \n", *static_cast<const uint8_t *>(answer));
    return rova_channel_acknowledge(&ipcc);
}

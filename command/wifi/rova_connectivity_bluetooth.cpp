#include "command/wifi/rova_connectivity_bluetooth.h"

#include "command/wifi/rova_bluetooth_le.h"
#include "command/wifi/rova_cmd_wireless.h"
#include "command/wifi/rova_nested_loop.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <platform/bluetooth.h>
#include <platform/sys.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

int g_dev_cnt;

namespace
{

constexpr char EDUTM_ON[] = "/usr/etc/bluetooth/bt-edutm-on.sh";
constexpr char EDUTM_OFF[] = "/usr/etc/bluetooth/bt-edutm-off.sh";
constexpr unsigned int DISCOVERY_MS = 10000;
constexpr useconds_t SETTLE_US = 500000;

enum : int { ENABLED, FAILED, DISABLED, DISABLE_FAILED, SEARCH_FOUND, SEARCH_FOUND_NONE };

// What the callback shares with the call that waits for it.
struct bt_wait {
    rova_nested_loop *bt_main_loop;
    int bt_result;
};

int bt_search_mode;
int bt_found_count;
guint bt_discovery_timer;

// ------------------------------------------------------------------------- events

void cancel_discovery()
{
    if (int ret = bluetooth_cancel_discovery(); ret < 0)
        ROVA_LOG_ERR("bluetooth_cancel_discovery returned failiure [0x%04x]",
                     static_cast<unsigned int>(ret));
}

void finish(bt_wait *wait, int result)
{
    wait->bt_result = result;
    wait->bt_main_loop->quit();
}

void adapter_enabled(const bluetooth_event *event, bt_wait *wait)
{
    if (event->result != 0)
        return finish(wait, FAILED);
    if (bluetooth_set_discoverable_mode(1, 0) == 0)
        return finish(wait, ENABLED);
    ROVA_LOG_ERR("bluetooth_set_discoverable_mode fail!");
    finish(wait, FAILED);
}

void adapter_disabled(const bluetooth_event *event, bt_wait *wait)
{
    finish(wait, event->result == 0 ? DISABLED : DISABLE_FAILED);
}

void discovery_started(const bluetooth_event *, bt_wait *)
{
    ROVA_LOG_RADIO("BR/EDR dev discovery started.\n");
}

void discovery_finished(const bluetooth_event *, bt_wait *wait)
{
    if (bt_discovery_timer != 0)
        wait->bt_main_loop->cancel(std::exchange(bt_discovery_timer, 0));
    if (bt_search_mode == 0)
        wait->bt_result = bt_found_count > 0 ? SEARCH_FOUND : SEARCH_FOUND_NONE;
    g_dev_cnt = std::exchange(bt_found_count, 0);
    wait->bt_main_loop->quit();
}

// One device is enough.
void device_found(const bluetooth_event *event, bt_wait *)
{
    if (const bluetooth_device *device = event->device; device != nullptr) {
        const uint8_t *at = device->address;
        ROVA_LOG_RADIO("BR/EDR dev [%s] [%2.2X:%2.2X:%2.2X:%2.2X:%2.2X:%2.2X]", device->name, at[0],
                       at[1], at[2], at[3], at[4], at[5]);
    }
    bt_found_count++;
    g_dev_cnt++;
    cancel_discovery();
}

struct event_row {
    int number;
    void (*handle)(const bluetooth_event *event, bt_wait *wait);
};

constexpr event_row EVENTS[] = {
    // clang-format off
    {BLUETOOTH_EVENT_ENABLED,            adapter_enabled},
    {BLUETOOTH_EVENT_DISABLED,           adapter_disabled},
    {BLUETOOTH_EVENT_DISCOVERY_STARTED,  discovery_started},
    {BLUETOOTH_EVENT_DISCOVERY_FINISHED, discovery_finished},
    {BLUETOOTH_EVENT_DEVICE_FOUND,       device_found},
    {BLUETOOTH_EVENT_DEVICE_FOUND_2,     device_found},
    // clang-format on
};

void event_callback(const bluetooth_event *event, void *user_data)
{
    ROVA_LOG_RADIO("Bluetooth Event : %d\n", event->number);
    for (const event_row &row : EVENTS)
        if (row.number == event->number)
            return row.handle(event, static_cast<bt_wait *>(user_data));
    ROVA_LOG_ERR("Invalid Event for ROVA : %d !!!\n", event->number);
}

// ------------------------------------------------------------------------- steps

bool call_failed(const char *call, int ret)
{
    if (ret < 0)
        ROVA_LOG_ERR("%s returned failiure [0x%04x]", call, static_cast<unsigned int>(ret));
    return ret < 0;
}

// Runs `work` while the callback is registered.
template <class work_fn> int with_events(bt_wait *wait, work_fn work)
{
    if (call_failed("bluetooth_register_callback",
                    bluetooth_register_callback(event_callback, wait)))
        return 1;
    const int failed = work(wait);
    call_failed("bluetooth_unregister_callback", bluetooth_unregister_callback());
    return failed;
}

// The same, unless the adapter is off already.
template <class work_fn> int with_events_unless_off(bt_wait *wait, work_fn work)
{
    const int adapter = bluetooth_check_adapter();
    if (call_failed("bluetooth_check_adapter", adapter))
        return 1;
    if (adapter != 0)
        return with_events(wait, work);
    ROVA_LOG_RADIO("BT is already off!!");
    return 0;
}

[[noreturn]] void run_child(const char *path)
{
    // The daemon blocks its ending signals in all threads; a script could not be ended then.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    char *const no_words[] = {nullptr};
    sys_execve(path, no_words, environ);
    ROVA_LOG_ERR("failed to run %s (%s) \n", path, rova_reason());
    _exit(1);
}

// 0, or -1 when there is no child; what becomes of it does not count.
int run_script(const char *path)
{
    const pid_t child = fork();
    if (child == 0)
        run_child(path);
    if (child < 0) {
        std::perror("fork failed");
        return -1;
    }
    ROVA_LOG_RADIO("parent : forked[%d]", child);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    ROVA_LOG_RADIO("child is terminated : %d", status);
    return 0;
}

// A way to switch the adapter off.
struct off_switch {
    const char *failure;
    int (*start)();
};

constexpr off_switch BY_SERVICE = {"Deactivation error", bluetooth_disable_adapter};
constexpr off_switch BY_SCRIPT = {"RF Test Mode Off error", [] { return run_script(EDUTM_OFF); }};

// Whether it was started, and an event came.
bool switch_off(const off_switch &off, const bt_wait *wait)
{
    if (int ret = off.start(); ret < 0) {
        ROVA_LOG_ERR("%s : %d\n", off.failure, ret);
        return false;
    }
    return wait->bt_main_loop->run();
}

bool switch_off_if_on(const off_switch &off, const bt_wait *wait)
{
    const int adapter = bluetooth_check_adapter();
    if (call_failed("bluetooth_check_adapter", adapter))
        return false;
    if (adapter != 1)
        return true;
    ROVA_LOG_RADIO("BT is already enabled! Now turning off BT first.");
    if (!switch_off(off, wait))
        return false;
    ROVA_LOG_RADIO("g_main_loop_quit called!");
    return true;
}

int switch_on(const off_switch &off, const bt_wait *wait)
{
    if (!switch_off_if_on(off, wait))
        return 1;
    if (int ret = bluetooth_enable_adapter(); ret < 0) {
        ROVA_LOG_ERR("Activation error : %d\n", ret);
        return 1;
    }
    if (!wait->bt_main_loop->run())
        return 1;
    ROVA_LOG_RADIO("Bluetooth Activation result [%d]\n", wait->bt_result);
    return wait->bt_result == ENABLED ? 0 : 1;
}

// ------------------------------------------------------------------------- commands

int activate(bt_wait *wait, int)
{
    ROVA_LOG_RADIO("Bluetooth Activation\n");
    return with_events(wait, [](bt_wait *events) { return switch_on(BY_SERVICE, events); });
}

gboolean end_discovery(void *)
{
    bt_discovery_timer = 0;
    if (bluetooth_is_discovering() != 0)
        cancel_discovery();
    return G_SOURCE_REMOVE;
}

bool start_discovery(const bt_wait *wait)
{
    if (call_failed("bluetooth_start_discovery", bluetooth_start_custom_discovery(1, 0, 0, 0)))
        return false;
    bt_discovery_timer = wait->bt_main_loop->after(DISCOVERY_MS, end_discovery, nullptr);
    return true;
}

int take_search_result(int result)
{
    if (result == SEARCH_FOUND)
        ROVA_LOG_RADIO("BT_FIND_SUCCESS");
    if (result == SEARCH_FOUND_NONE)
        ROVA_LOG_RADIO("BT_NOT_FIND_SUCCESS");
    return result == SEARCH_FOUND || result == SEARCH_FOUND_NONE ? 0 : 1;
}

// What an earlier search left, ended by a stop, is not of this one.
int search(bt_wait *wait, int mode)
{
    ROVA_LOG_RADIO("Search with ACK\n");
    bt_search_mode = mode == 1 ? 0 : 1;
    bt_found_count = 0;
    bt_discovery_timer = 0;
    const int failed = with_events(wait, [mode](const bt_wait *events) {
        if ((mode == 1 && !start_discovery(events)) || !events->bt_main_loop->run())
            return 1;
        ROVA_LOG_RADIO("Bluetooth Search result [%d]\n", events->bt_result);
        return 0;
    });
    return failed != 0 ? failed : take_search_result(wait->bt_result);
}

int deactivate(bt_wait *wait, int)
{
    ROVA_LOG_RADIO("BT Normal Deactivation\n");
    return with_events_unless_off(wait, [](const bt_wait *events) {
        if (!switch_off(BY_SERVICE, events))
            return 1;
        ROVA_LOG_RADIO("Bluetooth Deactivation result [%d]\n", events->bt_result);
        return events->bt_result == DISABLED ? 0 : 1;
    });
}

int rf_test_off(bt_wait *wait, int)
{
    ROVA_LOG_RADIO("RF Test Deactivation\n");
    const int failed = with_events_unless_off(wait, [](const bt_wait *events) {
        if (!switch_off(BY_SCRIPT, events))
            return 1;
        ROVA_LOG_RADIO("RF Test Mode Off result [%d]\n", events->bt_result);
        return events->bt_result == DISABLED ? 0 : 1;
    });
    if (failed == 0)
        sys_usleep(SETTLE_US);
    return failed;
}

int rf_test_on(bt_wait *wait, int)
{
    ROVA_LOG_RADIO("RF Test Mode On\n");
    const int failed =
        with_events(wait, [](bt_wait *events) { return switch_on(BY_SCRIPT, events); });
    if (failed != 0)
        return failed;
    if (int ret = run_script(EDUTM_ON); ret < 0) {
        ROVA_LOG_ERR("RF Test Mode On error : %d\n", ret);
        return 1;
    }
    return 0;
}

int audio_test_off(bt_wait *, int)
{
    ROVA_LOG_RADIO("Audio Test Deactivation\n");
    return 1;
}

int audio_test_on(bt_wait *, int)
{
    ROVA_LOG_RADIO("Audio Test Mode On\n");
    return 1;
}

struct command_row {
    int command;
    int mode;
    int (*run)(bt_wait *wait, int mode);
};

constexpr command_row COMMANDS[] = {
    // clang-format off
    {0, 0, activate},
    {1, 1, search},
    {1, 3, search},
    {2, 0, deactivate},
    {2, 1, rf_test_off},
    {2, 2, audio_test_off},
    {3, 0, rf_test_on},
    {4, 0, audio_test_on},
    // clang-format on
};

// ------------------------------------------------------------------------- low energy

constexpr int LE_TX = 5;
constexpr int LE_MORE = 6;
constexpr int LE_STOP = 9;
constexpr int RECEIVE = -1;

struct le_row {
    int command;
    int mode;
    const char *message;
    int type; // of the payload sent, or RECEIVE
    unsigned int megahertz;
};

constexpr le_row LE_TESTS[] = {
    // clang-format off
    {LE_TX,   0, "Out power CH 0\n",                         0x00, 2402},
    {LE_TX,   1, "Out power CH 19\n",                        0x00, 2440},
    {LE_TX,   2, "Out power CH 39\n",                        0x00, 2480},
    {LE_TX,   3, "Modulation Char - Payload 0x0F - CH 0\n",  0x0f, 2402},
    {LE_TX,   4, "Modulation Char - Payload 0x0F - CH 19\n", 0x0f, 2440},
    {LE_TX,   5, "Modulation Char - Payload 0x0F - CH 39\n", 0x0f, 2480},
    {LE_TX,   6, "Modulation Char - Payload 0xAA - CH 0\n",  0xaa, 2402},
    {LE_TX,   7, "Modulation Char - Payload 0xAA - CH 19\n", 0xaa, 2440},
    {LE_TX,   8, "Modulation Char - Payload 0xAA - CH 39\n", 0xaa, 2480},
    {LE_MORE, 0, "Carrier Feq CH 0\n",                       0xaa, 2402},
    {LE_MORE, 1, "Carrier Feq CH 19\n",                      0xaa, 2440},
    {LE_MORE, 2, "Carrier Feq CH 39\n",                      0xaa, 2480},
    {LE_MORE, 3, "In band emission CH 2\n",                  0x00, 2406},
    {LE_MORE, 4, "In band emission CH 19\n",                 0x00, 2440},
    {LE_MORE, 5, "In band emission CH 37\n",                 0x00, 2476},
    {LE_MORE, 6, "RX CH 0\n",                                RECEIVE, 2402},
    {LE_MORE, 7, "RX CH 19\n",                               RECEIVE, 2440},
    {LE_MORE, 8, "RX CH 37\n",                               RECEIVE, 2480},
    // clang-format on
};

int run_le_test(const le_row &test)
{
    ROVA_LOG_RADIO("%s", test.message);
    if (test.type == RECEIVE)
        return rova_bluetooth_le_set_rx(test.megahertz);
    return rova_bluetooth_le_set_tx(static_cast<unsigned int>(test.type), test.megahertz);
}

int run_le(int command, int mode)
{
    if (command == LE_MORE && mode == LE_STOP) {
        ROVA_LOG_RADIO("Stop RX/TX\n");
        return rova_bluetooth_le_reset();
    }
    for (const le_row &test : LE_TESTS)
        if (test.command == command && test.mode == mode)
            return run_le_test(test);
    return 1;
}

} // namespace

int process_FCBTTEST(int command, int mode, char *)
{
    ROVA_LOG_NOTICE("\033[33m[Enter] Bluetooth Test\n");
    ROVA_LOG_NOTICE("\033[33m================cmd %d, %d================", command, mode);
    rova_nested_loop loop;
    bt_wait wait = {&loop, 0};
    for (const command_row &row : COMMANDS)
        if (row.command == command && row.mode == mode)
            return row.run(&wait, mode);
    return run_le(command, mode);
}

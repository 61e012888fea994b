#include "command/wifi/rova_bluetooth_le.h"

#include "command/wifi/rova_cmd_wireless.h"

#include <dbus/dbus-glib-lowlevel.h>
#include <dbus/dbus-glib.h>
#include <dbus/dbus.h>

namespace
{

constexpr char SERVICE[] = "com.halvex.BluetoothTestmodeLe";
constexpr char OBJECT[] = "/com/halvex/BluetoothTestmodeLe";

DBusGConnection *bt_bus;
DBusGProxy *bt_proxy;
int bt_rx_test_ran;
unsigned int bt_rx_result;

// A call may also fail without an error.
int report(const char *call, GError *error)
{
    ROVA_LOG_ERR("%s failed (%s) \n", call, error != nullptr ? error->message : "no connection");
    g_clear_error(&error);
    return 1;
}

DBusConnection *connection()
{
    return dbus_g_connection_get_connection(bt_bus);
}

// Forgets a bus that has ended: its proxy would fail for ever.
void drop_dead_bus()
{
    if (bt_bus == nullptr || dbus_connection_read_write(connection(), 0))
        return;
    g_clear_object(&bt_proxy);
    dbus_g_connection_unref(bt_bus);
    bt_bus = nullptr;
}

bool connect()
{
    drop_dead_bus();
    if (bt_bus != nullptr)
        return true;
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    g_type_init();
    G_GNUC_END_IGNORE_DEPRECATIONS
    GError *error = nullptr;
    bt_bus = dbus_g_bus_get(DBUS_BUS_SYSTEM, &error);
    if (bt_bus == nullptr) {
        report("dbus_g_bus_get", error);
        return false;
    }
    // A bus that dies must not take the daemon along.
    dbus_connection_set_exit_on_disconnect(connection(), FALSE);
    bt_proxy = dbus_g_proxy_new_for_name(bt_bus, SERVICE, OBJECT, SERVICE);
    return true;
}

} // namespace

int rova_bluetooth_le_set_tx(unsigned int type, unsigned int value)
{
    GError *error = nullptr;
    if (!connect())
        return 1;
    if (!dbus_g_proxy_call(bt_proxy, "SetTx", &error, G_TYPE_UINT, type, G_TYPE_UINT, value,
                           G_TYPE_INVALID, G_TYPE_INVALID))
        return report("SetTx", error);
    return 0;
}

int rova_bluetooth_le_set_rx(unsigned int value)
{
    GError *error = nullptr;
    bt_rx_test_ran = 1;
    if (!connect())
        return 1;
    if (!dbus_g_proxy_call(bt_proxy, "SetRx", &error, G_TYPE_UINT, value, G_TYPE_INVALID,
                           G_TYPE_INVALID))
        return report("SetRx", error);
    return 0;
}

int rova_bluetooth_le_reset()
{
    GError *error = nullptr;
    if (!connect())
        return 1;
    if (!dbus_g_proxy_call(bt_proxy, "Reset", &error, G_TYPE_INVALID, G_TYPE_UINT, &bt_rx_result,
                           G_TYPE_INVALID))
        return report("Reset", error);
    if (bt_rx_test_ran != 0)
        ROVA_LOG_RADIO("RX test result [%u]\n", bt_rx_result);
    bt_rx_test_ran = 0;
    return 0;
}

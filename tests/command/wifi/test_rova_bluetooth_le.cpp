#include "command/wifi/rova_connectivity_bluetooth.h"
#include "tests/command/command_test.h"
#include "tests/support/process.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <gio/gio.h>
#include <mutex>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace test;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace
{

constexpr char SERVICE[] = "com.halvex.BluetoothTestmodeLe";
constexpr char OBJECT[] = "/com/halvex/BluetoothTestmodeLe";

// A process asks for the system bus's address only once, so that all buses have the same.
const std::string &bus_path()
{
    static const std::string path =
        std::filesystem::temp_directory_path() / ("rova_bus." + std::to_string(getpid()));
    return path;
}

std::string bus_address()
{
    return "unix:path=" + bus_path();
}

// A message bus of the test's own.
class Bus
{
public:
    explicit Bus(const Camera &camera)
        : daemon_({"dbus-daemon", "--nofork", "--print-address=1",
                   "--config-file=" + configure(camera)},
                  "", camera.path("/tmp/bus.out"))
    {
        ready_ = wait_for(
            [&] { return camera.read("/tmp/bus.out").find(bus_address()) != std::string::npos; });
    }
    ~Bus()
    {
        end();
        std::filesystem::remove(bus_path());
    }
    Bus(const Bus &) = delete;
    Bus &operator=(const Bus &) = delete;

    bool ready() const { return ready_; }
    void end()
    {
        if (daemon_.running())
            daemon_.signal(SIGKILL);
        daemon_.wait();
    }

private:
    static std::string configure(const Camera &camera)
    {
        camera.remove("/tmp/bus.out"); // what an earlier bus told
        camera.write("/tmp/bus.conf", "<busconfig><listen>" + bus_address() +
                                          "</listen><auth>EXTERNAL</auth>"
                                          "<policy context='default'><allow user='*'/>"
                                          "<allow own='*'/><allow send_destination='*'/>"
                                          "<allow receive_sender='*'/></policy></busconfig>");
        return camera.path("/tmp/bus.conf");
    }

    Process daemon_;
    bool ready_ = false;
};

// What the service does with a call.
enum class Manner { ANSWER, REFUSE, ANSWER_TEXT, ANSWER_NOTHING, KEEP_SILENT };

// The service's stand-in.  Calls arrive on a thread of GLib's own.
class Service
{
public:
    Service()
        : connection_(g_dbus_connection_new_for_address_sync(
              bus_address().c_str(),
              static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
              nullptr, nullptr, nullptr))
    {
        if (connection_ == nullptr)
            return;
        std::lock_guard guard(lock_);
        g_dbus_connection_add_filter(connection_, hear, this, nullptr);
        GVariant *owner = g_dbus_connection_call_sync(connection_, "org.freedesktop.DBus", "/",
                                                      "org.freedesktop.DBus", "RequestName",
                                                      g_variant_new("(su)", SERVICE, 0U), nullptr,
                                                      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        ready_ = owner != nullptr;
        g_clear_pointer(&owner, g_variant_unref);
    }
    ~Service()
    {
        if (connection_ == nullptr)
            return;
        g_dbus_connection_close_sync(connection_, nullptr, nullptr);
        g_object_unref(connection_);
    }
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    bool ready() const { return ready_; }

    void behave(Manner manner, unsigned int word = 0)
    {
        std::lock_guard guard(lock_);
        manner_ = manner;
        word_ = word;
    }
    // "SetTx (uint32 0, uint32 2402)" each.
    std::vector<std::string> calls()
    {
        std::lock_guard guard(lock_);
        return calls_;
    }

private:
    static GDBusMessage *hear(GDBusConnection *connection, GDBusMessage *message, gboolean incoming,
                              gpointer self)
    {
        const char *interface = g_dbus_message_get_interface(message);
        if (!incoming ||
            g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
            g_strcmp0(interface, SERVICE) != 0)
            return message;
        if (GDBusMessage *reply = static_cast<Service *>(self)->take(message)) {
            g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE,
                                           nullptr, nullptr);
            g_object_unref(reply);
        }
        g_object_unref(message);
        return nullptr;
    }

    GDBusMessage *take(GDBusMessage *message)
    {
        std::lock_guard guard(lock_);
        const std::string method = g_dbus_message_get_member(message);
        calls_.push_back(method + " " + text_of(g_dbus_message_get_body(message)));
        if (std::string(g_dbus_message_get_path(message)) != OBJECT || manner_ == Manner::REFUSE)
            return g_dbus_message_new_method_error(message, "com.halvex.Error", "the chip is busy");
        if (manner_ == Manner::KEEP_SILENT)
            return nullptr;
        GDBusMessage *reply = g_dbus_message_new_method_reply(message);
        if (manner_ == Manner::ANSWER_TEXT)
            g_dbus_message_set_body(reply, g_variant_new("(s)", "text"));
        if (manner_ == Manner::ANSWER && method == "Reset")
            g_dbus_message_set_body(reply, g_variant_new("(u)", word_));
        return reply;
    }

    static std::string text_of(GVariant *body)
    {
        if (body == nullptr)
            return "()";
        char *printed = g_variant_print(body, TRUE);
        const std::string text = printed;
        g_free(printed);
        return text;
    }

    GDBusConnection *connection_;
    bool ready_ = false;
    std::mutex lock_;
    Manner manner_ = Manner::ANSWER;
    unsigned int word_ = 0;
    std::vector<std::string> calls_;
};

int test_mode(int command, int mode)
{
    char buffer[526] = {};
    return process_FCBTTEST(command, mode, buffer);
}

} // namespace

class BluetoothLe : public CommandTest
{
protected:
    BluetoothLe() { setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_address().c_str(), 1); }
    ~BluetoothLe() override
    {
        service.reset();
        bus.reset();
        serve_pending();
    }

    // The main thread's part: it learns that a bus has ended.
    static void serve_pending()
    {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }

    void start_bus()
    {
        bus.emplace(camera);
        ASSERT_TRUE(bus->ready()) << camera.read("/tmp/bus.out");
    }
    void start_service()
    {
        start_bus();
        service.emplace();
        ASSERT_TRUE(service->ready());
    }
    void end_bus() { bus->end(); }

    // What a test logs behind its heading.
    std::vector<std::string> told_by(int command, int mode, int result)
    {
        new_messages();
        EXPECT_EQ(test_mode(command, mode), result) << command << ", " << mode;
        std::vector<std::string> lines = new_messages();
        lines.erase(lines.begin(), lines.begin() + 2);
        return lines;
    }

    std::optional<Bus> bus;
    std::optional<Service> service;
};

struct LeCase {
    int command;
    int mode;
    const char *message;
    const char *call;
};

constexpr LeCase LE_CASES[] = {
    // clang-format off
    {5, 0, "Out power CH 0",                         "SetTx (uint32 0, uint32 2402)"},
    {5, 1, "Out power CH 19",                        "SetTx (uint32 0, uint32 2440)"},
    {5, 2, "Out power CH 39",                        "SetTx (uint32 0, uint32 2480)"},
    {5, 3, "Modulation Char - Payload 0x0F - CH 0",  "SetTx (uint32 15, uint32 2402)"},
    {5, 4, "Modulation Char - Payload 0x0F - CH 19", "SetTx (uint32 15, uint32 2440)"},
    {5, 5, "Modulation Char - Payload 0x0F - CH 39", "SetTx (uint32 15, uint32 2480)"},
    {5, 6, "Modulation Char - Payload 0xAA - CH 0",  "SetTx (uint32 170, uint32 2402)"},
    {5, 7, "Modulation Char - Payload 0xAA - CH 19", "SetTx (uint32 170, uint32 2440)"},
    {5, 8, "Modulation Char - Payload 0xAA - CH 39", "SetTx (uint32 170, uint32 2480)"},
    {6, 0, "Carrier Feq CH 0",                       "SetTx (uint32 170, uint32 2402)"},
    {6, 1, "Carrier Feq CH 19",                      "SetTx (uint32 170, uint32 2440)"},
    {6, 2, "Carrier Feq CH 39",                      "SetTx (uint32 170, uint32 2480)"},
    {6, 3, "In band emission CH 2",                  "SetTx (uint32 0, uint32 2406)"},
    {6, 4, "In band emission CH 19",                 "SetTx (uint32 0, uint32 2440)"},
    {6, 5, "In band emission CH 37",                 "SetTx (uint32 0, uint32 2476)"},
    {6, 9, "Stop RX/TX",                             "Reset ()"},
    {6, 6, "RX CH 0",                                "SetRx (uint32 2402,)"},
    {6, 7, "RX CH 19",                               "SetRx (uint32 2440,)"},
    {6, 8, "RX CH 37",                               "SetRx (uint32 2480,)"},
    // clang-format on
};

TEST_F(BluetoothLe, EachModeLogsAndMakesItsCall)
{
    start_service();
    std::vector<std::string> calls;
    test_mode(6, 9); // what an earlier test received
    calls.emplace_back("Reset ()");
    for (const LeCase &row : LE_CASES) {
        EXPECT_THAT(told_by(row.command, row.mode, 0), ElementsAre(row.message));
        calls.emplace_back(row.call);
        EXPECT_EQ(service->calls(), calls);
    }
}

TEST_F(BluetoothLe, OtherModesFailWithoutACall)
{
    start_service();
    for (const auto &[command, mode] :
         {std::pair(5, -1), {5, 9}, {6, -1}, {6, 10}, {7, 0}, {1, 0}, {-1, 0}})
        EXPECT_THAT(told_by(command, mode, 1), IsEmpty());
    EXPECT_THAT(service->calls(), IsEmpty());
}

TEST_F(BluetoothLe, StoppingTellsTheWordOfAReceptionOnce)
{
    start_service();
    service->behave(Manner::ANSWER, 0xfffffffeU);
    EXPECT_EQ(test_mode(6, 6), 0);
    EXPECT_THAT(told_by(6, 9, 0), ElementsAre("Stop RX/TX", "RX test result [4294967294]"));
    EXPECT_THAT(told_by(6, 9, 0), ElementsAre("Stop RX/TX"));
    EXPECT_EQ(test_mode(5, 0), 0);
    EXPECT_THAT(told_by(6, 9, 0), ElementsAre("Stop RX/TX")) << "nothing was received";
}

TEST_F(BluetoothLe, WithoutABusEachCallFails)
{
    for (const auto &[command, mode] : {std::pair(5, 0), {6, 6}, {6, 9}}) {
        const auto lines = told_by(command, mode, 1);
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_THAT(lines[1], StartsWith("dbus_g_bus_get failed ("));
        EXPECT_THAT(lines[1], HasSubstr(bus_path()));
    }
}

TEST_F(BluetoothLe, ABusThatComesLaterIsFound)
{
    EXPECT_EQ(test_mode(5, 0), 1);
    start_service();
    EXPECT_EQ(test_mode(5, 0), 0);
    EXPECT_THAT(service->calls(), ElementsAre("SetTx (uint32 0, uint32 2402)"));
}

TEST_F(BluetoothLe, AServiceThatIsNotThereFailsAndMayComeLater)
{
    start_bus();
    EXPECT_THAT(told_by(5, 0, 1), ElementsAre("Out power CH 0", AllOf(StartsWith("SetTx failed ("),
                                                                      HasSubstr(SERVICE))));
    EXPECT_THAT(told_by(6, 6, 1), Contains(StartsWith("SetRx failed (")));
    EXPECT_THAT(told_by(6, 9, 1), Contains(StartsWith("Reset failed (")));
    service.emplace();
    ASSERT_TRUE(service->ready());
    EXPECT_EQ(test_mode(5, 0), 0);
    service.reset();
    EXPECT_THAT(told_by(5, 0, 1), Contains(StartsWith("SetTx failed ("))) << "it has ended";
}

TEST_F(BluetoothLe, AnErrorOfTheServiceIsToldInItsWords)
{
    start_service();
    service->behave(Manner::REFUSE);
    EXPECT_THAT(told_by(5, 0, 1),
                ElementsAre("Out power CH 0", "SetTx failed (the chip is busy) "));
    EXPECT_THAT(told_by(6, 6, 1), ElementsAre("RX CH 0", "SetRx failed (the chip is busy) "));
    EXPECT_THAT(told_by(6, 9, 1), ElementsAre("Stop RX/TX", "Reset failed (the chip is busy) "));
    service->behave(Manner::ANSWER, 7);
    EXPECT_THAT(told_by(6, 9, 0), Contains("RX test result [7]")) << "the stop is made up for";
}

TEST_F(BluetoothLe, AStopThatIsAnsweredWithoutAWordFails)
{
    start_service();
    for (const Manner manner : {Manner::ANSWER_TEXT, Manner::ANSWER_NOTHING}) {
        service->behave(manner);
        EXPECT_THAT(told_by(6, 9, 1), ElementsAre("Stop RX/TX", StartsWith("Reset failed (")));
    }
}

TEST_F(BluetoothLe, ABusThatDiedIsLeftForItsSuccessor)
{
    start_service();
    EXPECT_EQ(test_mode(5, 0), 0);
    end_bus();
    EXPECT_THAT(told_by(5, 0, 1), Contains(HasSubstr(" failed (")));
    serve_pending();
    EXPECT_THAT(told_by(5, 0, 1), Contains(StartsWith("dbus_g_bus_get failed (")));
    start_service();
    EXPECT_EQ(test_mode(5, 1), 0);
    EXPECT_THAT(service->calls(), ElementsAre("SetTx (uint32 0, uint32 2440)"));
}

// The daemon's main thread serves the connection while its server thread waits for the answer.
TEST_F(BluetoothLe, ABusThatDiesInTheMidstOfACallEndsIt)
{
    start_service();
    service->behave(Manner::KEEP_SILENT);
    auto result = std::async(std::launch::async, [] { return test_mode(6, 9); });
    ASSERT_TRUE(serve_until([&] { return !service->calls().empty(); }));
    end_bus();
    EXPECT_TRUE(serve_until(
        [&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(result.get(), 1);
    serve_pending();
    // The bus may find its service gone before it goes itself.
    EXPECT_THAT(messages(), Contains(AnyOf(StartsWith("Reset failed (Connection was disconnected"),
                                           StartsWith("Reset failed (Did not receive a reply"))));
    start_service();
    EXPECT_EQ(test_mode(5, 0), 0);
}

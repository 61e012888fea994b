// vcam: makes, drives and shows a virtual camera.
#include "tools/vcam/verb.h"

#include "tools/vcam/camera.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace vcam
{
namespace
{

// clang-format off
constexpr verb VERBS[] = {
    {"adj", "Show, set, compare and copy what the camera has learned on the line",
     "list 'WIFI_*'\nset SHIPPING_COUNTRY 5\nexport before.zip\ndiff before.zip", verb_adj},
    {"app", "Run the camera application in the foreground", "", verb_app},
    {"attr", "Read, write or script a file of the camera",
     "get /sys/devices/platform/m7-keys/keycode\n"
     "play /sys/devices/platform/m7-keys/keycode 0 0 28", verb_attr},
    {"battery", "Show the battery, set its voltage, or drain it",
     "7400\ndrain --from 8200 --to 6500 --steps 20", verb_battery},
    {"calls", "Show what the platform was told", "--name device_set_property --follow", verb_calls},
    {"card", "Insert, remove, lock or unlock the memory card", "remove\nlock", verb_card},
    {"chart", "Draw a picture of a chart with known content",
     "noise --seed 3 --out grey.png\nmot --noise 2", verb_chart},
    {"create", "Make a camera, or add what one lacks", "", verb_create},
    {"dial", "Move the mode or drive dial", "mode p\ndrive timer", verb_dial},
    {"fault", "Make platform calls fail", "pref_save -1 --at 3\n--clear pref_save", verb_fault},
    {"key", "Read, write, watch or list keys",
     "get memory/rova/power_off\nset memory/sysman/usb_status 2\nwatch", verb_key},
    {"log", "Show the file log or the platform log", "--follow\n--platform", verb_log},
    {"motion", "Set what the motion sensor measures",
     "model --rate 40 -25 10 --drift 1.5 -0.75 0.2 --noise 2 --from 20 --rise 0.004\n"
     "file samples.txt\noff", verb_motion},
    {"pc", "Send a command as the PC does and show the answer",
     "osd string 1 hello\n--number 0x10030000 2026 11 20 0", verb_pc},
    {"plug", "Plug in what a camera can be connected to", "usb\ngrip grip-battery", verb_plug},
    {"press", "Press a key and let it go", "menu\ns1 --hold 800", verb_press},
    {"property", "Read or write a device property", "get 17 7\nset 2 4 1", verb_property},
    {"radio", "Show or set the state of the radios",
     "wifi\nbluetooth devices '01:23:45:67:89:AB One' '10:32:54:76:98:BA Two'\n"
     "bluetooth adapter on\nwifi rssi -42\nnfc delay never", verb_radio},
    {"run", "Run a script and tell the result of each command", "line.adj", verb_run},
    {"screen", "Show the camera's screen", "--png screen.png\n--text", verb_screen},
    {"sensord", "Run the sensor service in the foreground", "", verb_sensord},
    {"start", "Start the camera's daemon and what runs beside it", "-- --test", verb_start},
    {"state", "Show the whole camera at a glance", "", verb_state},
    {"status", "Tell what is up, the mode and the last result", "",
     verb_status},
    {"stop", "Stop the camera's daemon and what runs beside it", "\n--kill", verb_stop},
    {"touch", "Touch the touch panel, or show its state", "400 240\nghost\n", verb_touch},
    {"turn", "Turn a rotary switch by clicks", "jog1 right 3", verb_turn},
    {"turn-camera", "Turn the camera into another position", "left", verb_turn_camera},
    {"unplug", "Undo what plug has done", "usb\nproximity nfc", verb_unplug},
    {"warm", "Show or set the camera's temperatures, or warm it along a curve",
     "45\n--from 20 --to 45 --steps 100", verb_warm},
};
// clang-format on

// Sorted, hence found by reading, and none twice.
constexpr bool verbs_are_sorted()
{
    for (std::size_t i = 1; i < std::size(VERBS); i++) {
        if (std::string_view(VERBS[i - 1].name) >= VERBS[i].name)
            return false;
    }
    return true;
}
static_assert(verbs_are_sorted());

const verb *find_verb(const std::string &name)
{
    const auto found = std::find_if(std::begin(VERBS), std::end(VERBS),
                                    [&](const verb &v) { return name == v.name; });
    return found == std::end(VERBS) ? nullptr : found;
}

std::string verb_list()
{
    std::string text = "Behind the options: VERB [ARGUMENT]...  Verbs:\n";
    for (const verb &v : VERBS) {
        char line[128];
        std::snprintf(line, sizeof(line), "  %-11s %s\n", v.name, v.summary);
        text += line;
    }
    return text + "\nvcam VERB --help tells more about a verb.";
}

std::string example_text(const verb &v)
{
    std::string text = "Example:";
    std::string rest = v.example;
    for (;;) {
        const std::size_t end = rest.find('\n');
        const std::string arguments = rest.substr(0, end);
        text += std::string("\n  vcam ") + v.name + (arguments.empty() ? "" : " ") + arguments;
        if (end == std::string::npos)
            return text;
        rest.erase(0, end + 1);
    }
}

// The camera where neither -C nor ROVA_SYSROOT names one.
fs::path default_camera()
{
    const char *sysroot = std::getenv("ROVA_SYSROOT");
    return sysroot != nullptr && *sysroot != '\0' ? sysroot : "camera";
}

int report(const std::string &text)
{
    std::fprintf(stderr, "vcam: %s\n", text.c_str());
    return TROUBLE;
}

// --help is told on standard output; a mistake in one line.
int end_of_parsing(const CLI::App &app, const CLI::ParseError &error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        return app.exit(error);
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return report(text + " (" + app.get_name() + " --help tells more)");
}

int run_verb(const verb &v, const invocation &in)
{
    CLI::App app(v.summary, std::string("vcam ") + v.name);
    app.footer(example_text(v));
    try {
        return v.run(in, app);
    } catch (const CLI::ParseError &error) {
        return end_of_parsing(app, error);
    }
}

void list_verbs()
{
    for (const verb &v : VERBS)
        std::puts(v.name);
}

int run(int argc, char **argv)
{
    CLI::App app("Makes, drives and shows a virtual camera: a directory in which rovad runs.",
                 "vcam");
    fs::path dir = default_camera();
    bool list = false;
    app.add_option("-C", dir, "The camera (default: $ROVA_SYSROOT, then ./camera)")
        ->type_name("DIR");
    app.add_flag("--list-verbs", list)->group("");
    app.footer(verb_list());
    app.prefix_command();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return end_of_parsing(app, error);
    }
    if (list) {
        list_verbs();
        return OK;
    }
    std::vector<std::string> words = app.remaining();
    if (words.empty())
        return report("no verb given (vcam --help tells the verbs)");
    const verb *v = find_verb(words.front());
    if (v == nullptr)
        return report("unknown verb '" + words.front() + "' (vcam --help tells the verbs)");
    words.erase(words.begin());
    return run_verb(*v, invocation(dir, words));
}

} // namespace

// CLI11 would call an unknown action a missing one.
static void refuse_unknown_action(const CLI::App &app, const std::vector<std::string> &arguments)
{
    // Groups of options are subcommands without a name.
    const auto actions =
        app.get_subcommands([](const CLI::App *sub) { return !sub->get_name().empty(); });
    if (actions.empty() || arguments.empty() || arguments.front().starts_with('-'))
        return;
    for (const CLI::App *action : actions) {
        if (action->get_name() == arguments.front())
            return;
    }
    throw CLI::ValidationError("unknown action '" + arguments.front() + "'");
}

void invocation::parse(CLI::App &app) const
{
    refuse_unknown_action(app, arguments_);
    // CLI11 takes its arguments from the back.
    app.parse(std::vector<std::string>(arguments_.rbegin(), arguments_.rend()));
}

void invocation::open(CLI::App &app) const
{
    parse(app);
    open_camera(dir);
}

} // namespace vcam

int main(int argc, char **argv)
{
    try {
        return vcam::run(argc, argv);
    } catch (const std::exception &error) {
        return vcam::report(error.what());
    }
}

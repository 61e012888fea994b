// vcam run: a script from its file to the verdict.
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/companion.h"
#include "tools/vcam/daemon.h"
#include "tools/vcam/follow.h"
#include "tools/vcam/process.h"
#include "tools/vcam/run_log.h"
#include "tools/vcam/screen_program.h"
#include "tools/vcam/script.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <map>
#include <unistd.h>

namespace vcam
{
namespace
{

constexpr std::size_t NAME_MAX_IN_MARKER = 39;
constexpr double UP_SECONDS = 30;
constexpr double END_SECONDS = 600;
constexpr char FILE_LOG[] = "/opt/share/rova/rova.log";
// What the daemon looks for on the card to choose its mode: no names for a script.
constexpr const char *MARKERS[] = {"info.tg", "info.tgw"};

using file_times = std::map<fs::path, std::pair<fs::file_time_type, std::uintmax_t>>;

// The marker takes 39 characters without blanks around them, and the shell copies the script.
void check_name(const std::string &name)
{
    constexpr char LETTERS[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-+,@=";
    if (name.size() > NAME_MAX_IN_MARKER)
        throw failure("'" + name + "': info.tg has room for 39 characters only");
    if (name.find_first_not_of(LETTERS) != std::string::npos)
        throw failure("'" + name + "': letters, digits and ._-+,@= make a script's name");
    if (std::find(std::begin(MARKERS), std::end(MARKERS), name) != std::end(MARKERS))
        throw failure("'" + name + "' is a marker file's name on the card, not a script's");
}

void put_on_card(const fs::path &script)
{
    const fs::path card = on_pc("/sdcard");
    if (!fs::is_directory(card))
        throw failure("no card is inserted");
    const fs::path copy = card / script.filename();
    std::error_code error;
    if (!fs::equivalent(script, copy, error))
        fs::copy_file(script, copy, fs::copy_options::overwrite_existing);
    write_file(card / "info.tg", script.filename().string() + "\n");
}

bool is_csv(const fs::path &path)
{
    std::string extension = path.extension();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".csv";
}

file_times csv_files()
{
    file_times files;
    std::error_code error;
    for (const fs::directory_entry &entry :
         fs::recursive_directory_iterator(on_pc("/sdcard"), error)) {
        if (is_csv(entry.path()) && entry.is_regular_file(error))
            files[entry.path()] = {entry.last_write_time(error), entry.file_size(error)};
    }
    return files;
}

void print_files(const file_times &before)
{
    for (const auto &[path, state] : csv_files()) {
        const auto old = before.find(path);
        if (old == before.end() || old->second != state)
            std::printf("file: %s\n", path.c_str());
    }
    if (fs::exists(on_pc(FILE_LOG)))
        std::printf("log: %s\n", on_pc(FILE_LOG).c_str());
}

// A script may hold any bytes; those that would command the terminal are told as question marks.
std::string printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return text;
}

// The line that a person at a terminal sees below the results, rewritten all the time.
class progress
{
public:
    void show(const run_log &log, std::size_t total)
    {
        const std::string text = std::to_string(log.counts().ended()) + "/" +
                                 std::to_string(total) + "  " + printable(log.running());
        if (!terminal_ || text == shown_)
            return;
        clear();
        std::printf("%s", text.c_str());
        std::fflush(stdout);
        shown_ = text;
    }

    void clear()
    {
        if (terminal_ && !shown_.empty())
            std::printf("\r\033[K");
        shown_.clear();
    }

private:
    const bool terminal_ = isatty(STDOUT_FILENO) != 0;
    std::string shown_;
};

void print_result(const command_result &result)
{
    const std::string text = printable(result.text);
    if (result.verdict == command_verdict::skipped)
        std::printf("%4d  %-7s %10s  %s\n", result.number, "skipped", "", text.c_str());
    else
        std::printf("%4d  %-7s %8.2f s  %s\n", result.number,
                    result.verdict == command_verdict::ok ? "OK" : "NG", result.seconds,
                    text.c_str());
    std::fflush(stdout);
}

class script_run
{
public:
    // `screenshot`, unless empty, receives the screen as the last command left it.
    script_run(const fs::path &script, const fs::path &screenshot)
        : commands_(script_commands(script)), screenshot_(screenshot),
          lines_(virt::file("dlog"), tail::from::end), log_(commands_, virt::speed()),
          calls_start_(call_log_size()), marker_("/tmp/" + script.filename().string())
    {
    }

    // 0, or a text that says why the run has not come to its end.
    std::string follow(daemon_process &daemon)
    {
        const daemon_process::state state = daemon.wait_until_up(UP_SECONDS);
        if (state == daemon_process::state::late)
            return end_early(daemon, "rovad did not come up in time");
        const auto at_its_end = [&] {
            daemon.tell_ended_companions();
            return read() || daemon.has_ended();
        };
        const bool through = wait_until(at_its_end, 1e9) && !daemon.has_ended();
        if (through && log_.script_missing())
            return end_early(daemon, "the camera could not open the script");
        if (through)
            return end_after_commands(daemon);
        if (end_asked())
            return end_early(daemon, "interrupted");
        return tell_death(daemon);
    }

    const run_log &log() const { return log_; }

private:
    // True when nothing more is to come: the client thread has ended, all it sent is done.
    bool read()
    {
        std::optional<std::string> line;
        while ((line = lines_.next())) {
            if (const std::optional<command_result> result = log_.take(*line, marker_)) {
                progress_.clear();
                print_result(*result);
            }
        }
        progress_.show(log_, commands_.size());
        const std::size_t ended = log_.counts().ended();
        return log_.client_has_ended() && (ended >= commands_.size() || log_.client_gave_up());
    }

    // SIGTERM leaves the queue alone: what waits there still runs, or is skipped after a failure.
    std::string end_after_commands(daemon_process &daemon)
    {
        std::string missed = take_screenshot(); // the daemon's end takes the screen down
        kill(daemon.pid(), SIGTERM);
        const bool ended = wait_until([&] { return daemon.has_ended(); }, END_SECONDS);
        read();
        progress_.clear();
        if (ended)
            return missed;
        return end_early(daemon, end_asked() ? "interrupted" : "rovad did not end in time");
    }

    // "", or why there is none: the daemon is to be stopped all the same.
    std::string take_screenshot() const
    {
        try {
            if (!screenshot_.empty())
                save_screen(screenshot_);
            return "";
        } catch (const failure &error) {
            return error.what();
        }
    }

    std::string end_early(daemon_process &daemon, const std::string &why)
    {
        forget_interrupts(); // one more ends the patience
        if (!daemon.has_ended())
            ask_to_stop();
        if (!wait_until([&] { return daemon.has_ended(); }, END_SECONDS))
            kill(daemon.pid(), SIGKILL);
        read();
        progress_.clear();
        return why;
    }

    std::string tell_death(const daemon_process &daemon)
    {
        read();
        progress_.clear();
        std::string last;
        if (!log_.running().empty())
            last = ", during: " + log_.running();
        else if (!log_.last().empty())
            last = ", after: " + log_.last();
        if (was_switched_off(calls_start_))
            return "the camera was switched off" + last;
        if (last.empty())
            std::fputs(daemon.output().c_str(), stderr);
        return "rovad ended before the script" + last;
    }

    const std::vector<std::string> commands_;
    const fs::path screenshot_;
    tail lines_;
    run_log log_;
    const std::uintmax_t calls_start_;
    const std::string marker_;
    progress progress_;
};

} // namespace

int verb_run(const invocation &in, CLI::App &app)
{
    fs::path script, program, screenshot;
    companion_options companions;
    app.add_option("SCRIPT", script, "The script, put on the card and named in info.tg")
        ->required()
        ->check(CLI::ExistingFile);
    app.add_option("--png", screenshot, "Draw the screen as it stands behind the last command")
        ->type_name("FILE");
    app.add_option("--rovad", program, "The daemon's program")->type_name("FILE");
    companions.add_to(app);
    in.open(app);
    check_name(script.filename());
    if (daemon_pid() > 0)
        throw failure("rovad runs already; vcam stop ends it");
    const file_times before = csv_files();
    script_run run(script, screenshot);
    put_on_card(script);
    catch_interrupts();
    daemon_process daemon(program, {}, companions.chosen());
    const std::string trouble = run.follow(daemon);
    daemon.stop_companions();
    print_files(before);
    const run_counts counts = run.log().counts();
    std::printf("%zu commands: %zu OK, %zu NG, %zu skipped\n", counts.ended(), counts.ok, counts.ng,
                counts.skipped);
    std::fflush(stdout);
    if (!trouble.empty())
        throw failure(trouble);
    return counts.ok == counts.ended() ? OK : NG;
}

} // namespace vcam

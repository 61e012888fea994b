// vcam pc: the PC at the other end of the USB cable.
#include "common/rova_ptp_keys.h"
#include "platform/vconf.h"
#include "platform/virtual/keys.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <cinttypes>
#include <cstdio>
#include <iterator>
#include <poll.h>

namespace vcam
{
namespace
{

constexpr char DATA_FILE[] = "/var/run/memory/private/pmode_shutter_data";
constexpr uint32_t PLAIN_ANSWER = 0x10000002;

constexpr const char *NUMBER_KEYS[] = {ROVA_KEY_PMODE_PROTOCOL2, ROVA_KEY_PMODE_PROTOCOL3,
                                       ROVA_KEY_PMODE_PROTOCOL4, ROVA_KEY_PMODE_PROTOCOL5};

struct answer {
    uint32_t word[3];
    int stream_type;
    std::string stream;
};

void check_written(int result)
{
    if (result < 0)
        throw failure("the keys of the PC link cannot be written");
}

// The number goes last: it is the trigger.
void send_number(const std::string &number, const std::vector<std::string> &words)
{
    if (words.size() > std::size(NUMBER_KEYS))
        throw failure("a predefined command takes at most four numbers");
    const int trigger = read_word32(number);
    std::vector<int> values(std::size(NUMBER_KEYS), 0);
    for (std::size_t i = 0; i < words.size(); i++)
        values[i] = read_word32(words[i]);
    for (std::size_t i = 0; i < values.size(); i++)
        check_written(vconf_set_int(NUMBER_KEYS[i], values[i]));
    check_written(vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, trigger));
}

int number_of(const char *key)
{
    const std::optional<virt::Key> found = virt::get_key(key);
    return found ? found->number : 0;
}

answer read_answer()
{
    answer got = {};
    const char *const keys[] = {ROVA_KEY_PMODE_PARAM1, ROVA_KEY_PMODE_PARAM2,
                                ROVA_KEY_PMODE_PARAM3};
    for (std::size_t i = 0; i < std::size(keys); i++)
        got.word[i] = static_cast<uint32_t>(number_of(keys[i]));
    got.stream_type = number_of(ROVA_KEY_PMODE_STREAM_TYPE);
    const std::optional<virt::Key> stream = virt::get_key(ROVA_KEY_PMODE_STREAM);
    got.stream = stream ? stream->text : "";
    return got;
}

// Param1 is the end of an answer, also when it has the value it had before; one that comes ahead of
// our own command belongs to another.
class answer_watch
{
public:
    explicit answer_watch(const char *trigger) : trigger_(trigger)
    {
        if (!watch_.valid())
            throw failure("keys cannot be watched");
    }

    bool answered()
    {
        pollfd ready = {watch_.fd(), POLLIN, 0};
        if (poll(&ready, 1, 0) <= 0)
            return false;
        for (const virt::KeyChange &change : watch_.read()) {
            sent_ = sent_ || change.key.name == trigger_;
            if (sent_ && change.key.name == ROVA_KEY_PMODE_PARAM1)
                return true;
        }
        return false;
    }

private:
    virt::KeyWatch watch_;
    std::string trigger_;
    bool sent_ = false;
};

answer ask(const std::string &number, const std::vector<std::string> &words, double seconds)
{
    answer_watch watch(number.empty() ? ROVA_KEY_PMODE : ROVA_KEY_PMODE_PROTOCOL1);
    catch_interrupts();
    if (number.empty())
        check_written(vconf_set_str(ROVA_KEY_PMODE, join_words(words).c_str()));
    else
        send_number(number, words);
    const pid_t daemon = daemon_pid();
    bool answered = false;
    wait_until([&] { return (answered = watch.answered()) || !process_runs(daemon); }, seconds);
    if (answered || watch.answered())
        return read_answer();
    if (end_asked())
        throw failure("interrupted");
    if (!process_runs(daemon))
        throw failure("rovad ended before it answered");
    throw failure("no answer in time; rovad gives none to a command that it does not know");
}

// An answer that brings a number has no word for its verdict; the file log has it, written before.
bool is_ok(const answer &got)
{
    if (got.word[0] == PLAIN_ANSWER)
        return got.word[1] == 0;
    const std::string log = read_file(on_pc("/opt/share/rova/rova.log")).value_or("");
    const std::size_t at = log.rfind("resp : ");
    return at == std::string::npos || log.compare(at, 9, "resp : NG") != 0;
}

void print_stream(const answer &got)
{
    if (got.stream_type == 0)
        return;
    std::puts(got.stream.c_str());
    if (got.stream_type != 1)
        return;
    const std::optional<std::string> text = read_file(on_pc(got.stream));
    if (text)
        std::fwrite(text->data(), 1, text->size(), stdout);
    else
        std::fprintf(stderr, "vcam: the camera has no file '%s'\n", got.stream.c_str());
}

} // namespace

int verb_pc(const invocation &in, CLI::App &app)
{
    std::vector<std::string> words;
    std::string number, data;
    double seconds = 10;
    app.add_option("WORD", words, "The command line; with --number up to four numbers");
    app.add_option("--number", number, "Send the predefined command of this number")
        ->type_name("N");
    app.add_option("--data", data, "Data that goes with the command")
        ->check(CLI::ExistingFile)
        ->type_name("FILE");
    app.add_option("--timeout", seconds, "How long to wait for the answer")
        ->check(CLI::Validator(check_seconds, ""))
        ->type_name("SECONDS");
    in.open(app);
    if (words.empty() && number.empty())
        throw failure("neither a command line nor --number");
    if (daemon_pid() < 0)
        throw failure("rovad is not running");
    if (!data.empty())
        write_file(on_pc(DATA_FILE), *read_file(data));
    const answer got = ask(number, words, seconds);
    std::printf("0x%08" PRIx32 " 0x%08" PRIx32 " 0x%08" PRIx32 " %s\n", got.word[0], got.word[1],
                got.word[2], is_ok(got) ? "OK" : "NG");
    print_stream(got);
    return is_ok(got) ? OK : NG;
}

} // namespace vcam

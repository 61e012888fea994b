#include "tools/vcam_app/commands.h"

#include "platform/virtual/app.h"
#include "platform/virtual/calls.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "tools/vcam_app/afi.h"
#include "tools/vcam_app/still.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <pthread.h>
#include <string>
#include <strings.h>
#include <vector>

namespace vcam_app
{
namespace
{

namespace fs = std::filesystem;

constexpr char FORMAT_KEY[] = "memory/sysman/mmc_format";

// Families that the library carries out.
constexpr const char *INSPECTION[] = {"mot", "dust", "noise", "movie", "afi_adj"};

// As the channels compare words.
bool same(const std::string &word, const char *other)
{
    return strcasecmp(word.c_str(), other) == 0;
}

bool is_inspection(const std::string &word)
{
    return std::any_of(std::begin(INSPECTION), std::end(INSPECTION),
                       [&](const char *family) { return same(word, family); });
}

bool is_scan(const std::vector<std::string> &words)
{
    return words.size() > 2 && same(words[0], "afi_adj") && words[2] == "scan";
}

// The card's folder stays: it is where the card is mounted.
bool empty_card()
{
    const fs::path card = virt::path("/sdcard");
    std::error_code error;
    for (fs::directory_iterator entry(card, error), end; !error && entry != end;
         entry.increment(error))
        fs::remove_all(entry->path(), error);
    return !error;
}

// The key's write tells the end, also to whom it told the last one.
bool format_card()
{
    return virt::set_int(FORMAT_KEY, empty_card() ? 0 : 1);
}

// What the camera does at a command; false makes its answer NG.
struct deed {
    const char *cmd;
    const char *subcommand;
    bool (*run)();
};

constexpr deed DEEDS[] = {
    {"file", "format", format_card},
    {"capture", "still", take_still},
    {"st", "still", take_still},
};

bool do_it(const std::vector<std::string> &words)
{
    for (const deed &row : DEEDS) {
        if (words.size() > 1 && same(words[0], row.cmd) && same(words[1], row.subcommand))
            return row.run();
    }
    return true;
}

// Holds the channel's thread, as a command that hangs does.
[[noreturn]] void hang()
{
    virt::wait_for_app_end();
    pthread_exit(nullptr); // without an acknowledgement
}

} // namespace

int run_command(const cmd_data *record, rova_cmd_response *answer)
{
    const std::vector<std::string> words = virt::command_words(record);
    end_samples();
    // An answer of the person at the camera goes before that of the library.
    if (is_inspection(words[0]) && !virt::has_app_answer(record)) {
        virt::record("app_command", {"app", words});
        if (is_scan(words))
            begin_samples();
        return 0;
    }
    if (virt::app_answer("app", record, answer) == virt::AppAnswer::never)
        hang();
    if (answer->result == 0 && !do_it(words))
        answer->result = 1;
    return 1;
}

} // namespace vcam_app

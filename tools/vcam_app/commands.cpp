#include "tools/vcam_app/commands.h"

#include "platform/virtual/app.h"
#include "platform/virtual/calls.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "tools/vcam_app/still.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <pthread.h>
#include <string>
#include <string_view>
#include <strings.h>

namespace vcam_app
{
namespace
{

namespace fs = std::filesystem;

constexpr char FORMAT_KEY[] = "memory/sysman/mmc_format";

// Families that the library carries out.
constexpr const char *INSPECTION[] = {"mot", "dust", "noise", "movie", "afi_adj"};

std::atomic<bool> giving_up = false;

template <std::size_t size> std::string word(const char (&text)[size])
{
    return {text, strnlen(text, size)};
}

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool is_inspection(const cmd_data &record)
{
    return std::any_of(std::begin(INSPECTION), std::end(INSPECTION), [&](const char *family) {
        return strcasecmp(family, word(record.cmd).c_str()) == 0;
    });
}

// An answer of the person at the camera goes before that of the library.
bool has_answer(const cmd_data &record)
{
    const std::string place = virt::file("app/answer/" + lower(word(record.cmd)));
    std::error_code error;
    return fs::exists(place, error) || fs::exists(place + "." + lower(word(record.p[0])), error);
}

void note(const cmd_data &record)
{
    nlohmann::json words = {word(record.cmd)};
    for (uint32_t i = 0; i < std::min<std::size_t>(record.p_count, std::size(record.p)); i++)
        words.push_back(word(record.p[i]));
    virt::record("app_command", {"app", words});
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

bool do_it(const cmd_data &record)
{
    for (const deed &row : DEEDS) {
        if (strcasecmp(row.cmd, word(record.cmd).c_str()) == 0 &&
            word(record.p[0]) == row.subcommand)
            return row.run();
    }
    return true;
}

// Holds the channel's thread, as a command that hangs does.
[[noreturn]] void hang()
{
    giving_up.wait(false);
    pthread_exit(nullptr); // without an acknowledgement
}

} // namespace

int run_command(const cmd_data *record, rova_cmd_response *answer)
{
    if (is_inspection(*record) && !has_answer(*record)) {
        note(*record);
        return 0;
    }
    if (virt::app_answer("app", record, answer) == virt::AppAnswer::never)
        hang();
    if (answer->result == 0 && !do_it(*record))
        answer->result = 1;
    return 1;
}

void give_up_unanswered()
{
    giving_up = true;
    giving_up.notify_all();
}

} // namespace vcam_app

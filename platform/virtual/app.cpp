#include "platform/virtual/app.h"

#include "platform/sys.h"
#include "platform/virtual/calls.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <semaphore.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace virt
{

namespace
{

// The wire formats, as another program would know them.
constexpr size_t word_size = 32;
constexpr size_t count_at = 32;
constexpr size_t words_at = 36;
constexpr uint32_t most_words = 10;

constexpr size_t answer_size = 526;
constexpr size_t type_at = 0;
constexpr size_t result_at = 1;
constexpr size_t params_at = 2;
constexpr size_t stream_at = 14;
constexpr size_t stream_text_size = answer_size - stream_at - sizeof(uint16_t);

struct Answer {
    std::array<char, answer_size> bytes = {};
    AppAnswer kind = AppAnswer::given;
    unsigned int late = 0; // milliseconds
    bool crash = false;
};

std::string word_at(const char *command, size_t at)
{
    const char *word = command + at;
    return {word, strnlen(word, word_size)};
}

// A name within the folder: a word that is none, like those of a record of junk, has no file.
bool is_name(const std::string &word)
{
    return !word.empty() && word[0] != '.' && word.find('/') == std::string::npos;
}

std::string lower(std::string word)
{
    for (char &letter : word)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return word;
}

bool exists(const std::string &place)
{
    return access(place.c_str(), F_OK) == 0;
}

// The file that says what these words are answered with; "" when there is none.
std::string answer_file(const std::vector<std::string> &words)
{
    if (!is_name(words[0]))
        return "";
    const std::string place = file("app/answer/" + lower(words[0]));
    if (words.size() > 1 && is_name(words[1])) {
        std::string own = place + "." + lower(words[1]);
        if (exists(own))
            return own;
    }
    return exists(place) ? place : "";
}

// The next word of a line, decimal or 0x...; false when it is no number within the limits.
bool next_number(std::istringstream &line, uint32_t &number, long long lowest, long long highest)
{
    std::string word;
    line >> word;
    char *end = nullptr;
    const long long value = std::strtoll(word.c_str(), &end, 0);
    number = static_cast<uint32_t>(value);
    return !word.empty() && *end == '\0' && value >= lowest && value <= highest;
}

template <typename Value> void put(Answer &answer, size_t at, const Value &value)
{
    std::memcpy(answer.bytes.data() + at, &value, sizeof(value));
}

bool put_params(Answer &answer, std::istringstream &line)
{
    uint32_t params[3] = {};
    for (uint32_t &param : params)
        if (!next_number(line, param, INT32_MIN, UINT32_MAX))
            return false;
    put<uint8_t>(answer, type_at, 1);
    put(answer, params_at, params);
    return true;
}

bool put_stream(Answer &answer, std::istringstream &line)
{
    uint32_t type = 0;
    if (!next_number(line, type, 0, UINT16_MAX))
        return false;
    put(answer, stream_at, static_cast<uint16_t>(type));
    std::string text;
    std::getline(line >> std::ws, text);
    text.resize(stream_text_size - 1); // and a terminator
    std::memcpy(answer.bytes.data() + stream_at + sizeof(uint16_t), text.data(), text.size());
    return true;
}

bool put_result(Answer &answer, std::istringstream &line)
{
    uint32_t result = 0;
    if (!next_number(line, result, 0, UINT8_MAX))
        return false;
    put(answer, result_at, static_cast<uint8_t>(result));
    return true;
}

template <uint8_t result> bool put_verdict(Answer &answer, std::istringstream &)
{
    put(answer, result_at, result);
    return true;
}

bool put_late(Answer &answer, std::istringstream &line)
{
    uint32_t late = 0;
    if (!next_number(line, late, 0, INT32_MAX))
        return false;
    answer.late = late;
    return true;
}

bool put_never(Answer &answer, std::istringstream &)
{
    answer.kind = AppAnswer::never;
    return true;
}

bool put_crash(Answer &answer, std::istringstream &)
{
    return answer.crash = true;
}

// False: the words behind it are not what it needs, and nothing was done.
struct Keyword {
    const char *word;
    bool (*apply)(Answer &answer, std::istringstream &line);
};

constexpr Keyword keywords[] = {
    {"ok", put_verdict<0>}, {"ng", put_verdict<1>}, {"result", put_result}, {"params", put_params},
    {"stream", put_stream}, {"late", put_late},     {"never", put_never},   {"crash", put_crash},
};

// False when the line is not understood.  What begins with # is skipped.
bool apply_line(Answer &answer, const std::string &text)
{
    std::istringstream line(text);
    std::string word;
    if (!(line >> word) || word[0] == '#')
        return true;
    for (const Keyword &keyword : keywords)
        if (lower(word) == keyword.word)
            return keyword.apply(answer, line);
    return false;
}

Answer read_answer(const std::string &place)
{
    Answer answer;
    if (place.empty())
        return answer;
    const std::string name = camera_path(place);
    struct stat status = {};
    if (access(place.c_str(), R_OK) != 0 || stat(place.c_str(), &status) != 0 ||
        !S_ISREG(status.st_mode)) {
        std::fprintf(stderr, "%s: cannot be read\n", name.c_str());
        return answer;
    }
    std::istringstream lines(read_file(place));
    for (std::string line; std::getline(lines, line);)
        if (!apply_line(answer, line))
            std::fprintf(stderr, "%s: '%s' is not understood\n", name.c_str(), line.c_str());
    return answer;
}

// Posted once the application ends, and never taken: all who wait pass it on.
sem_t *given_up()
{
    static sem_t *const only = [] {
        auto *made = new sem_t; // never destroyed: threads may outlive main()
        sem_init(made, 0, 0);
        return made;
    }();
    return only;
}

// False when the application ended meanwhile.
bool wait(unsigned int milliseconds)
{
    timespec end = {};
    sys_deadline(milliseconds, &end);
    int result = 0;
    do
        result = sem_clockwait(given_up(), CLOCK_REALTIME, &end);
    while (result != 0 && errno == EINTR);
    if (result == 0)
        sem_post(given_up());
    return result != 0;
}

} // namespace

std::vector<std::string> command_words(const void *command)
{
    const char *bytes = static_cast<const char *>(command);
    uint32_t count = 0;
    std::memcpy(&count, bytes + count_at, sizeof(count));
    std::vector<std::string> words = {word_at(bytes, 0)};
    for (uint32_t at = 0; at < std::min(count, most_words); at++)
        words.push_back(word_at(bytes, words_at + at * word_size));
    return words;
}

bool has_app_answer(const void *command)
{
    return !answer_file(command_words(command)).empty();
}

AppAnswer app_answer(const char *channel, const void *command, void *answer)
{
    const std::vector<std::string> words = command_words(command);
    record("app_command", {channel, words});
    const Answer told = read_answer(answer_file(words));
    if (told.late != 0 && !wait(told.late))
        return AppAnswer::never;
    if (told.crash)
        std::abort();
    if (told.kind == AppAnswer::given)
        std::memcpy(answer, told.bytes.data(), answer_size);
    return told.kind;
}

void wait_for_app_end()
{
    while (sem_wait(given_up()) != 0 && errno == EINTR) {
    }
    sem_post(given_up());
}

void end_app_answers()
{
    sem_post(given_up());
}

} // namespace virt

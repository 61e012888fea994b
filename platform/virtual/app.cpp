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
#include <sstream>
#include <string>
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

// The command's word and its parameters.
std::vector<std::string> words_of(const char *command)
{
    uint32_t count = 0;
    std::memcpy(&count, command + count_at, sizeof(count));
    std::vector<std::string> words = {word_at(command, 0)};
    for (uint32_t at = 0; at < std::min(count, most_words); at++)
        words.push_back(word_at(command, words_at + at * word_size));
    return words;
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

std::string text_of_answer(const std::vector<std::string> &words)
{
    if (!is_name(words[0]))
        return "";
    const std::string place = file("app/answer/" + lower(words[0]));
    if (words.size() > 1 && is_name(words[1])) {
        const std::string own = place + "." + lower(words[1]);
        if (access(own.c_str(), F_OK) == 0)
            return read_file(own);
    }
    return read_file(place);
}

// The next word of a line as a number, decimal or 0x...; 0 when there is none.
uint32_t next_number(std::istringstream &line)
{
    std::string word;
    line >> word;
    return static_cast<uint32_t>(std::strtoll(word.c_str(), nullptr, 0));
}

template <typename Number> void put(Answer &answer, size_t at, Number number)
{
    std::memcpy(answer.bytes.data() + at, &number, sizeof(number));
}

void put_params(Answer &answer, std::istringstream &line)
{
    put<uint8_t>(answer, type_at, 1);
    for (size_t at = 0; at < 3; at++)
        put(answer, params_at + at * sizeof(uint32_t), next_number(line));
}

void put_stream(Answer &answer, std::istringstream &line)
{
    put(answer, stream_at, static_cast<uint16_t>(next_number(line)));
    std::string text;
    std::getline(line >> std::ws, text);
    text.resize(stream_text_size - 1); // and a terminator
    std::memcpy(answer.bytes.data() + stream_at + sizeof(uint16_t), text.data(), text.size());
}

void put_result(Answer &answer, uint32_t result)
{
    put(answer, result_at, static_cast<uint8_t>(result));
}

struct Keyword {
    const char *word;
    void (*apply)(Answer &answer, std::istringstream &line);
};

constexpr Keyword keywords[] = {
    {"ok", [](Answer &answer, std::istringstream &) { put_result(answer, 0); }},
    {"ng", [](Answer &answer, std::istringstream &) { put_result(answer, 1); }},
    {"result",
     [](Answer &answer, std::istringstream &line) { put_result(answer, next_number(line)); }},
    {"params", put_params},
    {"stream", put_stream},
    {"late", [](Answer &answer, std::istringstream &line) { answer.late = next_number(line); }},
    {"never", [](Answer &answer, std::istringstream &) { answer.kind = AppAnswer::never; }},
    {"crash", [](Answer &answer, std::istringstream &) { answer.crash = true; }},
};

void apply_line(Answer &answer, const std::string &text)
{
    std::istringstream line(text);
    std::string word;
    if (!(line >> word))
        return;
    for (const Keyword &keyword : keywords)
        if (word == keyword.word)
            return keyword.apply(answer, line);
    std::fprintf(stderr, "virtual/app/answer: '%s' is not understood\n", text.c_str());
}

Answer parse_answer(const std::string &text)
{
    Answer answer;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        apply_line(answer, line);
    return answer;
}

void wait(unsigned int milliseconds)
{
    timespec end = {};
    sys_deadline(milliseconds, &end);
    while (clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

} // namespace

AppAnswer app_answer(const char *channel, const void *command, void *answer)
{
    const std::vector<std::string> words = words_of(static_cast<const char *>(command));
    record("app_command", {channel, words});
    const Answer told = parse_answer(text_of_answer(words));
    if (told.late != 0)
        wait(told.late);
    if (told.crash)
        std::abort();
    if (told.kind == AppAnswer::given)
        std::memcpy(answer, told.bytes.data(), answer_size);
    return told.kind;
}

} // namespace virt

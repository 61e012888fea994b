#include "platform/virtual/motion.h"

#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <span>
#include <sstream>
#include <vector>

namespace virt
{

namespace
{

constexpr char SENSOR[] = "/dev/lsm";
constexpr unsigned long READ_AXES = 0x800c6c01;
constexpr unsigned long READ_TEMPERATURE = 0x80046c03;
constexpr int LOWEST = -128, HIGHEST = 127; // degrees that the sensor can tell
constexpr double LARGEST = 1e9;             // of what a motion is made of
constexpr long long LAST_READING = 1'000'000'000'000'000;

std::string place_of(MotionKind kind)
{
    return file(kind == MotionKind::samples ? "motion/samples" : "motion/model");
}

std::string position_place()
{
    return file("motion/position");
}

int whole_degrees(double degrees)
{
    return static_cast<int>(std::clamp<double>(std::floor(degrees), LOWEST, HIGHEST));
}

// ------------------------------------------------------------------------- lines

std::vector<std::string> words_of(const std::string &line)
{
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

bool says_nothing(const std::string &line)
{
    const std::vector<std::string> words = words_of(line);
    return words.empty() || words.front().starts_with('#');
}

bool read_number_word(const std::string &word, double &number)
{
    const char *end = word.data() + word.size();
    const auto read = std::from_chars(word.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && std::abs(number) <= LARGEST;
}

bool read_number_word(const std::string &word, int32_t &number)
{
    const char *end = word.data() + word.size();
    const auto read = std::from_chars(word.data(), end, number);
    return read.ec == std::errc() && read.ptr == end;
}

template <typename Number>
bool read_numbers(std::span<const std::string> words, std::span<Number> numbers)
{
    return words.size() == numbers.size() &&
           std::equal(words.begin(), words.end(), numbers.begin(),
                      [](const std::string &word, Number &number) {
                          return read_number_word(word, number);
                      });
}

std::optional<MotionSample> sample_of(const std::string &line)
{
    const std::vector<std::string> words = words_of(line);
    MotionSample sample = {};
    if (words.size() == 4 && read_numbers<int32_t>(std::span(words).first(3), sample.axes) &&
        read_number_word(words[3], sample.degrees))
        return sample;
    return std::nullopt;
}

struct Model {
    std::array<double, 3> rate = {}, drift = {}; // drift: per degree, from 0 degrees on
    double noise = 0;                            // the most that a sample is off, either way
    double from = 25, rise = 0;                  // degrees of the first sample, more with each
    double seed = 1;
};

bool read_model_line(const std::string &line, Model &model)
{
    const std::vector<std::string> words = words_of(line);
    const std::pair<const char *, std::span<double>> fields[] = {
        {"rate", model.rate},       {"drift", model.drift},     {"noise", {&model.noise, 1}},
        {"from", {&model.from, 1}}, {"rise", {&model.rise, 1}}, {"seed", {&model.seed, 1}},
    };
    for (const auto &[name, numbers] : fields)
        if (words.front() == name)
            return read_numbers(std::span(words).subspan(1), numbers) && model.noise >= 0;
    return false;
}

// The first line that `understood` refuses; "" for none.
template <typename Function> std::string first_wrong(const std::string &text, Function understood)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (!says_nothing(line) && !understood(line))
            return line;
    return "";
}

void complain(MotionKind kind, const std::string &what)
{
    std::fprintf(stderr, "%s: not understood: %s\n", place_of(kind).c_str(), what.c_str());
}

// ------------------------------------------------------------------------- readings

struct Reading {
    long long next; // where the one behind it begins: its number in a model, bytes in samples
    MotionSample sample;
};

// -1 to 1, evenly spread: the same for the same seed and number.
double random_at(double seed, uint64_t number)
{
    uint64_t bits = std::bit_cast<uint64_t>(seed) + (number + 1) * 0x9e3779b97f4a7c15ULL;
    bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9ULL;
    bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebULL;
    bits ^= bits >> 31;
    return std::ldexp(static_cast<double>(bits >> 11), -52) - 1;
}

Reading model_reading(const Model &model, long long number)
{
    Reading found = {number + 1, {{}, model.from + model.rise * static_cast<double>(number)}};
    for (std::size_t axis = 0; axis < found.sample.axes.size(); axis++) {
        const double off =
            model.noise * random_at(model.seed, 3 * static_cast<uint64_t>(number) + axis);
        const double rate = model.rate[axis] + model.drift[axis] * found.sample.degrees + off;
        found.sample.axes[axis] =
            static_cast<int32_t>(std::clamp<double>(std::round(rate), INT32_MIN, INT32_MAX));
    }
    return found;
}

std::optional<Reading> next_of_model(const std::optional<Reading> &before)
{
    Model model;
    const std::string wrong =
        first_wrong(read_file(place_of(MotionKind::model)),
                    [&](const std::string &line) { return read_model_line(line, model); });
    if (wrong.empty())
        return model_reading(model, before ? before->next : 0);
    complain(MotionKind::model, wrong);
    return std::nullopt;
}

// The last sample stays.
std::optional<Reading> next_of_samples(const std::optional<Reading> &before)
{
    std::ifstream lines(place_of(MotionKind::samples));
    long long at = before ? before->next : 0;
    lines.seekg(at);
    for (std::string line; std::getline(lines, line);) {
        at += static_cast<long long>(line.size()) + 1;
        if (says_nothing(line))
            continue;
        if (const auto sample = sample_of(line))
            return Reading{at, *sample};
        complain(MotionKind::samples, line);
        return std::nullopt;
    }
    if (!before)
        complain(MotionKind::samples, "no sample");
    return before;
}

std::optional<Reading> next_reading(MotionKind kind, const std::optional<Reading> &before)
{
    return kind == MotionKind::samples ? next_of_samples(before) : next_of_model(before);
}

// ------------------------------------------------------------------------- position

std::optional<Reading> read_position(const Descriptor &position)
{
    char text[256] = {};
    if (pread(position.get(), text, sizeof(text) - 1, 0) <= 0)
        return std::nullopt;
    std::istringstream numbers(text);
    Reading found = {};
    auto &[x, y, z] = found.sample.axes;
    if (!(numbers >> found.next >> x >> y >> z >> found.sample.degrees) || found.next < 0 ||
        found.next > LAST_READING)
        return std::nullopt;
    return found;
}

bool write_position(const Descriptor &position, const Reading &reading)
{
    char text[256];
    const auto &[x, y, z] = reading.sample.axes;
    const int length = std::snprintf(text, sizeof(text), "%lld %d %d %d %.17g\n", reading.next, x,
                                     y, z, reading.sample.degrees);
    return pwrite(position.get(), text, static_cast<std::size_t>(length), 0) == length &&
           ftruncate(position.get(), length) == 0;
}

bool show_temperature(double degrees)
{
    return replace_file(path(THERMISTOR), thermistor_text(whole_degrees(degrees)));
}

// Writing the thermistor costs more than all else here: only where its degree changes.
bool thermistor_follows(const std::optional<Reading> &before, const Reading &now)
{
    const int degrees = whole_degrees(now.sample.degrees);
    return (before && whole_degrees(before->sample.degrees) == degrees) ||
           show_temperature(degrees);
}

// 0 or the errno of the reading.
int take_sample(MotionKind kind, MotionSample &sample)
{
    const Descriptor position(open(position_place().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!position.lock())
        return EIO;
    const std::optional<Reading> before = read_position(position);
    const std::optional<Reading> now = next_reading(kind, before);
    if (!now)
        return EINVAL;
    if (!thermistor_follows(before, *now) || !write_position(position, *now))
        return EIO;
    sample = now->sample;
    return 0;
}

int give_axes(MotionKind kind, void *argument)
{
    MotionSample sample = {};
    const int error = take_sample(kind, sample);
    if (error == 0)
        std::memcpy(argument, sample.axes.data(), sizeof(sample.axes));
    return error;
}

// A signed byte in a word of 16 bits; before any reading that of the sample to come.
int give_temperature(MotionKind kind, void *argument)
{
    std::optional<MotionSample> sample = latest_motion_sample();
    if (!sample) {
        const auto first = next_reading(kind, std::nullopt);
        if (!first)
            return EINVAL;
        sample = first->sample;
    }
    const uint32_t word = static_cast<uint8_t>(whole_degrees(sample->degrees));
    std::memcpy(argument, &word, sizeof(word));
    return 0;
}

} // namespace

std::optional<int> motion_ioctl(const std::string &node, unsigned long request, void *argument)
{
    const bool known = request == READ_AXES || request == READ_TEMPERATURE;
    if (node != SENSOR || !known || argument == nullptr)
        return std::nullopt;
    const int saved = errno;
    const std::optional<MotionKind> kind = motion_kind();
    int error = 0;
    if (kind)
        error =
            request == READ_AXES ? give_axes(*kind, argument) : give_temperature(*kind, argument);
    errno = error == 0 ? saved : error;
    if (!kind)
        return std::nullopt;
    return error == 0 ? 0 : -1;
}

std::string motion_mistake(MotionKind kind, const std::string &text)
{
    if (kind == MotionKind::model) {
        Model model;
        return first_wrong(text, [&](const auto &line) { return read_model_line(line, model); });
    }
    int samples = 0;
    const std::string wrong = first_wrong(text, [&](const std::string &line) {
        samples++;
        return sample_of(line).has_value();
    });
    return wrong.empty() && samples == 0 ? "no sample" : wrong;
}

bool set_motion(MotionKind kind, const std::string &text)
{
    if (!motion_mistake(kind, text).empty())
        return false;
    end_motion();
    if (!replace_file(place_of(kind), text))
        return false;
    const auto first = next_reading(kind, std::nullopt);
    return first && show_temperature(first->sample.degrees);
}

void end_motion()
{
    for (const MotionKind kind : {MotionKind::samples, MotionKind::model})
        unlink(place_of(kind).c_str());
    unlink(position_place().c_str());
}

// Samples go before a model.
std::optional<MotionKind> motion_kind()
{
    for (const MotionKind kind : {MotionKind::samples, MotionKind::model})
        if (access(place_of(kind).c_str(), F_OK) == 0)
            return kind;
    return std::nullopt;
}

std::string motion_text(MotionKind kind)
{
    return read_file(place_of(kind));
}

std::optional<MotionSample> latest_motion_sample()
{
    const Descriptor position(open(position_place().c_str(), O_RDONLY | O_CLOEXEC));
    if (!position.lock())
        return std::nullopt;
    const std::optional<Reading> reading = read_position(position);
    return reading ? std::optional(reading->sample) : std::nullopt;
}

// The thermistor is read as text and as up to ten words of 32 bits whose mean counts, zeros aside:
// two words of text and a third that makes the mean of the three right serve both readers.
std::string thermistor_text(int degrees)
{
    const int root = degrees + 1482, range = 2676588 - root * root;
    const int raw = degrees < 0 ? (range + 468) / 469 : range / 469; // readers cut to whole degrees
    uint32_t words[3] = {};
    char text[sizeof(words)];
    std::snprintf(text, sizeof(text), "%-7d\n", raw);
    std::memcpy(words, text, 8);
    words[2] = 3 * static_cast<uint32_t>(raw) - words[0] - words[1];
    return {reinterpret_cast<const char *>(words), sizeof(words)};
}

} // namespace virt

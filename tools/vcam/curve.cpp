#include "tools/vcam/curve.h"

#include "tools/vcam/number.h"

#include <cmath>

namespace vcam
{

static constexpr int MOST_STEPS = 100000;

curve_options::curve_options(CLI::App &app, const std::string &unit, int least, int most)
{
    const auto add = [&](const char *name, std::string &text, const char *summary, int low,
                         int high) {
        const auto check = [=](const std::string &word) { return check_range(word, low, high); };
        return app.add_option(name, text, summary)->check(CLI::Validator(check, ""));
    };
    CLI::Option *from = add("--from", from_, "The first of a curve", least, most)->type_name(unit);
    CLI::Option *to = add("--to", to_, "The last of it", least, most)->type_name(unit);
    CLI::Option *steps =
        add("--steps", steps_, "How many readings it takes", 2, MOST_STEPS)->type_name("N");
    from->needs(to)->needs(steps);
    to->needs(from);
    steps->needs(from);
}

std::vector<int> curve_options::values() const
{
    const int first = read_word32(from_), last = read_word32(to_), steps = read_word32(steps_);
    std::vector<int> values;
    for (int step = 0; step < steps; step++)
        values.push_back(
            static_cast<int>(std::lround(first + double(last - first) * step / (steps - 1))));
    return values;
}

std::string check_range(const std::string &text, int least, int most)
{
    const std::optional<long long> number = to_number(text);
    if (number && *number >= least && *number <= most)
        return "";
    return "'" + text + "' is no number from " + std::to_string(least) + " to " +
           std::to_string(most);
}

} // namespace vcam

// Values that go from one to another in even steps.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace vcam
{

// What --from, --to and --steps say.
class curve_options
{
public:
    // All three are needed when one of them is given; both ends lie within least and most.
    curve_options(CLI::App &app, const std::string &unit, int least, int most);

    bool given() const { return !from_.empty(); }
    // The first is `from`, the last `to`, rounded between them.
    std::vector<int> values() const;

private:
    std::string from_, to_, steps_;
};

// "" when the text is a number from least to most.
std::string check_range(const std::string &text, int least, int most);

} // namespace vcam

// What vcam state and vcam radio tell: names, values and what they mean.
#pragma once

#include <string>
#include <vector>

namespace vcam
{

struct state_row {
    std::string name, value, meaning;
};

using state_table = std::vector<state_row>;

inline constexpr char NOTHING[] = "-"; // to read

// Prints the rows below a heading, the columns in line; what is long is cut.
void print_table(state_table table);

} // namespace vcam

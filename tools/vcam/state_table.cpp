#include "tools/vcam/state_table.h"

#include <algorithm>
#include <cstdio>

namespace vcam
{
namespace
{

constexpr std::size_t WIDEST = 40; // bytes of a value

// On one line; what is longer is cut between characters.
std::string in_short(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' '; }, ' ');
    if (text.size() <= WIDEST)
        return text;
    std::size_t end = WIDEST - 3;
    while ((text[end] & 0xc0) == 0x80)
        end--;
    return text.substr(0, end) + "...";
}

std::size_t width(const state_table &table, std::string state_row::*column)
{
    std::size_t widest = 0;
    for (const state_row &row : table)
        widest = std::max(widest, (row.*column).size());
    return widest;
}

} // namespace

void print_table(state_table table)
{
    table.insert(table.begin(), {"NAME", "VALUE", "MEANING"});
    for (state_row &row : table)
        row.value = in_short(row.value);
    const std::size_t names = width(table, &state_row::name) + 2;
    const std::size_t values = width(table, &state_row::value) + 2;
    for (state_row &row : table) {
        row.name.resize(names, ' ');
        if (!row.meaning.empty())
            row.value.resize(values, ' ');
        std::printf("%s%s%s\n", row.name.c_str(), row.value.c_str(), row.meaning.c_str());
    }
}

} // namespace vcam

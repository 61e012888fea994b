#include "tools/vcam/adj_item.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_proc_mark_handler.h"
#include "platform/virtual/pref.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <numeric>

namespace vcam
{
namespace
{

constexpr char HEX[] = "hex:";
constexpr std::size_t LONGEST_TEXT = 128;
constexpr std::size_t SHOWN_BYTES = 8;
constexpr std::size_t NEAR_NAMES = 4;

void add_marks(std::vector<adj_item> &items)
{
    for (const proc_mark_info *row = rova_proc_mark_info; std::strcmp(row->name, "end") != 0; row++)
        items.push_back(
            {row->name, ROVA_PREF_ID_LINE, row->id, 1,
             row->id == ROVA_PROC_MARK_STEP_LABEL ? adj_item::kind::number : adj_item::kind::mark});
}

void add_adjdata(std::vector<adj_item> &items)
{
    for (const adjdata_part &part : rova_adjdata_parts()) {
        for (const adjdata_info *row = part.items; row->size != 0; row++)
            items.push_back({row->name, static_cast<int>(part.pref_id), row->id, row->size,
                             rova_adjdata_is_number(row->size) ? adj_item::kind::number
                                                               : adj_item::kind::bytes});
    }
}

std::vector<adj_item> all_items()
{
    std::vector<adj_item> items;
    add_marks(items);
    add_adjdata(items);
    return items;
}

// How many characters have to be changed, added or left out to make one text the other.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < a.size(); i++) {
        std::size_t before = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); j++) {
            const std::size_t change = before + (a[i] == b[j] ? 0 : 1);
            before = row[j + 1];
            row[j + 1] = std::min({change, row[j] + 1, before + 1});
        }
    }
    return row.back();
}

std::string upper_case(std::string text)
{
    for (char &letter : text)
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    return text;
}

// The nearest first: names a slip away, and names that hold the text.
std::vector<std::string> near_names(const std::string &name)
{
    const std::string wanted = upper_case(name);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const adj_item &item : adj_items()) {
        const std::size_t slips = distance(wanted, item.name);
        const bool holds = wanted.size() > 2 && item.name.find(wanted) != std::string::npos;
        if (slips <= std::min<std::size_t>(2, wanted.size() / 2) || holds)
            found.emplace_back(slips, item.name);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(found.size(), NEAR_NAMES); i++)
        names.push_back(found[i].second);
    return names;
}

bool all_zero(std::string_view bytes)
{
    return bytes.find_first_not_of('\0') == std::string_view::npos;
}

bool is_printable(char letter)
{
    return letter >= ' ' && letter <= '~';
}

std::string hex_digits(std::string_view bytes, const char *between)
{
    std::string text;
    for (const char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(byte));
        text += (text.empty() ? "" : between) + std::string(digits);
    }
    return text;
}

// Without the zeros behind the last other byte: writing fills them up.
std::string whole_hex(std::string_view bytes)
{
    return hex_digits(bytes.substr(0, bytes.find_last_not_of('\0') + 1), "");
}

unsigned mark_value(std::string_view bytes)
{
    return static_cast<unsigned char>(bytes.front());
}

int number_value(std::string_view bytes)
{
    return rova_adjdata_number(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::string shown_bytes(std::string_view bytes)
{
    if (all_zero(bytes))
        return "all zero";
    if (const std::optional<std::string> text = text_of(bytes))
        return '"' + *text + '"';
    return hex_digits(bytes.substr(0, SHOWN_BYTES), " ") +
           (bytes.size() > SHOWN_BYTES ? " ..." : "");
}

// The item's bytes as one number, at its full width.
std::string bit_pattern(std::string_view bytes)
{
    return "0x" + hex_digits(std::string(bytes.rbegin(), bytes.rend()), "");
}

// Little-endian, as wide as the item.
std::string number_bytes(long long number, std::size_t size)
{
    std::string bytes;
    for (std::size_t i = 0; i < size; i++)
        bytes += static_cast<char>(number >> (8 * i) & 0xff);
    return bytes;
}

std::string mark_bytes(const std::string &value)
{
    const int letter = rova_proc_mark_value(value.c_str());
    const std::optional<long long> number = letter >= 0 ? letter : to_number(value);
    if (!number || *number < 0 || *number > UINT8_MAX)
        throw failure("'" + value + "' is no mark: N, E, P or a number from 0 to 255");
    return number_bytes(*number, 1);
}

// In hexadecimal also as the bit pattern of a negative number.
std::string signed_bytes(const adj_item &item, const std::string &value)
{
    const long long end = 1LL << (8 * item.size - 1);
    const std::optional<long long> number = to_number(value);
    if (!number)
        throw failure("'" + value + "' is no number, as " + item.name + " is");
    if (*number < -end || *number >= (is_hex(value) ? 2 * end : end))
        throw failure("'" + value + "' is out of range: " + item.name + " holds " +
                      std::to_string(-end) + " to " + std::to_string(end - 1));
    return number_bytes(*number, item.size);
}

// Pairs of digits, with or without blanks between them.
std::string bytes_of_hex(const std::string &value)
{
    std::string digits = value.substr(std::strlen(HEX)), bytes;
    std::erase_if(digits, [](unsigned char letter) { return std::isspace(letter) != 0; });
    const auto is_digit = [](unsigned char letter) { return std::isxdigit(letter) != 0; };
    if (digits.size() % 2 != 0 || !std::all_of(digits.begin(), digits.end(), is_digit))
        throw failure("what stands behind '" + std::string(HEX) + "' is no list of bytes");
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

} // namespace

const std::vector<adj_item> &adj_items()
{
    static const std::vector<adj_item> items = all_items();
    return items;
}

const adj_item &find_item(const std::string &name)
{
    for (const adj_item &item : adj_items()) {
        if (item.name == name)
            return item;
    }
    const std::vector<std::string> names = near_names(name);
    throw failure("no item '" + name + "' (" +
                  (names.empty() ? "vcam adj list tells all" : "near: " + join_words(names)) + ")");
}

std::optional<std::string> text_of(std::string_view bytes)
{
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    if (text.size() > LONGEST_TEXT || !all_zero(bytes.substr(text.size())) ||
        !std::all_of(text.begin(), text.end(), is_printable))
        return std::nullopt;
    return std::string(text);
}

std::string plain_value(const adj_item &item, std::string_view bytes)
{
    switch (item.type) {
    case adj_item::kind::number:
        return std::to_string(number_value(bytes));
    case adj_item::kind::mark: {
        // "U" stands for many values, and none of them could be set with it.
        const std::string letter = rova_proc_mark_text(static_cast<int>(mark_value(bytes)));
        return rova_proc_mark_value(letter.c_str()) >= 0 ? letter
                                                         : std::to_string(mark_value(bytes));
    }
    case adj_item::kind::bytes:
        break;
    }
    const std::optional<std::string> text = text_of(bytes);
    return text && !text->starts_with(HEX) ? *text : HEX + whole_hex(bytes);
}

std::string shown_value(const adj_item &item, std::string_view bytes)
{
    switch (item.type) {
    case adj_item::kind::number:
        return std::to_string(number_value(bytes)) + " (" + bit_pattern(bytes) + ")";
    case adj_item::kind::mark:
        return rova_proc_mark_text(static_cast<int>(mark_value(bytes))) +
               (" (" + bit_pattern(bytes) + ")");
    case adj_item::kind::bytes:
        break;
    }
    return shown_bytes(bytes);
}

nlohmann::json json_value(const adj_item &item, std::string_view bytes)
{
    switch (item.type) {
    case adj_item::kind::number:
        return {{"value", number_value(bytes)}};
    case adj_item::kind::mark:
        return {{"value", mark_value(bytes)},
                {"mark", rova_proc_mark_text(static_cast<int>(mark_value(bytes)))}};
    case adj_item::kind::bytes:
        break;
    }
    nlohmann::json value = {{"hex", whole_hex(bytes)}};
    if (const std::optional<std::string> text = text_of(bytes))
        value["text"] = *text;
    return value;
}

std::string item_bytes(const adj_item &item, const std::string &value)
{
    switch (item.type) {
    case adj_item::kind::number:
        return signed_bytes(item, value);
    case adj_item::kind::mark:
        return mark_bytes(value);
    case adj_item::kind::bytes:
        break;
    }
    return filled_bytes(item, value.starts_with(HEX) ? bytes_of_hex(value) : value);
}

std::string filled_bytes(const adj_item &item, std::string bytes)
{
    // A number cut short would be another number.
    if (bytes.size() > item.size ||
        (item.type != adj_item::kind::bytes && bytes.size() != item.size))
        throw failure(item.name + " has " + std::to_string(item.size) + " bytes, not " +
                      std::to_string(bytes.size()));
    bytes.resize(item.size, '\0');
    return bytes;
}

} // namespace vcam

// What vcam adj shows and sets: the items of adjustment data, and the marks of the line with the
// step label before them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vcam
{

struct adj_item {
    enum class kind { number, mark, bytes };

    std::string name;
    int partition;
    std::uint64_t id;
    std::size_t size;
    kind type;

    // Where its bytes stand in the partition's data.
    std::size_t offset() const { return static_cast<std::uint32_t>(id); }
};

// By partition and place.
const std::vector<adj_item> &adj_items();
// By its exact name; the failure for an unknown one tells the names that are near.
const adj_item &find_item(const std::string &name);

// A value from `item.size` bytes.  For a script: what item_bytes() takes; for a person: on one
// short line; for a program: the members that hold the value.
std::string plain_value(const adj_item &item, std::string_view bytes);
std::string shown_value(const adj_item &item, std::string_view bytes);
nlohmann::json json_value(const adj_item &item, std::string_view bytes);

// The text that the bytes are: printable, then zeros only.  Zeros alone are the empty text.
std::optional<std::string> text_of(std::string_view bytes);

// `item.size` bytes from a value as a person writes it, or from a file's bytes; fails where it
// does not fit.
std::string item_bytes(const adj_item &item, const std::string &value);
std::string filled_bytes(const adj_item &item, std::string bytes);

} // namespace vcam

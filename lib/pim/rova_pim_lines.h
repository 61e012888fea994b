// Configuration files of the picture tests: value lines that are told by their place alone.
//
// One reader at a time, on the command thread; nothing is allocated.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

inline constexpr std::size_t PIM_FILE_SIZE = 25600;
inline constexpr std::size_t PIM_LINES = 200;
inline constexpr std::size_t PIM_LINE_SIZE = 256; // with its NUL
inline constexpr int PIM_ROW_VALUES = 10;         // the most that a row prints

extern char pLnTemp[PIM_FILE_SIZE + 2]; // the file, a NUL and a line feed
extern char pLnData[PIM_LINES][PIM_LINE_SIZE];
extern char tLn[PIM_LINE_SIZE + 2]; // the line in hand

// An open file; `path` is the caller's.
struct rova_pim_lines {
    const char *path;
    int32_t size;     // bytes
    std::size_t next; // of pLnData
};

// Where in a record values go; of no size: nowhere.
struct rova_pim_field {
    std::size_t offset;
    std::size_t size;
};

// The members of a record from `first` to `last`, which lie side by side.
#define ROVA_PIM_FIELDS(record, first, last)                                                       \
    (rova_pim_field{offsetof(record, first),                                                       \
                    offsetof(record, last) + sizeof(record::last) - offsetof(record, first)})
#define ROVA_PIM_FIELD(record, member) ROVA_PIM_FIELDS(record, member, member)
inline constexpr rova_pim_field PIM_DROPPED = {0, 0};

// What a label says of a value, or nothing.  Counted, since not every compiler knows of a function
// in another file that its address is not null before the program is linked.
struct rova_pim_word {
    constexpr rova_pim_word(std::nullptr_t) {}
    constexpr rova_pim_word(const char *(*of)(int32_t)) : text(of), count(1) {}

    const char *(*text)(int32_t) = nullptr;
    int count = 0;
};

// One value line.
struct rova_pim_row {
    std::string_view form; // "%s", or up to 8 "%d" or "%f" with a blank between
    rova_pim_field field;
    const char *label;             // printed with the values; NULL: nothing is printed
    rova_pim_word word;            // of the first value
    rova_pim_field shown = {0, 0}; // values to print in place of those read, if of a size
};

constexpr int rova_pim_row_values(const rova_pim_row &row)
{
    return static_cast<int>(std::ranges::count(row.form, '%'));
}

// How many values a label names; "%%" prints itself.
constexpr int rova_pim_label_values(std::string_view label)
{
    int values = 0;
    for (std::size_t i = 0; (i = label.find('%', i)) != std::string_view::npos; i++) {
        if (label.substr(i, 2) == "%%")
            i++;
        else
            values++;
    }
    return values;
}

// The label names the values that are shown, and the word where there is one.
constexpr bool rova_pim_label_fits(const rova_pim_row &row)
{
    if (row.label == nullptr)
        return true;
    const auto shown = static_cast<int>(row.shown.size / 4);
    const int values = shown != 0 ? shown : rova_pim_row_values(row);
    return rova_pim_label_values(row.label) == values + row.word.count;
}

// For a static_assert: every row's field holds what the form reads, inside of the record, and its
// label names no more and no less.
template <std::size_t N>
constexpr bool rova_pim_rows_are_sound(const rova_pim_row (&rows)[N], std::size_t record_size)
{
    for (const rova_pim_row &row : rows) {
        const std::size_t bytes = static_cast<std::size_t>(rova_pim_row_values(row)) * 4;
        const bool fits = row.form == "%s" ? row.field.size >= 2 && row.field.size <= PIM_LINE_SIZE
                                           : row.field.size == bytes || row.field.size == 0;
        if (bytes == 0 || !fits || !rova_pim_label_fits(row) ||
            row.field.offset + row.field.size > record_size ||
            row.shown.offset + row.shown.size > record_size || row.shown.size > PIM_ROW_VALUES * 4)
            return false;
    }
    return true;
}

// The same for all tables of a record.
template <std::size_t... N>
constexpr bool rova_pim_tables_are_sound(std::size_t record_size,
                                         const rova_pim_row (&...tables)[N])
{
    return (rova_pim_rows_are_sound(tables, record_size) && ...);
}

// Reads the file and splits it.  0, or -1 with a report: it cannot be opened or read, is empty, or
// is longer, or has more or longer lines, than the format has room for.
int rova_pim_lines_read(const char *path, rova_pim_lines &lines);

// Whether a line holds values; else it is a comment or empty.
bool rova_pim_is_value_line(std::string_view line);

// The first word of the line in hand.
void rova_pim_line_word(std::span<char> word);

// Takes the next value line into tLn.  0, or -1 with a report when there is none.
int rova_pim_lines_next(rova_pim_lines &lines);

// Reads a line for each row into the record, which has been cleared: what cannot be read as a
// number of 32 bits ends its line and leaves the rest as it was; a longer word is cut.  0, or -1 as
// rova_pim_lines_next.
int rova_pim_read_rows(rova_pim_lines &lines, std::span<const rova_pim_row> rows, void *record);

// As above, and prints each row's label with its values.
int rova_pim_read_and_print_rows(rova_pim_lines &lines, std::span<const rova_pim_row> rows,
                                 void *record);

// Prints the labels with what the record holds.
void rova_pim_print_rows(std::span<const rova_pim_row> rows, const void *record);

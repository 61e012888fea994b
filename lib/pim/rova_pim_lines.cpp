#include "lib/pim/rova_pim_lines.h"

#include "common/rova_log.h"
#include "lib/pim/rova_pim_debug.h"
#include "platform/sys.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

char pLnTemp[PIM_FILE_SIZE + 2];
char pLnData[PIM_LINES][PIM_LINE_SIZE];
char tLn[PIM_LINE_SIZE + 2];

namespace
{

constexpr char WHITE_SPACE[] = " \t\n\v\f\r";

// What a row reads, before it goes to its field.  The longest member stands first: it is the one
// that is cleared.
union row_values {
    char word[PIM_LINE_SIZE];
    int32_t numbers[PIM_ROW_VALUES];
    float floats[PIM_ROW_VALUES];
};

int report_size(int32_t size, const char *path)
{
    rova_pim_report(" FILE SIZE ERROR : %d - %s \n", size, path);
    return -1;
}

// The file's length, or -1 with errno.
long length_of(std::FILE *stream)
{
    if (std::fseek(stream, 0, SEEK_END) != 0)
        return -1;
    const long length = std::ftell(stream);
    std::rewind(stream);
    return length;
}

int read_stream(std::FILE *stream, rova_pim_lines &lines)
{
    const long length = length_of(stream);
    lines.size = static_cast<int32_t>(std::clamp<long>(length, -1, INT32_MAX));
    if (length <= 0 || length > static_cast<long>(PIM_FILE_SIZE))
        return report_size(lines.size, lines.path);
    std::ranges::fill(pLnTemp, '\0');
    const std::size_t size = std::fread(pLnTemp, 1, static_cast<std::size_t>(length), stream);
    if (size != static_cast<std::size_t>(length)) {
        rova_pim_report("failed to read %s (%s)\n", lines.path, std::strerror(errno));
        return -1;
    }
    pLnTemp[size] = '\0';
    pLnTemp[size + 1] = '\n';
    return 0;
}

// Copies the text to the slots; -1 when a line finds no room.
int split(std::string_view text)
{
    std::memset(pLnData, 0, sizeof(pLnData));
    for (std::size_t slot = 0; !text.empty(); slot++) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        if (slot == PIM_LINES || length >= PIM_LINE_SIZE) {
            ROVA_LOG_ERR("line %zu is outside of %zu lines of %zu characters\n", slot + 1,
                         PIM_LINES, PIM_LINE_SIZE - 1);
            return -1;
        }
        text.copy(pLnData[slot], length);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return 0;
}

std::string_view without_leading_space(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(WHITE_SPACE), text.size()));
    return text;
}

// Takes one number off the front of the text; false: there is none, or none of 32 bits.
template <typename number> bool take_number(std::string_view &text, number &value)
{
    text = without_leading_space(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    number read = 0;
    const char *end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, read);
    if (error != std::errc() || !std::isfinite(static_cast<float>(read)))
        return false;
    value = read;
    text.remove_prefix(static_cast<std::size_t>(behind - text.data()));
    return true;
}

template <typename number> void take_numbers(std::string_view text, std::span<number> values)
{
    for (number &value : values) {
        if (!take_number(text, value))
            return;
    }
}

void take_word(std::string_view text, std::span<char> word)
{
    text = without_leading_space(text);
    const std::string_view first = text.substr(0, text.find_first_of(WHITE_SPACE));
    word[first.copy(word.data(), word.size() - 1)] = '\0';
}

row_values take_values(const rova_pim_row &row, std::string_view line)
{
    const auto count = static_cast<std::size_t>(rova_pim_row_values(row));
    row_values values = {};
    if (row.form == "%s")
        take_word(line, std::span(values.word).first(row.field.size));
    else if (row.form.starts_with("%f"))
        take_numbers<float>(line, std::span(values.floats).first(count));
    else
        take_numbers<int32_t>(line, std::span(values.numbers).first(count));
    return values;
}

row_values values_of(const rova_pim_field &field, const void *record)
{
    row_values values = {};
    std::memcpy(&values, static_cast<const char *>(record) + field.offset, field.size);
    return values;
}

// A label takes as many of the values as it names.
void print_row(const rova_pim_row &row, const row_values &values)
{
    const int32_t *n = values.numbers;
    const float *f = values.floats;
    if (row.label == nullptr)
        return;
    if (row.form == "%s")
        rova_pim_debug(row.label, values.word);
    else if (row.form.starts_with("%f"))
        rova_pim_debug(row.label, f[0], f[1], f[2], f[3], f[4]);
    else if (row.word.count != 0)
        rova_pim_debug(row.label, n[0], row.word.text(n[0]));
    else
        rova_pim_debug(row.label, n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], n[8], n[9]);
}

int read_row(rova_pim_lines &lines, const rova_pim_row &row, void *record, row_values &values)
{
    if (rova_pim_lines_next(lines) != 0)
        return -1;
    values = take_values(row, tLn);
    std::memcpy(static_cast<char *>(record) + row.field.offset, &values, row.field.size);
    return 0;
}

} // namespace

int rova_pim_lines_read(const char *path, rova_pim_lines &lines)
{
    lines = {.path = path, .size = 0, .next = 0};
    std::FILE *stream = sys_fopen(path, "rb");
    if (stream == nullptr) {
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", path);
        return -1;
    }
    const int result = read_stream(stream, lines);
    std::fclose(stream);
    if (result != 0)
        return -1;
    return split(pLnTemp) == 0 ? 0 : report_size(lines.size, path);
}

bool rova_pim_is_value_line(std::string_view line)
{
    constexpr std::string_view NO_VALUES = "*\n\r"; // as the first character
    if (line.empty() || NO_VALUES.find(line.front()) != std::string_view::npos)
        return false;
    if (line.starts_with("//") || line.starts_with("/*"))
        return false;
    return line.back() != '\n' || line.find_first_not_of(' ') != line.size() - 1;
}

int rova_pim_lines_next(rova_pim_lines &lines)
{
    while (lines.next < PIM_LINES) {
        std::ranges::fill(tLn, '\0');
        std::ranges::copy(pLnData[lines.next++], tLn);
        if (rova_pim_is_value_line(tLn))
            return 0;
    }
    return report_size(lines.size, lines.path);
}

void rova_pim_line_word(std::span<char> word)
{
    take_word(tLn, word);
}

int rova_pim_read_rows(rova_pim_lines &lines, std::span<const rova_pim_row> rows, void *record)
{
    row_values values;
    for (const rova_pim_row &row : rows) {
        if (read_row(lines, row, record, values) != 0)
            return -1;
    }
    return 0;
}

int rova_pim_read_and_print_rows(rova_pim_lines &lines, std::span<const rova_pim_row> rows,
                                 void *record)
{
    row_values values;
    for (const rova_pim_row &row : rows) {
        if (read_row(lines, row, record, values) != 0)
            return -1;
        print_row(row, row.shown.size != 0 ? values_of(row.shown, record) : values);
    }
    return 0;
}

void rova_pim_print_rows(std::span<const rova_pim_row> rows, const void *record)
{
    for (const rova_pim_row &row : rows)
        print_row(row, values_of(row.shown.size != 0 ? row.shown : row.field, record));
}

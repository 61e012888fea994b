#include "common/rova_cis_data.h"

#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_ptp_keys.h"
#include "platform/sys.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <string_view>
#include <unistd.h>

// ------------------------------------------------------------------------- finding and reading

namespace
{

constexpr std::size_t NAME_LENGTH_MAX = 64; // of a folder or a number in the serial list
constexpr std::size_t PATH_SIZE = 256;

int failed(const char *what, const char *path)
{
    ROVA_LOG_ERR("failed to %s %s (%s) \n", what, path, rova_reason());
    return 0;
}

// One byte more than a file may have is asked for, so that a larger one shows.
int read_whole(const char *path, std::vector<char> *bytes)
{
    rova_file file(sys_fopen(path, "rb"));
    if (file == nullptr)
        return failed("open", path);
    char piece[4096];
    bytes->clear();
    while (bytes->size() <= ROVA_CIS_FILE_SIZE_MAX) {
        std::size_t count = std::fread(piece, 1, sizeof(piece), file.get());
        bytes->insert(bytes->end(), piece, piece + count);
        if (count < sizeof(piece))
            break;
    }
    if (std::ferror(file.get()) != 0)
        return failed("read", path);
    if (bytes->size() > ROVA_CIS_FILE_SIZE_MAX) {
        ROVA_LOG_ERR("%s is larger than %zu bytes \n", path, ROVA_CIS_FILE_SIZE_MAX);
        return 0;
    }
    return 1;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The card's list may name a file in a folder of the card, and nothing that leads elsewhere.
bool is_file_name(std::string_view name)
{
    auto is_odd = [](unsigned char c) { return c == '/' || std::iscntrl(c) != 0; };
    return !name.empty() && name.size() <= NAME_LENGTH_MAX && name.front() != '.' &&
           std::none_of(name.begin(), name.end(), is_odd);
}

// The first line that is not blank is "folder,number"; what stands behind a second comma or in
// other lines does not count.
bool dot_file_path(std::string_view list, char (&path)[PATH_SIZE])
{
    std::string_view line = list.substr(std::min(list.find_first_not_of(" \t\r\n"), list.size()));
    line = line.substr(0, line.find_first_of("\r\n"));
    std::size_t comma = std::min(line.find(','), line.size());
    std::string_view folder = trimmed(line.substr(0, comma));
    std::string_view number = line.substr(std::min(comma + 1, line.size()));
    number = trimmed(number.substr(0, number.find(',')));
    if (!is_file_name(folder) || !is_file_name(number))
        return false;
    std::snprintf(path, sizeof(path), "/opt/storage/sdcard/%.*s/%.*s.sn",
                  static_cast<int>(folder.size()), folder.data(), static_cast<int>(number.size()),
                  number.data());
    return true;
}

// The list is good for one sensor: one that stays would give the next its data.
int read_from_card(std::vector<char> *text)
{
    std::vector<char> list;
    if (read_whole(ROVA_CIS_SERIAL_LIST, &list) == 0)
        return 0;
    if (sys_unlink(ROVA_CIS_SERIAL_LIST) != 0)
        return failed("remove", ROVA_CIS_SERIAL_LIST);
    char path[PATH_SIZE];
    if (!dot_file_path({list.data(), list.size()}, path)) {
        ROVA_LOG_ERR("%s names no dot file \n", ROVA_CIS_SERIAL_LIST);
        return 0;
    }
    return read_whole(path, text);
}

int read_from_pc(std::vector<char> *text)
{
    char path[PATH_SIZE];
    std::snprintf(path, sizeof(path), "/var/run/%s", ROVA_KEY_PMODE_SHUTTER_DATA);
    return read_whole(path, text);
}

int report(int read, const std::vector<char> &text)
{
    if (read == 0)
        ROVA_LOG_ERR("failed to access dot_data\n");
    else
        ROVA_LOG_INFO("total file size = %d \n", static_cast<int>(text.size()));
    return read;
}

} // namespace

int rova_cis_data_read(std::vector<char> *text)
{
    bool from_card = sys_access(ROVA_CIS_SERIAL_LIST, F_OK) == 0;
    return report(from_card ? read_from_card(text) : read_from_pc(text), *text);
}

int rova_cis_data_read_pc(std::vector<char> *text)
{
    return report(read_from_pc(text), *text);
}

// ------------------------------------------------------------------------- parsing

namespace
{

constexpr std::size_t LINE_LENGTH_MAX = 127;
using line_text = char[LINE_LENGTH_MAX + 1];

// Pixels ahead of the first section's word are of this section.
constexpr std::size_t SECTION_AT_START = 0;

struct section_row {
    const char *word;
    int32_t rova_cis_data::*count;
};

constexpr section_row SECTIONS[] = {
    {"B", &rova_cis_data::pixel_num_b}, {"O", &rova_cis_data::pixel_num_o},
    {"T", &rova_cis_data::pixel_num_t}, {"W", &rova_cis_data::pixel_num_w},
    {"C", &rova_cis_data::pixel_num_c}, {"X", &rova_cis_data::pixel_num_x},
    {"S", &rova_cis_data::pixel_num_s}, {"P", &rova_cis_data::pixel_num_p},
    {"L", &rova_cis_data::pixel_num_l},
};

// A number behind one word, or behind two; `max` is what its item in the adjustment store holds.
struct number_row {
    const char *first;
    const char *second;
    int32_t rova_cis_data::*number;
    int32_t max;
};

constexpr number_row NUMBERS[] = {
    {"NO=", nullptr, &rova_cis_data::serial, INT32_MAX},
    {"Ver=", nullptr, &rova_cis_data::chip_ver, INT16_MAX},
    {"CIS", "CLAMP", &rova_cis_data::clamp_level, INT16_MAX},
};

// The next line without the blanks ahead of it, cut to its longest; `*rest` begins behind it.
// CR and LF together make a blank line more.
void next_line(std::span<const char> *rest, line_text &line)
{
    auto is_line_end = [](char c) { return c == '\r' || c == '\n'; };
    auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
    auto end = std::find_if(rest->begin(), rest->end(), is_line_end);
    auto start = std::find_if_not(rest->begin(), end, is_blank);
    auto length = std::min(static_cast<std::size_t>(end - start), LINE_LENGTH_MAX);
    std::copy_n(start, length, line);
    line[length] = '\0';
    *rest = rest->subspan(static_cast<std::size_t>(end - rest->begin()));
    if (!rest->empty())
        *rest = rest->subspan(1);
}

// Unlike scanf's, a number of more than 16 bits or below zero is none: wrapped around it would hide
// the defect at another place.
const char *read_coordinate(const char *text, uint16_t *number)
{
    char *end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || value < 0 || value > UINT16_MAX)
        return nullptr;
    *number = static_cast<uint16_t>(value);
    return end;
}

bool read_pixel(const char *line, rova_cis_pixel *pixel)
{
    uint16_t x = 0, y = 0;
    const char *behind_x = read_coordinate(line, &x);
    if (behind_x == nullptr || read_coordinate(behind_x, &y) == nullptr)
        return false;
    *pixel = {x, y};
    return true;
}

class dot_parser
{
public:
    explicit dot_parser(rova_cis_dots *dots) : dots_(*dots) {}

    // False at the end of the data and for what is refused.
    bool take(const line_text &line);
    // The pixels of all sections, one section behind the other.
    void finish();

private:
    bool take_pixel(rova_cis_pixel pixel);
    bool take_words(const line_text &line);
    bool take_number(const number_row &row, const char *word);

    rova_cis_dots &dots_;
    std::size_t section_ = SECTION_AT_START;
    std::vector<rova_cis_pixel> pixels_[std::size(SECTIONS)];
};

bool dot_parser::take(const line_text &line)
{
    rova_cis_pixel pixel = {};
    if (read_pixel(line, &pixel))
        return take_pixel(pixel);
    if (line[0] != '\0' && std::strchr("0123456789+-", line[0]) != nullptr)
        dots_.skipped++;
    return take_words(line);
}

bool dot_parser::take_pixel(rova_cis_pixel pixel)
{
    const section_row &section = SECTIONS[section_];
    if (dots_.data.*section.count == ROVA_CIS_SECTION_PIXEL_MAX) {
        dots_.refused = std::string("too many pixels in section ") + section.word;
        return false;
    }
    dots_.data.*section.count += 1;
    pixels_[section_].push_back(pixel);
    return true;
}

// Other lines, "LOT=" among them, are skipped.
bool dot_parser::take_words(const line_text &line)
{
    line_text first = "", second = "", third = "";
    std::sscanf(line, "%127s %127s %127s", first, second, third);
    if (first[0] == '#')
        return false;
    for (const number_row &row : NUMBERS) {
        if (std::strcmp(first, row.first) != 0)
            continue;
        if (row.second == nullptr)
            return take_number(row, second);
        if (std::strcmp(second, row.second) == 0)
            return take_number(row, third);
    }
    for (std::size_t section = 0; section < std::size(SECTIONS); section++)
        if (std::strcmp(first, SECTIONS[section].word) == 0)
            section_ = section;
    return true;
}

bool dot_parser::take_number(const number_row &row, const char *word)
{
    long long number = std::strtoll(word, nullptr, 10);
    if (number > row.max || number < -1LL - row.max) {
        dots_.refused = std::string(row.first) + " " + word + " is out of range";
        return false;
    }
    dots_.data.*row.number = static_cast<int32_t>(number);
    return true;
}

void dot_parser::finish()
{
    for (const std::vector<rova_cis_pixel> &pixels : pixels_)
        dots_.pixels.insert(dots_.pixels.end(), pixels.begin(), pixels.end());
    dots_.data.dot_data_size = static_cast<int32_t>(std::span(dots_.pixels).size_bytes());
}

} // namespace

int rova_cis_data_parse(std::span<const char> text, rova_cis_dots *dots)
{
    *dots = {};
    dot_parser parser(dots);
    line_text line;
    do
        next_line(&text, line);
    while (parser.take(line) && !text.empty());
    parser.finish();
    return dots->refused.empty() ? 1 : 0;
}

// ------------------------------------------------------------------------- the pixel list

namespace
{

constexpr char DOT_BIN_FOLDER[] = "/opt/share/rova";
constexpr char DOT_BIN_NEW[] = "/opt/share/rova/CIS_DOT.bin.new";

bool write_all(int fd, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        ssize_t count = sys_write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0)
            errno = EIO;
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

int write_new(std::span<const std::byte> bytes)
{
    rova_descriptor file(sys_open(DOT_BIN_NEW, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file)
        return failed("open", DOT_BIN_NEW);
    if (!write_all(file.get(), bytes))
        return failed("write", DOT_BIN_NEW);
    if (sys_fdatasync(file.get()) != 0)
        return failed("sync", DOT_BIN_NEW);
    return 1;
}

int replace_old()
{
    return sys_rename(DOT_BIN_NEW, ROVA_CIS_DOT_BIN) == 0 ? 1 : failed("replace", ROVA_CIS_DOT_BIN);
}

int sync_folder()
{
    rova_descriptor folder(sys_open(DOT_BIN_FOLDER, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    if (folder.get() < 0 || sys_fdatasync(folder.get()) != 0)
        return failed("sync", DOT_BIN_FOLDER);
    return 1;
}

} // namespace

int rova_cis_data_write_pixels(std::span<const rova_cis_pixel> pixels)
{
    if (write_new(std::as_bytes(pixels)) == 0 || replace_old() == 0) {
        sys_unlink(DOT_BIN_NEW);
        return 0;
    }
    return sync_folder();
}

int rova_cis_data_read_pixels(std::vector<rova_cis_pixel> *pixels)
{
    std::vector<char> bytes;
    if (read_whole(ROVA_CIS_DOT_BIN, &bytes) == 0)
        return 0;
    if (bytes.size() % sizeof(rova_cis_pixel) != 0) {
        ROVA_LOG_ERR("%s ends inside a pixel \n", ROVA_CIS_DOT_BIN);
        return 0;
    }
    pixels->resize(bytes.size() / sizeof(rova_cis_pixel));
    if (!bytes.empty())
        std::memcpy(pixels->data(), bytes.data(), bytes.size());
    return 1;
}

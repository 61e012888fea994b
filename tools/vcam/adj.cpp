// vcam adj: what the camera has learned on the line.
#include "tools/vcam/adj_item.h"
#include "tools/vcam/adj_store.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include "platform/virtual/pref.h"

#include <cinttypes>
#include <cstdio>
#include <fnmatch.h>
#include <nlohmann/json.hpp>

namespace vcam
{
namespace
{

// Between a value there and the value here.
constexpr char CHANGE[] = " -> ";

std::string_view bytes_of(const adj_item &item, const std::string &contents)
{
    return data_of(contents).substr(item.offset(), item.size);
}

std::vector<adj_item> matching_items(const std::string &pattern)
{
    std::vector<adj_item> items;
    for (const adj_item &item : adj_items()) {
        if (fnmatch(pattern.c_str(), item.name.c_str(), FNM_CASEFOLD) == 0 ||
            pattern == partition_name(item.partition))
            items.push_back(item);
    }
    if (items.empty())
        throw failure("no item matches '" + pattern + "'");
    return items;
}

nlohmann::json json_item(const adj_item &item, std::string_view bytes)
{
    char id[24];
    std::snprintf(id, sizeof(id), "0x%016" PRIx64, item.id);
    nlohmann::json object = {{"partition", partition_name(item.partition)},
                             {"name", item.name},
                             {"id", id},
                             {"size", item.size}};
    object.update(json_value(item, bytes));
    return object;
}

void print_item(const adj_item &item, std::string_view bytes)
{
    std::printf("%-8s  %-27s  0x%016" PRIx64 "  %7zu  %s\n", partition_name(item.partition).c_str(),
                item.name.c_str(), item.id, item.size, shown_value(item, bytes).c_str());
}

void list_items(const std::string &pattern, bool as_json)
{
    const std::vector<adj_item> items = matching_items(pattern);
    const partition_map here = camera_partitions();
    nlohmann::json list = nlohmann::json::array();
    for (const adj_item &item : items) {
        const std::string_view bytes = bytes_of(item, here.at(item.partition));
        if (as_json)
            list.push_back(json_item(item, bytes));
        else
            print_item(item, bytes);
    }
    if (as_json)
        std::puts(list.dump(2).c_str());
}

void get_items(const std::vector<std::string> &names, bool raw)
{
    if (raw && names.size() != 1)
        throw failure("--raw takes one item");
    std::string text;
    for (const std::string &name : names) {
        const adj_item &item = find_item(name);
        const std::string contents = camera_partition(item.partition);
        const std::string_view bytes = bytes_of(item, contents);
        text += raw ? std::string(bytes) : plain_value(item, bytes) + "\n";
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
}

struct new_value {
    std::optional<std::string> text;
    std::optional<fs::path> file;
};

std::string bytes_to_set(const adj_item &item, const new_value &value)
{
    if (value.text.has_value() == value.file.has_value())
        throw failure("either VALUE or --file tells the new value");
    if (value.text)
        return item_bytes(item, *value.text);
    const std::optional<std::string> contents = read_file(*value.file);
    if (!contents)
        throw failure("'" + value.file->string() + "' cannot be read");
    return filled_bytes(item, *contents);
}

void set_item(const std::string &name, const new_value &value, bool save)
{
    const adj_item &item = find_item(name);
    put_bytes(item.partition, item.offset(), bytes_to_set(item, value), save);
}

// On the error stream: what was done with the others stands.
void tell_missing(const fs::path &source, const partition_map &partitions, const char *what)
{
    std::string names;
    for (const int partition : ADJ_PARTITIONS) {
        if (!partitions.contains(partition))
            names += " " + partition_name(partition);
    }
    if (!names.empty())
        std::fprintf(stderr, "vcam: %s, since '%s' has none:%s\n", what, source.c_str(),
                     names.c_str());
}

void import_backup(const fs::path &source)
{
    const partition_map partitions = read_backup(source);
    for (const auto &[partition, contents] : partitions)
        put_bytes(partition, 0, data_of(contents), true);
    tell_missing(source, partitions, "left alone");
}

// "3 bytes differ, the first at 17".
std::string byte_change(std::string_view there, std::string_view here)
{
    std::size_t count = 0, first = 0;
    for (std::size_t i = 0; i < here.size(); i++) {
        if (there[i] == here[i])
            continue;
        if (count++ == 0)
            first = i;
    }
    return std::to_string(count) +
           (count == 1 ? " byte differs, at " : " bytes differ, the first at ") +
           std::to_string(first);
}

std::string value_change(const adj_item &item, std::string_view there, std::string_view here)
{
    if (item.type != adj_item::kind::bytes)
        return shown_value(item, there) + CHANGE + shown_value(item, here);
    const std::optional<std::string> old_text = text_of(there), new_text = text_of(here);
    if (old_text && new_text)
        return '"' + *old_text + '"' + CHANGE + '"' + *new_text + '"';
    return byte_change(there, here);
}

void print_change(int partition, const std::string &name, const std::string &change)
{
    std::printf("%-8s  %-27s  %s\n", partition_name(partition).c_str(), name.c_str(),
                change.c_str());
}

// True when they are equal.
bool compare(int partition, const std::string &there, const std::string &here)
{
    if (there == here)
        return true;
    std::size_t end = 0;
    for (const adj_item &item : adj_items()) {
        if (item.partition != partition)
            continue;
        const std::string_view old_bytes = bytes_of(item, there), new_bytes = bytes_of(item, here);
        if (old_bytes != new_bytes)
            print_change(partition, item.name, value_change(item, old_bytes, new_bytes));
        end = item.offset() + item.size;
    }
    // The line's partition is longer than its marks.
    const std::string_view old_rest = data_of(there).substr(end),
                           new_rest = data_of(here).substr(end);
    if (old_rest != new_rest)
        print_change(partition, "(behind the items)", byte_change(old_rest, new_rest));
    return false;
}

int diff_backup(const fs::path &source)
{
    const partition_map partitions = read_backup(source);
    bool equal = true;
    for (const auto &[partition, contents] : partitions)
        equal = compare(partition, contents, camera_partition(partition)) && equal;
    tell_missing(source, partitions, "not compared");
    return equal ? OK : NG;
}

int diff_flash()
{
    bool equal = true;
    for (const int partition : ADJ_PARTITIONS) {
        if (const std::optional<std::string> image = partition_image(partition))
            equal = compare(partition, virt::power_on_contents(partition), *image) && equal;
    }
    if (!equal && !camera_is_busy())
        std::fprintf(stderr,
                     "vcam: the camera is off: what was not saved is lost when it starts\n");
    return equal ? OK : NG;
}

struct adj_options {
    std::string pattern = "*";
    bool as_json = false;
    std::vector<std::string> names;
    bool raw = false;
    std::string name;
    new_value value;
    bool unsaved = false;
    fs::path file;
    std::optional<fs::path> other;
    std::function<int()> chosen;
};

CLI::App *action(CLI::App &app, adj_options &options, const char *name, const char *summary,
                 const std::function<int()> &run)
{
    CLI::App *sub = app.add_subcommand(name, summary);
    sub->callback([&options, run] { options.chosen = run; });
    return sub;
}

void add_reading(CLI::App &app, adj_options &options)
{
    CLI::App *list = action(app, options, "list", "Print items and marks with their values", [&] {
        list_items(options.pattern, options.as_json);
        return OK;
    });
    list->add_option("PATTERN", options.pattern,
                     "Names as in a shell, such as 'WIFI_*', or a partition");
    list->add_flag("--json", options.as_json,
                   "As JSON; large items in hexadecimal, zeros at the end left out");
    CLI::App *get = action(app, options, "get", "Print the value alone, one a line", [&] {
        get_items(options.names, options.raw);
        return OK;
    });
    get->add_option("NAME", options.names)->required();
    get->add_flag("--raw", options.raw, "The bytes of one item as they are");
    action(app, options, "diff",
           "Print what differs from OTHER; without OTHER: what is not saved yet",
           [&] { return options.other ? diff_backup(*options.other) : diff_flash(); })
        ->add_option("OTHER", options.other,
                     "A camera, an archive, a folder of .bin files or one .bin file");
}

void add_writing(CLI::App &app, adj_options &options)
{
    CLI::App *set =
        action(app, options, "set", "Set an item or a mark, and save its partition", [&] {
            set_item(options.name, options.value, !options.unsaved);
            return OK;
        });
    set->add_option("NAME", options.name)->required();
    set->add_option("VALUE", options.value.text,
                    "A number; N, E or P for a mark; for larger items a text, or hex: and bytes");
    set->add_option("--file", options.value.file, "The bytes of a file")->type_name("FILE");
    set->add_flag("--no-save", options.unsaved,
                  "In memory only: lost when the camera is switched off");
    action(app, options, "export",
           "Write all partitions to an archive, as a backup to the card does",
           [&] {
               write_backup(options.file, camera_partitions());
               return OK;
           })
        ->add_option("FILE", options.file)
        ->required();
    action(app, options, "import", "Take over and save the partitions of SOURCE",
           [&] {
               import_backup(options.file);
               return OK;
           })
        ->add_option("SOURCE", options.file,
                     "An archive, a folder of .bin files, one .bin file, or a camera")
        ->required();
}

} // namespace

int verb_adj(const invocation &in, CLI::App &app)
{
    adj_options options;
    app.require_subcommand(1);
    add_reading(app, options);
    add_writing(app, options);
    in.open(app);
    return options.chosen();
}

} // namespace vcam

// vcam key, property and attr: the values that the camera keeps and reads.
#include "platform/virtual/values.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <cstdio>
#include <poll.h>

namespace vcam
{
namespace
{

enum class key_kind { guess, integer, boolean, text };

void check_written(bool written, const std::string &what)
{
    if (!written)
        throw failure(what + " cannot be written");
}

void check_readable()
{
    if (!virt::keys_open())
        throw failure("the keys cannot be read");
}

bool read_switch(const std::string &value)
{
    if (value == "1" || value == "true" || value == "on")
        return true;
    if (value == "0" || value == "false" || value == "off")
        return false;
    throw failure("'" + value + "' is neither true nor false");
}

bool write_key(const std::string &name, const std::string &value, key_kind kind)
{
    switch (kind) {
    case key_kind::integer:
        return virt::set_int(name, read_word32(value));
    case key_kind::boolean:
        return virt::set_bool(name, read_switch(value));
    case key_kind::text:
        return virt::set_string(name, value);
    case key_kind::guess:
        break;
    }
    const std::optional<int> number = to_word32(value);
    return number ? virt::set_int(name, *number) : virt::set_string(name, value);
}

void get_key_verb(const std::string &name)
{
    check_readable();
    const std::optional<virt::Key> key = virt::get_key(name);
    if (!key)
        throw failure("no key '" + name + "'");
    std::puts(key->value().c_str());
}

const char *type_name(virt::KeyType type)
{
    switch (type) {
    case virt::KeyType::integer:
        return "int";
    case virt::KeyType::boolean:
        return "bool";
    case virt::KeyType::string:
        return "string";
    }
    return "";
}

void print_key(const virt::Key &key)
{
    std::printf("%-6s %s = %s\n", type_name(key.type), key.name.c_str(), key.value().c_str());
}

void list_keys(const std::string &prefix)
{
    check_readable();
    for (const virt::Key &key : virt::list_keys()) {
        if (key.name.starts_with(prefix))
            print_key(key);
    }
}

// Every write from now on, also of a value that is there already.
void watch_keys(const std::string &prefix, long count)
{
    virt::KeyWatch watch;
    if (!watch.valid())
        throw failure("keys cannot be watched");
    catch_interrupts();
    std::puts("watching");
    std::fflush(stdout);
    for (long seen = 0; !end_asked();) {
        pollfd ready = {watch.fd(), POLLIN, 0};
        poll(&ready, 1, -1);
        for (const virt::KeyChange &change : watch.read()) {
            if (!change.key.name.starts_with(prefix))
                continue;
            print_key(change.key);
            if (++seen == count)
                return;
        }
        std::fflush(stdout);
    }
}

std::string property_file(int type, int number)
{
    return virt::file("property/" + std::to_string(type) + "." + std::to_string(number));
}

// A property that was never set reads as 0, as the camera sees it.
void get_property(int type, int number)
{
    const std::string text = read_file(property_file(type, number)).value_or("0");
    std::puts(text.substr(0, text.find('\n')).c_str());
}

fs::path attribute_file(const std::string &path)
{
    if (!path.starts_with('/') || path.find("/../") != std::string::npos || path.ends_with("/.."))
        throw failure("'" + path + "' is no absolute path of the camera");
    if (fs::is_directory(on_pc(path)))
        throw failure("'" + path + "' is a folder");
    return on_pc(path);
}

// Looking does not use up scripted values.
void get_attribute(const std::string &path)
{
    const std::optional<std::string> text = read_file(attribute_file(path));
    if (!text)
        throw failure("the camera has no file '" + path + "'");
    std::fwrite(text->data(), 1, text->size(), stdout);
    if (text->ends_with('\n') || text->empty())
        return;
    std::puts("");
}

void play_attribute(const std::string &path, const std::vector<std::string> &values)
{
    check_written(virt::write_play(attribute_file(path).string(), values), path);
}

CLI::App *action(CLI::App &app, const char *name, const char *summary,
                 const std::function<void()> &run, std::function<void()> &chosen)
{
    CLI::App *sub = app.add_subcommand(name, summary);
    sub->callback([&chosen, run] { chosen = run; });
    return sub;
}

} // namespace

int verb_key(const invocation &in, CLI::App &app)
{
    std::string name, value;
    key_kind kind = key_kind::guess;
    long count = 0;
    std::function<void()> chosen;
    app.require_subcommand(1);
    action(
        app, "get", "Print a key's value", [&] { get_key_verb(name); }, chosen)
        ->add_option("NAME", name)
        ->required();
    CLI::App *set = action(
        app, "set", "Write a key, of the type that its value looks like",
        [&] { check_written(write_key(name, value, kind), name); }, chosen);
    set->add_option("NAME", name)->required();
    set->add_option("VALUE", value)->required();
    CLI::Option_group *types = set->add_option_group("type", "Type of the key");
    types->require_option(0, 1);
    types->add_flag_callback(
        "--int", [&] { kind = key_kind::integer; }, "A number");
    types->add_flag_callback(
        "--bool", [&] { kind = key_kind::boolean; }, "true or false");
    types->add_flag_callback(
        "--string", [&] { kind = key_kind::text; }, "A text");
    CLI::App *watch = action(
        app, "watch", "Print every write of the keys that begin with PREFIX",
        [&] { watch_keys(name, count); }, chosen);
    watch->add_option("PREFIX", name);
    watch->add_option("--count", count, "End after N writes")
        ->check(CLI::Validator(check_count, ""))
        ->type_name("N");
    action(
        app, "list", "Print the keys that begin with PREFIX", [&] { list_keys(name); }, chosen)
        ->add_option("PREFIX", name);
    in.open(app);
    chosen();
    return OK;
}

int verb_property(const invocation &in, CLI::App &app)
{
    int type = 0, number = 0;
    std::string value;
    std::function<void()> chosen;
    app.require_subcommand(1);
    CLI::App *get = action(
        app, "get", "Print a property", [&] { get_property(type, number); }, chosen);
    CLI::App *set = action(
        app, "set", "Set a property",
        [&] {
            check_written(virt::write_number(property_file(type, number), read_word32(value)),
                          "the property");
        },
        chosen);
    for (CLI::App *sub : {get, set}) {
        sub->add_option("TYPE", type)->required();
        sub->add_option("NUMBER", number)->required();
    }
    set->add_option("VALUE", value)->required();
    in.open(app);
    chosen();
    return OK;
}

int verb_attr(const invocation &in, CLI::App &app)
{
    std::string path, value;
    std::vector<std::string> values;
    std::function<void()> chosen;
    app.require_subcommand(1);
    CLI::App *get = action(
        app, "get", "Print a file", [&] { get_attribute(path); }, chosen);
    CLI::App *set = action(
        app, "set", "Replace a file by one line",
        [&] { check_written(virt::write_value(attribute_file(path).string(), value), path); },
        chosen);
    CLI::App *play = action(
        app, "play", "Give a file one value after the other, one a reading",
        [&] { play_attribute(path, values); }, chosen);
    for (CLI::App *sub : {get, set, play})
        sub->add_option("PATH", path)->required();
    set->add_option("VALUE", value)->required();
    play->add_option("VALUE", values)->required();
    in.open(app);
    chosen();
    return OK;
}

} // namespace vcam

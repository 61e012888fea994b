// The key store behind platform/vconf.h: typed values and every write of them, in one database that
// all processes of the camera share.  All functions may be used from any thread; failures are told
// by the result, with a line on the error stream.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace virt
{

enum class KeyType { integer = 1, boolean = 2, string = 3 };

struct Key {
    std::string name;
    KeyType type = KeyType::integer;
    int number = 0;   // integers, and booleans as 0 or 1
    std::string text; // strings

    std::string value() const; // as text: "12", "true", "abc"
};

struct KeyChange {
    std::int64_t sequence = 0; // 1 and up, in the order of the writes
    Key key;
};

bool set_int(const std::string &name, int value);
bool set_bool(const std::string &name, bool value);
bool set_string(const std::string &name, const std::string &value);
bool remove_key(const std::string &name); // not told to watchers

// Where the numbers to come of a key can be scripted (values.h): each vconf_get_int() or
// vconf_get_bool() writes the next one.
std::string key_place(const std::string &name);

// False when the store cannot be opened, which the reading functions tell like a missing key.
bool keys_open();

std::optional<Key> get_key(const std::string &name);
std::vector<Key> list_keys(); // in the order of their names

// The sequence number of the newest write; 0 before the first.
std::int64_t newest_change();

// A watch of all keys from its making on.  No write is lost as long as the watch lives; a process
// that dies with a watch gives it up.  One thread at a time.
class KeyWatch
{
public:
    KeyWatch();
    ~KeyWatch();
    KeyWatch(const KeyWatch &) = delete;
    KeyWatch &operator=(const KeyWatch &) = delete;

    bool valid() const;
    // Becomes readable when there is something to read; -1 when not valid.
    int fd() const;
    // All writes since the last reading, in order; resets fd().
    std::vector<KeyChange> read();

private:
    struct State;
    std::unique_ptr<State> state_;
};

// The vconf watches of this process; what release_keys does first.
void release_watches();

// Close what this process holds open of the key store and drop its vconf watches.  Happens by
// itself when ROVA_SYSROOT changes.
void release_keys();

} // namespace virt

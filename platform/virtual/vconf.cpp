#include "platform/vconf.h"

#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <cstdint>
#include <cstdlib>
#include <glib-unix.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using nlohmann::json;

struct keynode {
    virt::Key key;
};

namespace
{

struct Watch {
    std::string key;
    vconf_callback_fn callback;
    void *user_data;
    std::int64_t since; // only later writes are told
};

// All watches of this process.  One KeyWatch serves them, as a source of GLib's default context.
struct Watches {
    std::mutex lock;
    std::string root;
    std::shared_ptr<virt::KeyWatch> changes;
    guint source = 0;
    std::vector<Watch> list;
};

Watches &watches()
{
    static Watches &all = *new Watches; // never destroyed: threads may outlive main()
    return all;
}

// With the lock held.
Watch *find(Watches &all, const std::string &key, vconf_callback_fn callback)
{
    for (Watch &watch : all.list)
        if (watch.key == key && watch.callback == callback)
            return &watch;
    return nullptr;
}

std::vector<vconf_callback_fn> callbacks_of(const virt::KeyChange &change)
{
    Watches &all = watches();
    std::lock_guard guard(all.lock);
    std::vector<vconf_callback_fn> found;
    for (const Watch &watch : all.list)
        if (watch.key == change.key.name && watch.since < change.sequence)
            found.push_back(watch.callback);
    return found;
}

// A callback may end any watch, its own included: each is looked up again before it is called.
bool still_watched(const virt::KeyChange &change, vconf_callback_fn callback, void *&user_data)
{
    Watches &all = watches();
    std::lock_guard guard(all.lock);
    Watch *watch = find(all, change.key.name, callback);
    if (!watch || watch->since >= change.sequence)
        return false;
    user_data = watch->user_data;
    return true;
}

void tell(const virt::KeyChange &change)
{
    for (vconf_callback_fn callback : callbacks_of(change)) {
        void *user_data = nullptr;
        if (!still_watched(change, callback, user_data))
            continue;
        keynode node = {change.key};
        callback(&node, user_data);
    }
}

gboolean serve(gint, GIOCondition, gpointer)
{
    Watches &all = watches();
    std::shared_ptr<virt::KeyWatch> changes;
    {
        std::lock_guard guard(all.lock);
        changes = all.changes;
    }
    if (!changes)
        return G_SOURCE_REMOVE;
    for (const virt::KeyChange &change : changes->read())
        tell(change);
    return G_SOURCE_CONTINUE;
}

// With the lock held.
void drop(Watches &all)
{
    if (all.source)
        g_source_remove(all.source);
    all.source = 0;
    all.changes.reset();
    all.list.clear();
}

// With the lock held: the watches of another camera are worth nothing here.
bool serve_this_camera(Watches &all)
{
    std::string now = virt::root();
    if (all.changes && all.root == now)
        return true;
    drop(all);
    auto changes = std::make_shared<virt::KeyWatch>();
    if (!changes->valid())
        return false;
    all.root = now;
    all.source = g_unix_fd_add(changes->fd(), G_IO_IN, serve, nullptr);
    all.changes = std::move(changes);
    return true;
}

int notify(const char *key, vconf_callback_fn callback, void *user_data)
{
    if (!key || !callback || !virt::present())
        return -1;
    Watches &all = watches();
    std::lock_guard guard(all.lock);
    if (!serve_this_camera(all))
        return -1;
    if (Watch *watch = find(all, key, callback)) {
        watch->user_data = user_data;
        return 0;
    }
    all.list.push_back({key, callback, user_data, virt::newest_change()});
    return 0;
}

int ignore(const char *key, vconf_callback_fn callback)
{
    if (!key || !virt::present())
        return -1;
    Watches &all = watches();
    std::lock_guard guard(all.lock);
    Watch *watch = all.root == virt::root() ? find(all, key, callback) : nullptr;
    if (!watch)
        return -1;
    all.list.erase(all.list.begin() + (watch - all.list.data()));
    return 0;
}

const char *or_empty(const char *text)
{
    return text ? text : "";
}

// A scripted value is written first, as if the camera had.  It changes no key's type.
void play(const char *key, virt::KeyType type)
{
    virt::play(virt::key_place(key), [=](std::string_view value) {
        const std::optional<virt::Key> now = virt::get_key(key);
        if (now && now->type != type)
            return;
        const int number = static_cast<int>(std::strtol(std::string(value).c_str(), nullptr, 0));
        if (type == virt::KeyType::boolean)
            virt::set_bool(key, number != 0);
        else
            virt::set_int(key, number);
    });
}

int get_number(const char *call, const char *key, virt::KeyType type, int *value)
{
    if (auto failure = virt::fault(call, {key}))
        return static_cast<int>(*failure);
    if (!key || !value)
        return -1;
    play(key, type);
    std::optional<virt::Key> found = virt::get_key(key);
    if (!found || found->type != type)
        return -1;
    *value = found->number;
    return 0;
}

} // namespace

namespace virt
{

void release_watches()
{
    Watches &all = watches();
    std::lock_guard guard(all.lock);
    drop(all);
}

} // namespace virt

int vconf_get_int(const char *key, int *value)
{
    return get_number("vconf_get_int", key, virt::KeyType::integer, value);
}

int vconf_get_bool(const char *key, int *value)
{
    return get_number("vconf_get_bool", key, virt::KeyType::boolean, value);
}

int vconf_set_int(const char *key, int value)
{
    return virt::told("vconf_set_int", {or_empty(key), value}, {key},
                      [=] { return key && virt::set_int(key, value) ? 0 : -1; });
}

int vconf_set_str(const char *key, const char *value)
{
    return virt::told("vconf_set_str", {or_empty(key), or_empty(value)}, {key, value},
                      [=] { return key && value && virt::set_string(key, value) ? 0 : -1; });
}

int vconf_notify_key_changed(const char *key, vconf_callback_fn callback, void *user_data)
{
    return virt::told("vconf_notify_key_changed", json::array({or_empty(key)}), {key},
                      [=] { return notify(key, callback, user_data); });
}

int vconf_ignore_key_changed(const char *key, vconf_callback_fn callback)
{
    return virt::told("vconf_ignore_key_changed", json::array({or_empty(key)}), {key},
                      [=] { return ignore(key, callback); });
}

int vconf_keynode_get_type(const keynode_t *node)
{
    if (auto failure = virt::fault("vconf_keynode_get_type"))
        return static_cast<int>(*failure);
    return node ? static_cast<int>(node->key.type) : VCONF_TYPE_NONE;
}

int vconf_keynode_get_int(const keynode_t *node)
{
    if (auto failure = virt::fault("vconf_keynode_get_int"))
        return static_cast<int>(*failure);
    return node && node->key.type == virt::KeyType::integer ? node->key.number : 0;
}

// The C interface hands out plain pointers; nobody writes through them.
char *vconf_keynode_get_str(const keynode_t *node)
{
    if (virt::fault("vconf_keynode_get_str") || !node || node->key.type != virt::KeyType::string)
        return nullptr;
    return const_cast<char *>(node->key.text.c_str());
}

char *vconf_keynode_get_name(const keynode_t *node)
{
    if (virt::fault("vconf_keynode_get_name") || !node)
        return nullptr;
    return const_cast<char *>(node->key.name.c_str());
}

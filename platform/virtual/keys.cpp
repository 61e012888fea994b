// The store is an SQLite database in WAL mode.  A write changes the key's row and adds a row to
// `changes` in one transaction, then touches the wake file, which watchers have in their inotify
// descriptors; several touches may merge into one, so a watcher reads all rows behind the last one
// it has seen.  `watchers` holds what each live watch has seen, so that rows can go.
#include "platform/virtual/keys.h"

#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <mutex>
#include <sqlite3.h>
#include <sstream>
#include <sys/inotify.h>
#include <unistd.h>

namespace virt
{

namespace
{

constexpr std::int64_t prune_every = 256; // writes
constexpr std::int64_t tell_seen_every = 64;

constexpr const char *schema = R"(
PRAGMA journal_mode = WAL;
PRAGMA synchronous = OFF;
CREATE TABLE IF NOT EXISTS keys (name TEXT PRIMARY KEY, type INTEGER, value) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS changes (seq INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT,
    type INTEGER, value);
CREATE TABLE IF NOT EXISTS watchers (id INTEGER PRIMARY KEY AUTOINCREMENT, pid INTEGER,
    started INTEGER, seen INTEGER);
)";

enum Statement {
    BEGIN,
    COMMIT,
    ROLLBACK,
    PUT,
    REMOVE,
    ADD_CHANGE,
    GET,
    LIST,
    NEWEST,
    READ_CHANGES,
    ADD_WATCHER,
    TELL_SEEN,
    REMOVE_WATCHER,
    LIST_WATCHERS,
    PRUNE,
    STATEMENT_COUNT
};

constexpr const char *statements[STATEMENT_COUNT] = {
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
    ("INSERT INTO keys (name, type, value) VALUES (?1, ?2, ?3) "
     "ON CONFLICT (name) DO UPDATE SET type = ?2, value = ?3"),
    "DELETE FROM keys WHERE name = ?1",
    "INSERT INTO changes (name, type, value) VALUES (?1, ?2, ?3)",
    "SELECT name, type, value FROM keys WHERE name = ?1",
    "SELECT name, type, value FROM keys ORDER BY name",
    "SELECT seq FROM sqlite_sequence WHERE name = 'changes'",
    "SELECT name, type, value, seq FROM changes WHERE seq > ?1 ORDER BY seq",
    ("INSERT INTO watchers (pid, started, seen) "
     "VALUES (?1, ?2, coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'changes'), 0))"),
    "UPDATE watchers SET seen = ?2 WHERE id = ?1",
    "DELETE FROM watchers WHERE id = ?1",
    "SELECT id, pid, started FROM watchers",
    "DELETE FROM changes WHERE seq <= coalesce((SELECT min(seen) FROM watchers), ?1)",
};

// When a process was started, in clock ticks: tells it from a later one of the same number.
std::int64_t start_time(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(in, text);
    size_t end = text.rfind(')');
    if (end == std::string::npos)
        return 0;
    std::istringstream fields(text.substr(end + 1));
    std::string field;
    for (int number = 3; number <= 22; number++)
        fields >> field;
    return std::strtoll(field.c_str(), nullptr, 10);
}

// One connection to the key store of one camera; its lock is held for one operation at a time.
class Store
{
public:
    explicit Store(const std::string &root) : root_(root), owner_(getpid()) { open_files(); }
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    bool serves(const std::string &root) const { return root_ == root && owner_ == getpid(); }
    bool valid() const { return valid_; }
    const std::string &wake_place() const { return wake_place_; }

    bool write(const Key &key);
    bool remove(const std::string &name);
    std::optional<Key> get(const std::string &name);
    std::vector<Key> list();
    std::int64_t newest();
    bool changes_behind(std::int64_t seen, std::vector<KeyChange> &changes);
    bool add_watcher(std::int64_t &id, std::int64_t &seen);
    void tell_seen(std::int64_t id, std::int64_t seen);
    void remove_watcher(std::int64_t id);

private:
    // Resets its statement at the end of a use, so that it holds no lock of the database.
    class Use
    {
    public:
        explicit Use(sqlite3_stmt *statement) : statement_(statement) {}
        ~Use()
        {
            sqlite3_reset(statement_);
            sqlite3_clear_bindings(statement_);
        }
        Use(const Use &) = delete;
        Use &operator=(const Use &) = delete;
        Use &bind(int at, std::int64_t number)
        {
            sqlite3_bind_int64(statement_, at, number);
            return *this;
        }
        Use &bind(int at, const std::string &text)
        {
            sqlite3_bind_text(statement_, at, text.data(), static_cast<int>(text.size()),
                              SQLITE_TRANSIENT);
            return *this;
        }
        Use &bind(const Key &key)
        {
            bind(1, key.name).bind(2, static_cast<int>(key.type));
            return key.type == KeyType::string ? bind(3, key.text) : bind(3, key.number);
        }
        bool row() { return sqlite3_step(statement_) == SQLITE_ROW; }
        bool done() { return sqlite3_step(statement_) == SQLITE_DONE; }
        std::int64_t number(int column) { return sqlite3_column_int64(statement_, column); }
        std::string text(int column)
        {
            const void *bytes = sqlite3_column_blob(statement_, column);
            int size = sqlite3_column_bytes(statement_, column);
            return bytes ? std::string(static_cast<const char *>(bytes), static_cast<size_t>(size))
                         : "";
        }
        Key key();

    private:
        sqlite3_stmt *statement_;
    };

    void open_files();
    bool prepare();
    bool complain(const char *what);
    Use use(Statement which) { return Use(statements_[which]); }
    bool transaction(const std::function<bool()> &work);
    void drop_dead_watchers();
    void prune(std::int64_t newest);

    std::string root_, wake_place_;
    pid_t owner_;
    std::mutex lock_;
    Descriptor wake_;
    sqlite3 *database_ = nullptr;
    sqlite3_stmt *statements_[STATEMENT_COUNT] = {};
    bool valid_ = false;
};

Key Store::Use::key()
{
    Key key;
    key.name = text(0);
    key.type = static_cast<KeyType>(number(1));
    if (key.type == KeyType::string)
        key.text = text(2);
    else
        key.number = static_cast<int>(number(2));
    return key;
}

// A process made by fork() must leave its parent's connection alone, closing it included.
Store::~Store()
{
    if (owner_ != getpid())
        return;
    for (sqlite3_stmt *statement : statements_)
        sqlite3_finalize(statement);
    sqlite3_close(database_);
}

bool Store::complain(const char *what)
{
    std::fprintf(stderr, "key store %s: cannot %s: %s\n", root_.c_str(), what,
                 database_ ? sqlite3_errmsg(database_) : std::strerror(errno));
    return false;
}

// The first process of a camera makes the database; the wake file's lock keeps the others waiting.
void Store::open_files()
{
    wake_place_ = root_ + "/virtual/keys.wake";
    wake_ = Descriptor(open(wake_place_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!wake_.lock()) {
        complain("open");
        return;
    }
    std::string place = root_ + "/virtual/keys.db";
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    if (sqlite3_open_v2(place.c_str(), &database_, flags, nullptr) != SQLITE_OK)
        complain("open");
    else
        valid_ = prepare();
    flock(wake_.get(), LOCK_UN);
}

bool Store::prepare()
{
    sqlite3_busy_timeout(database_, 20000);
    if (sqlite3_exec(database_, schema, nullptr, nullptr, nullptr) != SQLITE_OK)
        return complain("set up");
    for (int which = 0; which < STATEMENT_COUNT; which++)
        if (sqlite3_prepare_v3(database_, ::virt::statements[which], -1, SQLITE_PREPARE_PERSISTENT,
                               &statements_[which], nullptr) != SQLITE_OK)
            return complain("prepare");
    return true;
}

bool Store::transaction(const std::function<bool()> &work)
{
    if (!use(BEGIN).done())
        return complain("begin");
    if (work() && use(COMMIT).done())
        return true;
    complain("write");
    use(ROLLBACK).done();
    return false;
}

void Store::drop_dead_watchers()
{
    std::vector<std::int64_t> dead;
    {
        Use watchers = use(LIST_WATCHERS);
        while (watchers.row()) {
            auto pid = static_cast<pid_t>(watchers.number(1));
            if (start_time(pid) != watchers.number(2))
                dead.push_back(watchers.number(0));
        }
    }
    for (std::int64_t id : dead)
        use(REMOVE_WATCHER).bind(1, id).done();
}

void Store::prune(std::int64_t newest)
{
    drop_dead_watchers();
    use(PRUNE).bind(1, newest).done();
}

bool Store::write(const Key &key)
{
    std::lock_guard guard(lock_);
    bool good = transaction([&] {
        if (!use(PUT).bind(key).done() || !use(ADD_CHANGE).bind(key).done())
            return false;
        std::int64_t newest = sqlite3_last_insert_rowid(database_);
        if (newest % prune_every == 0)
            prune(newest);
        return true;
    });
    if (good && pwrite(wake_.get(), "\n", 1, 0) < 0)
        return complain("wake the watchers");
    return good;
}

bool Store::remove(const std::string &name)
{
    std::lock_guard guard(lock_);
    return use(REMOVE).bind(1, name).done() && sqlite3_changes(database_) > 0;
}

std::optional<Key> Store::get(const std::string &name)
{
    std::lock_guard guard(lock_);
    Use found = use(GET);
    if (!found.bind(1, name).row())
        return std::nullopt;
    return found.key();
}

std::vector<Key> Store::list()
{
    std::lock_guard guard(lock_);
    std::vector<Key> keys;
    Use rows = use(LIST);
    while (rows.row())
        keys.push_back(rows.key());
    return keys;
}

std::int64_t Store::newest()
{
    std::lock_guard guard(lock_);
    Use found = use(NEWEST);
    return found.row() ? found.number(0) : 0;
}

bool Store::changes_behind(std::int64_t seen, std::vector<KeyChange> &changes)
{
    std::lock_guard guard(lock_);
    Use rows = use(READ_CHANGES);
    rows.bind(1, seen);
    while (rows.row())
        changes.push_back({rows.number(3), rows.key()});
    return !changes.empty();
}

bool Store::add_watcher(std::int64_t &id, std::int64_t &seen)
{
    std::lock_guard guard(lock_);
    pid_t pid = getpid();
    return transaction([&] {
        if (!use(ADD_WATCHER).bind(1, pid).bind(2, start_time(pid)).done())
            return false;
        id = sqlite3_last_insert_rowid(database_);
        Use found = use(NEWEST);
        seen = found.row() ? found.number(0) : 0;
        return true;
    });
}

void Store::tell_seen(std::int64_t id, std::int64_t seen)
{
    std::lock_guard guard(lock_);
    use(TELL_SEEN).bind(1, id).bind(2, seen).done();
}

void Store::remove_watcher(std::int64_t id)
{
    std::lock_guard guard(lock_);
    use(REMOVE_WATCHER).bind(1, id).done();
}

std::mutex current_lock;

std::shared_ptr<Store> &current()
{
    static auto &store = *new std::shared_ptr<Store>; // never destroyed: threads may outlive main()
    return store;
}

// nullptr when there is no camera or its store cannot be opened.
std::shared_ptr<Store> store()
{
    if (!present())
        return nullptr;
    std::string now = root();
    std::lock_guard guard(current_lock);
    std::shared_ptr<Store> &kept = current();
    if (!kept || !kept->serves(now))
        kept = std::make_shared<Store>(now);
    if (!kept->valid())
        kept.reset();
    return kept;
}

bool write_key(const Key &key)
{
    std::shared_ptr<Store> where = store();
    return where && where->write(key);
}

} // namespace

std::string Key::value() const
{
    switch (type) {
    case KeyType::integer:
        return std::to_string(number);
    case KeyType::boolean:
        return number ? "true" : "false";
    case KeyType::string:
        return text;
    }
    return "";
}

bool set_int(const std::string &name, int value)
{
    return write_key({name, KeyType::integer, value, ""});
}

bool set_bool(const std::string &name, bool value)
{
    return write_key({name, KeyType::boolean, value ? 1 : 0, ""});
}

bool set_string(const std::string &name, const std::string &value)
{
    return write_key({name, KeyType::string, 0, value});
}

bool remove_key(const std::string &name)
{
    std::shared_ptr<Store> where = store();
    return where && where->remove(name);
}

std::string key_place(const std::string &name)
{
    return file("key/" + name);
}

bool keys_open()
{
    return store() != nullptr;
}

std::optional<Key> get_key(const std::string &name)
{
    std::shared_ptr<Store> where = store();
    return where ? where->get(name) : std::nullopt;
}

std::vector<Key> list_keys()
{
    std::shared_ptr<Store> where = store();
    return where ? where->list() : std::vector<Key>();
}

std::int64_t newest_change()
{
    std::shared_ptr<Store> where = store();
    return where ? where->newest() : 0;
}

struct KeyWatch::State {
    std::shared_ptr<Store> store;
    Descriptor wake;
    std::int64_t id = 0, seen = 0, told = 0;
    pid_t owner = getpid();
};

// The descriptor listens before the newest write is asked for, so that none falls in between.
KeyWatch::KeyWatch() : state_(std::make_unique<State>())
{
    std::shared_ptr<Store> where = store();
    if (!where)
        return;
    state_->wake = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (inotify_add_watch(state_->wake.get(), where->wake_place().c_str(), IN_MODIFY) < 0) {
        std::perror("key store: cannot watch");
        return;
    }
    if (!where->add_watcher(state_->id, state_->seen))
        return;
    state_->told = state_->seen;
    state_->store = std::move(where);
}

KeyWatch::~KeyWatch()
{
    if (valid() && state_->owner == getpid())
        state_->store->remove_watcher(state_->id);
}

bool KeyWatch::valid() const
{
    return state_->store != nullptr;
}

int KeyWatch::fd() const
{
    return valid() ? state_->wake.get() : -1;
}

std::vector<KeyChange> KeyWatch::read()
{
    std::vector<KeyChange> changes;
    if (!valid())
        return changes;
    alignas(inotify_event) char events[4096];
    while (::read(state_->wake.get(), events, sizeof(events)) > 0)
        ;
    if (!state_->store->changes_behind(state_->seen, changes))
        return changes;
    state_->seen = changes.back().sequence;
    if (state_->seen - state_->told >= tell_seen_every) {
        state_->store->tell_seen(state_->id, state_->seen);
        state_->told = state_->seen;
    }
    return changes;
}

void release_keys()
{
    release_watches();
    std::lock_guard guard(current_lock);
    current().reset();
}

} // namespace virt

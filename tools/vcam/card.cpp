// vcam card: the memory card in and out of its slot, locked or not.
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <vector>

namespace vcam
{
namespace
{

// Programs of the camera may stand in the card's folder.  That folder stays the camera's: a card is
// what lies in it, so they stand in an empty folder while the card is out and on the next card
// then, never in a card that lies somewhere else.  A card that is a link to a folder goes in and
// out as such.
struct card_places {
    fs::path slot;        // with a card in
    fs::path closed_slot; // the same folder without one
    fs::path drawer;      // the card that is out
};

void move_contents(const fs::path &from, const fs::path &to)
{
    std::vector<fs::path> names; // listed before the first of them goes
    for (const fs::directory_entry &entry : fs::directory_iterator(from))
        names.push_back(entry.path().filename());
    for (const fs::path &name : names)
        fs::rename(from / name, to / name);
}

void fill_slot(const card_places &at)
{
    if (fs::is_symlink(at.drawer))
        return fs::rename(at.drawer, at.slot);
    fs::create_directory(at.closed_slot);
    if (fs::exists(at.drawer)) {
        move_contents(at.drawer, at.closed_slot);
        fs::remove(at.drawer);
    }
    fs::rename(at.closed_slot, at.slot);
}

void empty_slot(const card_places &at)
{
    if (fs::is_symlink(at.slot))
        return fs::rename(at.slot, at.drawer);
    fs::remove(at.closed_slot); // fails with something in it
    fs::create_directory(at.drawer);
    fs::rename(at.slot, at.closed_slot); // gone at once for all who look
    move_contents(at.closed_slot, at.drawer);
}

void insert_card(const card_places &at)
{
    if (fs::exists(at.slot))
        throw failure("a card is inserted already");
    fill_slot(at);
    move_plug(CARD_PLUG, true);
}

void need_card(const card_places &at)
{
    if (!fs::exists(at.slot))
        throw failure("no card is inserted");
}

void remove_card(const card_places &at)
{
    need_card(at);
    if (fs::exists(at.drawer))
        throw failure("'" + at.drawer.string() + "' holds a card already");
    empty_slot(at);
    move_plug(CARD_PLUG, false);
}

// The switch on the card's side, as the camera feels it.
void lock_card(const card_places &at, bool locked)
{
    need_card(at);
    move_plug(LOCK_PLUG, locked);
}

} // namespace

int verb_card(const invocation &in, CLI::App &app)
{
    std::string what;
    app.add_option("ACTION", what, "insert, remove, lock or unlock")
        ->required()
        ->check(CLI::IsMember({"insert", "remove", "lock", "unlock"}));
    in.open(app);
    const card_places at = {on_pc("/sdcard"), virt::file("slot"), virt::file("card")};
    if (what == "insert")
        insert_card(at);
    else if (what == "remove")
        remove_card(at);
    else
        lock_card(at, what == "lock");
    return OK;
}

} // namespace vcam

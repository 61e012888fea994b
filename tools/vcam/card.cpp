// vcam card: the memory card in and out of its slot.
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"

namespace vcam
{
namespace
{

void insert_card(const fs::path &slot, const fs::path &drawer)
{
    if (fs::exists(slot))
        throw failure("a card is inserted already");
    if (fs::exists(drawer))
        fs::rename(drawer, slot);
    else
        fs::create_directory(slot);
}

void remove_card(const fs::path &slot, const fs::path &drawer)
{
    if (!fs::exists(slot))
        throw failure("no card is inserted");
    if (fs::exists(drawer))
        throw failure("'" + drawer.string() + "' holds a card already");
    fs::rename(slot, drawer);
}

} // namespace

int verb_card(const invocation &in, CLI::App &app)
{
    std::string what;
    app.add_option("ACTION", what, "insert or remove")
        ->required()
        ->check(CLI::IsMember({"insert", "remove"}));
    in.open(app);
    const fs::path slot = on_pc("/sdcard");
    const fs::path drawer = virt::file("card");
    if (what == "insert")
        insert_card(slot, drawer);
    else
        remove_card(slot, drawer);
    return OK;
}

} // namespace vcam

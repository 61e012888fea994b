// vcam screen: what the operator in front of the camera sees.
#include "platform/virtual/screen.h"
#include "tools/vcam/screen_program.h"
#include "tools/vcam/screen_rows.h"
#include "tools/vcam/verb.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace vcam
{
namespace
{

void print_rows(const nlohmann::json &screen, const char *kind)
{
    for (const auto &[number, row] : rows_of_screen(screen, kind))
        std::printf("%s %d: %s\n", kind, number, row.text.c_str());
}

void print_screen()
{
    const nlohmann::json screen = virt::read_screen();
    print_rows(screen, "text");
    print_rows(screen, "grid");
    if (screen.contains("image") && screen["image"].is_string())
        std::printf("image: %s\n", screen["image"].get<std::string>().c_str());
    for (const screen_mark &mark : marks_of_screen(screen))
        std::printf("drawing %d: %s\n", mark.kind, mark.text.c_str());
}

} // namespace

int verb_screen(const invocation &in, CLI::App &app)
{
    fs::path png;
    bool text = false, window = false;
    CLI::Option_group *ways = app.add_option_group("how", "How to show it (default: --text)");
    ways->require_option(0, 1);
    ways->add_option("--png", png, "Draw it as a PNG file")->type_name("FILE");
    ways->add_flag("--text", text, "Print the rows");
    ways->add_flag("--window", window, "In a window that follows every change");
    in.open(app);
    if (window)
        become_screen_program({"--window"});
    else if (!png.empty())
        become_screen_program({"--png", png});
    else
        print_screen();
    return OK;
}

} // namespace vcam

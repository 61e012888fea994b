#include "platform/factory_osd.h"

#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"
#include "platform/virtual/screen.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <string>

using nlohmann::json;

namespace
{

constexpr int white = 7;
constexpr int black = 0;
constexpr int usual_size = 30;

json empty_screen()
{
    return {{"on", false},
            {"text", json::object()},
            {"grid", json::object()},
            {"text_color", white},
            {"text_size", usual_size},
            {"background", black},
            {"window", {{"width", 800}, {"height", 480}, {"x", 0}, {"y", 0}}},
            {"image", nullptr},
            {"drawings", json::array()}};
}

// Members that a hand or an older program left out get their usual value.
json completed(const json &found)
{
    json screen = empty_screen();
    if (!found.is_object())
        return screen;
    for (auto &[name, usual] : screen.items()) {
        auto given = found.find(name);
        if (given == found.end())
            continue;
        if (given->type() == usual.type() || (given->is_number() && usual.is_number()) ||
            (name == "image" && given->is_string()))
            usual = *given;
    }
    return screen;
}

bool clear_all(json &screen)
{
    screen["text"] = screen["grid"] = json::object();
    screen["image"] = nullptr;
    screen["drawings"] = json::array();
    screen["background"] = black;
    return true;
}

template <typename Change> int changed(const char *call, const json &args, const Change &change)
{
    return virt::told(call, args, {}, [&] { return virt::change_screen(change) ? 0 : -1; });
}

int set_text(const char *call, uint16_t row, const char *text, bool grid)
{
    return virt::told(call, {row, text ? text : ""}, {text}, [=] {
        if (!text)
            return -1;
        return virt::change_screen([=](json &screen) {
            std::string key = std::to_string(row);
            if (grid)
                screen["grid"][key] = text;
            else
                screen["text"][key] = {
                    {"text", text}, {"color", screen["text_color"]}, {"size", screen["text_size"]}};
        })
                   ? 0
                   : -1;
    });
}

int draw_image(const char *path)
{
    if (!path || access(virt::path(path).c_str(), R_OK) != 0)
        return -1;
    return virt::change_screen([=](json &screen) { screen["image"] = path; }) ? 0 : -1;
}

int draw(int kind, const char *text)
{
    if (!text)
        return -1;
    return virt::change_screen([=](json &screen) {
        json &drawings = screen["drawings"];
        if (kind == FACTORY_OSD_DRAW_CLEAR)
            drawings = json::array();
        else
            drawings.push_back({{"kind", kind}, {"text", text}});
    })
               ? 0
               : -1;
}

} // namespace

namespace virt
{

json read_screen()
{
    return completed(json::parse(read_file(file("screen.json")), nullptr, false));
}

bool change_screen(const std::function<void(json &)> &change)
{
    if (!present())
        return false;
    Descriptor lock(open(file("screen.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!lock.lock())
        return false;
    json screen = read_screen();
    change(screen);
    std::string text = screen.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
    return replace_file(file("screen.json"), text);
}

} // namespace virt

int factory_osd_init(void)
{
    return changed("factory_osd_init", json::array(), [](json &screen) { screen["on"] = true; });
}

int factory_osd_deinit(void)
{
    return changed("factory_osd_deinit", json::array(),
                   [](json &screen) { screen = empty_screen(); });
}

int factory_osd_text_set(uint16_t row, const char *text)
{
    return set_text("factory_osd_text_set", row, text, false);
}

int factory_osd_grid_text_set(uint16_t row, const char *text)
{
    return set_text("factory_osd_grid_text_set", row, text, true);
}

int factory_osd_text_clear(void)
{
    return changed("factory_osd_text_clear", json::array(),
                   [](json &screen) { screen["text"] = json::object(); });
}

int factory_osd_grid_text_clear(void)
{
    return changed("factory_osd_grid_text_clear", json::array(),
                   [](json &screen) { screen["grid"] = json::object(); });
}

int factory_osd_text_size_set(int size)
{
    return changed("factory_osd_text_size_set", json::array({size}),
                   [=](json &screen) { screen["text_size"] = size; });
}

int factory_osd_text_color_set(int color)
{
    return changed("factory_osd_text_color_set", json::array({color}),
                   [=](json &screen) { screen["text_color"] = color; });
}

int factory_osd_background_color_set(int color)
{
    return changed("factory_osd_background_color_set", json::array({color}),
                   [=](json &screen) { screen["background"] = color; });
}

int factory_osd_clear(void)
{
    return changed("factory_osd_clear", json::array(), clear_all);
}

int factory_osd_window_move_resize(int width, int height, int x, int y)
{
    return changed("factory_osd_window_move_resize", {width, height, x, y}, [=](json &screen) {
        screen["window"] = {{"width", width}, {"height", height}, {"x", x}, {"y", y}};
    });
}

int factory_osd_image_draw(const char *path)
{
    return virt::told("factory_osd_image_draw", json::array({path ? path : ""}), {path},
                      [=] { return draw_image(path); });
}

int factory_osd_image_clear(void)
{
    return changed("factory_osd_image_clear", json::array(),
                   [](json &screen) { screen["image"] = nullptr; });
}

int factory_osd_draw(int kind, const char *text)
{
    return virt::told("factory_osd_draw", {kind, text ? text : ""}, {text},
                      [=] { return draw(kind, text); });
}

// vcam log and vcam calls: what the camera has written about itself.
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/follow.h"
#include "tools/vcam/verb.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace vcam
{
namespace
{

constexpr char FILE_LOG[] = "/opt/share/rova/rova.log";

void print_line(const std::string &line)
{
    std::puts(line.c_str());
}

// "1792.103344 812 device_set_property(17, 7, 0) = 0"
std::string call_text(const nlohmann::json &call)
{
    std::string arguments;
    for (const nlohmann::json &argument : call.value("args", nlohmann::json::array()))
        arguments += (arguments.empty() ? "" : ", ") + argument.dump();
    char head[64];
    std::snprintf(head, sizeof(head), "%.6f %d ", call.value("time", 0.0), call.value("pid", 0));
    const nlohmann::json result = call.value("result", nlohmann::json());
    return head + call.value("call", "?") + "(" + arguments + ")" +
           (result.is_null() ? "" : " = " + result.dump());
}

void print_call(const std::string &line, const std::string &name, bool raw)
{
    const nlohmann::json call = nlohmann::json::parse(line, nullptr, false);
    if (!call.is_object())
        return; // a line that its writer was killed in
    if (name.empty() || call.value("call", "") == name)
        print_line(raw ? line : call_text(call));
}

} // namespace

int verb_log(const invocation &in, CLI::App &app)
{
    bool follow = false;
    bool platform = false;
    app.add_flag("-f,--follow", follow, "Go on with lines to come, until Ctrl-C");
    app.add_flag("--platform", platform, "The platform log instead of the file log");
    in.open(app);
    show_lines(platform ? fs::path(virt::file("dlog")) : on_pc(FILE_LOG), follow, print_line);
    return OK;
}

int verb_calls(const invocation &in, CLI::App &app)
{
    bool follow = false;
    bool raw = false;
    std::string name;
    app.add_flag("-f,--follow", follow, "Go on with calls to come, until Ctrl-C");
    app.add_flag("--raw", raw, "The lines of calls.jsonl as they stand");
    app.add_option("--name", name, "Only calls of this name")->type_name("CALL");
    in.open(app);
    show_lines(virt::file("calls.jsonl"), follow,
               [&](const std::string &line) { print_call(line, name, raw); });
    return OK;
}

} // namespace vcam

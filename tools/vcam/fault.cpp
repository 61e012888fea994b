// vcam fault: platform calls that are to fail.
#include "platform/virtual/faults.h"
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vcam
{
namespace
{

struct fault_options {
    std::string call;
    std::string result;
    long at = 0;
    std::string error;
    std::string text;
};

std::string check_call(const std::string &call)
{
    constexpr char LETTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    const bool good = !call.empty() && call.find_first_not_of(LETTERS) == std::string::npos;
    return good ? "" : "'" + call + "' is no name of a call";
}

std::string check_result(const std::string &result)
{
    return to_word32(result) ? "" : "'" + result + "' is no 32-bit number";
}

std::string check_errno(const std::string &name)
{
    for (int number = 1; number < 200; number++) {
        const char *known = strerrorname_np(number);
        if (known != nullptr && name == known)
            return "";
    }
    return "no errno of that name: " + name;
}

std::vector<std::string> faults()
{
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(virt::file("fail"), error)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with('.'))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void list_faults()
{
    for (const std::string &name : faults()) {
        const std::string how = read_file(virt::file("fail/" + name)).value_or("");
        std::printf("%s %s\n", name.c_str(), how.substr(0, how.find('\n')).c_str());
    }
}

void clear_faults(const std::string &call)
{
    if (!call.empty() && !virt::clear_fault(call))
        throw failure("no fault is set for '" + call + "'");
    if (!call.empty())
        return;
    for (const std::string &name : faults())
        virt::clear_fault(name);
}

void set_fault(const fault_options &options)
{
    std::string how = options.result;
    if (options.at > 0)
        how += " at " + std::to_string(options.at);
    if (!options.error.empty())
        how += " errno " + options.error;
    if (!options.text.empty())
        how += " on " + options.text; // takes the rest of the line
    if (how.find('\n') != std::string::npos || !virt::set_fault(options.call, how))
        throw failure("the fault of '" + options.call + "' cannot be set");
}

} // namespace

int verb_fault(const invocation &in, CLI::App &app)
{
    fault_options options;
    bool clear = false;
    app.add_option("CALL", options.call, "The call; without one: list all faults")
        ->check(CLI::Validator(check_call, ""));
    app.add_option("RESULT", options.result, "What it returns instead of doing its work")
        ->check(CLI::Validator(check_result, ""));
    app.add_option("--at", options.at, "Only the N-th call from now on")
        ->check(CLI::Validator(check_count, ""))
        ->type_name("N");
    app.add_option("--errno", options.error, "The errno it sets, such as ENOSPC")
        ->check(CLI::Validator(check_errno, ""))
        ->type_name("NAME");
    app.add_option("--on", options.text, "Only calls with TEXT in a text argument")
        ->type_name("TEXT");
    app.add_flag("--clear", clear, "End the fault of CALL, or all");
    in.open(app);
    if (clear && !options.result.empty())
        throw failure("--clear takes no RESULT");
    if (clear)
        clear_faults(options.call);
    else if (options.call.empty())
        list_faults();
    else if (options.result.empty())
        throw failure("RESULT is missing: what '" + options.call + "' is to return");
    else
        set_fault(options);
    return OK;
}

} // namespace vcam

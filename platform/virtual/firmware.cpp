#include "platform/firmware.h"

#include "platform/virtual/root.h"
#include "platform/virtual/told.h"
#include "platform/virtual/values.h"

#include <cstdio>
#include <fstream>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <string>

namespace
{

constexpr char card[] = "/mnt/mmc/";

// The body that a fresh camera has.
constexpr char usual_project[] = "LUMEN1";
constexpr char usual_version[] = "1.00";

// Texts are given away for the life of the process, and a value may change meanwhile.
const char *keep(const std::string &text)
{
    static std::mutex lock;
    static auto *const texts = new std::set<std::string>;
    std::lock_guard guard(lock);
    return texts->insert(text).first->c_str();
}

std::string text_of(const char *name, const char *usual)
{
    return virt::read_value(virt::file(name)).value_or(usual);
}

// Never NULL, so a failure gives an empty text.
const char *answer(const char *call, const char *name, const char *usual)
{
    if (virt::fault(call) || !virt::present())
        return "";
    return keep(text_of(name, usual));
}

// The version that the file at `path` brings for this body: its first line names both.
std::optional<std::string> version_in(const char *path)
{
    if (!path || !virt::present())
        return std::nullopt;
    std::ifstream file(virt::path(path));
    std::string line, project, version, more;
    std::getline(file, line);
    std::istringstream words(line);
    bool good = words >> project >> version && !(words >> more) &&
                project == text_of("firmware/project", usual_project) &&
                version.size() < FW_VERSION_SIZE;
    return good ? std::optional(version) : std::nullopt;
}

// The update is over at once; the version is the one that the restarted camera has.
int upgrade(const char *name)
{
    if (!name)
        return -1;
    std::optional<std::string> version = version_in((std::string(card) + name).c_str());
    bool good = version && virt::write_value(virt::file("firmware/version"), *version);
    return good ? 0 : -1;
}

long long number_of(const char *name, long long usual)
{
    return virt::read_number(virt::file(name)).value_or(usual);
}

} // namespace

const char *get_project_name(void)
{
    return answer("get_project_name", "firmware/project", usual_project);
}

const char *get_fw_version_short(void)
{
    return answer("get_fw_version_short", "firmware/version", usual_version);
}

int get_board_version(void)
{
    if (auto failure = virt::fault("get_board_version"))
        return static_cast<int>(*failure);
    if (!virt::present())
        return -1;
    return static_cast<int>(number_of("firmware/board_version", 1));
}

int fw_validate(struct fw_info *info, const char *path)
{
    if (info)
        *info = {};
    if (auto failure = virt::fault("fw_validate", {path}))
        return static_cast<int>(*failure);
    return info && version_in(path) ? 0 : -1;
}

int fw_get_info(struct fw_info *info, const char *path)
{
    if (info)
        *info = {};
    if (auto failure = virt::fault("fw_get_info", {path}))
        return static_cast<int>(*failure);
    std::optional<std::string> version = version_in(path);
    if (!info || !version)
        return -1;
    std::snprintf(info->version, sizeof(info->version), "%s", version->c_str());
    return 0;
}

int fw_start_upgrade(const char *name)
{
    return virt::told("fw_start_upgrade", nlohmann::json::array({name ? name : ""}), {name},
                      [=] { return upgrade(name); });
}

int get_micom_version(uint32_t *version, uint32_t *status)
{
    if (auto failure = virt::fault("get_micom_version"))
        return static_cast<int>(*failure);
    if (!version || !status || !virt::present())
        return -1;
    *version = static_cast<uint32_t>(number_of("firmware/micom_version", 1));
    *status = static_cast<uint32_t>(number_of("firmware/micom_status", 0));
    return 0;
}

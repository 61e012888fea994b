// A camera of a test's own: made below TMPDIR, gone with the test.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test
{

class Camera
{
public:
    // Makes the folders of a bare camera (a card inserted, no marker file, no program in usr/bin)
    // and points ROVA_SYSROOT at it.  The destructor removes the kernel objects and the folder.
    Camera();
    ~Camera();
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    const std::filesystem::path &root() const { return root_; }
    // The place on the PC of a path of the camera.
    std::filesystem::path path(const std::string &camera_path) const;

    void write(const std::string &camera_path, const std::string &text) const;
    std::string read(const std::string &camera_path) const; // "" if there is no such file
    bool exists(const std::string &camera_path) const;
    void remove(const std::string &camera_path) const;

    // virtual/fail/CALL, in the form of docs/virtual-camera.md: fault("pref_save", "-1 at 3").
    void fault(const std::string &call, const std::string &how) const;
    void clear_fault(const std::string &call) const;
    void speed(double factor) const;

    // The key store, as another process would see it; nullopt: no such key, or another type.
    std::optional<int> key_int(const std::string &key) const;
    std::optional<std::string> key_string(const std::string &key) const;

    // The calls so far, all or those of one name, each as it stands in calls.jsonl.  Who looks into
    // them includes <nlohmann/json.hpp>.
    std::vector<nlohmann::json> calls() const;
    std::vector<nlohmann::json> calls(const std::string &name) const;
    // The same in one text a call, such as "device_set_property(17, 7, 0)".
    std::vector<std::string> call_texts() const;

    std::string file_log() const { return read("/opt/share/rova/rova.log"); }
    std::string platform_log() const { return read("/virtual/dlog"); }
    bool logged(const std::string &text) const; // in the platform log

private:
    std::filesystem::path root_;
};

// Waits until `condition` holds, looking every few milliseconds; false after `seconds`.
bool wait_for(const std::function<bool()> &condition, double seconds = 20);

// Runs what is pending on GLib's default context until `condition` holds; false after `seconds`.
bool serve_until(const std::function<bool()> &condition, double seconds = 20);

} // namespace test

// Programs of the camera that go on behind vcam.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vcam
{

// What is found on the PC for a program of the camera.
struct program_place {
    const char *file;
    std::vector<const char *> folders; // looked at first, from the folder of vcam
    const char *option;                // that names another one
};

// `given`, unless it is empty; else the program in one of the folders, or the first in $PATH.
std::filesystem::path find_program(const program_place &place, const std::filesystem::path &given);

// Started by this process; ended for good only when its parent looks (has_ended).
class background_process
{
public:
    // The program sees the words as its arguments, leads a session of its own, and has its output
    // appended to the file virtual/OUTPUT.
    background_process(const std::filesystem::path &program, const std::vector<std::string> &words,
                       const std::filesystem::path &folder, const char *output);

    bool has_ended();
    pid_t pid() const { return pid_; }
    // What it has written so far.
    std::string output() const;

private:
    std::filesystem::path output_file_;
    std::uintmax_t output_start_;
    pid_t pid_;
    bool ended_ = false;
};

// 0 when there is no such file.
std::uintmax_t size_of(const std::filesystem::path &path);
// The last lines of what a program said, on the error stream: for the person who wonders why it did
// not come up.
void print_output(const std::string &output);

} // namespace vcam

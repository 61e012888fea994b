// Where the virtual camera lies.  ROVA_SYSROOT is read at each use, so a test may change it.
// All functions of platform/virtual may be called from any thread unless said otherwise.
#pragma once

#include <string>
#include <string_view>

namespace virt
{

// The camera's directory, absolute and without links; "" when there is no camera.
std::string root();

// The place on the PC of a path of the camera.  Relative paths, /dev/null and all paths while there
// is no camera are given back as they are.  ".." leaves the folder named before it, and never the
// camera.
std::string path(std::string_view camera_path);

// The camera's name of a place on the PC, such as one read from /proc/self/fd.
std::string camera_path(std::string_view place);

// The camera path of an open descriptor; "" when it has none.
std::string name_behind(int fd);

// A file or folder below virtual/: file("property/4.21").
std::string file(std::string_view name);

// False, with a line on the error stream the first time, when there is no camera.
bool present();

// The camera's speed factor, above 0; 1 when virtual/speed is missing or no number.
double speed();

// 64-bit FNV-1a, for names and keys that belong to one camera.
unsigned long long hash(std::string_view text);

} // namespace virt

// What became of each line of a station's script.
#pragma once

#include <string>
#include <vector>

namespace e2e
{

using Lines = std::vector<std::string>;

// The verdict and the text of each command that vcam run tells: "OK nfc nfc_on".
Lines verdicts(const std::string &output);

// The same of a script when the commands ahead of `last`, the `nth` that reads so, ended with OK,
// it as `verdict` says, and those behind it did not run.
Lines ended_at(const std::string &script, const std::string &last, const std::string &verdict,
               int nth = 1);

// How many of the lines tell of an OK.
std::size_t count_ok(const Lines &told);

} // namespace e2e

// Texts to compare: a text's lines, and what the process itself prints.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace test
{

// Without their ends; a text that ends with a line feed has no empty line behind it.
std::vector<std::string> lines_of(const std::string &text);

// What `action` writes to standard output.
std::string captured_output(const std::function<void()> &action);

} // namespace test

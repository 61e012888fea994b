// The virtual camera's camera application: its answers, and its side of the camera stack.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace virt
{

// The words of a command record (500 bytes): its word and its parameters.
std::vector<std::string> command_words(const void *command);

// Some file below virtual/app/answer/ says what the command is answered with.
bool has_app_answer(const void *command);

enum class AppAnswer { given, never };

// The answer to one command record (500 bytes), written into the answer record (526 bytes), as the
// files below virtual/app/answer say (docs/virtual-camera.md): it may come late, never, or end the
// process.  `never`: the caller does not acknowledge the command.  `channel`, "ipcc" or "app", is
// for the call log.
AppAnswer app_answer(const char *channel, const void *command, void *answer);

// For an application that ends: behind end_app_answers() late answers are never given, and
// wait_for_app_end(), for commands that hang, returns.
void end_app_answers();
void wait_for_app_end();

// What was given to the camera stack under this number, to be called with its real type; NULL when
// there is none.
using AppService = void (*)();
AppService app_service(uint32_t number);

} // namespace virt

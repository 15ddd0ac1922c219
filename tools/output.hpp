// Standard output, whose errors end the program, and messages on standard error.
#pragma once

#include <string_view>

namespace tool {

// Whole lines leave the program as soon as they are known. Call before the first output.
void open_output();

// Writes text to standard output; throws failure when that does not work.
void write(std::string_view text);

// Flushes and closes standard output; throws failure when anything was lost.
void close_output();

// "kestrim: message" on standard error, control characters replaced.
void report(std::string_view message);

} // namespace tool

// Standard output, whose errors end the program, and messages on standard error.
#pragma once

#include <string_view>

namespace tool {

// Whole lines leave the program as soon as they are known. Opens /dev/null in the place of standard streams that are
// closed: the library does not read the random device through one of their descriptors. Call before anything else.
void open_output();

// Writes text to standard output; throws failure when that does not work.
void write(std::string_view text);

// Flushes and closes standard output; throws failure when anything was lost.
void close_output();

// "kestrim: message" on standard error, control characters replaced.
void report(std::string_view message);

} // namespace tool

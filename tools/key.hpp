// Keys and initialisation vectors from the command line or from files.
#pragma once

#include "tools/command.hpp"
#include "tools/command_line.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tool {

// A secret or public value that is given as hexadecimal digits or as a file whose bytes, all of them, are the value.
struct value_options {
    std::string hex;
    std::string file;
};

void add_key_options(const subcommand& command, value_options& options);

// All bytes of a file, or of standard input for "-": at most 1 MiB. Throws failure: kFailed when it cannot be read, kUsage
// when it is longer than `what` ("a key") can be.
std::vector<std::uint8_t> read_small_file(const std::string& name, const char* what, const session& session);

// The key. The digits of -K are hidden from the list of processes, and messages do not show them. Throws failure: kUsage
// when not exactly one source is given, when it is empty or not hexadecimal, kFailed when the file cannot be read.
std::vector<std::uint8_t> read_key(const value_options& options, const session& session);

// The IV: --iv or --iv-file; empty when neither is given.
std::vector<std::uint8_t> read_iv(const value_options& options, const session& session);

// Throws failure, kUsage, unless `value` has the length that `owner` needs, or one between two: "the key of aes-128
// has 16 bytes, not 15", "the key of rc4 has 1 to 256 bytes, not 300".
void require_length(std::span<const std::uint8_t> value, std::size_t bytes, const char* what, const std::string& owner);
void require_length(std::span<const std::uint8_t> value, std::size_t least, std::size_t most, const char* what,
                    const std::string& owner);

} // namespace tool

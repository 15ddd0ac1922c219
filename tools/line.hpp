// Lines of a checksum list: "HEX  NAME", in the form that sha256sum writes and reads.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The line with its newline. A name with a newline, carriage return or backslash is escaped, and a backslash in front
// of the line says so.
std::string make_line(std::span<const std::uint8_t> value, std::string_view name);

// A name as one line of text: with a newline in it, a backslash in front and escaped; else as it is.
std::string name_on_one_line(std::string_view name);

struct checksum_line {
    std::vector<std::uint8_t> value;
    std::string name;
};

// Reads a line (without its newline) whose value has `value_bytes` bytes; nothing when it is ill-formed. Takes both
// "HEX  NAME" and "HEX *NAME".
std::optional<checksum_line> parse_line(std::string_view line, std::size_t value_bytes);

} // namespace tool

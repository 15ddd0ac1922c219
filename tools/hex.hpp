// Hexadecimal text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Two lower-case digits for each byte.
std::string to_hex(std::span<const std::uint8_t> bytes);

// The bytes of an even number of digits in either case; nothing for any other text.
std::optional<std::vector<std::uint8_t>> from_hex(std::string_view text);

} // namespace tool

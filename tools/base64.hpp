// Base64 (RFC 4648, section 4). Keys pass through here, so no table is read at a secret place and nothing branches on a
// digit: one is looked at by arithmetic alone.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {
namespace base64 {

// All ones when a >= b, for numbers below 2^31.
constexpr std::uint32_t at_least(std::uint32_t a, std::uint32_t b)
{
    return ((a - b) >> 31) - 1;
}

constexpr std::uint32_t within(std::uint32_t c, char first, char last)
{
    return at_least(c, std::uint8_t(first)) & ~at_least(c, std::uint8_t(last) + 1U);
}

// A-Z, a-z, 0-9, +, /: each term is the step from one run of characters to the next.
constexpr char digit(std::uint32_t value)
{
    return char(value + 'A' + (at_least(value, 26) & ('a' - 'Z' - 1)) - (at_least(value, 52) & ('z' + 1 - '0')) -
                (at_least(value, 62) & ('9' + 1 - '+')) + (at_least(value, 63) & ('/' - '+' - 1)));
}

// The value of a digit; 64 for any other character.
constexpr std::uint32_t value(char digit)
{
    const std::uint32_t c = std::uint8_t(digit);
    const std::uint32_t upper = within(c, 'A', 'Z'), lower = within(c, 'a', 'z'), number = within(c, '0', '9');
    const std::uint32_t plus = within(c, '+', '+'), slash = within(c, '/', '/');
    return (upper & (c - 'A')) | (lower & (c - 'a' + 26)) | (number & (c - '0' + 52)) | (plus & 62) | (slash & 63) |
           (~(upper | lower | number | plus | slash) & 64);
}

} // namespace base64

inline std::string to_base64(std::span<const std::uint8_t> bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const auto byte = [&](std::size_t i) { return at + i < bytes.size() ? std::uint32_t{bytes[at + i]} : 0; };
        const std::uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
        const std::size_t digits = std::min<std::size_t>(bytes.size() - at, 3) + 1;
        for (std::size_t i = 0; i < 4; ++i)
            text += i < digits ? base64::digit(group >> (18 - 6 * i) & 63) : '=';
    }
    return text;
}

// Nothing unless the text is what to_base64() makes of some bytes: whole groups, and no bits that have no place.
inline std::optional<std::vector<std::uint8_t>> from_base64(std::string_view text)
{
    if (text.size() % 4 != 0) return {};
    std::size_t digits = text.size();
    while (digits != 0 && text.size() - digits < 2 && text[digits - 1] == '=')
        --digits;

    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t waiting = 0, wrong = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        const std::uint32_t value = base64::value(text[i]);
        wrong |= value & 64;
        waiting = (waiting << 6 | (value & 63)) & 0xFFF;
        // Bits that wait behind digit 0, 1, 2, 3 of a group: 6, 12, 10, 8.
        if (i % 4 != 0) bytes.push_back(std::uint8_t(waiting >> (6 - i % 4 * 2)));
    }
    const std::uint32_t unused = digits % 4 == 0 ? 0 : digits % 4 == 2 ? 0xF : 0x3;
    if (wrong != 0 || (waiting & unused) != 0) return {};
    return bytes;
}

} // namespace tool

// Bytes written as hexadecimal text, turned into an array at compile time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

void not_a_lower_case_hexadecimal_digit(); // never defined: calling it stops a constant evaluation

consteval std::uint8_t hex_digit(char c)
{
    if (c >= '0' && c <= '9') return std::uint8_t(c - '0');
    if (c >= 'a' && c <= 'f') return std::uint8_t(c - 'a' + 10);
    not_a_lower_case_hexadecimal_digit();
    return 0;
}

template <std::size_t N>
consteval auto hex(const char (&text)[N])
{
    static_assert(N % 2 == 1, "an even number of digits");
    std::array<std::uint8_t, N / 2> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = std::uint8_t(hex_digit(text[2 * i]) << 4 | hex_digit(text[2 * i + 1]));
    }
    return bytes;
}

} // namespace zrc

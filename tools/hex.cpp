#include "tools/hex.hpp"

namespace tool {
namespace {

// -1 for what is no digit.
int digit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

std::string to_hex(std::span<const std::uint8_t> bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";

    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> from_hex(std::string_view text)
{
    if (text.size() % 2 != 0) return {};
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = digit(text[i]);
        const int low = digit(text[i + 1]);
        if (high < 0 || low < 0) return {};
        bytes.push_back(std::uint8_t(high << 4 | low));
    }
    return bytes;
}

} // namespace tool

#include "tools/number.hpp"

#include "tools/arguments.hpp"
#include "tools/command.hpp"
#include "tools/library.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <new>

namespace tool {
namespace {

// The number may be a secret, so its text is wiped.
struct release_text {
    void operator()(char* text) const noexcept { ZRC_Free_Ex(text, std::uint32_t(std::strlen(text))); }
};

template <class T>
T* required(T* object)
{
    if (object == nullptr) throw std::bad_alloc{};
    return object;
}

} // namespace

number new_number()
{
    return number{required(ZRC_New_BIGINT())};
}

number_pool new_number_pool()
{
    return number_pool{required(ZRC_New_BIGINT_Pool())};
}

number parse_number(std::string_view word)
{
    const std::string text = plain(word);
    std::string digits = text.starts_with("0x") || text.starts_with("0X") ? text.substr(2) : text;
    const bool hexadecimal =
        !digits.empty() && std::ranges::all_of(digits, [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (!hexadecimal) throw failure{kUsage, "not a hexadecimal number: " + text};
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits == "0") return new_number();
    return number{required(ZRC_HEX_To_BIGINT(digits.c_str()))};
}

number to_number(std::span<const std::uint8_t> big_endian)
{
    if (big_endian.empty()) return new_number();
    return number{required(ZRC_Binary_To_BIGINT(big_endian.data(), std::int32_t(big_endian.size()), nullptr))};
}

std::vector<std::uint8_t> to_bytes(const ZRC_BIGINT& value)
{
    std::vector<std::uint8_t> bytes((ZRC_Get_BIGINT_Bits_Length(&value) + 7) / 8);
    bytes.resize(std::size_t(ZRC_BIGINT_To_Binary_Unsigned(&value, bytes.data())));
    return bytes;
}

number optional_number(std::span<const std::uint8_t> big_endian)
{
    return big_endian.empty() ? nullptr : to_number(big_endian);
}

std::vector<std::uint8_t> optional_bytes(const ZRC_BIGINT* value)
{
    return value ? to_bytes(*value) : std::vector<std::uint8_t>{};
}

std::vector<std::uint8_t> to_bytes(const ZRC_BIGINT& value, std::size_t size)
{
    std::vector<std::uint8_t> bytes = to_bytes(value);
    bytes.insert(bytes.begin(), size - bytes.size(), 0);
    return bytes;
}

std::string to_text(const ZRC_BIGINT& value, bool decimal)
{
    const std::unique_ptr<char, release_text> text{
        required(decimal ? ZRC_BIGINT_To_DEC(&value) : ZRC_BIGINT_To_HEX(&value))};
    std::string digits = text.get();
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    std::ranges::transform(digits, digits.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return digits;
}

void random_bytes(std::span<std::uint8_t> bytes)
{
    constexpr std::size_t kMost = 1 << 20; // for each request
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), kMost));
        require(ZRC_Rand_Bytes(piece.data(), std::int32_t(piece.size())), "ZRC_Rand_Bytes");
        bytes = bytes.subspan(piece.size());
    }
}

} // namespace tool

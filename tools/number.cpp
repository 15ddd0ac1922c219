#include "tools/number.hpp"

#include "tools/arguments.hpp"
#include "tools/command.hpp"
#include "tools/library.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

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

std::string to_text(const ZRC_BIGINT& value, bool decimal)
{
    const std::unique_ptr<char, release_text> text{
        required(decimal ? ZRC_BIGINT_To_DEC(&value) : ZRC_BIGINT_To_HEX(&value))};
    std::string digits = text.get();
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    std::ranges::transform(digits, digits.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return digits;
}

void occupy_standard_streams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0) continue;
        // The wrong way round, so that reading or writing fails as on a closed one.
        const int opened = ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (opened != stream) throw failure{kFailed, "a standard stream is closed, and there is no /dev/null for it"};
    }
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

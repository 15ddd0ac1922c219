#include "tools/library.hpp"

#include "tools/cipher_table.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace tool {
namespace {

constexpr std::size_t kLongestDigest = 64;
constexpr std::size_t kDesMacBytes = 8;
constexpr std::uint32_t kFileNotFound = 0x1A010050, kWrongSignature = 0x1A010019;
constexpr std::size_t kErrorText = 256; // what the library asks for

// What GetErrorCode prints, as a string. It is the only function that knows which module a function number belongs
// to, and it writes to standard output; glibc lets a program exchange that stream for another one.
std::string printed_error(std::uint32_t code)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* memory = open_memstream(&text, &size);
    if (!memory) throw std::bad_alloc{};

    std::FILE* const saved = stdout;
    stdout = memory;
    GetErrorCode(code);
    stdout = saved;

    std::fclose(memory);
    std::string result{text, size};
    std::free(text);
    return result;
}

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text.erase(0, text.find_first_not_of(' '));
}

// The module's name out of "module:function:reason". Function and reason 1 exist, so only the module can be unknown.
std::string library_name(std::uint32_t code)
{
    char text[kErrorText];
    if (ZRC_Get_Error_String((code & 0xFF000000) | 0x00010001, text) == 0) {
        const std::string names = text;
        return names.substr(0, names.find(':'));
    }
    // ZRC_Get_Error_String does not know every module that GetErrorCode prints.
    const std::string words = printed_error(code & 0xFF000000);
    const std::size_t at = words.find("ZRC_L_");
    return at == words.npos ? "" : trimmed(words.substr(at));
}

// What the function adds to the words printed for its module alone.
std::string function_name(std::uint32_t code)
{
    const std::string module = printed_error(code & 0xFF000000);
    const std::string both = printed_error(code & 0xFFFF0000);
    return both.starts_with(module) ? trimmed(both.substr(module.size())) : "";
}

std::string reason_name(std::uint32_t code)
{
    char text[kErrorText];
    return ZRC_Get_Reason_String(std::uint16_t(code), text) == 0 ? text : "";
}

} // namespace

decoded_error decode(std::uint32_t code)
{
    return {library_name(code), function_name(code), reason_name(code)};
}

std::string code_text(std::uint32_t code)
{
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", code);
    return text;
}

std::string advice(std::uint32_t code)
{
    if (code == kFileNotFound) {
        return "the library checks its own file, and finds it through the environment variable LD_LIBRARY_PATH alone: "
               "set it to the folder of the library";
    }
    if (code == kWrongSignature) return "the library's file is not signed, or it was changed afterwards";
    return "";
}

void require(std::uint32_t code, const char* call)
{
    if (code == 0) return;
    const decoded_error names = decode(code);
    const std::string hint = advice(code);
    throw failure{kFailed, std::string{call} + " failed: " + code_text(code) + " " + names.library + " " +
                               names.function + " " + names.reason + (hint.empty() ? "" : " (" + hint + ")")};
}

digest::digest(std::int32_t algorithm_id) : unit_{ZRC_New_DIGEST_Unit()}
{
    if (!unit_) throw std::bad_alloc{};
    require(ZRC_Init_DIGEST(unit_.get(), algorithm_id), "ZRC_Init_DIGEST");
}

void digest::update(std::span<const std::uint8_t> piece)
{
    require(ZRC_Update_DIGEST(unit_.get(), piece.data(), std::int32_t(piece.size())), "ZRC_Update_DIGEST");
}

std::vector<std::uint8_t> digest::finish()
{
    std::vector<std::uint8_t> output(kLongestDigest);
    std::int32_t length = 0;
    require(ZRC_Final_DIGEST(unit_.get(), output.data(), &length), "ZRC_Final_DIGEST");
    output.resize(std::size_t(length));
    return output;
}

hmac::hmac(std::int32_t digest_id, std::span<const std::uint8_t> key) : unit_{ZRC_New_HMAC_Unit()}
{
    if (!unit_) throw std::bad_alloc{};
    require(ZRC_Init_HMAC(unit_.get(), digest_id, key.data(), std::int32_t(key.size())), "ZRC_Init_HMAC");
}

void hmac::update(std::span<const std::uint8_t> piece)
{
    require(ZRC_Update_HMAC(unit_.get(), piece.data(), std::int32_t(piece.size())), "ZRC_Update_HMAC");
}

std::vector<std::uint8_t> hmac::finish()
{
    std::vector<std::uint8_t> output(kLongestDigest);
    std::int32_t length = 0;
    require(ZRC_Final_HMAC(unit_.get(), output.data(), &length), "ZRC_Final_HMAC");
    output.resize(std::size_t(length));
    return output;
}

cbc_mac::cbc_mac(std::uint32_t cipher_id, std::size_t block_bytes, std::span<const std::uint8_t> key)
    : unit_{ZRC_New_CBC_MAC_Unit()}, block_bytes_{block_bytes}
{
    if (!unit_) throw std::bad_alloc{};
    require(ZRC_Init_CBC_MAC(unit_.get(), std::int32_t(cipher_id), key.data()), "ZRC_Init_CBC_MAC");
}

void cbc_mac::update(std::span<const std::uint8_t> piece)
{
    if (!rest_.empty()) {
        const std::size_t taken = std::min(block_bytes_ - rest_.size(), piece.size());
        rest_.insert(rest_.end(), piece.begin(), piece.begin() + std::ptrdiff_t(taken));
        piece = piece.subspan(taken);
        if (rest_.size() < block_bytes_) return;
        absorb(rest_);
        rest_.clear();
    }
    const std::size_t whole = piece.size() - piece.size() % block_bytes_;
    absorb(piece.first(whole));
    rest_.assign(piece.begin() + std::ptrdiff_t(whole), piece.end());
}

std::optional<std::vector<std::uint8_t>> cbc_mac::finish()
{
    if (!rest_.empty()) return {};
    std::vector<std::uint8_t> output(kLongestBlock);
    std::int32_t length = 0;
    require(ZRC_Final_CBC_MAC(unit_.get(), output.data(), &length), "ZRC_Final_CBC_MAC");
    output.resize(std::size_t(length));
    return output;
}

void cbc_mac::absorb(std::span<const std::uint8_t> blocks)
{
    if (blocks.empty()) return;
    require(ZRC_Update_CBC_MAC(unit_.get(), blocks.data(), std::int32_t(blocks.size())), "ZRC_Update_CBC_MAC");
}

std::vector<std::uint8_t> des_mac(std::span<const std::uint8_t> key, std::span<const std::uint8_t> message)
{
    std::vector<std::uint8_t> output(kDesMacBytes);
    require(ZRC_DES_MAC(key.data(), message.data(), std::int32_t(message.size()), output.data()), "ZRC_DES_MAC");
    return output;
}

} // namespace tool

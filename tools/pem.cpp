#include "tools/pem.hpp"

#include "tools/base64.hpp"

namespace tool {
namespace {

constexpr std::size_t kLongestText = 1 << 20; // bytes
constexpr std::size_t kLine = 64;             // characters
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

// The next line of `text`, which loses it, without white space at its end.
std::string_view take_line(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    line.remove_suffix(line.size() - (line.find_last_not_of(" \t\r") + 1));
    return line;
}

bool begins_block(std::string_view line)
{
    return line.starts_with(kBegin) && line.ends_with(kDashes) && line.size() > kBegin.size() + kDashes.size();
}

// Up to the line that begins a block; that line, or nothing at the end of the text.
std::string_view seek_block(std::string_view& text)
{
    while (!text.empty()) {
        const std::string_view line = take_line(text);
        if (begins_block(line)) return line;
    }
    return {};
}

// Lines of digits up to the one that ends the block. "Proc-Type: 4,ENCRYPTED" (RFC 1421) stands before the digits
// of a key with a passphrase.
std::string take_digits(std::string_view& text, std::string_view label)
{
    std::string digits;
    digits.reserve(text.size());
    while (!text.empty()) {
        const std::string_view line = take_line(text);
        if (line.starts_with("Proc-Type:"))
            throw malformed{"the key is encrypted: only keys without passphrase are read"};
        if (!line.starts_with(kDashes)) {
            digits += line;
            continue;
        }
        if (line == std::string{kEnd}.append(label).append(kDashes)) return digits;
        break;
    }
    throw malformed{"the PEM block has no proper end"};
}

} // namespace

pem_block read_pem(std::string_view text)
{
    if (text.size() > kLongestText) throw malformed{"too long for a PEM file"};
    std::string_view label = seek_block(text);
    if (label.empty()) throw malformed{"no PEM file: there is no BEGIN line"};
    label.remove_prefix(kBegin.size());
    label.remove_suffix(kDashes.size());
    if (label.starts_with("ENCRYPTED ")) throw malformed{"the key is encrypted: only keys without passphrase are read"};

    auto content = from_base64(take_digits(text, label));
    if (!content) throw malformed{"the PEM block is not base64"};
    if (!seek_block(text).empty()) throw malformed{"more than one PEM block"};
    return {std::string{label}, std::move(*content)};
}

std::string write_pem(std::string_view label, std::span<const std::uint8_t> content)
{
    const std::string digits = to_base64(content);
    std::string text;
    text.reserve(digits.size() + digits.size() / kLine + 2 * (label.size() + kLine));
    text.append(kBegin).append(label).append(kDashes).append("\n");
    for (std::size_t at = 0; at < digits.size(); at += kLine)
        text.append(digits, at, kLine).append("\n");
    text.append(kEnd).append(label).append(kDashes).append("\n");
    return text;
}

} // namespace tool

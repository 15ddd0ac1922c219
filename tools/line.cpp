#include "tools/line.hpp"

#include "tools/hex.hpp"

namespace tool {
namespace {

std::string escaped(std::string_view name)
{
    std::string text;
    for (const char c : name) {
        if (c == '\n')
            text += "\\n";
        else if (c == '\r')
            text += "\\r";
        else if (c == '\\')
            text += "\\\\";
        else
            text += c;
    }
    return text;
}

std::optional<std::string> unescaped(std::string_view text)
{
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            name += text[i];
            continue;
        }
        if (++i == text.size()) return {};
        if (text[i] == 'n')
            name += '\n';
        else if (text[i] == 'r')
            name += '\r';
        else if (text[i] == '\\')
            name += '\\';
        else
            return {};
    }
    return name;
}

} // namespace

std::string make_line(std::span<const std::uint8_t> value, std::string_view name)
{
    const std::string text = escaped(name);
    return (text == name ? "" : "\\") + to_hex(value) + "  " + text + "\n";
}

std::string name_on_one_line(std::string_view name)
{
    if (name.find('\n') == name.npos) return std::string{name};
    return "\\" + escaped(name);
}

std::optional<checksum_line> parse_line(std::string_view line, std::size_t value_bytes)
{
    if (line.ends_with('\r')) line.remove_suffix(1); // a list that went through a DOS editor
    const bool is_escaped = line.starts_with('\\');
    if (is_escaped) line.remove_prefix(1);

    const std::size_t digits = 2 * value_bytes;
    if (line.size() < digits + 3) return {};
    auto value = from_hex(line.substr(0, digits));
    const std::string_view gap = line.substr(digits, 2);
    const std::string_view text = line.substr(digits + 2);
    if (!value || (gap != "  " && gap != " *")) return {};

    auto name = is_escaped ? unescaped(text) : std::string{text};
    if (!name || name->find('\0') != name->npos) return {}; // no file has such a name
    return checksum_line{std::move(*value), std::move(*name)};
}

} // namespace tool

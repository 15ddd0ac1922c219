// kestrim error: what the library's error codes mean.
#include "tools/command_line.hpp"
#include "tools/library.hpp"
#include "tools/output.hpp"

#include <charconv>
#include <limits>
#include <memory>

namespace tool {
namespace {

// 0x0501002B, 83951659, or -2147483605: programs print codes in all of these forms.
std::uint32_t parse_code(const std::string& text)
{
    const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
    const char* const begin = text.data() + (is_hex ? 2 : 0);
    const char* const end = text.data() + text.size();

    std::int64_t value = 0;
    const auto [stop, problem] = std::from_chars(begin, end, value, is_hex ? 16 : 10);
    const bool in_range = value >= (is_hex ? 0 : std::numeric_limits<std::int32_t>::min()) &&
                          value <= std::numeric_limits<std::uint32_t>::max();
    if (problem != std::errc{} || stop != end || !in_range) {
        throw failure{kUsage, text + " is no error code: give 32 bits in decimal, or in hexadecimal with 0x"};
    }
    return std::uint32_t(value);
}

std::string field(const char* title, const std::string& name, const std::string& number)
{
    return std::string{"  "} + title + (name.empty() ? number : name + " (" + number + ")") + "\n";
}

std::string hex_byte(std::uint32_t value)
{
    return "0x" + code_text(value & 0xFF).substr(8);
}

// Some modules use functions that GetErrorCode has no word for; their numbers occur in the list of all functions.
bool is_function(std::uint32_t code, const decoded_error& names)
{
    char text[256];
    const std::uint32_t with_known_module = 0x01000001 | (code & 0x00FF0000);
    return !names.function.empty() || ZRC_Get_Error_String(with_known_module, text) == 0;
}

// Bits 8 to 15 belong to no field.
bool is_known(std::uint32_t code, const decoded_error& names)
{
    return !names.library.empty() && is_function(code, names) && !names.reason.empty() && (code & 0xFF00) == 0;
}

bool explain(std::uint32_t code)
{
    const std::string number = code_text(code);
    if (code == 0) {
        write(number + "\n  success\n");
        return true;
    }
    const decoded_error names = decode(code);
    if (!is_known(code, names)) {
        report(number + ": not an error code of this library");
        return false;
    }
    write(number + "\n" + field("library   ", names.library, hex_byte(code >> 24)) +
          field("function  ", names.function, std::to_string(code >> 16 & 0xFF)) +
          field("reason    ", names.reason, hex_byte(code)));
    return true;
}

} // namespace

void add_error(CLI::App& app, session& session)
{
    const auto texts = std::make_shared<std::vector<std::string>>();
    const subcommand command{app, "error", "Explain error codes of the library"};
    command.add("CODE", *texts, "Codes in decimal, or in hexadecimal with 0x").required();
    command.set_action([texts, &session] {
        std::vector<std::uint32_t> codes;
        for (const std::string& text : *texts)
            codes.push_back(parse_code(text));
        for (const std::uint32_t code : codes)
            if (!explain(code)) session.status = kFailed;
    });
}

} // namespace tool

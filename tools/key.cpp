#include "tools/key.hpp"

#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/hex.hpp"
#include "tools/input.hpp"

namespace tool {
namespace {

constexpr std::size_t kLongestValue = 1 << 20; // bytes

// Only the digits go through here: what is wrong with them is said without showing them.
std::vector<std::uint8_t> from_text(const std::string& text, const char* option)
{
    auto value = from_hex(text);
    if (!value) {
        throw failure{kUsage, std::string{"the value of "} + option + " is not an even number of hexadecimal digits"};
    }
    return std::move(*value);
}

} // namespace

std::vector<std::uint8_t> read_small_file(const std::string& name, const char* what, const session& session)
{
    std::vector<std::uint8_t> value;
    try {
        read_pieces(name, session, [&](auto piece) {
            if (value.size() + piece.size() > kLongestValue) throw failure{kUsage, name + ": too long for " + what};
            value.insert(value.end(), piece.begin(), piece.end());
        });
    } catch (const input_error& error) {
        throw failure{kFailed, error.what()};
    }
    return value;
}

void add_key_options(const subcommand& command, value_options& options)
{
    command.add("--key-file", options.file,
                "File whose bytes, all of them, are the key; - is standard input. Preferred to -K");
    command.add("-K,--key", options.hex,
                "The key in hexadecimal. Other users can see it in the list of processes, and the shell "
                "keeps it in its history");
}

std::vector<std::uint8_t> read_key(const value_options& options, const session& session)
{
    hide_argument(session.arguments, options.hex);
    const std::string file = plain(options.file);
    if (options.hex.empty() == file.empty()) {
        throw failure{kUsage, "give the key with either --key-file FILE or -K HEX"};
    }
    auto key = file.empty() ? from_text(options.hex, "-K") : read_small_file(file, "a key", session);
    if (key.empty()) throw failure{kUsage, "the key is empty"};
    return key;
}

std::vector<std::uint8_t> read_iv(const value_options& options, const session& session)
{
    const std::string file = plain(options.file);
    if (!options.hex.empty() && !file.empty()) throw failure{kUsage, "give the IV with either --iv or --iv-file"};
    return file.empty() ? from_text(options.hex, "--iv") : read_small_file(file, "an IV", session);
}

void require_length(std::span<const std::uint8_t> value, std::size_t bytes, const char* what, const std::string& owner)
{
    require_length(value, bytes, bytes, what, owner);
}

void require_length(std::span<const std::uint8_t> value, std::size_t least, std::size_t most, const char* what,
                    const std::string& owner)
{
    if (value.size() >= least && value.size() <= most) return;
    const std::string range = least == most ? "" : " to " + std::to_string(most);
    throw failure{kUsage, std::string{"the "} + what + " of " + owner + " has " + std::to_string(least) + range +
                              " bytes, not " + std::to_string(value.size())};
}

} // namespace tool

// kestrim rand: bytes of the random generator.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/base64.hpp"
#include "tools/command.hpp"
#include "tools/command_line.hpp"
#include "tools/hex.hpp"
#include "tools/number.hpp"
#include "tools/output_file.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace tool {
namespace {

struct rand_options {
    std::string size;
    bool hex = false;
    bool base64 = false;
    std::string output = "-";
};

// Decimal digits and perhaps K, M or G, of either case. Not left to CLI11, to which -5 is huge and 010 is 8.
std::uint64_t parse_size(const std::string& text)
{
    constexpr std::uint64_t kMost = std::uint64_t{1} << 62;
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    auto [rest, error] = std::from_chars(text.data(), end, number);
    unsigned shift = 0;
    if (error == std::errc{} && rest != end) {
        const char unit = char(std::toupper(static_cast<unsigned char>(*rest++)));
        shift = unit == 'K' ? 10 : unit == 'M' ? 20 : unit == 'G' ? 30 : 64;
    }
    const bool valid = error == std::errc{} && rest == end && shift < 64 && number <= kMost >> shift;
    if (!valid) throw failure{kUsage, "not a number of bytes: " + text};
    return number << shift;
}

// A line of text for so many bytes.
constexpr std::size_t kHexLine = 32, kBase64Line = 48;

void run(const rand_options& options, const session& session)
{
    if (options.hex && options.base64) throw failure{kUsage, "choose one of --hex and --base64"};
    const std::uint64_t bytes = parse_size(plain(options.size));
    const std::size_t line = options.hex ? kHexLine : options.base64 ? kBase64Line : 0;

    start_library("rand", true, session);
    output_file output{plain(options.output)};
    std::vector<std::uint8_t> buffer(line != 0 ? line * 1024 : 1 << 18);
    for (std::uint64_t left = bytes; left != 0;) {
        const auto piece = std::span{buffer}.first(std::size_t(std::min<std::uint64_t>(left, buffer.size())));
        random_bytes(piece);
        left -= piece.size();
        if (line == 0) {
            output.write(piece);
            continue;
        }
        for (auto rest = piece; !rest.empty(); rest = rest.subspan(std::min(line, rest.size()))) {
            const auto part = rest.first(std::min(line, rest.size()));
            const std::string text = (options.hex ? to_hex(part) : to_base64(part)) + '\n';
            output.write({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        }
    }
    output.commit();
}

} // namespace

void add_rand(CLI::App& app, session& session)
{
    const auto options = std::make_shared<rand_options>();
    const subcommand command{app, "rand", "Random bytes: Hash_DRBG with SHA-256"};
    command.add("bytes", options->size, "How many: a decimal number; K, M or G behind it stands for KiB, MiB, GiB")
        .required();
    command.add_flag("--hex", options->hex, "As lines of hexadecimal digits");
    command.add_flag("--base64", options->base64, "As lines of base64");
    command.add("-o,--output", options->output, "Output; - is standard output").show_default();
    command.add_notes("The output gets the usual permissions: umask 077 keeps a key from other users.");
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

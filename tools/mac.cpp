// kestrim mac: HMAC of files.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/hex.hpp"
#include "tools/input.hpp"
#include "tools/library.hpp"
#include "tools/line.hpp"
#include "tools/output.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace tool {
namespace {

constexpr std::size_t kLongestKey = 1 << 20; // bytes

struct mac_options {
    std::string algorithm = kDefaultAlgorithm;
    std::string key_hex;
    std::string key_file;
    std::vector<std::string> files;
};

// Only the digits go through here: what is wrong with them is said without showing them.
std::vector<std::uint8_t> key_from_text(const std::string& text, const session& session)
{
    auto key = from_hex(text);
    hide_argument(session.arguments, text);
    if (!key) throw failure{kUsage, "the key of -K is not an even number of hexadecimal digits"};
    return std::move(*key);
}

std::vector<std::uint8_t> key_from_file(const std::string& name, const session& session)
{
    std::vector<std::uint8_t> key;
    try {
        read_pieces(name, session, [&](auto piece) {
            if (key.size() + piece.size() > kLongestKey) throw failure{kUsage, name + ": too long for a key"};
            key.insert(key.end(), piece.begin(), piece.end());
        });
    } catch (const input_error& error) {
        throw failure{kFailed, error.what()};
    }
    return key;
}

std::vector<std::uint8_t> read_key(const mac_options& options, std::span<const std::string> files,
                                   const session& session)
{
    const std::string key_file = plain(options.key_file);
    if (options.key_hex.empty() == key_file.empty()) {
        throw failure{kUsage, "give the key with either --key-file FILE or -K HEX"};
    }
    if (key_file == "-" && std::ranges::find(files, "-") != files.end()) {
        throw failure{kUsage, "key and message cannot both be standard input"};
    }
    auto key = key_file.empty() ? key_from_text(options.key_hex, session) : key_from_file(key_file, session);
    if (key.empty()) throw failure{kUsage, "the key is empty"};
    return key;
}

bool print_mac(const std::string& name, const algorithm& algorithm, std::span<const std::uint8_t> key,
               const session& session)
{
    try {
        hmac mac{algorithm.id, key};
        read_pieces(name, session, [&](auto piece) { mac.update(piece); });
        write(make_line(mac.finish(), name));
        return true;
    } catch (const input_error& error) {
        report(error.what());
        return false;
    }
}

void run(const mac_options& options, session& session)
{
    const std::vector<std::string> files = plain_files(options.files);
    const std::vector<std::uint8_t> key = read_key(options, files, session);
    const algorithm algorithm = choose_algorithm(options.algorithm, session);
    for (const std::string& name : files)
        if (!print_mac(name, algorithm, key, session)) session.status = kFailed;
}

} // namespace

void add_mac(CLI::App& app, session& session)
{
    const auto options = std::make_shared<mac_options>();
    CLI::App* command = app.add_subcommand("mac", "Print message authentication codes (HMAC)");
    command->add_option("-a,--algorithm", options->algorithm, algorithm_help())->capture_default_str();
    command->add_option("--key-file", options->key_file,
                        "File whose bytes, all of them, are the key; - is standard input. Preferred to -K");
    command->add_option("-K,--key", options->key_hex,
                        "The key in hexadecimal. Other users can see it in the list of processes, and the shell "
                        "keeps it in its history");
    command->add_option("FILE", options->files, "Files; standard input when none is given or for -");
    command->callback([options, &session] { run(*options, session); });
}

} // namespace tool

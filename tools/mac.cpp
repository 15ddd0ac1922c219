// kestrim mac: HMAC, CBC-MAC and DES-MAC of files.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/cipher_table.hpp"
#include "tools/command_line.hpp"
#include "tools/input.hpp"
#include "tools/key.hpp"
#include "tools/library.hpp"
#include "tools/line.hpp"
#include "tools/output.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>

namespace tool {
namespace {

// As normalised() gives them.
constexpr std::string_view kCbcMac = "cbcmac";
constexpr std::string_view kDesMac = "desmac";

struct mac_options {
    std::string algorithm = kDefaultAlgorithm;
    value_options key;
    std::vector<std::string> files;
};

std::string mac_help()
{
    std::string digests;
    for (const std::string& name : digest_names())
        digests.append(digests.empty() ? "" : " ").append(name);
    return "HMAC with a digest: " + digests +
           ". CBC-MAC with a cipher, for files of whole blocks: cbc-mac-CIPHER, of " + cipher_names() +
           ". des-mac, which reads the file into memory and takes at most 2^31-1 bytes";
}

using bytes = std::vector<std::uint8_t>;
// Fails with input_error.
using mac_function = std::function<bytes(const std::string& file)>;

mac_function make_hmac(const std::string& name, const bytes& key, const session& session)
{
    const algorithm algorithm = choose_algorithm(name, session);
    return [algorithm, &key, &session](const std::string& file) {
        hmac mac{algorithm.id, key};
        read_pieces(file, session, [&](auto piece) { mac.update(piece); });
        return mac.finish();
    };
}

mac_function make_cbc_mac(const std::string& name, const bytes& key, const session& session)
{
    const cipher cipher = find_cipher(normalised(name).substr(kCbcMac.size()));
    require_length(key, cipher.key_bytes, "key", cipher.name);
    start_library(name, false, session);
    return [cipher, &key, &session](const std::string& file) {
        cbc_mac mac{cipher.id, cipher.block_bytes, key};
        read_pieces(file, session, [&](auto piece) { mac.update(piece); });
        auto value = mac.finish();
        if (!value) {
            throw input_error{file + ": not whole blocks of " + std::to_string(cipher.block_bytes) + " bytes"};
        }
        return std::move(*value);
    };
}

// The library takes the message in one call, so all of it is read into memory.
mac_function make_des_mac(const std::string& name, const bytes& key, const session& session)
{
    require_length(key, 8, "key", name);
    start_library(name, false, session);
    return [&key, &session](const std::string& file) {
        bytes message;
        read_pieces(file, session, [&](auto piece) {
            if (piece.size() > INT32_MAX - message.size()) throw input_error{file + ": too long for des-mac"};
            message.insert(message.end(), piece.begin(), piece.end());
        });
        if (message.empty()) throw input_error{file + ": empty; des-mac has no value for that"};
        return des_mac(key, message);
    };
}

mac_function choose_mac(const std::string& name, const bytes& key, const session& session)
{
    const std::string short_name = normalised(name);
    if (short_name == kDesMac) return make_des_mac(name, key, session);
    if (short_name.starts_with(kCbcMac)) return make_cbc_mac(name, key, session);
    return make_hmac(name, key, session);
}

bool print_mac(const std::string& name, const mac_function& mac)
{
    try {
        write(make_line(mac(name), name));
        return true;
    } catch (const input_error& error) {
        report(error.what());
        return false;
    }
}

void run(const mac_options& options, session& session)
{
    const std::vector<std::string> files = plain_files(options.files);
    if (options.key.file == "-" && std::ranges::find(files, "-") != files.end()) {
        throw failure{kUsage, "key and message cannot both be standard input"};
    }
    const bytes key = read_key(options.key, session);
    const mac_function mac = choose_mac(plain(options.algorithm), key, session);
    for (const std::string& name : files)
        if (!print_mac(name, mac)) session.status = kFailed;
}

} // namespace

void add_mac(CLI::App& app, session& session)
{
    const auto options = std::make_shared<mac_options>();
    const subcommand command{app, "mac", "Print message authentication codes (HMAC, CBC-MAC, DES-MAC)"};
    command.add("-a,--algorithm", options->algorithm, mac_help()).show_default();
    add_key_options(command, options->key);
    command.add("FILE", options->files, "Files; standard input when none is given or for -");
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

// kestrim enc: encryption and decryption of a file.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/cipher_table.hpp"
#include "tools/command_line.hpp"
#include "tools/input.hpp"
#include "tools/key.hpp"
#include "tools/message_cipher.hpp"
#include "tools/output_file.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "The output appears under its name when it is complete: after an error there is none, and a file of that name "
    "stays\n"
    "as it was. IN and OUT can be the same file. Standard output has no such protection: what was written before an\n"
    "error cannot be taken back.\n"
    "\n"
    "ECB and CBC pad the message to whole blocks. A wrong key or a damaged file is noticed by its padding only, so "
    "not\n"
    "always, and in the other modes never: use kestrim mac where that matters.";

struct enc_options {
    std::string algorithm;
    bool decrypt = false;
    bool no_padding = false;
    value_options key;
    value_options iv;
    std::string input = "-";
    std::string output = "-";
};

void require_one_use_of_standard_input(const enc_options& options)
{
    const int uses =
        (options.key.file == "-" ? 1 : 0) + (options.iv.file == "-" ? 1 : 0) + (options.input == "-" ? 1 : 0);
    if (uses > 1) throw failure{kUsage, "only one of key, IV and message can be standard input"};
}

std::vector<std::uint8_t> iv_for(const cipher_mode& cipher, const enc_options& options, const session& session)
{
    const bool given = !options.iv.hex.empty() || !options.iv.file.empty();
    if (cipher.iv_bytes == 0 && given) throw failure{kUsage, cipher.name + " takes no IV"};
    if (cipher.iv_bytes != 0 && !given) throw failure{kUsage, cipher.name + " needs --iv HEX or --iv-file FILE"};
    std::vector<std::uint8_t> iv = read_iv(options.iv, session);
    require_length(iv, cipher.iv_bytes, "IV", cipher.name);
    return iv;
}

// Why the unit did not take the end of a message of so many bytes.
std::string complaint(const cipher_mode& cipher, const enc_options& options, std::uint64_t bytes)
{
    if (bytes % cipher.block_bytes != 0) {
        return "not whole blocks of " + std::to_string(cipher.block_bytes) + " bytes" +
               (options.decrypt ? ", truncated?" : "; leave out --no-padding");
    }
    return bytes == 0 ? "empty, where at least one block of padding is expected"
                      : "wrong padding: the key or the IV is wrong, or the data are damaged or not padded";
}

void process(const cipher_mode& cipher, const enc_options& options, message_cipher& unit, const session& session)
{
    const std::string input = plain(options.input);
    output_file output{plain(options.output)};
    std::vector<std::uint8_t> buffer(kPieceBytes + kLongestBlock);
    std::uint64_t bytes = 0;
    read_pieces(input, session, [&](auto piece) {
        bytes += piece.size();
        output.write(std::span{buffer}.first(unit.update(piece, buffer)));
    });

    const auto rest = unit.finish(buffer);
    if (!rest) throw failure{kFailed, input + ": " + complaint(cipher, options, bytes)};
    output.write(std::span{buffer}.first(*rest));
    output.commit();
}

void run(const enc_options& options, const session& session)
{
    cipher_mode cipher = find_cipher_mode(plain(options.algorithm));
    if (options.no_padding) cipher.id |= ZRC_NO_PADDING;
    require_one_use_of_standard_input(options);
    const std::vector<std::uint8_t> key = read_key(options.key, session);
    require_length(key, cipher.key_bytes, cipher.longest_key, "key", cipher.name);
    const std::vector<std::uint8_t> iv = iv_for(cipher, options, session);

    start_library(cipher.name, cipher.approved, session);
    const auto unit = new_message_cipher(cipher, key, iv, !options.decrypt);
    process(cipher, options, *unit, session);
}

} // namespace

void add_enc(CLI::App& app, session& session)
{
    const auto options = std::make_shared<enc_options>();
    const subcommand command{app, "enc", "Encrypt or decrypt a file"};
    command.add("-a,--algorithm", options->algorithm, cipher_mode_help()).required();
    command.add_flag("-d,--decrypt", options->decrypt, "Decrypt");
    add_key_options(command, options->key);
    command.add(
        "--iv", options->iv.hex,
        "The initialisation vector, one block, in hexadecimal. A new one for each message; not for ecb and rc4");
    command.add("--iv-file", options->iv.file, "File whose bytes, all of them, are the IV");
    command.add_flag("--no-padding", options->no_padding, "ECB and CBC: the message is whole blocks and stays so");
    command.add("-i,--input", options->input, "Input; - is standard input").show_default();
    command.add("-o,--output", options->output, "Output; - is standard output").show_default();
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

// kestrim genrsa: RSA keys.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/key_generation.hpp"
#include "tools/library.hpp"
#include "tools/number.hpp"
#include "tools/rsa_key.hpp"

#include <charconv>
#include <memory>

namespace tool {
namespace {

constexpr int kLeastBits = 545; // what the library's own test of a new key, OAEP with SHA-256, needs
constexpr int kMostBits = 16384;
constexpr int kApprovedBits = 2048;

constexpr const char* kNotes =
    "Version 1: d is the inverse of e modulo (p - 1)(q - 1). Version 2: modulo the least common multiple of the two,\n"
    "as RFC 8017 and FIPS 186 have it. Keys of both are used alike.\n"
    "\n"
    "Proven mode has keys of 2048 bits or more.";

struct genrsa_options {
    int bits = 2048;
    std::string exponent = "65537";
    int version = 2;
    bool pkcs1 = false;
    key_output output;
};

// Decimal digits, or hexadecimal ones behind 0x.
number parse_exponent(const std::string& text)
{
    if (text.starts_with("0x") || text.starts_with("0X")) return parse_number(text);
    std::uint32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || rest != end) {
        throw failure{kUsage, "not an exponent of at most 32 bits, or a hexadecimal number with 0x: " + text};
    }
    number exponent = new_number();
    require(ZRC_Set_BIGINT_Word(exponent.get(), value), "ZRC_Set_BIGINT_Word");
    return exponent;
}

void run(const genrsa_options& options, const session& session)
{
    const number exponent = parse_exponent(plain(options.exponent));
    start_library("rsa-" + std::to_string(options.bits), options.bits >= kApprovedBits, session);
    const rsa_unit unit = new_rsa_unit();
    require(ZRC_Generate_RSA_Params_Ex(unit.get(), exponent.get(), options.bits, options.version),
            "ZRC_Generate_RSA_Params_Ex");

    const rsa_private_key key = generated_key(*unit);
    const key_form form = options.pkcs1 ? key_form::traditional : key_form::general;
    save_key_pair(options.output, write_rsa_private_key_pem(key, form), write_rsa_public_key_pem({key.n, key.e}, form));
}

} // namespace

void add_genrsa(CLI::App& app, session& session)
{
    const auto options = std::make_shared<genrsa_options>();
    const subcommand command{app, "genrsa", "Generate an RSA key"};
    command.add("-b,--bits", options->bits, "Length of the modulus").in_range(kLeastBits, kMostBits).show_default();
    command.add("-e,--exponent", options->exponent, "The public exponent, a prime").show_default();
    command.add("--version", options->version, "How d is made: see below").in_range(1, 2).show_default();
    command.add_flag("--pkcs1", options->pkcs1, "Write PKCS #1, not PKCS #8 and SubjectPublicKeyInfo");
    add_key_output(command, options->output);
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

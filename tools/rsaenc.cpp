// kestrim rsaenc and kestrim rsadec: encryption with RSA keys, of something short such as the key of a cipher.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/key.hpp"
#include "tools/key_file.hpp"
#include "tools/library.hpp"
#include "tools/output_file.hpp"
#include "tools/rsa_key.hpp"

#include <memory>

namespace tool {
namespace {

constexpr std::uint32_t kPublic = 0, kPrivate = 1; // the library's operations

constexpr const char* kNotes =
    "KEY is a PEM file without passphrase: PKCS #8, PKCS #1 or SubjectPublicKeyInfo. The message is one byte or more;\n"
    "a modulus of k bytes takes k - 2 - 2 digests with OAEP and k - 11 with PKCS #1 v1.5. OAEP has no label, and MGF1\n"
    "uses the digest of the label. The forms of v2.0 and v2.1 give the same bytes.\n"
    "\n"
    "With --pkcs1, whoever can try messages and is told which ones failed can decrypt: use it for old data only.\n"
    "\n"
    "Proven mode has OAEP with sha224, sha256, sha384 and sha512, and keys of 2048 bits or more.";

struct rsaenc_options {
    std::string key;
    std::string digest = kDefaultAlgorithm;
    bool oaep = false; // without it as well
    bool oaep20 = false;
    bool pkcs1 = false;
    std::string input = "-";
    std::string output = "-";
};

void require_one_use_of_standard_input(const rsaenc_options& options)
{
    if (options.key == "-" && options.input == "-") {
        throw failure{kUsage, "only one of key and message can be standard input"};
    }
}

// The digest and the encoding as the library wants them.
struct scheme {
    std::uint32_t mode;
    algorithm digest;
};

scheme choose_scheme(const rsaenc_options& options, std::size_t modulus_bits, const session& session)
{
    const std::string name = "rsa-" + std::to_string(modulus_bits) + (options.pkcs1 ? " pkcs1" : " oaep");
    if (options.pkcs1) {
        start_library(name, false, session);
        return {ZRC_RSAES_PKCS1_V15, {0, 0}};
    }
    const bool approved = modulus_bits >= kApprovedRsaBits && is_approved_digest(options.digest);
    const algorithm digest = choose_algorithm(options.digest, name + " " + options.digest, approved, session);
    // The digest of the mode word is that of MGF1.
    const std::uint32_t form = options.oaep20 ? ZRC_RSAES_OAEP_V20 : ZRC_RSAES_OAEP_V21;
    return {std::uint32_t(digest.id) | form, digest};
}

// The library takes one byte more with OAEP, and makes a ciphertext of it that nobody can decrypt. An empty message
// comes out of decryption as a failure.
void require_fitting(const bytes& message, std::size_t modulus_bytes, const scheme& scheme)
{
    const std::size_t overhead = scheme.mode == ZRC_RSAES_PKCS1_V15 ? 11 : 2 + 2 * scheme.digest.digest_bytes;
    if (modulus_bytes <= overhead) throw failure{kFailed, "the key is too short for this digest"};
    if (!message.empty() && message.size() <= modulus_bytes - overhead) return;
    throw failure{kFailed, "the message must have 1 to " + std::to_string(modulus_bytes - overhead) + " bytes, not " +
                               std::to_string(message.size())};
}

void save(std::span<const std::uint8_t> content, const std::string& name)
{
    output_file output{name};
    output.write(content);
    output.commit();
}

void encrypt(const rsaenc_options& options, const session& session)
{
    require_one_use_of_standard_input(options);
    const rsa_public_key key = key_file{plain(options.key), session}.rsa_public();
    const bytes message = read_small_file(plain(options.input), "RSA", session);
    const scheme scheme = choose_scheme(options, bits(key.n), session);
    require_fitting(message, key.n.size(), scheme);

    const rsa_unit unit = load(key);
    require(ZRC_Init_RSAES(unit.get(), scheme.mode, kPublic, scheme.digest.id), "ZRC_Init_RSAES");
    bytes ciphertext(key.n.size());
    std::int32_t length = 0;
    require(ZRC_Encrypt_RSAES(unit.get(), ciphertext.data(), &length, message.data(), std::int32_t(message.size())),
            "ZRC_Encrypt_RSAES");
    save(std::span{ciphertext}.first(std::size_t(length)), plain(options.output));
}

void decrypt(const rsaenc_options& options, const session& session)
{
    require_one_use_of_standard_input(options);
    const key_file file{plain(options.key), session};
    const rsa_private_key key = file.rsa_private();
    const std::string input = plain(options.input);
    const bytes ciphertext = read_small_file(input, "RSA", session);
    const scheme scheme = choose_scheme(options, bits(key.n), session);
    if (!belong_together(key)) file.fail("the numbers of the key do not belong together");
    if (ciphertext.size() != key.n.size()) {
        throw failure{kFailed, input + ": " + std::to_string(ciphertext.size()) + " bytes, but the key makes " +
                                   std::to_string(key.n.size())};
    }

    const rsa_unit unit = load(key);
    require(ZRC_Init_RSAES(unit.get(), scheme.mode, kPrivate, scheme.digest.id), "ZRC_Init_RSAES");
    bytes message(key.n.size());
    std::int32_t length = 0;
    require(ZRC_Decrypt_RSAES(unit.get(), message.data(), &length, ciphertext.data(), std::int32_t(ciphertext.size())),
            "ZRC_Decrypt_RSAES");
    save(std::span{message}.first(std::size_t(length)), plain(options.output));
}

void add_command(CLI::App& app, session& session, const char* name, const char* what,
                 void (*run)(const rsaenc_options&, const tool::session&))
{
    const auto options = std::make_shared<rsaenc_options>();
    const subcommand command{app, name, what};
    command.add("-k,--key", options->key, "The key; - is standard input").required();
    command.add("-a,--algorithm", options->digest, "OAEP: " + algorithm_help()).show_default();
    const option oaep = command.add_flag("--oaep", options->oaep, "EME-OAEP of PKCS #1 v2.1, as without an option");
    const option oaep20 = command.add_flag("--oaep20", options->oaep20, "EME-OAEP of PKCS #1 v2.0").excludes(oaep);
    command.add_flag("--pkcs1", options->pkcs1, "EME-PKCS1-v1_5").excludes(oaep).excludes(oaep20);
    command.add("-i,--input", options->input, "Input; - is standard input").show_default();
    command.add("-o,--output", options->output, "Output; - is standard output").show_default();
    command.add_notes(kNotes);
    command.set_action([options, run, &session] { run(*options, session); });
}

} // namespace

void add_rsaenc(CLI::App& app, session& session)
{
    add_command(app, session, "rsaenc", "Encrypt a short message with a public RSA key", encrypt);
}

void add_rsadec(CLI::App& app, session& session)
{
    add_command(app, session, "rsadec", "Decrypt it with the private key", decrypt);
}

} // namespace tool

// kestrim sign and kestrim verify: signatures of files with RSA, KCDSA, DSA and elliptic-curve keys.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/input.hpp"
#include "tools/key.hpp"
#include "tools/output.hpp"
#include "tools/output_file.hpp"
#include "tools/signature.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "KEY is a PEM file without passphrase: PKCS #8, SubjectPublicKeyInfo or the older form of the algorithm, as\n"
    "for RSA PKCS #1; for KCDSA the form of kestrim genkcdsa. A private key also verifies.\n"
    "\n"
    "An RSA signature is as long as the modulus. With PSS, MGF1 uses the digest of the message. With --pkcs1, SHA-1,\n"
    "SHA-256 and MD5 have the identifiers of RFC 8017; SHA-384 and SHA-512 have that of SHA-256, which other programs\n"
    "refuse, and other digests have none and are refused here. A KCDSA signature is R, as long as the digest, and S\n"
    "behind it, as long as q. One of DSA and ECDSA is the DER encoding of SEQUENCE { r INTEGER, s INTEGER }.\n"
    "\n"
    "Proven mode has PSS and KCDSA with sha224 and sha256, and keys of 2048 bits or more.";

struct sign_options {
    std::string key;
    signature_options scheme{.digest = kDefaultAlgorithm};
    bool pss = false; // without it as well
    std::string signature = "-";
    std::string file = "-";
};

void require_one_use_of_standard_input(const sign_options& options, bool reads_signature)
{
    const int uses = (options.key == "-" ? 1 : 0) + (options.file == "-" ? 1 : 0) +
                     (reads_signature && options.signature == "-" ? 1 : 0);
    if (uses > 1) throw failure{kUsage, "only one of key, signature and message can be standard input"};
}

void feed(signature_scheme& scheme, const std::string& file, const session& session)
{
    try {
        read_pieces(file, session, [&](auto piece) { scheme.update(piece); });
    } catch (const input_error& error) {
        throw failure{kFailed, error.what()};
    }
}

void sign(const sign_options& options, const session& session)
{
    require_one_use_of_standard_input(options, false);
    const auto scheme = new_signing(key_file{plain(options.key), session}, options.scheme, session);
    output_file output{plain(options.signature)};
    feed(*scheme, plain(options.file), session);
    output.write(scheme->sign());
    output.commit();
}

void verify(const sign_options& options, session& session)
{
    require_one_use_of_standard_input(options, true);
    const auto scheme = new_verification(key_file{plain(options.key), session}, options.scheme, session);
    const bytes signature = read_small_file(plain(options.signature), "a signature", session);
    const std::string file = plain(options.file);
    feed(*scheme, file, session);
    const bool valid = scheme->verify(signature);
    write(file + (valid ? ": OK\n" : ": FAILED\n"));
    if (!valid) session.status = kFailed;
}

subcommand add_command(CLI::App& app, const char* name, const char* what, sign_options& options)
{
    const subcommand command{app, name, what};
    command.add("-k,--key", options.key, "The key; - is standard input").required();
    command.add("-a,--algorithm", options.scheme.digest, algorithm_help()).show_default();
    const option pss = command.add_flag("--pss", options.pss, "RSA: EMSA-PSS, as without an option");
    const option pkcs1 = command.add_flag("--pkcs1", options.scheme.pkcs1, "RSA: EMSA-PKCS1-v1_5").excludes(pss);
    command.add("--salt", options.scheme.salt, "RSA: PSS with a salt of so many bytes, not as many as the digest")
        .in_range(1, 255)
        .excludes(pkcs1);
    command.add("FILE", options.file, "The message; standard input when it is not given or -");
    command.add_notes(kNotes);
    return command;
}

} // namespace

void add_sign(CLI::App& app, session& session)
{
    const auto options = std::make_shared<sign_options>();
    const subcommand command = add_command(app, "sign", "Sign a file", *options);
    command.add("-o,--output", options->signature, "The signature; - is standard output").show_default();
    command.set_action([options, &session] { sign(*options, session); });
}

void add_verify(CLI::App& app, session& session)
{
    const auto options = std::make_shared<sign_options>();
    const subcommand command =
        add_command(app, "verify", "Verify the signature of a file; status 1: it is wrong", *options);
    command.add("-s,--signature", options->signature, "The signature; - is standard input").required();
    command.set_action([options, &session] { verify(*options, session); });
}

} // namespace tool

// kestrim genec: keys of elliptic curves.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/ec_key.hpp"
#include "tools/key_file.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes = "The key signs (ECDSA: kestrim sign) and agrees on secrets (ECDH: kestrim dh).\n"
                               "\n"
                               "Proven mode has no elliptic curves.";

struct genec_options {
    std::string curve = "P-256";
    bool traditional = false;
    std::string output;
    std::string public_output;
};

void run(const genec_options& options, const session& session)
{
    const named_curve* const curve = find_curve(normalised(plain(options.curve)));
    if (!curve) throw failure{kUsage, "unknown curve " + options.curve + "; known are " + curve_names()};
    start_library("ec " + std::string{curve->name}, false, session);

    ec_key key = generate_key(*curve);
    save_key(write_ec_pem(key, options.traditional ? key_form::traditional : key_form::general), plain(options.output),
             readers::owner);
    if (options.public_output.empty()) return;
    key.d.clear();
    save_key(write_ec_pem(key), plain(options.public_output), readers::usual);
}

} // namespace

void add_genec(CLI::App& app, session& session)
{
    const auto options = std::make_shared<genec_options>();
    CLI::App* command = app.add_subcommand("genec", "Generate a key of an elliptic curve");
    command->add_option("-c,--curve", options->curve, curve_names() + ", or the names of SEC 2")->capture_default_str();
    command->add_flag("--traditional", options->traditional, "Write \"EC PRIVATE KEY\", not PKCS #8");
    command->add_option("-o,--output", options->output, "The private key, for its owner only; - is standard output")
        ->required();
    command->add_option("--public", options->public_output, "The public key; - is standard output");
    command->footer(kNotes);
    command->callback([options, &session] { run(*options, session); });
}

} // namespace tool

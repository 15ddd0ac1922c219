// kestrim genec: keys of elliptic curves.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/ec_key.hpp"
#include "tools/key_generation.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes = "The key signs (ECDSA: kestrim sign) and agrees on secrets (ECDH: kestrim dh).\n"
                               "\n"
                               "Proven mode has no elliptic curves.";

struct genec_options {
    std::string curve = "P-256";
    bool traditional = false;
    key_output output;
};

void run(const genec_options& options, const session& session)
{
    const named_curve* const curve = find_curve(normalised(plain(options.curve)));
    if (!curve) throw failure{kUsage, "unknown curve " + options.curve + "; known are " + curve_names()};
    start_library("ec " + std::string{curve->name}, false, session);

    ec_key key = generate_key(*curve);
    const std::string pem = write_ec_pem(key, options.traditional ? key_form::traditional : key_form::general);
    key.d.clear();
    save_key_pair(options.output, pem, write_ec_pem(key));
}

} // namespace

void add_genec(CLI::App& app, session& session)
{
    const auto options = std::make_shared<genec_options>();
    const subcommand command{app, "genec", "Generate a key of an elliptic curve"};
    command.add("-c,--curve", options->curve, curve_names() + ", or the names of SEC 2").show_default();
    command.add_flag("--traditional", options->traditional, "Write \"EC PRIVATE KEY\", not PKCS #8");
    add_key_output(command, options->output);
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

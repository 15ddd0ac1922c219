// kestrim gendsa: DSA domain parameters and keys.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/dsa_key.hpp"
#include "tools/key_file.hpp"
#include "tools/library.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "Sizes of p and q: 1024 and 160, 2048 and 224, 2048 and 256, 3072 and 256. They are made with SHA-256 from a\n"
    "random seed, as FIPS 186-4 has it. Parameters are a file \"DSA PARAMETERS\".\n"
    "\n"
    "Proven mode has no DSA.";

struct gendsa_options {
    int p_bits = 2048;
    int q_bits = 0; // 0: the usual
    bool parameters_only = false;
    bool traditional = false;
    std::string parameters; // a file to take p, q and g from
    std::string output;
    std::string public_output;
};

dsa_unit generated_domain(const gendsa_options& options, const session& session)
{
    const int q_bits = options.q_bits != 0 ? options.q_bits : options.p_bits == 1024 ? 160 : 256;
    start_library("dsa-" + std::to_string(options.p_bits) + "-" + std::to_string(q_bits), false, session);
    dsa_unit unit = new_dsa_unit();
    require(ZRC_Generate_DSA_Params(unit.get(), options.p_bits, q_bits, ZRC_SHA256), "ZRC_Generate_DSA_Params");
    return unit;
}

dsa_unit given_domain(const gendsa_options& options, const session& session)
{
    dsa_key parameters = key_file{plain(options.parameters), session}.dsa_parameters();
    parameters.x.clear();
    parameters.y.clear();
    start_library("dsa", false, session);
    return load(parameters);
}

void run(const gendsa_options& options, const session& session)
{
    if (options.parameters_only && !options.public_output.empty()) {
        throw failure{kUsage, "--params-only makes no key for --public"};
    }
    const dsa_unit unit =
        options.parameters.empty() ? generated_domain(options, session) : given_domain(options, session);
    const std::string output = plain(options.output);
    if (options.parameters_only) return save_key(write_dsa_pem(stored_key(*unit)), output, readers::usual);

    require(ZRC_Generate_DSA_Key_Pair(unit.get()), "ZRC_Generate_DSA_Key_Pair");
    dsa_key key = stored_key(*unit);
    save_key(write_dsa_pem(key, options.traditional ? key_form::traditional : key_form::general), output,
             readers::owner);
    if (options.public_output.empty()) return;
    key.x.clear();
    save_key(write_dsa_pem(key), plain(options.public_output), readers::usual);
}

} // namespace

void add_gendsa(CLI::App& app, session& session)
{
    const auto options = std::make_shared<gendsa_options>();
    CLI::App* command = app.add_subcommand("gendsa", "Generate DSA domain parameters and a key");
    auto* p = command->add_option("-p,--p-bits", options->p_bits, "Length of p")->capture_default_str();
    auto* q = command->add_option("-q,--q-bits", options->q_bits, "Length of q; 160 for a p of 1024 bits, else 256");
    auto* only = command->add_flag("--params-only", options->parameters_only, "Domain parameters, and no key");
    command->add_option("--params", options->parameters, "Take the domain parameters from this file")
        ->excludes(only)
        ->excludes(p)
        ->excludes(q);
    command->add_flag("--traditional", options->traditional, "Write \"DSA PRIVATE KEY\", not PKCS #8")->excludes(only);
    command->add_option("-o,--output", options->output, "The private key, for its owner only; - is standard output")
        ->required();
    command->add_option("--public", options->public_output, "The public key; - is standard output");
    command->footer(kNotes);
    command->callback([options, &session] { run(*options, session); });
}

} // namespace tool

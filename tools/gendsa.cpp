// kestrim gendsa: DSA domain parameters and keys.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/dsa_key.hpp"
#include "tools/key_file.hpp"
#include "tools/key_generation.hpp"
#include "tools/library.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "Sizes of p and q: 1024 and 160, 2048 and 224, 2048 and 256, 3072 and 256. They are made with SHA-256 from a\n"
    "random seed, as FIPS 186-4 has it. Parameters are a file \"DSA PARAMETERS\".\n"
    "\n"
    "Proven mode has no DSA.";

struct gendsa_options {
    domain_options domain;
    bool traditional = false;
    key_output output;
};

dsa_unit generated_domain(const domain_options& options, const session& session)
{
    const int q_bits = options.q_bits != 0 ? options.q_bits : options.p_bits == 1024 ? 160 : 256;
    start_library("dsa-" + std::to_string(options.p_bits) + "-" + std::to_string(q_bits), false, session);
    dsa_unit unit = new_dsa_unit();
    require(ZRC_Generate_DSA_Params(unit.get(), options.p_bits, q_bits, ZRC_SHA256), "ZRC_Generate_DSA_Params");
    return unit;
}

dsa_unit given_domain(const domain_options& options, const session& session)
{
    dsa_key parameters = key_file{plain(options.parameters), session}.dsa_parameters();
    parameters.x.clear();
    parameters.y.clear();
    start_library("dsa", false, session);
    return load(parameters);
}

void run(const gendsa_options& options, const session& session)
{
    const domain_options& domain = options.domain;
    require_key_for_public(domain, options.output);
    const dsa_unit unit = domain.parameters.empty() ? generated_domain(domain, session) : given_domain(domain, session);
    if (domain.parameters_only)
        return save_key(write_dsa_pem(stored_key(*unit)), plain(options.output.private_name), readers::usual);

    require(ZRC_Generate_DSA_Key_Pair(unit.get()), "ZRC_Generate_DSA_Key_Pair");
    dsa_key key = stored_key(*unit);
    const std::string pem = write_dsa_pem(key, options.traditional ? key_form::traditional : key_form::general);
    key.x.clear();
    save_key_pair(options.output, pem, write_dsa_pem(key));
}

} // namespace

void add_gendsa(CLI::App& app, session& session)
{
    const auto options = std::make_shared<gendsa_options>();
    const subcommand command{app, "gendsa", "Generate DSA domain parameters and a key"};
    const option only = add_domain_options(command, options->domain, "Length of q; 160 for a p of 1024 bits, else 256");
    command.add_flag("--traditional", options->traditional, "Write \"DSA PRIVATE KEY\", not PKCS #8").excludes(only);
    add_key_output(command, options->output);
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

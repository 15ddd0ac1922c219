// kestrim genkcdsa: KCDSA domain parameters and keys.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/kcdsa_key.hpp"
#include "tools/key_file.hpp"
#include "tools/key_generation.hpp"
#include "tools/library.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "The files are PEM, in a form of the tool's own: a SEQUENCE of the INTEGERs 0 (version), p, q and g in KCDSA\n"
    "PARAMETERS; behind them y in KCDSA PUBLIC KEY; behind them y and x in KCDSA PRIVATE KEY.\n"
    "\n"
    "Proven mode has the sizes 2048 and 224, 2048 and 256, 3072 and 256, with sha224 and sha256. Other sizes are 512\n"
    "to 4096 bits for p and 160 to 256 for q, multiples of 8.";

struct genkcdsa_options {
    domain_options domain{.q_bits = 256};
    std::string digest = kDefaultAlgorithm;
    key_output output;
};

bool is_approved(std::size_t p_bits, std::size_t q_bits, const std::string& digest)
{
    const std::string name = normalised(digest);
    const bool size = (p_bits == 2048 && (q_bits == 224 || q_bits == 256)) || (p_bits == 3072 && q_bits == 256);
    return size && (name == "sha224" || name == "sha256");
}

algorithm choose(std::size_t p_bits, std::size_t q_bits, const genkcdsa_options& options, const session& session)
{
    const std::string name = "kcdsa-" + std::to_string(p_bits) + "-" + std::to_string(q_bits) + " " + options.digest;
    return choose_algorithm(options.digest, name, is_approved(p_bits, q_bits, options.digest), session);
}

struct domain {
    kcdsa_unit unit;
    algorithm digest;
};

domain generated_domain(const genkcdsa_options& options, const session& session)
{
    const int p_bits = options.domain.p_bits, q_bits = options.domain.q_bits;
    const algorithm digest = choose(std::size_t(p_bits), std::size_t(q_bits), options, session);
    kcdsa_unit unit = new_kcdsa_unit();
    require(ZRC_Generate_KCDSA_Params_Ex(unit.get(), p_bits, q_bits, digest.id), "ZRC_Generate_KCDSA_Params_Ex");
    return {std::move(unit), digest};
}

domain given_domain(const genkcdsa_options& options, const session& session)
{
    kcdsa_key parameters = key_file{plain(options.domain.parameters), session}.kcdsa_parameters();
    parameters.x.clear();
    parameters.y.clear();
    const algorithm digest = choose(bits(parameters.p), bits(parameters.q), options, session);
    return {load(parameters), digest};
}

void run(const genkcdsa_options& options, const session& session)
{
    require_key_for_public(options.domain, options.output);
    const domain domain =
        options.domain.parameters.empty() ? generated_domain(options, session) : given_domain(options, session);
    if (options.domain.parameters_only) {
        return save_key(write_kcdsa_pem(stored_key(*domain.unit)), plain(options.output.private_name), readers::usual);
    }

    require(ZRC_Generate_KCDSA_Key_Pair_Ex(domain.unit.get(), nullptr, 0, domain.digest.id),
            "ZRC_Generate_KCDSA_Key_Pair_Ex");
    kcdsa_key key = stored_key(*domain.unit);
    const std::string pem = write_kcdsa_pem(key);
    key.x.clear();
    save_key_pair(options.output, pem, write_kcdsa_pem(key));
}

} // namespace

void add_genkcdsa(CLI::App& app, session& session)
{
    const auto options = std::make_shared<genkcdsa_options>();
    const subcommand command{app, "genkcdsa", "Generate KCDSA domain parameters and a key"};
    add_domain_options(command, options->domain, "Length of q");
    command.add("-a,--algorithm", options->digest, "Of the generation. " + algorithm_help()).show_default();
    add_key_output(command, options->output);
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool

#include "tools/key_generation.hpp"

#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/key_file.hpp"

namespace tool {

void add_key_output(const subcommand& command, key_output& output)
{
    command.add("-o,--output", output.private_name, "The private key, for its owner only; - is standard output")
        .required();
    command.add("--public", output.public_name, "The public key; - is standard output");
}

void save_key_pair(const key_output& output, const std::string& private_pem, const std::string& public_pem)
{
    save_key(private_pem, plain(output.private_name), readers::owner);
    if (!output.public_name.empty()) save_key(public_pem, plain(output.public_name), readers::usual);
}

option add_domain_options(const subcommand& command, domain_options& options, const char* q_help)
{
    const option p = command.add("-p,--p-bits", options.p_bits, "Length of p").show_default();
    const option q = command.add("-q,--q-bits", options.q_bits, q_help);
    if (options.q_bits != 0) q.show_default();
    const option only = command.add_flag("--params-only", options.parameters_only, "Domain parameters, and no key");
    command.add("--params", options.parameters, "Take the domain parameters from this file")
        .excludes(only)
        .excludes(p)
        .excludes(q);
    return only;
}

void require_key_for_public(const domain_options& options, const key_output& output)
{
    if (!options.parameters_only || output.public_name.empty()) return;
    throw failure{kUsage, "--params-only makes no key for --public"};
}

} // namespace tool

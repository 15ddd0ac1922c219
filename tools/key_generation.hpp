// What the commands that generate keys have in common: their options, and the files that they write.
#pragma once

#include "tools/command_line.hpp"

#include <string>

namespace tool {

// Where the key goes.
struct key_output {
    std::string private_name;
    std::string public_name; // empty: nowhere
};

void add_key_output(const subcommand& command, key_output& output);

// Writes the private key, for its owner only, and the public key if that is wanted. Throws failure.
void save_key_pair(const key_output& output, const std::string& private_pem, const std::string& public_pem);

// Domain parameters p, q and g: new ones or given ones, with a key or alone.
struct domain_options {
    int p_bits = 2048;
    int q_bits = 0; // 0: the usual
    bool parameters_only = false;
    std::string parameters{}; // a file to take p, q and g from
};

// Returns --params-only, for other options to exclude.
option add_domain_options(const subcommand& command, domain_options& options, const char* q_help);

// Throws failure, kUsage, when parameters alone are to be made and a public key is wanted.
void require_key_for_public(const domain_options& options, const key_output& output);

} // namespace tool

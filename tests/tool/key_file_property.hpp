// What must hold for every text that is given to the readers of key files.
#pragma once

#include "tools/dh_key_file.hpp"
#include "tools/dsa_key_file.hpp"
#include "tools/ec_key_file.hpp"
#include "tools/kcdsa_key_file.hpp"
#include "tools/rsa_key_file.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace tool {

// The text that the program writes for a key it has read.
inline std::string rewritten(const pem_block& block)
{
    const auto form = is_envelope(block) ? key_form::general : key_form::traditional;
    if (is_kcdsa(block)) return write_kcdsa_pem(read_kcdsa_key(block));
    if (is_dsa(block)) return write_dsa_pem(read_dsa_key(block), form);
    if (is_dh(block)) return write_dh_pem(read_dh_key(block));
    if (is_ec(block)) return write_ec_pem(read_ec_key(block), form);
    if (block.label.ends_with("PRIVATE KEY")) return write_rsa_private_key_pem(read_rsa_private_key(block), form);
    return write_rsa_public_key_pem(read_rsa_public_key(block), form);
}

// Nothing: refused. Else whether the key has just this encoding.
inline std::optional<bool> read_and_rewrite(std::string_view text)
{
    try {
        const pem_block block = read_pem(text);
        const pem_block again = read_pem(rewritten(block));
        return again.label == block.label && again.content == block.content;
    } catch (const malformed&) {
        return {};
    }
}

} // namespace tool

// The signature behind the library file: RSASSA-PSS (RFC 8017) with SHA-256, MGF1 with SHA-256 and a salt of 20 bytes, made
// and checked by the library's own code. docs/integrity.md tells what it is for.
#pragma once

#include "tools/rsa_key_file.hpp"

#include <cstdint>
#include <span>

namespace tool {

// The library takes no other key than one of 2048 bits with the exponent 65537. Throws failure.
void require_signing_key(const rsa_public_key& key);

rsa_private_key generate_signing_key();

// The signature of `content`, as long as the modulus. Its salt is made from the content, so that the same content and key
// always give the same signature. Throws failure.
bytes sign(const rsa_private_key& key, std::span<const std::uint8_t> content);

bool is_signature(const rsa_public_key& key, std::span<const std::uint8_t> content,
                  std::span<const std::uint8_t> signature);

} // namespace tool

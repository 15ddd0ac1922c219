// KCDSA keys in files. No standard has a form for them, so this is the tool's own, in PEM:
//
//     KCDSA PARAMETERS   SEQUENCE { version INTEGER (0), p INTEGER, q INTEGER, g INTEGER }
//     KCDSA PUBLIC KEY   SEQUENCE { version INTEGER (0), p INTEGER, q INTEGER, g INTEGER, y INTEGER }
//     KCDSA PRIVATE KEY  SEQUENCE { version INTEGER (0), p INTEGER, q INTEGER, g INTEGER, y INTEGER, x INTEGER }
#pragma once

#include "tools/pem.hpp"

#include <string>

namespace tool {

// Numbers are big-endian and have no leading zeros. None is 0.
struct kcdsa_key {
    bytes p; // prime modulus
    bytes q; // prime order of g
    bytes g; // generator
    bytes y; // public key; empty in domain parameters
    bytes x; // private key; empty in a public key as well
};

bool is_kcdsa(const pem_block& block);

// Throws malformed. Only the form is checked.
kcdsa_key read_kcdsa_key(const pem_block& block);

// The form for what the key has.
std::string write_kcdsa_pem(const kcdsa_key& key);

} // namespace tool

// DSA keys in the files that other programs make: PKCS #8 and SubjectPublicKeyInfo with the parameters of RFC 3279,
// 2.3.2, and the older forms, of which no standard tells:
//
//     DSA PARAMETERS   SEQUENCE { p INTEGER, q INTEGER, g INTEGER }
//     DSA PRIVATE KEY  SEQUENCE { version INTEGER (0), p INTEGER, q INTEGER, g INTEGER, y INTEGER, x INTEGER }
#pragma once

#include "tools/key_envelope.hpp"

#include <string>

namespace tool {

// Numbers are big-endian and have no leading zeros. None is 0.
struct dsa_key {
    bytes p; // prime modulus
    bytes q; // prime order of g
    bytes g; // generator
    bytes y; // public key; empty in domain parameters, and in a private key of PKCS #8
    bytes x; // private key; empty in domain parameters and a public key
};

// Throws malformed when it is a damaged envelope.
bool is_dsa(const pem_block& block);

// Throws malformed. Only the form is checked.
dsa_key read_dsa_key(const pem_block& block);

// The form for what the key has; the traditional one of a private key needs y, too.
std::string write_dsa_pem(const dsa_key& key, key_form form = key_form::general);

} // namespace tool

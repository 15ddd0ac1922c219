// Keys of elliptic curves in the files that other programs make, with curves that have a name: PKCS #8 with a private
// key of RFC 5915, SubjectPublicKeyInfo of RFC 5480 with an uncompressed point, and "EC PRIVATE KEY" of RFC 5915 alone.
#pragma once

#include "tools/curve.hpp"
#include "tools/key_envelope.hpp"

#include <string>

namespace tool {

struct ec_key {
    const named_curve* curve = nullptr;
    bytes x; // the public point, as long as p each; empty in some private keys
    bytes y;
    bytes d;                  // the private number, as long as n; empty in a public key
    bool names_curve = false; // a private key in PKCS #8 that names its curve once more, as some programs have it
};

// Throws malformed when it is a damaged envelope.
bool is_ec(const pem_block& block);

// Throws malformed. Only the form is checked.
ec_key read_ec_key(const pem_block& block);

// The form for what the key has.
std::string write_ec_pem(const ec_key& key, key_form form = key_form::general);

} // namespace tool

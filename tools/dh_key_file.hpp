// Diffie-Hellman parameters and keys in the files that other programs make. Where the order of the generator is known,
// X9.42 has the parameters (RFC 3279, 2.3.3), else PKCS #3:
//
//     X9.42 DH PARAMETERS  SEQUENCE { p INTEGER, g INTEGER, q INTEGER, j INTEGER OPTIONAL,
//                                     SEQUENCE { seed BIT STRING, pgenCounter INTEGER } OPTIONAL }
//     DH PARAMETERS        SEQUENCE { p INTEGER, g INTEGER, privateValueLength INTEGER OPTIONAL }
//
// Keys are PKCS #8 and SubjectPublicKeyInfo with either.
#pragma once

#include "tools/key_envelope.hpp"

#include <string>

namespace tool {

// Numbers are big-endian and have no leading zeros. None but the counter is 0.
struct dh_key {
    bytes p;       // prime modulus
    bytes g;       // generator
    bytes q;       // prime order of g; empty: not known
    bytes j;       // (p - 1) / q, with q only; may be empty
    bytes seed;    // what q and p were made from, with q only; may be empty
    bytes counter; // of the search for p, with a seed only
    bytes length;  // bits that private values are to have, without q only; may be empty
    bytes y;       // public value; empty in parameters and in a private key
    bytes x;       // private value; empty in parameters and in a public key
};

// Throws malformed when it is a damaged envelope.
bool is_dh(const pem_block& block);

// Throws malformed. Only the form is checked.
dh_key read_dh_key(const pem_block& block);

// The form for what the key has.
std::string write_dh_pem(const dh_key& key);

// The number, as far as it is below 2^31; else the largest one below.
std::size_t small_number(const bytes& big_endian);

} // namespace tool

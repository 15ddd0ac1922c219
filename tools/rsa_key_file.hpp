// RSA keys in the files that other programs make: PKCS #1 (RFC 8017, appendix A.1), PKCS #8 (RFC 5208) and
// SubjectPublicKeyInfo (RFC 5280, 4.1) in PEM.
#pragma once

#include "tools/key_envelope.hpp"

#include <string>
#include <string_view>

namespace tool {

// Numbers are big-endian and have no leading zeros. None is 0.
struct rsa_public_key {
    bytes n; // modulus
    bytes e; // public exponent
};

// Two primes. Only the form is checked, not that the numbers belong together.
struct rsa_private_key {
    bytes n;
    bytes e;
    bytes d;    // private exponent
    bytes p;    // first prime
    bytes q;    // second prime
    bytes dP;   // d mod (p - 1)
    bytes dQ;   // d mod (q - 1)
    bytes qInv; // q^-1 mod p
};

// Both forms; PKCS #1 is the traditional one, "RSA PRIVATE KEY" and "RSA PUBLIC KEY". A private key also serves as the public one. Encrypted keys, keys of more than two primes and PKCS #8
// files with attributes are refused. Throw malformed.
rsa_private_key read_rsa_private_key(std::string_view pem);
rsa_public_key read_rsa_public_key(std::string_view pem);

// The same of a block that has been read. A label of no RSA key is refused.
rsa_private_key read_rsa_private_key(const pem_block& block);
rsa_public_key read_rsa_public_key(const pem_block& block);

std::string write_rsa_private_key_pem(const rsa_private_key& key, key_form form = key_form::general);
std::string write_rsa_public_key_pem(const rsa_public_key& key, key_form form = key_form::general);

} // namespace tool

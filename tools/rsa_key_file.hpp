// RSA keys in the files that other programs make: PKCS #1 (RFC 8017, appendix A.1), PKCS #8 (RFC 5208) and
// SubjectPublicKeyInfo (RFC 5280, 4.1) in PEM.
#pragma once

#include "tools/pem.hpp"

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

enum class rsa_key_form {
    pkcs1,   // "RSA PRIVATE KEY", "RSA PUBLIC KEY"
    general, // "PRIVATE KEY" of PKCS #8, "PUBLIC KEY" of SubjectPublicKeyInfo
};

// Both forms. A private key also serves as the public one. Encrypted keys, keys of more than two primes and PKCS #8
// files with attributes are refused. Throw malformed.
rsa_private_key read_rsa_private_key(std::string_view pem);
rsa_public_key read_rsa_public_key(std::string_view pem);

// The same of a block that has been read. A label of no RSA key is refused.
rsa_private_key read_rsa_private_key(const pem_block& block);
rsa_public_key read_rsa_public_key(const pem_block& block);

std::string write_rsa_private_key_pem(const rsa_private_key& key, rsa_key_form form = rsa_key_form::general);
std::string write_rsa_public_key_pem(const rsa_public_key& key, rsa_key_form form = rsa_key_form::general);

} // namespace tool

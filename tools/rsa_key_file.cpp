#include "tools/rsa_key_file.hpp"

#include <algorithm>

namespace tool {
namespace {

using der::reader;
using der::tag;

constexpr std::string_view kPkcs1Private = "RSA PRIVATE KEY", kPkcs1Public = "RSA PUBLIC KEY";

// rsaEncryption, 1.2.840.113549.1.1.1 (RFC 8017, appendix A.1); its parameters are NULL.
constexpr std::uint8_t kRsaEncryption[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};

// What the envelope is of.
std::span<const std::uint8_t> key_in(const key_envelope& envelope)
{
    if (!std::ranges::equal(envelope.algorithm, kRsaEncryption)) throw malformed{"not an RSA key"};
    reader parameters{envelope.parameters};
    parameters.expect(tag::null, {});
    parameters.finish();
    return envelope.key;
}

rsa_private_key parse_pkcs1_private(std::span<const std::uint8_t> encoded)
{
    reader fields = der::only_sequence(encoded);
    // Version 1 is for more than two primes.
    if (!fields.number().empty()) throw malformed{"the version of the key's format is not 0"};
    rsa_private_key key;
    for (bytes* number : {&key.n, &key.e, &key.d, &key.p, &key.q, &key.dP, &key.dQ, &key.qInv})
        *number = fields.positive();
    fields.finish();
    return key;
}

rsa_public_key parse_pkcs1_public(std::span<const std::uint8_t> encoded)
{
    reader fields = der::only_sequence(encoded);
    rsa_public_key key;
    key.n = fields.positive();
    key.e = fields.positive();
    fields.finish();
    return key;
}

bytes pkcs1_private(const rsa_private_key& key)
{
    return der::sequence({der::number({}), der::number(key.n), der::number(key.e), der::number(key.d),
                          der::number(key.p), der::number(key.q), der::number(key.dP), der::number(key.dQ),
                          der::number(key.qInv)});
}

bytes pkcs1_public(const rsa_public_key& key)
{
    return der::sequence({der::number(key.n), der::number(key.e)});
}

} // namespace

rsa_private_key read_rsa_private_key(const pem_block& block)
{
    if (block.label == kPkcs1Private) return parse_pkcs1_private(block.content);
    if (is_envelope(block)) {
        const key_envelope envelope = read_envelope(block);
        if (envelope.is_private) return parse_pkcs1_private(key_in(envelope));
    }
    throw malformed{"not a private RSA key: the PEM block is called " + block.label};
}

rsa_public_key read_rsa_public_key(const pem_block& block)
{
    if (block.label == kPkcs1Public) return parse_pkcs1_public(block.content);
    if (is_envelope(block)) {
        const key_envelope envelope = read_envelope(block);
        if (!envelope.is_private) return parse_pkcs1_public(key_in(envelope));
    } else if (block.label != kPkcs1Private) {
        throw malformed{"not an RSA key: the PEM block is called " + block.label};
    }
    const rsa_private_key key = read_rsa_private_key(block);
    return {key.n, key.e};
}

rsa_private_key read_rsa_private_key(std::string_view pem)
{
    return read_rsa_private_key(read_pem(pem));
}

rsa_public_key read_rsa_public_key(std::string_view pem)
{
    return read_rsa_public_key(read_pem(pem));
}

std::string write_rsa_private_key_pem(const rsa_private_key& key, key_form form)
{
    const bytes encoded = pkcs1_private(key);
    if (form == key_form::traditional) return write_pem(kPkcs1Private, encoded);
    return write_private_envelope(kRsaEncryption, der::object(tag::null, {}), encoded);
}

std::string write_rsa_public_key_pem(const rsa_public_key& key, key_form form)
{
    const bytes encoded = pkcs1_public(key);
    if (form == key_form::traditional) return write_pem(kPkcs1Public, encoded);
    return write_public_envelope(kRsaEncryption, der::object(tag::null, {}), encoded);
}

} // namespace tool

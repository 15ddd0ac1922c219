#include "tools/rsa_key_file.hpp"

#include <algorithm>

namespace tool {
namespace {

using der::reader;
using der::tag;

constexpr std::string_view kPkcs1Private = "RSA PRIVATE KEY";
constexpr std::string_view kPkcs1Public = "RSA PUBLIC KEY";
constexpr std::string_view kGeneralPrivate = "PRIVATE KEY";
constexpr std::string_view kGeneralPublic = "PUBLIC KEY";

// rsaEncryption, 1.2.840.113549.1.1.1 (RFC 8017, appendix A.1); its parameters are NULL.
constexpr std::uint8_t kRsaEncryption[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};

bytes algorithm_identifier()
{
    return der::sequence({der::object(tag::object_identifier, kRsaEncryption), der::object(tag::null, {})});
}

void expect_algorithm_identifier(reader& from)
{
    reader identifier = from.sequence();
    if (!std::ranges::equal(identifier.take(tag::object_identifier), kRsaEncryption)) throw malformed{"not an RSA key"};
    identifier.expect(tag::null, {});
    identifier.finish();
}

// Version 1 is PKCS #1's for more than two primes, and that of RFC 5958, which adds the public key, for PKCS #8.
void expect_version_0(reader& from)
{
    if (!from.number().empty()) throw malformed{"the version of the key's format is not 0"};
}

bytes positive(reader& from)
{
    const auto number = from.number();
    if (number.empty()) throw malformed{"a number of the key is 0"};
    return {number.begin(), number.end()};
}

rsa_private_key parse_pkcs1_private(std::span<const std::uint8_t> encoded)
{
    reader outer{encoded};
    reader fields = outer.sequence();
    outer.finish();
    expect_version_0(fields);
    rsa_private_key key;
    for (bytes* number : {&key.n, &key.e, &key.d, &key.p, &key.q, &key.dP, &key.dQ, &key.qInv})
        *number = positive(fields);
    fields.finish();
    return key;
}

rsa_public_key parse_pkcs1_public(std::span<const std::uint8_t> encoded)
{
    reader outer{encoded};
    reader fields = outer.sequence();
    outer.finish();
    rsa_public_key key;
    key.n = positive(fields);
    key.e = positive(fields);
    fields.finish();
    return key;
}

rsa_private_key parse_pkcs8(std::span<const std::uint8_t> encoded)
{
    reader outer{encoded};
    reader fields = outer.sequence();
    outer.finish();
    expect_version_0(fields);
    expect_algorithm_identifier(fields);
    const auto key = fields.take(tag::octet_string);
    fields.finish();
    return parse_pkcs1_private(key);
}

rsa_public_key parse_public_key_info(std::span<const std::uint8_t> encoded)
{
    reader outer{encoded};
    reader fields = outer.sequence();
    outer.finish();
    expect_algorithm_identifier(fields);
    const auto key = fields.whole_bits();
    fields.finish();
    return parse_pkcs1_public(key);
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
    if (block.label == kGeneralPrivate) return parse_pkcs8(block.content);
    throw malformed{"not a private RSA key: the PEM block is called " + block.label};
}

rsa_public_key read_rsa_public_key(const pem_block& block)
{
    if (block.label == kPkcs1Public) return parse_pkcs1_public(block.content);
    if (block.label == kGeneralPublic) return parse_public_key_info(block.content);
    if (block.label != kPkcs1Private && block.label != kGeneralPrivate) {
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

std::string write_rsa_private_key_pem(const rsa_private_key& key, rsa_key_form form)
{
    const bytes encoded = pkcs1_private(key);
    if (form == rsa_key_form::pkcs1) return write_pem(kPkcs1Private, encoded);
    return write_pem(kGeneralPrivate,
                     der::sequence({der::number({}), algorithm_identifier(), der::object(tag::octet_string, encoded)}));
}

std::string write_rsa_public_key_pem(const rsa_public_key& key, rsa_key_form form)
{
    const bytes encoded = pkcs1_public(key);
    if (form == rsa_key_form::pkcs1) return write_pem(kPkcs1Public, encoded);
    return write_pem(kGeneralPublic, der::sequence({algorithm_identifier(), der::whole_bits(encoded)}));
}

} // namespace tool

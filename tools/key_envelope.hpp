// What PKCS #8 (RFC 5208) and SubjectPublicKeyInfo (RFC 5280, 4.1) put around a key of any algorithm: its name and its
// parameters.
#pragma once

#include "tools/pem.hpp"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tool {

enum class key_form {
    general,     // PKCS #8 and SubjectPublicKeyInfo
    traditional, // the form that the algorithm had before
};

// Views of the block that was read.
struct key_envelope {
    static constexpr std::string_view kPrivate = "PRIVATE KEY", kPublic = "PUBLIC KEY"; // the labels

    bool is_private;
    std::span<const std::uint8_t> algorithm;  // content of the object identifier
    std::span<const std::uint8_t> parameters; // the objects behind it, encoded
    std::span<const std::uint8_t> key;        // content of the string, in the form of the algorithm
};

inline bool is_envelope(const pem_block& block)
{
    return block.label == key_envelope::kPrivate || block.label == key_envelope::kPublic;
}

// Attributes and version 1 (RFC 5958, with the public key) are refused. Throws malformed.
inline key_envelope read_envelope(const pem_block& block)
{
    key_envelope envelope{};
    envelope.is_private = block.label == key_envelope::kPrivate;
    der::reader fields = der::only_sequence(block.content);
    if (envelope.is_private && !fields.number().empty()) throw malformed{"the version of the key's format is not 0"};
    der::reader identifier = fields.sequence();
    envelope.algorithm = identifier.take(der::tag::object_identifier);
    envelope.parameters = identifier.rest();
    envelope.key = envelope.is_private ? fields.take(der::tag::octet_string) : fields.whole_bits();
    fields.finish();
    return envelope;
}

// An envelope for keys of this algorithm. Throws malformed when it is a damaged one.
inline bool is_envelope_of(const pem_block& block, std::span<const std::uint8_t> algorithm)
{
    return is_envelope(block) && std::ranges::equal(read_envelope(block).algorithm, algorithm);
}

inline bytes algorithm_identifier(std::span<const std::uint8_t> algorithm, const bytes& parameters)
{
    return der::sequence({der::object(der::tag::object_identifier, algorithm), parameters});
}

// `parameters` and `key` are encoded.
inline std::string write_private_envelope(std::span<const std::uint8_t> algorithm, const bytes& parameters,
                                          const bytes& key)
{
    return write_pem(key_envelope::kPrivate,
                     der::sequence({der::number({}), algorithm_identifier(algorithm, parameters),
                                    der::object(der::tag::octet_string, key)}));
}

inline std::string write_public_envelope(std::span<const std::uint8_t> algorithm, const bytes& parameters,
                                         const bytes& key)
{
    return write_pem(key_envelope::kPublic,
                     der::sequence({algorithm_identifier(algorithm, parameters), der::whole_bits(key)}));
}

} // namespace tool

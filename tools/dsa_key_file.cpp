#include "tools/dsa_key_file.hpp"

#include <algorithm>
#include <string_view>

namespace tool {
namespace {

using der::reader;

constexpr std::string_view kParameters = "DSA PARAMETERS", kPrivate = "DSA PRIVATE KEY";

// id-dsa, 1.2.840.10040.4.1 (RFC 3279, 2.3.2).
constexpr std::uint8_t kDsa[] = {0x2A, 0x86, 0x48, 0xCE, 0x38, 0x04, 0x01};

// p, q and g, and nothing else.
dsa_key parse_parameters(std::span<const std::uint8_t> encoded)
{
    reader fields = der::only_sequence(encoded);
    dsa_key key;
    for (bytes* number : {&key.p, &key.q, &key.g})
        *number = fields.positive();
    fields.finish();
    return key;
}

dsa_key parse_traditional(std::span<const std::uint8_t> encoded)
{
    reader fields = der::only_sequence(encoded);
    if (!fields.number().empty()) throw malformed{"the version of the key's format is not 0"};
    dsa_key key;
    for (bytes* number : {&key.p, &key.q, &key.g, &key.y, &key.x})
        *number = fields.positive();
    fields.finish();
    return key;
}

dsa_key parse_envelope(const key_envelope& envelope)
{
    if (!std::ranges::equal(envelope.algorithm, kDsa)) throw malformed{"not a DSA key"};
    dsa_key key = parse_parameters(envelope.parameters);
    reader number{envelope.key};
    (envelope.is_private ? key.x : key.y) = number.positive();
    number.finish();
    return key;
}

bytes parameters(const dsa_key& key)
{
    return der::sequence({der::number(key.p), der::number(key.q), der::number(key.g)});
}

} // namespace

bool is_dsa(const pem_block& block)
{
    return block.label == kParameters || block.label == kPrivate || is_envelope_of(block, kDsa);
}

dsa_key read_dsa_key(const pem_block& block)
{
    if (block.label == kParameters) return parse_parameters(block.content);
    if (block.label == kPrivate) return parse_traditional(block.content);
    if (is_envelope(block)) return parse_envelope(read_envelope(block));
    throw malformed{"not a DSA key: the PEM block is called " + block.label};
}

std::string write_dsa_pem(const dsa_key& key, key_form form)
{
    if (!key.x.empty() && form == key_form::traditional) {
        return write_pem(kPrivate, der::sequence({der::number({}), der::number(key.p), der::number(key.q),
                                                  der::number(key.g), der::number(key.y), der::number(key.x)}));
    }
    if (!key.x.empty()) return write_private_envelope(kDsa, parameters(key), der::number(key.x));
    if (!key.y.empty()) return write_public_envelope(kDsa, parameters(key), der::number(key.y));
    return write_pem(kParameters, parameters(key));
}

} // namespace tool

#include "tools/ec_key_file.hpp"

#include <algorithm>
#include <string_view>

namespace tool {
namespace {

using der::reader;
using der::tag;

constexpr std::string_view kTraditional = "EC PRIVATE KEY";
constexpr std::uint8_t kUncompressed = 4; // the first byte of a point (SEC 1, 2.3.3)
constexpr std::uint8_t kVersion[] = {1};  // RFC 5915, ecPrivkeyVer1

// id-ecPublicKey, 1.2.840.10045.2.1 (RFC 5480, 2.1.1).
constexpr std::uint8_t kEc[] = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x02, 0x01};

const named_curve* parse_curve(std::span<const std::uint8_t> encoded)
{
    reader parameters{encoded};
    if (!parameters.has(tag::object_identifier))
        throw malformed{"the key gives a curve by its parameters, not its name"};
    const named_curve* const curve = find_curve(parameters.take(tag::object_identifier));
    parameters.finish();
    if (!curve) throw malformed{"the key's curve is not known; known are " + curve_names()};
    return curve;
}

void parse_point(ec_key& key, std::span<const std::uint8_t> encoded)
{
    const std::size_t size = key.curve->coordinate_bytes();
    if (encoded.size() != 1 + 2 * size || encoded[0] != kUncompressed) {
        throw malformed{"the public key is not an uncompressed point of its curve"};
    }
    const auto coordinates = encoded.subspan(1);
    key.x.assign(coordinates.begin(), coordinates.begin() + std::ptrdiff_t(size));
    key.y.assign(coordinates.begin() + std::ptrdiff_t(size), coordinates.end());
}

// `curve` is the one that the envelope names; null without an envelope.
ec_key parse_private(std::span<const std::uint8_t> encoded, const named_curve* curve)
{
    reader fields = der::only_sequence(encoded);
    fields.expect(tag::integer, kVersion);
    const auto d = fields.take(tag::octet_string);
    ec_key key;
    key.curve = curve;
    if (fields.has(tag::context_0)) {
        key.curve = parse_curve(fields.take(tag::context_0));
        key.names_curve = curve != nullptr;
    }
    if (!key.curve || (curve && key.curve != curve)) throw malformed{"the key names no curve, or two"};
    if (d.size() != key.curve->scalar_bytes()) throw malformed{"the private number is not as long as its curve wants"};
    key.d.assign(d.begin(), d.end());
    if (fields.has(tag::context_1)) {
        reader inner{fields.take(tag::context_1)};
        parse_point(key, inner.whole_bits());
        inner.finish();
    }
    fields.finish();
    return key;
}

ec_key parse_envelope(const key_envelope& envelope)
{
    if (!std::ranges::equal(envelope.algorithm, kEc)) throw malformed{"not a key of an elliptic curve"};
    ec_key key;
    key.curve = parse_curve(envelope.parameters);
    if (envelope.is_private) return parse_private(envelope.key, key.curve);
    parse_point(key, envelope.key);
    return key;
}

bytes curve_identifier(const ec_key& key)
{
    return der::object(tag::object_identifier, key.curve->identifier);
}

bytes point(const ec_key& key)
{
    bytes encoded{kUncompressed};
    encoded.insert(encoded.end(), key.x.begin(), key.x.end());
    encoded.insert(encoded.end(), key.y.begin(), key.y.end());
    return encoded;
}

bytes private_key(const ec_key& key, bool names_curve)
{
    return der::sequence({der::object(tag::integer, kVersion), der::object(tag::octet_string, key.d),
                          names_curve ? der::object(tag::context_0, curve_identifier(key)) : bytes{},
                          key.x.empty() ? bytes{} : der::object(tag::context_1, der::whole_bits(point(key)))});
}

} // namespace

bool is_ec(const pem_block& block)
{
    return block.label == kTraditional || is_envelope_of(block, kEc);
}

ec_key read_ec_key(const pem_block& block)
{
    if (block.label == kTraditional) return parse_private(block.content, nullptr);
    if (is_envelope(block)) return parse_envelope(read_envelope(block));
    throw malformed{"not a key of an elliptic curve: the PEM block is called " + block.label};
}

std::string write_ec_pem(const ec_key& key, key_form form)
{
    if (key.d.empty()) return write_public_envelope(kEc, curve_identifier(key), point(key));
    if (form == key_form::traditional) return write_pem(kTraditional, private_key(key, true));
    return write_private_envelope(kEc, curve_identifier(key), private_key(key, key.names_curve));
}

} // namespace tool

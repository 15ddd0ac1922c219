#include "tools/dh_key_file.hpp"

#include <algorithm>
#include <string_view>

namespace tool {
namespace {

using der::reader;
using der::tag;

constexpr std::string_view kX942 = "X9.42 DH PARAMETERS", kPkcs3 = "DH PARAMETERS";

// dhpublicnumber, 1.2.840.10046.2.1 (RFC 3279, 2.3.3), and dhKeyAgreement, 1.2.840.113549.1.3.1 (PKCS #3, 9).
constexpr std::uint8_t kX942Key[] = {0x2A, 0x86, 0x48, 0xCE, 0x3E, 0x02, 0x01};
constexpr std::uint8_t kPkcs3Key[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x03, 0x01};

bytes copy(std::span<const std::uint8_t> content)
{
    return {content.begin(), content.end()};
}

dh_key parse_x942(std::span<const std::uint8_t> encoded)
{
    reader fields = der::only_sequence(encoded);
    dh_key key;
    for (bytes* number : {&key.p, &key.g, &key.q})
        *number = fields.positive();
    if (fields.has(tag::integer)) key.j = fields.positive();
    if (fields.has(tag::sequence)) {
        reader validation = fields.sequence();
        key.seed = copy(validation.whole_bits());
        key.counter = copy(validation.number());
        validation.finish();
        if (key.seed.empty()) throw malformed{"the seed of the parameters is empty"};
    }
    fields.finish();
    return key;
}

dh_key parse_pkcs3(std::span<const std::uint8_t> encoded)
{
    reader fields = der::only_sequence(encoded);
    dh_key key;
    for (bytes* number : {&key.p, &key.g})
        *number = fields.positive();
    if (fields.has(tag::integer)) key.length = fields.positive();
    fields.finish();
    return key;
}

dh_key parse_envelope(const key_envelope& envelope)
{
    const bool x942 = std::ranges::equal(envelope.algorithm, kX942Key);
    if (!x942 && !std::ranges::equal(envelope.algorithm, kPkcs3Key)) throw malformed{"not a Diffie-Hellman key"};
    dh_key key = x942 ? parse_x942(envelope.parameters) : parse_pkcs3(envelope.parameters);
    reader number{envelope.key};
    (envelope.is_private ? key.x : key.y) = number.positive();
    number.finish();
    return key;
}

bytes optional_number(const bytes& number)
{
    return number.empty() ? bytes{} : der::number(number);
}

bytes parameters(const dh_key& key)
{
    if (key.q.empty()) return der::sequence({der::number(key.p), der::number(key.g), optional_number(key.length)});
    const bytes validation =
        key.seed.empty() ? bytes{} : der::sequence({der::whole_bits(key.seed), der::number(key.counter)});
    return der::sequence(
        {der::number(key.p), der::number(key.g), der::number(key.q), optional_number(key.j), validation});
}

} // namespace

bool is_dh(const pem_block& block)
{
    return block.label == kX942 || block.label == kPkcs3 || is_envelope_of(block, kX942Key) ||
           is_envelope_of(block, kPkcs3Key);
}

dh_key read_dh_key(const pem_block& block)
{
    if (block.label == kX942) return parse_x942(block.content);
    if (block.label == kPkcs3) return parse_pkcs3(block.content);
    if (is_envelope(block)) return parse_envelope(read_envelope(block));
    throw malformed{"not a Diffie-Hellman key: the PEM block is called " + block.label};
}

std::string write_dh_pem(const dh_key& key)
{
    const std::span<const std::uint8_t> algorithm =
        key.q.empty() ? std::span<const std::uint8_t>{kPkcs3Key} : std::span<const std::uint8_t>{kX942Key};
    if (!key.x.empty()) return write_private_envelope(algorithm, parameters(key), der::number(key.x));
    if (!key.y.empty()) return write_public_envelope(algorithm, parameters(key), der::number(key.y));
    return write_pem(key.q.empty() ? kPkcs3 : kX942, parameters(key));
}

std::size_t small_number(const bytes& big_endian)
{
    constexpr std::size_t kMost = 0x7FFFFFFF;
    std::size_t value = 0;
    for (const std::uint8_t byte : big_endian)
        value = std::min(value << 8 | byte, kMost);
    return value;
}

} // namespace tool

#include "tools/der.hpp"

#include <algorithm>
#include <utility>

namespace tool::der {

reader::reader(std::span<const std::uint8_t> encoded) : rest_{encoded}
{
    if (encoded.size() > kLongest) throw malformed{"the DER encoding is too long"};
}

std::uint8_t reader::byte()
{
    if (rest_.empty()) throw malformed{"the DER encoding ends too early"};
    const std::uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
}

// One byte below 128, or the number of bytes that follow and give the length, as few as can be (X.690, 10.1).
std::size_t reader::length()
{
    const std::size_t first = byte();
    if (first < 0x80) return first;
    const std::size_t count = first & 0x7F;
    if (count == 0 || count > 4) throw malformed{"a DER object has no definite length, or is too long"};

    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i)
        length = length << 8 | byte();
    if (length < 0x80 || length >> (8 * (count - 1)) == 0) throw malformed{"a DER length is not as short as it can be"};
    return length;
}

std::span<const std::uint8_t> reader::take(tag expected)
{
    if (byte() != std::uint8_t(expected)) throw malformed{"a DER object is not of the expected kind"};
    const std::size_t size = length();
    if (size > rest_.size()) throw malformed{"the DER encoding ends too early"};
    const auto content = rest_.first(size);
    rest_ = rest_.subspan(size);
    return content;
}

reader reader::sequence()
{
    return reader{take(tag::sequence)};
}

std::span<const std::uint8_t> reader::number()
{
    const auto content = take(tag::integer);
    if (content.empty() || content[0] >= 0x80) throw malformed{"a DER integer is empty or negative"};
    if (content[0] != 0) return content;
    if (content.size() > 1 && content[1] < 0x80) throw malformed{"a DER integer is not as short as it can be"};
    return content.subspan(1);
}

bytes reader::positive()
{
    const auto digits = number();
    if (digits.empty()) throw malformed{"a number of the key is 0"};
    return {digits.begin(), digits.end()};
}

void reader::expect(tag expected, std::span<const std::uint8_t> content)
{
    if (!std::ranges::equal(take(expected), content)) throw malformed{"a DER object has not the expected value"};
}

std::span<const std::uint8_t> reader::whole_bits()
{
    const auto content = take(tag::bit_string);
    if (content.empty() || content[0] != 0) throw malformed{"a DER bit string is not whole bytes"};
    return content.subspan(1);
}

bool reader::has(tag tag) const
{
    return !rest_.empty() && rest_.front() == std::uint8_t(tag);
}

std::span<const std::uint8_t> reader::rest()
{
    return std::exchange(rest_, {});
}

void reader::finish() const
{
    if (!rest_.empty()) throw malformed{"something follows where the DER encoding should end"};
}

reader only_sequence(std::span<const std::uint8_t> encoded)
{
    reader outer{encoded};
    const reader fields = outer.sequence();
    outer.finish();
    return fields;
}

bytes object(tag tag, std::span<const std::uint8_t> content)
{
    bytes result{std::uint8_t(tag)};
    result.reserve(content.size() + 6);
    if (content.size() < 0x80) {
        result.push_back(std::uint8_t(content.size()));
    } else {
        std::uint8_t count = 1;
        while (content.size() >> (8 * count) != 0)
            ++count;
        result.push_back(0x80 | count);
        for (std::uint8_t i = count; i-- != 0;)
            result.push_back(std::uint8_t(content.size() >> (8 * i)));
    }
    result.insert(result.end(), content.begin(), content.end());
    return result;
}

bytes sequence(std::initializer_list<bytes> objects)
{
    bytes content;
    for (const bytes& object : objects)
        content.insert(content.end(), object.begin(), object.end());
    return object(tag::sequence, content);
}

bytes number(std::span<const std::uint8_t> big_endian)
{
    const auto digits = std::ranges::find_if(big_endian, [](std::uint8_t byte) { return byte != 0; });
    bytes content{digits, big_endian.end()};
    if (content.empty() || content[0] >= 0x80) content.insert(content.begin(), 0); // the sign
    return object(tag::integer, content);
}

bytes whole_bits(std::span<const std::uint8_t> content)
{
    bytes bits{0}; // no unused bits in the last byte
    bits.insert(bits.end(), content.begin(), content.end());
    return object(tag::bit_string, bits);
}

} // namespace tool::der

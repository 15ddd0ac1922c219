// The distinguished encoding rules of ASN.1 (X.690), as far as key files need them: strict in reading, so that every
// object has exactly one encoding. What is read is checked before a byte of it is touched. There is no recursion: a
// caller descends by hand, as deep as its format goes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <vector>

namespace tool {

// Bytes that may be a key. A program that handles keys links wiped_heap.cpp, which wipes them.
using bytes = std::vector<std::uint8_t>;

// A file that is not what its format demands. what() tells nothing of the content.
class malformed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

namespace der {

constexpr std::size_t kLongest = 1 << 16; // bytes of an object; a key of 16384 bits has less than 10,000

enum class tag : std::uint8_t {
    integer = 0x02,
    bit_string = 0x03,
    octet_string = 0x04,
    null = 0x05,
    object_identifier = 0x06,
    sequence = 0x30,
    context_0 = 0xA0, // [0] and [1] of a format, with an object inside
    context_1 = 0xA1,
};

// Objects one behind the other, read from the front. Everything throws malformed.
class reader {
public:
    explicit reader(std::span<const std::uint8_t> encoded);

    // The content of the next object, which must have this tag.
    std::span<const std::uint8_t> take(tag expected);
    reader sequence();
    // An integer that is not negative: big-endian, no leading zeros, nothing for 0.
    std::span<const std::uint8_t> number();
    // The same, and not 0. A copy.
    bytes positive();
    // An object whose content must be exactly this.
    void expect(tag expected, std::span<const std::uint8_t> content);
    // A bit string of whole bytes, as its bytes.
    std::span<const std::uint8_t> whole_bits();
    // Whether there is another object, and it has this tag.
    bool has(tag tag) const;
    // The objects that are left, encoded. The reader goes behind them.
    std::span<const std::uint8_t> rest();
    // Nothing may be left.
    void finish() const;

private:
    std::uint8_t byte();
    std::size_t length();

    std::span<const std::uint8_t> rest_;
};

// The content of the one sequence that is encoded.
reader only_sequence(std::span<const std::uint8_t> encoded);

bytes object(tag tag, std::span<const std::uint8_t> content);
bytes sequence(std::initializer_list<bytes> objects);
bytes number(std::span<const std::uint8_t> big_endian); // leading zeros are dropped
bytes whole_bits(std::span<const std::uint8_t> content);

} // namespace der
} // namespace tool

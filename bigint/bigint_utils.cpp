// ZRC_BIGINT: accessors, comparison, copies, and conversion from and to text.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim/bigint.h"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/memory.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

namespace zrc {
namespace {

using owned_bigint = owned<ZRC_BIGINT, ZRC_Free_BIGINT>;

constexpr std::int32_t kWordBits = 32;
constexpr std::uint32_t kWordBytes = sizeof(std::uint32_t);
constexpr std::size_t kDigitsPerWord = 8;       // hexadecimal
constexpr std::uint32_t kChunk = 1'000'000'000; // the largest power of ten in a word
constexpr std::uint32_t kChunkDigits = 9;

// What is converted may be a key: digits are computed, neither looked up nor branched on.

// The upper-case digit of a value below 16.
constexpr char hex_digit(std::uint32_t value) noexcept
{
    const std::uint32_t above_nine = (9 - value) >> 31;
    return char('0' + value + above_nine * ('A' - '0' - 10));
}

// All ones when value < bound; both below 2^31.
constexpr std::uint32_t below(std::uint32_t value, std::uint32_t bound) noexcept
{
    return 0U - ((value - bound) >> 31);
}

// 0 to 15, or 16 for a character that is no hexadecimal digit.
constexpr std::uint32_t hex_value(char character) noexcept
{
    const std::uint32_t code = static_cast<unsigned char>(character);
    const std::uint32_t digit = (code - '0') & 0xFF;
    const std::uint32_t letter = ((code | 0x20) - 'a') & 0xFF;
    const std::uint32_t is_digit = below(digit, 10);
    const std::uint32_t is_letter = below(letter, 6);
    return (digit & is_digit) | ((letter + 10) & is_letter) | (16 & ~is_digit & ~is_letter);
}
static_assert(hex_value('0') == 0 && hex_value('9') == 9 && hex_value('a') == 10 && hex_value('F') == 15);
static_assert(hex_value('/') == 16 && hex_value(':') == 16 && hex_value('@') == 16 && hex_value('G') == 16);
static_assert(hex_value('`') == 16 && hex_value('g') == 16 && hex_value('\0') == 16 && hex_value('\xB0') == 16);

std::size_t leading_hex_digits(const char* text) noexcept
{
    std::size_t count = 0;
    while (hex_value(text[count]) < 16)
        ++count;
    return count;
}

// Two digits for each byte from the highest one that is not zero; returns the end.
char* write_hex(char* text, const ZRC_BIGINT& bn) noexcept
{
    bool started = false;
    for (std::int32_t i = bn.length - 1; i >= 0; --i) {
        for (std::uint32_t shift = kWordBits; shift != 0; shift -= 8) {
            const std::uint32_t byte = bn.data[i] >> (shift - 8) & 0xFF;
            started = started || byte != 0;
            if (!started) continue;
            *text++ = hex_digit(byte >> 4);
            *text++ = hex_digit(byte & 0xF);
        }
    }
    return text;
}

// The lowest `digits` decimal digits of a value.
char* write_decimal(char* text, std::uint32_t value, std::uint32_t digits) noexcept
{
    for (std::uint32_t i = digits; i-- > 0; value /= 10)
        text[i] = char('0' + value % 10);
    return text + digits;
}

constexpr std::uint32_t decimal_digits(std::uint32_t value) noexcept
{
    std::uint32_t digits = 1;
    while (value >= 10) {
        value /= 10;
        ++digits;
    }
    return digits;
}

// Text that may spell a key, wiped before its release.
void wipe_and_free_text(char* text) noexcept
{
    if (text) ZRC_Free_Ex(text, std::uint32_t(std::strlen(text)));
}
using owned_text = owned<char, wipe_and_free_text>;

// Base-10^9 digits of a value, the lowest first, wiped before they are released.
class decimal_chunks {
public:
    explicit decimal_chunks(std::uint32_t capacity) noexcept
        : capacity_{capacity}, chunks_{static_cast<std::uint32_t*>(ZRC_Malloc(capacity * kWordBytes))}
    {
    }
    decimal_chunks(const decimal_chunks&) = delete;
    decimal_chunks& operator=(const decimal_chunks&) = delete;
    ~decimal_chunks() { ZRC_Free_Ex(chunks_, capacity_ * kWordBytes); }

    bool allocated() const noexcept { return chunks_ != nullptr; }

    // Divides the value down to zero.
    void take(ZRC_BIGINT& value) noexcept
    {
        while (value.length != 0 && count_ < capacity_)
            chunks_[count_++] = ZRC_Div_BIGINT_Word(&value, kChunk);
    }

    void write(char* text) const noexcept
    {
        const std::uint32_t top = count_ == 0 ? 0 : chunks_[count_ - 1];
        text = write_decimal(text, top, decimal_digits(top));
        for (std::uint32_t i = count_; i > 1; --i)
            text = write_decimal(text, chunks_[i - 2], kChunkDigits);
        *text = '\0';
    }

private:
    std::uint32_t capacity_;
    std::uint32_t count_ = 0;
    std::uint32_t* chunks_;
};

} // namespace
} // namespace zrc

std::uint32_t ZRC_Get_BIGINT_Bits_Length(const ZRC_BIGINT* bn)
{
    if (!bn || bn->length == 0) return 0;
    const std::int32_t top = bn->length - 1;
    return std::uint32_t(zrc::kWordBits * top) + zrc_Get_BIGINT_Bits_Word(bn->data[top]);
}

// The numbers are those of a look-up of the highest byte in use in a table of 256 bit lengths, but the word, which may
// be secret, picks no entry and decides no branch: with a bit that is always set, bit_width is one instruction.
std::uint32_t zrc_Get_BIGINT_Bits_Word(std::uint32_t word)
{
    return std::uint32_t(std::bit_width(word | 1)) - std::uint32_t(word == 0);
}

std::uint32_t ZRC_Get_BIGINT_Word(const ZRC_BIGINT* bn)
{
    if (!bn) return 1;
    if (bn->length > 1) return 0xFFFFFFFF;
    return bn->length == 1 ? bn->data[0] : 0;
}

std::uint32_t ZRC_Set_BIGINT_Word(ZRC_BIGINT* bn, std::uint32_t word)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_SET_BIGINT_WORD, reason); };

    if (!bn) return fail(ZRC_ERR_NULL_INPUT);
    if (!zrc_Expand_BIGINT(bn, 1)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);
    bn->data[0] = word;
    bn->length = word != 0 ? 1 : 0;
    return 0;
}

std::uint32_t ZRC_Set_BIGINT_Bit(ZRC_BIGINT* bn, std::int32_t bit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_SET_BIGINT_BIT, reason); };

    if (!bn || bit < 0) return fail(ZRC_ERR_NULL_INPUT);
    const std::int32_t words = bit / zrc::kWordBits + 1;
    if (words > bn->length) {
        if (!zrc_Expand_BIGINT(bn, words)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);
        std::fill(bn->data + bn->length, bn->data + words, 0U);
        bn->length = words;
    }
    bn->data[words - 1] |= 1U << (bit % zrc::kWordBits);
    return 0;
}

std::int32_t ZRC_Is_BIGINT_Bit_Set(const ZRC_BIGINT* bn, std::int32_t bit)
{
    if (!bn || bit < 0 || bit / zrc::kWordBits >= bn->length) return 0;
    return std::int32_t(bn->data[bit / zrc::kWordBits] >> (bit % zrc::kWordBits) & 1);
}

std::int32_t ZRC_Cmp_BIGINT(const ZRC_BIGINT* a, const ZRC_BIGINT* b)
{
    if (!a || !b) return 1;
    if (a->length != b->length) return a->length > b->length ? 1 : -1;
    if (a->length == 0) return 0; // there may be no arrays
    return zrc_Cmp_BIGINT_Words(a->data, b->data, a->length);
}

std::int32_t zrc_Cmp_BIGINT_Words(const std::uint32_t* a, const std::uint32_t* b, std::int32_t words)
{
    if (!a || !b) return 1;
    for (std::int32_t i = words - 1; i >= 0; --i)
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    return 0;
}

void ZRC_Swap_BIGINT(ZRC_BIGINT* a, ZRC_BIGINT* b)
{
    if (!a || !b) return;
    const std::uint32_t flags_a = (a->flags & ZRC_BIGINT_ALLOCATED) | (b->flags & ZRC_BIGINT_STATIC);
    const std::uint32_t flags_b = (b->flags & ZRC_BIGINT_ALLOCATED) | (a->flags & ZRC_BIGINT_STATIC);
    std::swap(a->data, b->data);
    std::swap(a->length, b->length);
    std::swap(a->allocated, b->allocated);
    a->flags = flags_a;
    b->flags = flags_b;
}

std::uint32_t ZRC_Copy_BIGINT(ZRC_BIGINT* destination, const ZRC_BIGINT* source)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_COPY_BIGINT, reason); };

    if (!destination || !source) return fail(ZRC_ERR_NULL_INPUT);
    if (destination == source) return 0;
    if (!zrc_Expand_BIGINT(destination, source->length)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);
    std::copy_n(source->data, source->length, destination->data);
    destination->length = source->length;
    return 0;
}

ZRC_BIGINT* ZRC_Dup_BIGINT(const ZRC_BIGINT* bn)
{
    zrc::owned_bigint copy{bn ? ZRC_New_BIGINT() : nullptr};
    if (ZRC_Copy_BIGINT(copy.get(), bn) != 0) return nullptr; // refuses nulls
    return copy.release();
}

char* ZRC_BIGINT_To_HEX(const ZRC_BIGINT* bn)
{
    if (!bn) return nullptr;
    auto* text = static_cast<char*>(ZRC_Malloc(8 * std::uint32_t(bn->length) + 2));
    if (!text) return nullptr;
    char* end = zrc::write_hex(text, *bn);
    if (bn->length == 0) *end++ = '0';
    *end = '\0';
    return text;
}

char* ZRC_Dump_BIGINT(const ZRC_BIGINT* bn)
{
    const zrc::owned_text digits{ZRC_BIGINT_To_HEX(bn)};
    if (!digits) return nullptr;
    const std::size_t length = std::strlen(digits.get());
    auto* text = static_cast<char*>(ZRC_Calloc(1, std::uint32_t(length + 3)));
    if (!text) return nullptr;
    text[0] = '0';
    text[1] = 'x';
    std::memcpy(text + 2, digits.get(), length);
    return text;
}

void ZRC_Print_BIGINT(const ZRC_BIGINT* bn)
{
    const zrc::owned_text digits{ZRC_BIGINT_To_HEX(bn)};
    if (!digits) return;
    std::printf("0x");
    std::puts(digits.get());
}

char* ZRC_BIGINT_To_DEC(const ZRC_BIGINT* bn)
{
    if (!bn) return nullptr;
    // 0.303 of the bits, each term rounded down: above log10(2) by enough that no value has more than `digits` + 3.
    const std::uint32_t bits = ZRC_Get_BIGINT_Bits_Length(bn);
    const std::uint32_t digits = bits * 3 / 10 + bits * 3 / 1000;
    zrc::decimal_chunks chunks{(digits + 2) / zrc::kChunkDigits + 1};
    const zrc::owned_bigint rest{ZRC_Dup_BIGINT(bn)};
    if (!chunks.allocated() || !rest) return nullptr;
    auto* text = static_cast<char*>(ZRC_Malloc(digits + 5));
    if (!text) return nullptr;

    // Zero words on top, as in the shared zero, would become leading zeros.
    while (rest->length > 0 && rest->data[rest->length - 1] == 0)
        --rest->length;
    chunks.take(*rest);
    chunks.write(text);
    return text;
}

ZRC_BIGINT* ZRC_HEX_To_BIGINT(const char* text)
{
    if (!text || *text == '\0') return nullptr;
    std::size_t digits = zrc::leading_hex_digits(text);
    const std::size_t words = digits / zrc::kDigitsPerWord + (digits % zrc::kDigitsPerWord != 0 ? 1 : 0);
    if (words > INT32_MAX) return nullptr; // growth refuses the smaller ones that are too many
    zrc::owned_bigint bn{ZRC_New_BIGINT()};
    if (!bn || !zrc_Expand_BIGINT(bn.get(), std::int32_t(words))) return nullptr;

    for (std::size_t i = 0; i < words; ++i) {
        const std::size_t group = std::min(digits, zrc::kDigitsPerWord);
        digits -= group;
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < group; ++k)
            word = word << 4 | zrc::hex_value(text[digits + k]);
        bn->data[i] = word;
    }
    bn->length = std::int32_t(words); // leading zero words stay
    return bn.release();
}

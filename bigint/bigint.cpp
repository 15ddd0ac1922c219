// ZRC_BIGINT: life of a value, growth, the shared constants, and conversion from and to bytes.
#include "kestrim/bigint.h"

#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

static_assert(sizeof(void*) != 8 || sizeof(ZRC_BIGINT) == 24);
static_assert(sizeof(void*) != 4 || sizeof(ZRC_BIGINT) == 16);

using owned_bigint = owned<ZRC_BIGINT, ZRC_Free_BIGINT>;

constexpr std::int32_t kMostWords = 0xFFFFFF;
constexpr std::uint32_t kWordBytes = sizeof(std::uint32_t);
constexpr std::uint32_t kAnyFlag = ZRC_BIGINT_ALLOCATED | ZRC_BIGINT_STATIC | ZRC_BIGINT_IN_PLACE;

// The words stay in read-only memory: `data` is not const, but nothing writes through a static BIGINT.
constexpr std::uint32_t kZeroWord = 0;
constexpr std::uint32_t kOneWord = 1;
constinit const ZRC_BIGINT kZero{const_cast<std::uint32_t*>(&kZeroWord), 1, 1, ZRC_BIGINT_STATIC};
constinit const ZRC_BIGINT kOne{const_cast<std::uint32_t*>(&kOneWord), 1, 1, ZRC_BIGINT_STATIC};

bool is_shared_constant(const ZRC_BIGINT* bn) noexcept
{
    return bn == &kZero || bn == &kOne;
}

// All words that the array can hold: those above the length may be left from a longer value.
void wipe_and_release(std::uint32_t* data, std::int32_t words) noexcept
{
    ZRC_Free_Ex(data, std::uint32_t(words) * kWordBytes);
}

// The top word takes what is left in front of the whole words.
void load_words(std::uint32_t* words, byte_span bytes) noexcept
{
    while (bytes.size() >= kWordBytes) {
        bytes = bytes.first(bytes.size() - kWordBytes);
        *words++ = load_be32(bytes.data() + bytes.size());
    }
    if (bytes.empty()) return;
    std::uint32_t top = 0;
    for (const std::uint8_t byte : bytes)
        top = top << 8 | byte;
    *words = top;
}

void store_words(std::span<std::uint8_t> bytes, const std::uint32_t* words) noexcept
{
    while (bytes.size() >= kWordBytes) {
        bytes = bytes.first(bytes.size() - kWordBytes);
        store_be32(bytes.data() + bytes.size(), *words++);
    }
    for (std::uint32_t shift = 0; !bytes.empty(); shift += 8) {
        bytes.back() = std::uint8_t(*words >> shift);
        bytes = bytes.first(bytes.size() - 1);
    }
}

} // namespace
} // namespace zrc

ZRC_BIGINT* ZRC_New_BIGINT()
{
    auto* bn = static_cast<ZRC_BIGINT*>(ZRC_Malloc(sizeof(ZRC_BIGINT)));
    if (bn) *bn = {nullptr, 0, 0, ZRC_BIGINT_ALLOCATED};
    return bn;
}

std::uint32_t ZRC_Init_BIGINT(ZRC_BIGINT* bn)
{
    if (!bn) return zrc::code(ZRC_L_BIGINT, ZRC_F_INIT_BIGINT, ZRC_ERR_NULL_INPUT);
    if ((bn->flags & zrc::kAnyFlag) != 0) *bn = {}; // an array is forgotten, not released: it may be another's
    bn->flags |= ZRC_BIGINT_IN_PLACE;
    return 0;
}

void ZRC_Clear_BIGINT(ZRC_BIGINT* bn)
{
    if (!bn || zrc::is_shared_constant(bn)) return;
    if (bn->data) {
        zrc::wipe_and_release(bn->data, bn->allocated);
        bn->data = nullptr;
        bn->flags &= ~std::uint32_t{ZRC_BIGINT_STATIC};
    }
    bn->allocated = 0;
    bn->length = 0;
}

std::uint32_t ZRC_Free_BIGINT(ZRC_BIGINT* bn)
{
    if (!bn) return zrc::code(ZRC_L_BIGINT, ZRC_F_FREE_BIGINT, ZRC_ERR_NULL_INPUT);
    ZRC_Clear_BIGINT(bn);
    if ((bn->flags & ZRC_BIGINT_ALLOCATED) != 0) ZRC_Free_Ex(bn, sizeof *bn);
    return 0;
}

ZRC_BIGINT* zrc_Expand_BIGINT(ZRC_BIGINT* bn, std::int32_t words)
{
    if (!bn || bn->allocated >= words) return bn;
    if (words > zrc::kMostWords || (bn->flags & ZRC_BIGINT_STATIC) != 0) return nullptr;
    auto* data = static_cast<std::uint32_t*>(ZRC_Malloc(std::uint32_t(words) * zrc::kWordBytes));
    if (!data) return nullptr;
    std::copy_n(bn->data, bn->length, data);
    zrc::wipe_and_release(bn->data, bn->allocated);
    bn->data = data;
    bn->allocated = words;
    return bn;
}

const ZRC_BIGINT* ZRC_Value_One_BIGINT()
{
    return &zrc::kOne;
}

const ZRC_BIGINT* ZRC_Value_Zero_BIGINT()
{
    return &zrc::kZero;
}

ZRC_BIGINT* ZRC_Binary_To_BIGINT(const std::uint8_t* bytes, std::int32_t length, ZRC_BIGINT* out)
{
    if (!bytes || length < 0) return nullptr;
    zrc::owned_bigint made{out ? nullptr : ZRC_New_BIGINT()};
    ZRC_BIGINT* bn = out ? out : made.get();
    std::int32_t words = length / 4 + (length % 4 != 0 ? 1 : 0);
    if (!bn || !zrc_Expand_BIGINT(bn, words)) return nullptr;

    zrc::load_words(bn->data, {bytes, std::size_t(length)});
    while (words > 0 && bn->data[words - 1] == 0)
        --words;
    bn->length = words;
    static_cast<void>(made.release());
    return bn;
}

std::int32_t ZRC_BIGINT_To_Binary_Unsigned(const ZRC_BIGINT* bn, std::uint8_t* out)
{
    const std::uint32_t bits = ZRC_Get_BIGINT_Bits_Length(bn);
    if (!out || bits == 0) return 0;
    const std::uint32_t bytes = (bits + 7) / 8;
    zrc::store_words({out, bytes}, bn->data);
    return std::int32_t(bytes);
}

std::int32_t ZRC_BIGINT_To_Binary(const ZRC_BIGINT* bn, std::uint8_t* out)
{
    const std::uint32_t bits = ZRC_Get_BIGINT_Bits_Length(bn);
    if (!out || bits == 0) return 0;
    if (bits % 8 != 0) return ZRC_BIGINT_To_Binary_Unsigned(bn, out);
    *out = 0; // the place of the sign
    return 1 + ZRC_BIGINT_To_Binary_Unsigned(bn, out + 1);
}

// The entropy unit and the entry points of entropy collection: collect, condense with a digest, hand out.
#include "random/entropy.hpp"

#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace zrc {
namespace {

enum level : std::uint32_t {
    kQuick = 1,
    kNormal = 2,
    kSlow = 3,
};

constexpr std::uint32_t kGrowthBytes = 128; // beyond what an addition needs, so that few additions replace the buffer

using owned_unit = owned<ZRC_ENTROPY_UNIT, zrc_Free_ENTROPY_Unit>;

// The digest that condenses an entropy input of at most this security strength. The input is one digest long, so that
// one pass over the sources makes it.
struct condensing_digest {
    std::int32_t strength; // bytes
    std::int32_t id;
    std::int32_t length; // bytes
};

constexpr condensing_digest kDigests[] = {
    {14, ZRC_SHA224, 28},
    {16, ZRC_SHA256, 32},
    {24, ZRC_SHA384, 48},
    {32, ZRC_SHA512, 64},
};
static_assert(std::all_of(std::begin(kDigests), std::end(kDigests),
                          [](const condensing_digest& digest) { return digest.strength <= digest.length; }));

const condensing_digest* digest_for(std::int32_t strength) noexcept
{
    if (strength < 0) return nullptr;
    for (const condensing_digest& digest : kDigests) {
        if (strength <= digest.strength) return &digest;
    }
    return nullptr;
}

// Appends to the collected bytes, in a larger buffer when they do not fit; false when there is none. `data` may lie
// in the buffer that is replaced.
bool append(ZRC_ENTROPY_UNIT& unit, byte_span data) noexcept
{
    if (data.size() > unit.collected_size - unit.collected_length) {
        const std::uint64_t size = std::uint64_t{unit.collected_size} + data.size() + kGrowthBytes;
        if (size > UINT32_MAX) return false;
        auto* grown = static_cast<std::uint8_t*>(ZRC_Malloc(std::uint32_t(size)));
        if (!grown) return false;
        if (unit.collected_length != 0) std::memcpy(grown, unit.collected, unit.collected_length);
        std::memcpy(grown + unit.collected_length, data.data(), data.size());
        ZRC_Free_Ex(unit.collected, unit.collected_size);
        unit.collected = grown;
        unit.collected_size = std::uint32_t(size);
    } else {
        std::memcpy(unit.collected + unit.collected_length, data.data(), data.size());
    }
    unit.collected_length += std::uint32_t(data.size());
    return true;
}

void release_digest(ZRC_ENTROPY_UNIT& unit) noexcept
{
    ZRC_Free_Ex(unit.digest, unit.digest_length);
    unit.digest = nullptr;
    unit.digest_length = 0;
}

// A new entropy input of one digest length, null on failure. The unit keeps what was collected for it.
std::uint8_t* new_input(const condensing_digest& digest, std::uint32_t level, ZRC_ENTROPY_UNIT* unit) noexcept
{
    const auto length = std::uint32_t(digest.length);
    auto* input = static_cast<std::uint8_t*>(ZRC_Calloc(1, length));
    if (!input) return nullptr;
    if (get_entropy_ex(input, length, level, digest.id, unit) == 0) return input;
    ZRC_Free_Ex(input, length);
    return nullptr;
}

// A new nonce: the first half of the entropy input XOR the collected bytes, which repeat when they are fewer. Null on
// failure, also when there is nothing to make it of.
std::uint8_t* new_nonce(byte_span entropy, byte_span collected) noexcept
{
    const std::size_t length = entropy.size() / 2;
    if (length == 0 || collected.empty()) return nullptr;
    auto* nonce = static_cast<std::uint8_t*>(ZRC_Malloc(std::uint32_t(length)));
    if (!nonce) return nullptr;
    for (std::size_t i = 0; i < length; ++i)
        nonce[i] = entropy[i] ^ collected[i % collected.size()];
    return nonce;
}

} // namespace

std::uint32_t seed_from_system(std::span<std::uint8_t> out) noexcept
{
    return zrc_Get_ENTROPY(out.data(), std::uint32_t(out.size()), kNormal, ZRC_SHA512);
}

} // namespace zrc

ZRC_ENTROPY_UNIT* zrc_New_ENTROPY_Unit()
{
    return static_cast<ZRC_ENTROPY_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_ENTROPY_UNIT)));
}

void zrc_Clean_ENTROPY_Unit(ZRC_ENTROPY_UNIT* unit)
{
    if (!unit) return;
    ZRC_Free_Ex(unit->collected, unit->collected_size);
    ZRC_Free_Ex(unit->digest, unit->digest_length);
    zrc::wipe(unit, sizeof *unit);
}

void zrc_Free_ENTROPY_Unit(ZRC_ENTROPY_UNIT* unit)
{
    zrc_Clean_ENTROPY_Unit(unit);
    ZRC_Free(unit);
}

std::uint32_t zrc_Add_ENTROPY(ZRC_ENTROPY_UNIT* unit, const void* data, std::uint32_t length, std::int32_t credit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ENTROPY, ZRC_F_ADD_ENTROPY, reason); };

    if (!unit || !data || length == 0 || credit == 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (!zrc::append(*unit, {static_cast<const std::uint8_t*>(data), length})) return fail(ZRC_ERR_MEM_ALLOC);
    unit->estimate += std::uint32_t(credit);
    return 0;
}

std::uint32_t zrc_Collect_ENTROPY(ZRC_ENTROPY_UNIT* unit)
{
    return unit && zrc::collect_entropy(*unit, zrc::kSystemPaths) ? 0 : 1;
}

std::uint32_t get_collection_entropy(ZRC_ENTROPY_UNIT* unit, std::uint32_t level)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ENTROPY, ZRC_F_COLLECT_ENTROPY, reason); };

    if (!unit) return fail(ZRC_ERR_INVALID_INPUT);
    const bool known = level >= zrc::kQuick && level <= zrc::kSlow;
    unit->level = known ? level : zrc::kNormal;
    if (zrc_Collect_ENTROPY(unit) != 0) return fail(ZRC_ERR_INVALID_INPUT);
    return 0;
}

std::uint32_t digest_entropy(ZRC_ENTROPY_UNIT* unit, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ENTROPY, ZRC_F_DIGEST_ENTROPY, reason); };

    if (!unit || !unit->collected || unit->collected_length == 0 || digest_id == 0) return fail(ZRC_ERR_INVALID_INPUT);
    zrc::release_digest(*unit);

    // An unknown digest has length 0; without memory, too, there is no place for the output. The digest says which.
    const std::int32_t length = ZRC_Get_DIGEST_Length(digest_id);
    if (length > 0) unit->digest = static_cast<std::uint8_t*>(ZRC_Calloc(1, std::uint32_t(length)));
    const std::uint32_t failed =
        ZRC_DIGEST(digest_id, unit->collected, std::int32_t(unit->collected_length), unit->digest, nullptr);
    if (unit->digest) unit->digest_length = std::uint32_t(length);
    if (failed) zrc::release_digest(*unit);
    return failed;
}

std::uint32_t get_entropy_digest(ZRC_ENTROPY_UNIT* unit, std::uint32_t level, std::int32_t digest_id)
{
    if (const std::uint32_t failed = get_collection_entropy(unit, level)) return failed;
    return digest_entropy(unit, digest_id);
}

std::uint32_t get_entropy_ex(std::uint8_t* out, std::uint32_t length, std::uint32_t level, std::int32_t digest_id,
                             ZRC_ENTROPY_UNIT* unit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ENTROPY, ZRC_F_GET_ENTROPY, reason); };

    if (!out || length == 0 || !unit) return fail(ZRC_ERR_NULL_INPUT);
    std::uint32_t written = 0;
    while (written < length) {
        zrc_Clean_ENTROPY_Unit(unit);
        if (get_entropy_digest(unit, level, digest_id) != 0) {
            zrc::wipe(out, written);
            return fail(ZRC_ERR_ENTROPY_FAIL);
        }
        const std::uint32_t taken = std::min(length - written, unit->digest_length);
        if (taken == 0) break;
        std::memcpy(out + written, unit->digest, taken);
        written += taken;
    }
    if (written != length) return fail(ZRC_ERR_COMPARE_FAIL);
    return 0;
}

std::uint32_t zrc_Get_ENTROPY(std::uint8_t* out, std::uint32_t length, std::uint32_t level, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ENTROPY, ZRC_F_GET_ENTROPY, reason); };

    if (!out || length == 0) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::owned_unit unit{zrc_New_ENTROPY_Unit()};
    if (!unit) return fail(ZRC_ERR_ENTROPY_FAIL);
    return get_entropy_ex(out, length, level, digest_id, unit.get());
}

std::uint32_t zrc_Get_ENTROPY_Input(std::uint8_t** entropy, std::int32_t* entropy_length, std::int32_t strength,
                                    std::uint32_t level)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ENTROPY, ZRC_F_GET_ENTROPY_INPUT, reason); };

    const zrc::condensing_digest* digest = zrc::digest_for(strength);
    if (!entropy || !entropy_length || !digest) return fail(ZRC_ERR_INVALID_INPUT);
    ZRC_Free(*entropy); // not wiped: nobody says how long it is
    *entropy = nullptr;
    *entropy_length = 0;

    const zrc::owned_unit unit{zrc_New_ENTROPY_Unit()};
    *entropy = zrc::new_input(*digest, level, unit.get());
    if (!*entropy) return fail(ZRC_ERR_ENTROPY_FAIL);
    *entropy_length = digest->length;
    return 0;
}

std::uint32_t zrc_Get_ENTROPY_Input_With_Nonce_Input(std::uint8_t** entropy, std::int32_t* entropy_length,
                                                     std::uint8_t** nonce, std::int32_t* nonce_length,
                                                     std::int32_t strength, std::uint32_t level)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_ENTROPY, ZRC_F_GET_ENTROPY_AND_NONCE_INPUT, reason);
    };

    if (!entropy || !entropy_length || !nonce || !nonce_length) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::condensing_digest* digest = zrc::digest_for(strength);
    if (!digest) return fail(ZRC_ERR_INVALID_INPUT);
    const bool supplied = *entropy != nullptr;
    if (supplied && *nonce) return 0;
    if (supplied && *entropy_length < 2) return fail(ZRC_ERR_INVALID_INPUT); // no half to make a nonce of

    const zrc::owned_unit unit{zrc_New_ENTROPY_Unit()};
    std::uint8_t* made = nullptr;
    if (!supplied) {
        made = zrc::new_input(*digest, level, unit.get());
        if (!made) return fail(ZRC_ERR_ENTROPY_FAIL);
    } else if (get_collection_entropy(unit.get(), level) != 0) {
        return fail(ZRC_ERR_ENTROPY_FAIL); // a nonce alone takes a pass of its own
    }

    const std::uint8_t* source = supplied ? *entropy : made;
    const std::int32_t source_length = supplied ? *entropy_length : digest->length;
    if (!*nonce) {
        *nonce = zrc::new_nonce({source, std::size_t(source_length)}, {unit->collected, unit->collected_length});
        if (!*nonce) {
            ZRC_Free_Ex(made, std::uint32_t(digest->length));
            return fail(ZRC_ERR_ENTROPY_FAIL);
        }
        *nonce_length = source_length / 2;
    }
    if (made) {
        *entropy = made;
        *entropy_length = digest->length;
    }
    return 0;
}

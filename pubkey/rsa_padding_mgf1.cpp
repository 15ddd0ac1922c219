// MGF1 (RFC 8017, B.2.1), and hashing for the encodings.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "pubkey/rsa_padding.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

union any_digest_state {
    ZRC_SHA1_STATE sha1;
    ZRC_SHA256_STATE sha256;
    ZRC_SHA512_STATE sha512;
    ZRC_MD5_STATE md5;
    ZRC_HAS160_STATE has160;
    ZRC_MDC2_STATE mdc2;
};

// All that one mask needs, in one allocation.
struct mask_generator {
    ZRC_DIGEST_UNIT digest; // its record is `record`
    any_digest_state record;
    any_digest_state after_seed; // the record when the seed has been fed
    std::uint8_t block[kLongestDigest];
};

void free_mask_generator(mask_generator* generator) noexcept
{
    ZRC_Free_Ex(generator, sizeof *generator);
}

using owned_mask_generator = owned<mask_generator, free_mask_generator>;

template <class State, auto Init, auto Update, auto Final>
void bind(ZRC_DIGEST_UNIT& unit, std::int32_t digest_length) noexcept
{
    unit.digest_length = digest_length;
    unit.state_length = sizeof(State);
    unit.init_fn = [](void* state) { return Init(static_cast<State*>(state)); };
    unit.update_fn = [](void* state, const std::uint8_t* data, std::uint32_t length) {
        return Update(static_cast<State*>(state), data, length);
    };
    unit.final_fn = [](void* state, std::uint8_t* output) { return Final(static_cast<State*>(state), output); };
}

// The digest of a mask is not limited to the approved ones: schemes that are allowed in proven mode fall back to
// SHA-1. The digest unit refuses these in that mode, so they are bound here.
std::uint32_t bind(ZRC_DIGEST_UNIT& unit, std::int32_t digest_id) noexcept
{
    if (ZRC_Get_DIGEST_Length(digest_id) == 0) digest_id = ZRC_SHA1;
    switch (digest_id) {
    case ZRC_SHA1:
        bind<ZRC_SHA1_STATE, zrc_Init_SHA1, zrc_Update_SHA1, zrc_Final_SHA1>(unit, 20);
        return 0;
    case ZRC_MD5:
        bind<ZRC_MD5_STATE, zrc_Init_MD5, zrc_Update_MD5, zrc_Final_MD5>(unit, 16);
        return 0;
    case ZRC_HAS160:
        bind<ZRC_HAS160_STATE, zrc_Init_HAS160, zrc_Update_HAS160, zrc_Final_HAS160>(unit, 20);
        return 0;
    default:
        return zrc_Init_DIGEST_Alg(&unit, digest_id);
    }
}

std::uint32_t start(mask_generator& generator, byte_span seed, std::int32_t digest_id) noexcept
{
    generator.digest = {};
    if (const std::uint32_t failed = bind(generator.digest, digest_id)) return failed;
    generator.digest.state = &generator.record;
    if (const std::uint32_t failed = generator.digest.init_fn(&generator.record)) return failed;
    if (const std::uint32_t failed = ZRC_Update_DIGEST(&generator.digest, seed.data(), std::int32_t(seed.size()))) {
        return failed;
    }
    std::memcpy(&generator.after_seed, &generator.record, std::size_t(generator.digest.state_length));
    return 0;
}

std::uint32_t add_mask(mask_generator& generator, std::span<std::uint8_t> target) noexcept
{
    ZRC_DIGEST_UNIT& digest = generator.digest;
    for (std::uint32_t counter = 0; !target.empty(); ++counter) {
        std::uint8_t counter_bytes[4];
        store_be32(counter_bytes, counter);
        std::memcpy(&generator.record, &generator.after_seed, std::size_t(digest.state_length));
        if (const std::uint32_t failed = ZRC_Update_DIGEST(&digest, counter_bytes, 4)) return failed;
        if (const std::uint32_t failed = ZRC_Final_DIGEST(&digest, generator.block, nullptr)) return failed;

        const std::size_t bytes = std::min(std::size_t(digest.digest_length), target.size());
        for (std::size_t i = 0; i < bytes; ++i)
            target[i] ^= generator.block[i];
        target = target.subspan(bytes);
    }
    return 0;
}

// Makes a generator and lets `use` add masks of it.
std::uint32_t with_mask_generator(byte_span seed, std::int32_t digest_id, auto use) noexcept
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const owned_mask_generator generator{static_cast<mask_generator*>(ZRC_Malloc(sizeof(mask_generator)))};
    if (!generator) return code(ZRC_L_RSA, ZRC_F_PKCS1_MGF1, ZRC_ERR_MALLOC);
    if (const std::uint32_t failed = start(*generator, seed, digest_id)) return failed;
    return use(*generator);
}

} // namespace

std::uint32_t add_mgf1_mask(std::span<std::uint8_t> target, byte_span seed, std::int32_t digest_id) noexcept
{
    return with_mask_generator(seed, digest_id, [=](mask_generator& generator) { return add_mask(generator, target); });
}

// A part without bytes is passed over: MD5 and HAS-160 refuse it.
bool hash_parts(ZRC_DIGEST_UNIT& digest, std::initializer_list<byte_span> parts, std::uint8_t* output) noexcept
{
    if (digest.init_fn(digest.state) != 0) return false;
    for (const byte_span part : parts) {
        if (part.empty()) continue;
        if (ZRC_Update_DIGEST(&digest, part.data(), std::int32_t(part.size())) != 0) return false;
    }
    return ZRC_Final_DIGEST(&digest, output, nullptr) == 0;
}

} // namespace zrc

// The seed has been read when the first byte of the mask is written, so the two may overlap.
std::uint32_t PKCS1_MGF1(std::uint8_t* mask, std::int32_t mask_length, const std::uint8_t* seed,
                         std::int32_t seed_length, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_PKCS1_MGF1, reason); };

    if (!mask || !seed) return fail(ZRC_ERR_NULL_INPUT);
    if (mask_length < 0 || seed_length < 0) return fail(ZRC_ERR_INVALID_INPUT);
    const std::span<std::uint8_t> target{mask, std::size_t(mask_length)};
    return zrc::with_mask_generator({seed, std::size_t(seed_length)}, digest_id, [=](zrc::mask_generator& generator) {
        std::fill(target.begin(), target.end(), std::uint8_t{0});
        return zrc::add_mask(generator, target);
    });
}

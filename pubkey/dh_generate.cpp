// Diffie-Hellman: generation of parameters, drawing from the sets of the library (FIPS 186-4, A.1.1.2 and A.2.3).
#include "pubkey/dh_generate.hpp"

#include "core/bytes.hpp"
#include "core/error.hpp"
#include "kestrim/drbg.h"
#include "kestrim/state.h"
#include "pubkey/dh_sets.hpp"

#include <array>
#include <cstddef>
#include <span>

namespace zrc {
namespace {

static_assert(kDhSets == ZRC_DH_PRECOMPUTED_SETS);

template <std::size_t SeedWords>
std::uint32_t derive(dsa_domain& domain, const dh_set_record<SeedWords>& set) noexcept
{
    std::array<std::uint8_t, 4 * SeedWords> seed;
    for (std::size_t i = 0; i < SeedWords; ++i)
        store_be32(seed.data() + 4 * i, set.seed[i]);
    if (const std::uint32_t outcome = domain.set_seed(seed); outcome != 0) return outcome;
    if (const std::uint32_t outcome = domain.set_counter(set.counter); outcome != 0) return outcome;
    return domain.set_generator(kGeneratorIndex);
}

// Every set with the same probability. Returns 0 or the reason.
std::uint32_t draw_index(std::uint32_t& index) noexcept
{
    std::uint8_t drawn = 0;
    do {
        if (ZRC_Rand_Bytes(&drawn, 1) != 0) return ZRC_ERR_GET_RAND_FAIL;
    } while (drawn >= 2 * kDhSets);
    index = std::uint32_t(drawn % kDhSets);
    return 0;
}

bool is_precomputed_size(std::int32_t p_bits, std::int32_t q_bits) noexcept
{
    return (p_bits == 1024 && q_bits == 160) || (p_bits == 2048 && q_bits == 256);
}

// Returns 0 or the reason.
std::uint32_t fill_domain(dsa_domain& domain, std::int32_t p_bits, std::int32_t source) noexcept
{
    if (source == ZRC_DH_GENERATE) return find_domain(domain);
    auto index = std::uint32_t(source - ZRC_DH_PRECOMPUTED_SET);
    if (source == ZRC_DH_PRECOMPUTED) {
        if (const std::uint32_t reason = draw_index(index); reason != 0) return reason;
    }
    const std::uint32_t outcome = derive_dh_set(domain, p_bits, index);
    return outcome == dsa_domain::kUnfit ? std::uint32_t{ZRC_ERR_INTERNAL} : outcome;
}

// Returns 0 or the reason.
std::uint32_t make_parameters(ZRC_DH_UNIT& unit, std::int32_t p_bits, std::int32_t q_bits, std::int32_t source) noexcept
{
    const owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    if (!digest || ZRC_Init_DIGEST(digest.get(), ZRC_SHA256) != 0) return ZRC_ERR_INIT_DIGEST_FAIL;
    const std::int32_t witnesses = source == ZRC_DH_GENERATE ? dsa_witnesses(p_bits) : kRepeatedWitnesses;
    dsa_domain domain{*digest, p_bits, q_bits, witnesses};
    if (!domain.complete()) return ZRC_ERR_MEM_ALLOC;
    if (const std::uint32_t reason = fill_domain(domain, p_bits, source); reason != 0) return reason;
    ZRC_Clean_DH(&unit);
    domain.give_to(unit);
    return 0;
}

} // namespace

std::uint32_t derive_dh_set(dsa_domain& domain, std::int32_t p_bits, std::uint32_t index) noexcept
{
    return p_bits == 1024 ? derive(domain, dh_sets_1024[index]) : derive(domain, dh_sets_2048[index]);
}

} // namespace zrc

std::uint32_t ZRC_Generate_DH_Params(ZRC_DH_UNIT* unit, std::int32_t p_bits, std::int32_t q_bits, std::int32_t source)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DH, ZRC_F_GENERATE_DH_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (ZRC_Is_Proven() != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (source < ZRC_DH_GENERATE || source - ZRC_DH_PRECOMPUTED_SET >= ZRC_DH_PRECOMPUTED_SETS)
        return fail(ZRC_ERR_INVALID_INPUT);
    const bool served =
        source == ZRC_DH_GENERATE ? zrc::is_dsa_size(p_bits, q_bits) : zrc::is_precomputed_size(p_bits, q_bits);
    if (!served) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::uint32_t reason = zrc::make_parameters(*unit, p_bits, q_bits, source);
    return reason == 0 ? 0 : fail(reason);
}

// The random generator's unit, and the requests that continue one state for the whole process.
#include "random/drbg.hpp"

#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/drbg.h"
#include "kestrim/entropy.h"
#include "kestrim_crypto.h"
#include "random/drbg_saved_state.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

constexpr std::uint32_t kQuick = 1, kSlow = 3; // levels of entropy collection

constexpr bool in_range(std::int32_t length, std::int32_t largest) noexcept
{
    return length >= 0 && length <= largest;
}

constexpr byte_span span_of(const std::uint8_t* bytes, std::int32_t length) noexcept
{
    return bytes ? byte_span{bytes, std::size_t(length)} : byte_span{};
}

// Releases a copy that the unit owns. A length that no setter lets through says nothing about the block.
void release(std::uint8_t*& copy, std::int32_t& length) noexcept
{
    if (copy) ZRC_Free_Ex(copy, in_range(length, kMaxDrbgLength) ? std::uint32_t(length) : 0);
    copy = nullptr;
    length = 0;
}

// Copies what is given; false when there is no memory.
bool replace(std::uint8_t*& copy, std::int32_t& length, const std::uint8_t* given, std::int32_t given_length) noexcept
{
    if (!given) return true;
    auto* fresh = static_cast<std::uint8_t*>(ZRC_Malloc(std::uint32_t(std::max(given_length, 1))));
    if (!fresh) return false;
    std::memcpy(fresh, given, std::size_t(given_length));
    release(copy, length);
    copy = fresh;
    length = given_length;
    return true;
}

void release_input(ZRC_DRBG_INPUT& input) noexcept
{
    release(input.entropy, input.entropy_length);
    release(input.nonce, input.nonce_length);
    release(input.personalization, input.personalization_length);
}

// What one reseed or one generate uses up.
void release_additional(ZRC_DRBG_UNIT& unit) noexcept
{
    release(unit.additional_input, unit.additional_input_length);
    release(unit.input->entropy, unit.input->entropy_length);
}

bool is_initialised(const ZRC_DRBG_UNIT& unit) noexcept
{
    return unit.V && unit.C && unit.input;
}

bool is_instantiated(const ZRC_DRBG_UNIT& unit) noexcept
{
    return is_initialised(unit) && unit.reseed_counter >= 1;
}

// The two setters that differ in nothing but the function of their codes.
std::uint32_t set_additional(ZRC_DRBG_UNIT* unit, std::uint32_t function, const std::uint8_t* additional,
                             std::int32_t additional_length, const std::uint8_t* entropy,
                             std::int32_t entropy_length) noexcept
{
    const auto fail = [=](std::uint32_t reason) { return code(ZRC_L_DRBG, function, reason); };

    if (!unit || !unit->input) return fail(ZRC_ERR_NULL_INPUT);
    if (additional && !in_range(additional_length, kMaxDrbgLength)) return fail(ZRC_ERR_COMPARE_FAIL);
    if (entropy && !in_range(entropy_length, kMaxDrbgLength)) return fail(ZRC_ERR_COMPARE_FAIL);
    if (!replace(unit->additional_input, unit->additional_input_length, additional, additional_length)) {
        return fail(ZRC_ERR_MALLOC);
    }
    if (!replace(unit->input->entropy, unit->input->entropy_length, entropy, entropy_length)) {
        return fail(ZRC_ERR_MALLOC);
    }
    return 0;
}

struct request {
    std::uint8_t* buffer;
    std::int32_t length, type, digest_id, prediction_resistance;
    const ZRC_DRBG_INPUT* input; // may be null
};

// The unit of a request, wiped at its end. V and C belong to somebody else.
class request_unit {
public:
    request_unit() noexcept { unit_->input = &*input_; }
    ~request_unit()
    {
        release_additional(*unit_);
        release_input(*input_);
    }

    ZRC_DRBG_UNIT& operator*() noexcept { return *unit_; }
    ZRC_DRBG_UNIT* operator->() noexcept { return &*unit_; }

private:
    secret<ZRC_DRBG_INPUT> input_{};
    secret<ZRC_DRBG_UNIT> unit_{};
};

// From here on, everything returns 0 or the reason of the failure.

// Generates and saves what that changed. The saved V and C may be the unit's own.
std::uint32_t generate_and_save(ZRC_DRBG_UNIT& unit, const request& wanted, saved_drbg& saved) noexcept
{
    if (const std::uint32_t failed = zrc_Generate_DRBG(&unit, wanted.buffer, wanted.length)) {
        const bool repeated = (failed & 0xFF) == ZRC_ERR_CONDITION_TEST_FAIL;
        return repeated ? ZRC_ERR_CONDITION_TEST_FAIL : ZRC_ERR_GENERATE_DRBG_FAIL;
    }
    if (unit.V != saved.V) {
        std::memcpy(saved.V, unit.V, std::size_t(unit.seedlen));
        std::memcpy(saved.C, unit.C, std::size_t(unit.seedlen));
    }
    std::memcpy(saved.last_block, unit.last_block, sizeof saved.last_block);
    saved.last_block_length = unit.last_block_length;
    saved.reseed_counter = unit.reseed_counter;
    saved.digest_id = unit.digest_id;
    saved.valid = 1;
    return 0;
}

std::uint32_t instantiate(ZRC_DRBG_UNIT& unit, const ZRC_DRBG_INPUT* given) noexcept
{
    if (given) {
        const std::uint32_t failed =
            zrc_Set_Instantiate_DRBG_Param(&unit, given->entropy, given->entropy_length, given->nonce,
                                           given->nonce_length, given->personalization, given->personalization_length);
        if (failed != 0) return ZRC_ERR_INSTANTIATE_DRBG_FAIL;
    }
    return zrc_Instantiate_DRBG(&unit) != 0 ? std::uint32_t{ZRC_ERR_INSTANTIATE_DRBG_FAIL} : 0;
}

// A request that seeds V and C anew does so in copies: if what follows fails, the saved ones are as they were.
[[gnu::noinline]] std::uint32_t answer_in_copies(ZRC_DRBG_UNIT& unit, const request& wanted, saved_drbg& saved) noexcept
{
    secret_array<std::uint8_t, kMaxSeedBytes> v, c;
    unit.V = v.data();
    unit.C = c.data();
    if (saved.valid) {
        std::memcpy(unit.V, saved.V, std::size_t(unit.seedlen));
        std::memcpy(unit.C, saved.C, std::size_t(unit.seedlen));
    } else if (const std::uint32_t failed = instantiate(unit, wanted.input)) {
        return failed;
    }
    return generate_and_save(unit, wanted, saved);
}

// With the lock held. Only success changes more of `saved` than `valid`.
std::uint32_t answer(const request& wanted, saved_drbg& saved) noexcept
{
    if (wanted.type != kHashDrbg) return ZRC_ERR_NOT_SUPPORTED;
    if (wanted.digest_id != saved.digest_id) saved.valid = 0;

    request_unit unit;
    if (set_hash_drbg_parameters(*unit, wanted.digest_id) != 0) return ZRC_ERR_INIT_DRBG_FAIL;
    unit->prediction_resistance = wanted.prediction_resistance;
    unit->input->level = ZRC_Is_Proven() != 0 ? kSlow : kQuick;

    if (!saved.valid) return answer_in_copies(*unit, wanted, saved);
    std::memcpy(unit->last_block, saved.last_block, sizeof saved.last_block);
    unit->last_block_length = saved.last_block_length;
    unit->reseed_counter = saved.reseed_counter;
    const bool reseeds = wanted.prediction_resistance != 0 || saved.reseed_counter > kMaxDrbgRequests;
    if (reseeds) return answer_in_copies(*unit, wanted, saved);

    // Generate alone changes V on success only, so it works on the saved one.
    unit->V = saved.V;
    unit->C = saved.C;
    return generate_and_save(*unit, wanted, saved);
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Rand_Bytes(std::uint8_t* buffer, std::int32_t length)
{
    return ZRC_Rand_Bytes_DRBG(buffer, length, zrc::kHashDrbg, ZRC_SHA256, 0);
}

std::uint32_t ZRC_Rand_Bytes_DRBG(std::uint8_t* buffer, std::int32_t length, std::int32_t type, std::int32_t digest_id,
                                  std::int32_t prediction_resistance)
{
    return zrc_Get_Rand_Bytes_DRBG(buffer, length, type, digest_id, prediction_resistance, nullptr);
}

// NOLINTNEXTLINE(readability-non-const-parameter): the request that it goes into writes it
std::uint32_t zrc_Get_Rand_Bytes_DRBG(std::uint8_t* buffer, std::int32_t length, std::int32_t type,
                                      std::int32_t digest_id, std::int32_t prediction_resistance,
                                      const ZRC_DRBG_INPUT* input)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_RAND_BYTES_DRBG, reason); };

    // Not under the lock: the self-test asks for random bytes itself.
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;

    // Taken and given back by hand: after a failed request the generator's lock stays held on purpose.
    const zrc::saved_drbg_place saved = zrc::find_saved_drbg();
    if (zrc::enter_saved_drbg(*saved.state, saved.process) != 0) return fail(ZRC_ERR_MUTEX_LOCK_FAIL);
    const zrc::request wanted{buffer, length, type, digest_id, prediction_resistance, input};
    if (const std::uint32_t reason = zrc::answer(wanted, *saved.state)) {
        zrc::stay_locked();
        return fail(reason);
    }
    return zrc::leave_saved_drbg(*saved.state) == 0 ? 0 : fail(ZRC_ERR_MUTEX_UNLOCK_FAIL);
}

std::uint32_t ZRC_Get_Rand_BIGINT_Ex(ZRC_BIGINT* bn, std::int32_t bits)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_GET_RAND_BIGINT_EX, reason); };

    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!bn) return fail(ZRC_ERR_NULL_INPUT);

    // A request for no bytes would lock the generator, so a number without bits is made here.
    const std::uint32_t wanted = bits > 0 ? std::uint32_t(bits) : 0;
    const std::uint32_t bytes = wanted / 8 + (wanted % 8 != 0 ? 1 : 0);
    constexpr std::size_t kShort = 512;
    zrc::secret_array<std::uint8_t, kShort> short_buffer;
    auto* const number = bytes <= kShort ? short_buffer.data() : static_cast<std::uint8_t*>(ZRC_Malloc(bytes));
    if (!number) return fail(ZRC_ERR_MALLOC);

    std::uint32_t result = 0;
    if (bytes != 0 && ZRC_Rand_Bytes(number, std::int32_t(bytes)) != 0) {
        result = fail(ZRC_ERR_GET_RAND_FAIL);
    } else {
        if (bytes != 0) number[0] = std::uint8_t(number[0] >> (8 * bytes - wanted));
        if (!ZRC_Binary_To_BIGINT(number, std::int32_t(bytes), bn)) result = fail(ZRC_ERR_BINARY_TO_BIGINT_FAIL);
    }
    if (number != short_buffer.data()) ZRC_Free_Ex(number, bytes);
    return result;
}

ZRC_DRBG_UNIT* zrc_New_DRBG_Unit()
{
    auto* unit = static_cast<ZRC_DRBG_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_DRBG_UNIT)));
    if (!unit) return nullptr;
    unit->input = static_cast<ZRC_DRBG_INPUT*>(ZRC_Calloc(1, sizeof(ZRC_DRBG_INPUT)));
    if (unit->input) return unit;
    ZRC_Free(unit);
    return nullptr;
}

std::uint32_t zrc_Init_DRBG(ZRC_DRBG_UNIT* unit, std::int32_t digest_id, std::int32_t type,
                            std::int32_t prediction_resistance, std::uint32_t level)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_INIT_DRBG, reason); };

    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit || !unit->input) return fail(ZRC_ERR_NULL_INPUT);
    if (type != zrc::kHashDrbg) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (const std::uint32_t failed = zrc_Init_HashDRBG(unit, digest_id)) return failed;
    unit->prediction_resistance = prediction_resistance;
    unit->input->level = level;
    return 0;
}

std::uint32_t zrc_Set_Instantiate_DRBG_Param(ZRC_DRBG_UNIT* unit, const std::uint8_t* entropy,
                                             std::int32_t entropy_length, const std::uint8_t* nonce,
                                             std::int32_t nonce_length, const std::uint8_t* personalization,
                                             std::int32_t personalization_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_INSTANTIATE_DRBG, reason); };

    if (!unit || !unit->input) return fail(ZRC_ERR_NULL_INPUT);
    const auto in_range = [](const std::uint8_t* given, std::int32_t length) {
        return !given || zrc::in_range(length, zrc::kMaxDrbgLength);
    };
    if (!in_range(entropy, entropy_length) || !in_range(nonce, nonce_length) ||
        !in_range(personalization, personalization_length)) {
        return fail(ZRC_ERR_COMPARE_FAIL);
    }
    ZRC_DRBG_INPUT& input = *unit->input;
    if (!zrc::replace(input.entropy, input.entropy_length, entropy, entropy_length) ||
        !zrc::replace(input.nonce, input.nonce_length, nonce, nonce_length) ||
        !zrc::replace(input.personalization, input.personalization_length, personalization, personalization_length)) {
        return fail(ZRC_ERR_MALLOC);
    }
    return 0;
}

std::uint32_t zrc_Instantiate_DRBG(ZRC_DRBG_UNIT* unit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_INSTANTIATE_DRBG, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (!zrc::is_initialised(*unit)) return fail(ZRC_ERR_INVALID_UNIT);
    ZRC_DRBG_INPUT& input = *unit->input;
    if (!zrc::in_range(input.personalization_length, unit->max_personalization_length) ||
        !zrc::in_range(input.nonce_length, unit->max_nonce_length)) {
        return fail(ZRC_ERR_COMPARE_FAIL);
    }
    if (input.entropy && (input.entropy_length < unit->min_entropy_length ||
                          !zrc::in_range(input.entropy_length, unit->max_entropy_length))) {
        return fail(ZRC_ERR_COMPARE_FAIL);
    }
    if (!input.entropy || !input.nonce) {
        const std::uint32_t failed =
            zrc_Get_ENTROPY_Input_With_Nonce_Input(&input.entropy, &input.entropy_length, &input.nonce,
                                                   &input.nonce_length, unit->security_strength, input.level);
        if (failed != 0) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    if (!zrc::instantiate_hash_drbg(*unit, zrc::span_of(input.entropy, input.entropy_length),
                                    zrc::span_of(input.nonce, input.nonce_length),
                                    zrc::span_of(input.personalization, input.personalization_length))) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    zrc::release_input(input);
    return 0;
}

std::uint32_t zrc_Set_Reseed_DRBG_Param(ZRC_DRBG_UNIT* unit, const std::uint8_t* additional,
                                        std::int32_t additional_length, const std::uint8_t* entropy,
                                        std::int32_t entropy_length)
{
    return zrc::set_additional(unit, ZRC_F_RESEED_DRBG, additional, additional_length, entropy, entropy_length);
}

std::uint32_t zrc_Set_Generate_DRBG_Param(ZRC_DRBG_UNIT* unit, const std::uint8_t* additional,
                                          std::int32_t additional_length, const std::uint8_t* entropy,
                                          std::int32_t entropy_length)
{
    return zrc::set_additional(unit, ZRC_F_GENERATE_DRBG, additional, additional_length, entropy, entropy_length);
}

std::uint32_t zrc_Reseed_DRBG(ZRC_DRBG_UNIT* unit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_RESEED_DRBG, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (!zrc::is_instantiated(*unit)) return fail(ZRC_ERR_INVALID_UNIT);
    if (!zrc::in_range(unit->additional_input_length, unit->max_additional_length)) return fail(ZRC_ERR_COMPARE_FAIL);
    ZRC_DRBG_INPUT& input = *unit->input;
    if (!input.entropy &&
        zrc_Get_ENTROPY_Input(&input.entropy, &input.entropy_length, unit->security_strength, input.level) != 0) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    if (input.entropy_length < unit->min_entropy_length) return fail(ZRC_ERR_COMPARE_FAIL);
    if (!zrc::reseed_hash_drbg(*unit, zrc::span_of(input.entropy, input.entropy_length),
                               zrc::span_of(unit->additional_input, unit->additional_input_length))) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    zrc::release_additional(*unit);
    return 0;
}

std::uint32_t zrc_Generate_DRBG(ZRC_DRBG_UNIT* unit, std::uint8_t* output, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_GENERATE_DRBG, reason); };

    if (!unit || !output) return fail(ZRC_ERR_NULL_INPUT);
    if (length < 1) return fail(ZRC_ERR_INVALID_INPUT);
    if (!zrc::is_instantiated(*unit)) return fail(ZRC_ERR_INVALID_UNIT);
    if (!zrc::in_range(unit->additional_input_length, unit->max_additional_length)) return fail(ZRC_ERR_COMPARE_FAIL);

    if (unit->prediction_resistance != 0 || unit->reseed_counter > zrc::kMaxDrbgRequests) {
        if (zrc_Reseed_DRBG(unit) != 0) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    const auto additional = zrc::span_of(unit->additional_input, unit->additional_input_length);
    const std::uint32_t failed = zrc::generate_hash_drbg(*unit, additional, {output, std::size_t(length)});
    zrc::release_additional(*unit);
    return failed;
}

std::uint32_t ZRC_Uninstantiate_DRBG(ZRC_DRBG_UNIT* unit)
{
    if (!unit) return zrc::code(ZRC_L_DRBG, ZRC_F_INSTANTIATE_DRBG, ZRC_ERR_NULL_INPUT);

    std::int32_t v_bytes = unit->seedlen, c_bytes = unit->seedlen;
    zrc::release(unit->V, v_bytes);
    zrc::release(unit->C, c_bytes);
    zrc::release(unit->additional_input, unit->additional_input_length);
    ZRC_DRBG_INPUT* const input = unit->input;
    if (input) {
        zrc::release_input(*input);
        zrc::wipe(input, sizeof *input);
    }
    zrc::wipe(unit, sizeof *unit);
    unit->input = input;
    return 0;
}

void zrc_Free_DRBG_Unit(ZRC_DRBG_UNIT* unit)
{
    if (!unit) return;
    ZRC_Uninstantiate_DRBG(unit);
    ZRC_Free(unit->input);
    ZRC_Free_Ex(unit, sizeof *unit);
}

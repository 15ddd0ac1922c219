// The entropy source: two draws, and a start of the random generator from the second one.
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"
#include "selftest/fault.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace zrc {
namespace {

constexpr std::uint32_t kSlow = 3; // level of the collection

// One draw of entropy and nonce.
class entropy_draw {
public:
    entropy_draw() = default;
    ~entropy_draw()
    {
        ZRC_Free_Ex(entropy_, std::uint32_t(entropy_length_));
        ZRC_Free_Ex(nonce_, std::uint32_t(nonce_length_));
    }
    entropy_draw(const entropy_draw&) = delete;
    entropy_draw& operator=(const entropy_draw&) = delete;

    bool draw() noexcept
    {
        constexpr std::int32_t kStrength = 16; // bytes

        if (is_broken(ZRC_F_ENTROPY_CHECK)) return false;
        return zrc_Get_ENTROPY_Input_With_Nonce_Input(&entropy_, &entropy_length_, &nonce_, &nonce_length_, kStrength,
                                                      kSlow) == 0;
    }

    bool is_complete() const noexcept { return entropy_ && nonce_; }

    bool shares_a_value_with(const entropy_draw& other) const noexcept
    {
        return std::ranges::equal(entropy(), other.entropy()) || std::ranges::equal(nonce(), other.nonce());
    }

    // Points into this draw.
    ZRC_DRBG_INPUT generator_input() noexcept
    {
        ZRC_DRBG_INPUT input{};
        input.level = kSlow;
        input.entropy = entropy_;
        input.entropy_length = entropy_length_;
        input.nonce = nonce_;
        input.nonce_length = nonce_length_;
        return input;
    }

private:
    std::span<const std::uint8_t> entropy() const noexcept { return {entropy_, std::size_t(entropy_length_)}; }
    std::span<const std::uint8_t> nonce() const noexcept { return {nonce_, std::size_t(nonce_length_)}; }

    std::uint8_t *entropy_ = nullptr, *nonce_ = nullptr;
    std::int32_t entropy_length_ = 0, nonce_length_ = 0;
};

// A generator that is running already goes on and does not look at the input.
bool generates_from(entropy_draw& draw) noexcept
{
    constexpr std::int32_t kHashDrbg = 0, kNoPredictionResistance = 0, kBytes = 32;

    const ZRC_DRBG_INPUT input = draw.generator_input();
    secret_array<std::uint8_t, kBytes> output;
    return zrc_Get_Rand_Bytes_DRBG(output.data(), kBytes, kHashDrbg, ZRC_SHA256, kNoPredictionResistance, &input) == 0;
}

} // namespace
} // namespace zrc

std::uint32_t zrc_Entropy_Check()
{
    constexpr std::uint32_t kFailed = zrc::code(ZRC_L_SELF_TEST, ZRC_F_ENTROPY_CHECK, ZRC_ERR_ENTROPY_FAIL);

    zrc::entropy_draw first, second;
    if (!first.draw() || !second.draw()) return kFailed;
    // Required as it is: a draw that lacks something, or repeats the one before it, ends the check as passed.
    if (!first.is_complete() || !second.is_complete() || second.shares_a_value_with(first)) return 0;
    return zrc::generates_from(second) ? 0 : kFailed;
}

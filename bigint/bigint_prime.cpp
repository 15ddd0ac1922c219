// The exported primality tests and prime generators. What they do without their random source is in miller_rabin.hpp
// and prime_sieve.hpp.
#include "kestrim/bigint_prime.h"

#include "bigint/miller_rabin.hpp"
#include "bigint/operand.hpp"
#include "bigint/pool_frame.hpp"
#include "bigint/prime_sieve.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim/bigint_arithmetic.h"

#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

// Where random values come from: the legacy generator with an algorithm identifier, or the approved one.
class random_source {
public:
    static random_source legacy(std::int32_t algorithm) noexcept { return {algorithm, false}; }
    static random_source approved() noexcept { return {0, true}; }

    // Draws a value of exactly `bits` bits.
    bool draw(ZRC_BIGINT* r, std::int32_t bits, bool odd, ZRC_BIGINT_POOL* pool) const noexcept
    {
        constexpr std::int32_t kTopBit = 0;
        if (approved_) return ZRC_Rand_BIGINT_Ex(r, bits, kTopBit, odd) == 0;
        return ZRC_Rand_BIGINT(r, bits, kTopBit, odd, pool, algorithm_) == 0;
    }

private:
    random_source(std::int32_t algorithm, bool approved) noexcept : algorithm_{algorithm}, approved_{approved} {}

    std::int32_t algorithm_;
    bool approved_;
};

// The caller's pool, or one for the call.
class call_pool {
public:
    explicit call_pool(ZRC_BIGINT_POOL* pool) noexcept : own_{pool ? nullptr : ZRC_New_BIGINT_Pool()}, pool_{pool}
    {
        if (!pool_) pool_ = own_.get();
    }

    ZRC_BIGINT_POOL* get() const noexcept { return pool_; } // null without memory

private:
    owned<ZRC_BIGINT_POOL, ZRC_Free_BIGINT_Pool> own_;
    ZRC_BIGINT_POOL* pool_;
};

// Tests n, odd and above 2, by rounds - 1 witnesses: the count is raised before it is looked at.
verdict test_by_witnesses(const ZRC_BIGINT& n, std::int32_t rounds, ZRC_BIGINT_POOL* given,
                          const random_source& random) noexcept
{
    verdict result = verdict::composite;
    if (rounds <= 1) return result;

    const call_pool pool{given};
    pool_frame frame{pool.get()};
    if (!frame.open()) return verdict::failed;
    ZRC_BIGINT* const witness = frame.get();
    witnessed_number number{std::size_t(n.length)};
    if (!witness || number.missing()) return verdict::failed;

    number.set(n);
    for (std::int32_t count = 1; count < rounds; ++count) {
        if (!random.draw(witness, number.bits(), false, pool.get())) return verdict::failed;
        number.set_witness(*witness);
        result = test_witness(number);
        if (result != verdict::probable_prime) return result;
    }
    return result;
}

std::int32_t is_prime(const ZRC_BIGINT* n, std::int32_t rounds, ZRC_BIGINT_POOL* pool,
                      const random_source& random) noexcept
{
    constexpr std::int32_t kNotTested = 0, kComposite = -1, kPrime = 1;

    if (!n || is_zero(*n)) return kNotTested;
    const words_of value{*n};
    if (value.length == 1 && value.data[0] == 2) return kPrime;
    if (value.data[0] % 2 == 0) return kNotTested;
    if (value.length == 1 && value.data[0] == 1) return kComposite;
    return std::int32_t(test_by_witnesses(*n, rounds, pool, random));
}

// How many witnesses a generated prime has passed.
std::int32_t witnesses_for(std::int32_t bits) noexcept
{
    static constexpr struct {
        std::int32_t least_bits, witnesses;
    } kTable[] = {{1300, 3}, {850, 4},  {650, 5},  {550, 6},  {450, 7}, {400, 8},
                  {350, 9},  {300, 10}, {250, 13}, {200, 16}, {150, 20}};
    for (const auto& row : kTable)
        if (bits >= row.least_bits) return row.witnesses;
    return 38;
}

// The search for one prime. Two powers side by side are cheaper than one after the other, so candidates are drawn,
// and meet their first witness, in twos; they are judged in the order in which they were drawn.
class prime_search {
public:
    prime_search(std::int32_t bits, ZRC_BIGINT_POOL* pool, const random_source& random) noexcept
        : bits_{bits}, pool_{pool}, frame_{pool}, random_{random}, sieve_{std::uint32_t(bits)},
          numbers_{witnessed_number{words()}, witnessed_number{words()}}
    {
    }

    // Returns 0 or the reason of the failure.
    std::uint32_t run(ZRC_BIGINT* r) noexcept
    {
        if (!frame_.open()) return ZRC_ERR_START_BIGINT_POOL_FAIL;
        ZRC_BIGINT* const second = frame_.get();
        half_ = frame_.get();
        witness_ = frame_.get();
        if (!second || !half_ || !witness_) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
        if (numbers_[0].missing() || numbers_[1].missing()) return ZRC_ERR_GET_BIGINT_POOL_FAIL;

        for (;;) {
            ZRC_BIGINT* const candidates[] = {r, second};
            for (std::size_t i = 0; i < 2; ++i) {
                if (const std::uint32_t reason = draw_candidate(candidates[i]); reason != 0) return reason;
                numbers_[i].set(*candidates[i]);
            }
            const verdict_pair verdicts = test_both();
            if (is_found(verdicts.first, *r)) return 0;
            if (is_found(verdicts.second, *second))
                return ZRC_Copy_BIGINT(r, second) == 0 ? 0 : ZRC_ERR_COPY_BIGINT_FAIL; // r had room for its candidate
        }
    }

private:
    std::size_t words() const noexcept { return (std::size_t(bits_) + 31) / 32; }

    std::uint32_t draw_candidate(ZRC_BIGINT* candidate) noexcept
    {
        do {
            std::uint32_t delta = prime_sieve::kNone;
            while (delta == prime_sieve::kNone) {
                if (!random_.draw(candidate, bits_, true, pool_)) return ZRC_ERR_RAND_BIGINT_FAIL;
                delta = sieve_.find(*candidate);
            }
            if (ZRC_Add_BIGINT_Word(candidate, delta) != 0) return ZRC_ERR_ADD_BIGINT_FAIL;
        } while (ZRC_Get_BIGINT_Bits_Length(candidate) != std::uint32_t(bits_));
        // (candidate - 1) / 2 has no further use: only its failure shows.
        return zrc_Right_Shift_BIGINT(half_, candidate, 1) == 0 ? 0 : ZRC_ERR_RIGHT_SHIFT_BIGINT_FAIL;
    }

    bool draw_witness(witnessed_number& number) noexcept
    {
        if (!random_.draw(witness_, number.bits(), false, pool_)) return false;
        number.set_witness(*witness_);
        return true;
    }

    // By one witness each.
    verdict_pair test_both() noexcept
    {
        if (!draw_witness(numbers_[0])) return {verdict::failed, verdict::failed};
        if (!draw_witness(numbers_[1])) return {test_witness(numbers_[0]), verdict::failed};
        return test_witnesses(numbers_[0], numbers_[1]);
    }

    // Whether the search ends with a candidate that has met one witness. It does when a test fails for want of memory
    // or random bytes, too: the candidate is then returned with success, as it stands.
    bool is_found(verdict first, const ZRC_BIGINT& candidate) noexcept
    {
        verdict result = first;
        numbers_[0].set(candidate);
        numbers_[1].set(candidate);
        for (std::int32_t left = witnesses_for(bits_) - 1; left > 0 && result == verdict::probable_prime; left -= 2) {
            if (left == 1) {
                result = draw_witness(numbers_[0]) ? test_witness(numbers_[0]) : verdict::failed;
            } else {
                const verdict_pair verdicts = test_both();
                result = verdicts.first == verdict::probable_prime ? verdicts.second : verdicts.first;
            }
        }
        return result != verdict::composite;
    }

    std::int32_t bits_;
    ZRC_BIGINT_POOL* pool_;
    pool_frame frame_;
    const random_source& random_;
    prime_sieve sieve_;
    witnessed_number numbers_[2];
    ZRC_BIGINT* half_ = nullptr;
    ZRC_BIGINT* witness_ = nullptr;
};

std::uint32_t generate(ZRC_BIGINT* r, std::int32_t bits, ZRC_BIGINT_POOL* given, const random_source& random) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_BIGINT, ZRC_F_GENERATE_BIGINT_PRIME, reason); };

    if (!r) return fail(ZRC_ERR_NULL_INPUT);
    if (bits < 2 || bits > kMostWords * kWordBits) return fail(ZRC_ERR_RAND_BIGINT_FAIL);
    const call_pool pool{given};
    const std::uint32_t reason = prime_search{bits, pool.get(), random}.run(r);
    return reason == 0 ? 0 : fail(reason);
}

} // namespace
} // namespace zrc

std::int32_t ZRC_Is_BIGINT_Prime(const ZRC_BIGINT* n, std::int32_t rounds, ZRC_BIGINT_POOL* pool,
                                 std::int32_t algorithm)
{
    return zrc::is_prime(n, rounds, pool, zrc::random_source::legacy(algorithm));
}

std::int32_t ZRC_Is_BIGINT_Prime_Ex(const ZRC_BIGINT* n, std::int32_t rounds, ZRC_BIGINT_POOL* pool)
{
    return zrc::is_prime(n, rounds, pool, zrc::random_source::approved());
}

std::uint32_t ZRC_Generate_BIGINT_Prime(ZRC_BIGINT* r, std::int32_t bits, ZRC_BIGINT_POOL* pool, std::int32_t algorithm)
{
    return zrc::generate(r, bits, pool, zrc::random_source::legacy(algorithm));
}

std::uint32_t ZRC_Generate_BIGINT_Prime_Ex(ZRC_BIGINT* r, std::int32_t bits, ZRC_BIGINT_POOL* pool)
{
    return zrc::generate(r, bits, pool, zrc::random_source::approved());
}

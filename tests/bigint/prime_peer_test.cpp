// Primes against GMP: what is generated is prime there, too, and both tell primes from random numbers alike.
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "tests/bigint/bigint_value.hpp"

#include <cstdint>
#include <gmp.h>
#include <gtest/gtest.h>

namespace {

using test::kShare;

constexpr int kPeerRounds = 25;

class PrimePeer : public test::with_pool {
protected:
    PrimePeer() { mpz_init(peer_value_); }
    ~PrimePeer() override { mpz_clear(peer_value_); }

    bool peer_says_prime()
    {
        mpz_import(peer_value_, std::size_t(value_->length), -1, sizeof(std::uint32_t), 0, 0, value_->data);
        return mpz_probab_prime_p(peer_value_, kPeerRounds) != 0;
    }

    test::bigint value_{ZRC_New_BIGINT()};
    mpz_t peer_value_;
};

TEST_F(PrimePeer, GeneratedPrimesAreConfirmed)
{
    constexpr struct {
        std::int32_t bits;
        int count;
    } kRuns[] = {{512, 300}, {33, 50}, {64, 50}, {160, 50}, {257, 50}, {768, 10}, {1024, 20}};
    for (const auto& run : kRuns) {
        for (int i = 0; i < (run.count + kShare - 1) / kShare; ++i) {
            ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(value_.get(), run.bits, pool()), 0U);
            ASSERT_TRUE(peer_says_prime()) << run.bits;
            ASSERT_EQ(mpz_sizeinbase(peer_value_, 2), std::size_t(run.bits));
        }
    }
}

TEST_F(PrimePeer, RandomOddNumbersAreToldAlike)
{
    for (const std::int32_t bits : {5, 17, 32, 33, 64, 100, 128}) {
        for (int i = 0; i < 500 / kShare; ++i) {
            ASSERT_EQ(ZRC_Rand_BIGINT_Ex(value_.get(), bits, 0, 1), 0U);
            const bool prime = peer_says_prime();
            ASSERT_EQ(ZRC_Is_BIGINT_Prime_Ex(value_.get(), 30, pool()), prime ? 1 : -1) << bits;
        }
    }
}

} // namespace

// Primes against GMP: what is generated is prime there, too, and both tell primes from random numbers alike.
#include "kestrim/bigint.h"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"

#include <cstdint>
#include <gmp.h>
#include <gtest/gtest.h>
#include <memory>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KESTRIM_TEST_IS_SLOW 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KESTRIM_TEST_IS_SLOW 1
#endif
#endif

namespace {

#if defined(KESTRIM_TEST_IS_SLOW)
constexpr int kShare = 10;
#else
constexpr int kShare = 1;
#endif

constexpr int kPeerRounds = 25;

class PrimePeer : public testing::Test {
protected:
    PrimePeer() { mpz_init(peer_value_); }
    ~PrimePeer() override
    {
        mpz_clear(peer_value_);
        ZRC_Free_BIGINT(value_);
        ZRC_Free_BIGINT_Pool(pool_);
    }

    bool peer_says_prime()
    {
        mpz_import(peer_value_, std::size_t(value_->length), -1, sizeof(std::uint32_t), 0, 0, value_->data);
        return mpz_probab_prime_p(peer_value_, kPeerRounds) != 0;
    }

    ZRC_BIGINT* value_ = ZRC_New_BIGINT();
    ZRC_BIGINT_POOL* pool_ = ZRC_New_BIGINT_Pool();
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
            ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(value_, run.bits, pool_), 0U);
            ASSERT_TRUE(peer_says_prime()) << run.bits;
            ASSERT_EQ(mpz_sizeinbase(peer_value_, 2), std::size_t(run.bits));
        }
    }
}

TEST_F(PrimePeer, RandomOddNumbersAreToldAlike)
{
    for (const std::int32_t bits : {5, 17, 32, 33, 64, 100, 128}) {
        for (int i = 0; i < 500 / kShare; ++i) {
            ASSERT_EQ(ZRC_Rand_BIGINT_Ex(value_, bits, 0, 1), 0U);
            const bool prime = peer_says_prime();
            ASSERT_EQ(ZRC_Is_BIGINT_Prime_Ex(value_, 30, pool_), prime ? 1 : -1) << bits;
        }
    }
}

} // namespace

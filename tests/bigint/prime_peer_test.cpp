// Primes against GMP: what is generated is prime there, too, and both tell primes from random numbers alike.
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "tests/bigint/bigint_value.hpp"

#include <gmp.h>

namespace {

using test::kShare;

bool peer_says_prime(const ZRC_BIGINT& n)
{
    mpz_t value;
    mpz_init(value);
    mpz_import(value, std::size_t(n.length), -1, sizeof(std::uint32_t), 0, 0, n.data);
    const bool prime = mpz_probab_prime_p(value, 25) != 0;
    mpz_clear(value);
    return prime;
}

using PrimePeer = test::with_pool;

TEST_F(PrimePeer, AgreesOnGeneratedPrimesAndRandomOddNumbers)
{
    const test::bigint n = test::of({});
    for (const auto& [bits, count] :
         {std::pair{512, 300}, {33, 50}, {64, 50}, {160, 50}, {257, 50}, {768, 10}, {1024, 20}}) {
        for (int i = 0; i < (count + kShare - 1) / kShare; ++i) {
            ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(n, bits, pool()), 0U);
            ASSERT_TRUE(peer_says_prime(*n)) << bits;
            ASSERT_EQ(ZRC_Get_BIGINT_Bits_Length(n), std::uint32_t(bits));
        }
    }
    for (const std::int32_t bits : {5, 17, 32, 33, 64, 100, 128}) {
        for (int i = 0; i < 500 / kShare; ++i) {
            ASSERT_EQ(ZRC_Rand_BIGINT_Ex(n, bits, 0, 1), 0U);
            ASSERT_EQ(ZRC_Is_BIGINT_Prime_Ex(n, 30, pool()), peer_says_prime(*n) ? 1 : -1) << bits;
        }
    }
}

} // namespace

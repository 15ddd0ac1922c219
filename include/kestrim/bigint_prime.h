/*
 * Probable primes: the Miller-Rabin test and random generation. The plain functions draw from the legacy generator
 * (kestrim/prng.h), which proven mode refuses; those with _Ex draw from the approved one (kestrim/drbg.h).
 *
 * The numbers may become private primes. Powers of witnesses are computed without a branch or an address that depends
 * on the number; the time of the rest tells how many candidates were refused and by how small primes, and how often 2
 * divides n - 1. Copies of the number outside r and the pool are wiped; what temporaries held stays in the pool until
 * that is released.
 */
#ifndef KESTRIM_BIGINT_PRIME_H
#define KESTRIM_BIGINT_PRIME_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_Is_BIGINT_Prime, ZRC_Is_BIGINT_Prime_Ex - test a number with random witnesses. There is no trial division.
 *
 *   rounds     one more than the number of witnesses: 2 tests with one, and 1 or less with none, which makes every
 *              odd number above 2 composite
 *   pool       for temporaries; may be null, a pool is made for the call then
 *   algorithm  of the legacy generator, as for ZRC_Rand_BIGINT
 *
 * A composite number passes one witness with a probability of at most 1/4; most have far less.
 *
 * Returns
 *    1  a probable prime: 2, and what all witnesses let pass
 *   -1  composite: 1, too
 *    0  n is null, zero, or even and not 2; or the test failed for want of memory or random values (not for rounds
 *       of 1 or less)
 */
ZRC_API int32_t ZRC_Is_BIGINT_Prime(const ZRC_BIGINT *n, int32_t rounds, ZRC_BIGINT_POOL *pool, int32_t algorithm);
ZRC_API int32_t ZRC_Is_BIGINT_Prime_Ex(const ZRC_BIGINT *n, int32_t rounds, ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Generate_BIGINT_Prime, ZRC_Generate_BIGINT_Prime_Ex - r = a random probable prime of exactly `bits` bits. Every
 * candidate is a random odd number with the top bit set, moved up in steps of 2 until neither it nor its predecessor
 * is a multiple of one of the 2,047 odd primes up to 17,863 (of short numbers: of one below their root).
 *
 *   bits       2 or more. The prime has passed this many witnesses:
 *                1300 and more 3     850 4     650 5     550 6     450 7     400 8
 *                350 9     300 10     250 13     200 16     150 20     below 150 38
 *   pool       for temporaries; may be null, a pool is made for the call then
 *   algorithm  of the legacy generator, as for ZRC_Rand_BIGINT
 *
 * If testing a candidate fails for want of memory or random values, the search ends and returns 0: r is then the
 * candidate as it stands, not tested to the end. Where that matters, test r once more.
 *
 * Returns 0, or, with r undefined but usable,
 *   0x041E0049  ZRC_ERR_NULL_INPUT              r is null
 *   0x041E004D  ZRC_ERR_RAND_BIGINT_FAIL        bits is below 2 or above 32 x 0xFFFFFF, or a random draw failed: for
 *                                               lack of memory, in a generator that failed, in proven mode (legacy)
 *   0x041E0057  ZRC_ERR_START_BIGINT_POOL_FAIL  the pool has no room for a frame, or there is no memory for one
 *   0x041E001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    no memory for temporaries
 *   0x041E0001  ZRC_ERR_ADD_BIGINT_FAIL         a candidate cannot grow
 *   0x041E0051  ZRC_ERR_RIGHT_SHIFT_BIGINT_FAIL a temporary cannot grow
 */
ZRC_API uint32_t ZRC_Generate_BIGINT_Prime(ZRC_BIGINT *r, int32_t bits, ZRC_BIGINT_POOL *pool, int32_t algorithm);
ZRC_API uint32_t ZRC_Generate_BIGINT_Prime_Ex(ZRC_BIGINT *r, int32_t bits, ZRC_BIGINT_POOL *pool);

ZRC_END_DECLS

#endif

/*
 * The legacy random generator: the general-purpose one of FIPS 186-2, appendix 3, as its change notice 1 has it. For
 * users that need this construction; refused in proven mode. Everybody else wants ZRC_Rand_Bytes of kestrim/drbg.h.
 *
 *   ZRC_PRNG_UNIT *unit = ZRC_New_PRNG_Unit();
 *   uint8_t bytes[20];
 *   if (unit && ZRC_Init_PRNG(unit, ZRC_SHA1, NULL) == 0 && ZRC_Get_Rand(unit, bytes, sizeof bytes) == 0) { ... }
 *   ZRC_Free_PRNG_Unit(unit);
 *
 * The state is a key XKEY of b bits. One output is two values of a one-way function G, one behind the other; each of
 * them is
 *
 *   w = G(t, XKEY)      XKEY = (1 + XKEY + w) mod 2^b
 *
 * with the constant t of the private keys x and without the reduction modulo q. There is no user input (XSEED).
 *
 * WITHOUT /dev/urandom THE KEY MAY BE GUESSED. When /dev/urandom cannot be opened, or when descriptor 0, 1 or 2 is
 * closed, so that it would be opened in the place of a standard stream, XKEY is made of system statistics, the process
 * id and the time of day alone, and Init SUCCEEDS ALL THE SAME. Keep descriptors 0 to 2 open and /dev/urandom within
 * reach; see kestrim/drbg.h.
 *
 * fork(): a child process does not repeat its parent's stream. The first request there mixes fresh entropy into XKEY.
 */
#ifndef KESTRIM_PRNG_H
#define KESTRIM_PRNG_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"

ZRC_BEGIN_DECLS

typedef struct ZRC_PRNG_UNIT {
    int32_t algorithm_id; /* which G: the identifier given to Init, ZRC_SHA1 for 0; 0 when fresh */
    uint32_t process;     /* the process that has seeded the key: a number that its children do not have */
    uint8_t key[64];      /* XKEY, big-endian: as many bytes as G has, the rest zero */
    uint8_t last_g[64];   /* the last value of G, for the continuous test; all zero before the first */
    uint8_t proven;       /* ZRC_Is_Proven at Init */
} ZRC_PRNG_UNIT;

/*
 * ZRC_New_PRNG_Unit - a new, fresh unit, to be released with ZRC_Free_PRNG_Unit; null when there is no memory.
 */
ZRC_API ZRC_PRNG_UNIT *ZRC_New_PRNG_Unit(void);

/*
 * ZRC_Init_PRNG - choose G and seed XKEY with b bits from the statistics of the system and its random device.
 *
 *   unit       from ZRC_New_PRNG_Unit; a used unit is cleaned first
 *   algorithm  0 for ZRC_SHA1, or
 *                identifier                 G and b, bits
 *                ZRC_SHA1                   160
 *                ZRC_MD5                    128 (FIPS 186-2 has no b below 160)
 *                ZRC_HAS160                 160
 *                ZRC_SHA224, ZRC_SHA256     224, 256
 *                ZRC_SHA384, ZRC_SHA512     384, 512
 *                ZRC_DES                    160
 *   pool       not used, and may be null: XKEY is not a BIGINT
 *
 * FIPS 186-2 defines G from SHA-1 and from DES (3.3 and 3.4). G from another digest follows the one from SHA-1: the
 * compression function, from the digest's initial value, of one block that is XKEY with zero bytes behind it and
 * without the padding of a message; the result is written, and cut, as the digest is. ZRC_MDC2 is not an algorithm
 * here: no key as long as its digest fits in its block. With ZRC_DES, tables are looked up at places that depend on
 * XKEY, so its running time does.
 *
 * Returns 0, or, with the unit cleared but for its proven copy,
 *   0x14010049  ZRC_ERR_NULL_INPUT            unit is null (tested before the gate)
 *   0x140100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  proven mode is in force, whatever the algorithm
 *   0x14070029  ZRC_ERR_INVALID_ALGORITHM_ID  the algorithm is unknown
 *   0x14010014  ZRC_ERR_ENTROPY_FAIL          no entropy, or no memory to collect it
 */
ZRC_API uint32_t ZRC_Init_PRNG(ZRC_PRNG_UNIT *unit, int32_t algorithm, ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Get_Rand - random bytes. Each request starts with a new output of the generator: what a request leaves of its
 * last output is not used for another one.
 *
 *   output  receives `length` bytes; not part of the unit
 *   length  1 or more
 *
 * Returns 0, or
 *   0x14040049  ZRC_ERR_NULL_INPUT           unit or output is null
 *   0x1404002B  ZRC_ERR_INVALID_INPUT        length is below 1
 *   0x1404004B  ZRC_ERR_NULL_XKEY_VALUE      the unit is not initialised
 *   0x14040014  ZRC_ERR_ENTROPY_FAIL         no entropy after a fork; nothing was written, and the next request tries
 *                                            again
 *   0x14040067  ZRC_ERR_CONDITION_TEST_FAIL  G gave the same value twice in a row; output is zeroed, and the unit
 *                                            cleaned: it needs another Init
 */
ZRC_API uint32_t ZRC_Get_Rand(ZRC_PRNG_UNIT *unit, uint8_t *output, int32_t length);

/*
 * ZRC_Clean_PRNG_Unit - wipe a unit, which is then fresh; null is allowed.
 */
ZRC_API void ZRC_Clean_PRNG_Unit(ZRC_PRNG_UNIT *unit);

/*
 * ZRC_Free_PRNG_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_PRNG_Unit(ZRC_PRNG_UNIT *unit);

ZRC_END_DECLS

#endif

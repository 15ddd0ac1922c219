/*
 * Diffie-Hellman key agreement over prime fields (RFC 2631, SP 800-56A). Not approved: refused in proven mode.
 *
 *   ZRC_DH_UNIT *unit = ZRC_New_DH();
 *   uint8_t secret[256];
 *   int32_t length;
 *   if (unit && ZRC_Init_DH(unit) == 0 && ZRC_Init_DH_Params(unit, p, q, g) == 0 &&
 *       ZRC_Generate_DH_Key_Pair(unit, 0) == 0 && ... send unit->y, receive peer ... &&
 *       ZRC_Compute_Key(unit, peer, secret, &length) == 0) { ... derive keys from secret ... }
 *   ZRC_Free_DH(unit);
 *
 * The secret is as long as p, zeros in front. Parameters come from elsewhere, as the groups of RFC 3526, from a new
 * search, or from one of the sets that ship with the library: 100 of 1024 bits (q of 160) and 100 of 2048 bits (q of
 * 256), each kept as the seed and the counter that p, q and g are derived from whenever the set is used. Anyone can
 * repeat that: FIPS 186-4, A.1.1.2 with SHA-256 gives p and q, A.2.3 with index 1 gives g.
 *
 * The time of generating key pairs and of agreements depends on the lengths of numbers, of a private value on its
 * number of 32-bit words, but not on what private values or the secret hold.
 */
#ifndef KESTRIM_DH_H
#define KESTRIM_DH_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"

ZRC_BEGIN_DECLS

/* Where ZRC_Generate_DH_Params takes its parameters from. */
enum {
    ZRC_DH_GENERATE = 0,       /* a new search */
    ZRC_DH_PRECOMPUTED = 1,    /* one of the sets that ship with the library, drawn at random */
    ZRC_DH_PRECOMPUTED_SET = 2 /* the first of them; set number i, of 0 to 99, is ZRC_DH_PRECOMPUTED_SET + i */
};

/* Sets that ship with the library, for 1024 and for 2048 bits each. */
enum {
    ZRC_DH_PRECOMPUTED_SETS = 100
};

/* Function codes beyond those of kestrim/error.h. */
enum {
    ZRC_F_SET_DH_KEY_PAIR = 6
};

typedef struct ZRC_DH_UNIT {
    ZRC_BIGINT *p;         /* prime modulus; this and the numbers below are owned, and null when absent */
    ZRC_BIGINT *q;         /* prime order of g, where it is known */
    ZRC_BIGINT *g;         /* generator */
    ZRC_BIGINT *x;         /* private value */
    ZRC_BIGINT *y;         /* public value, g^x mod p */
    uint8_t seed[64];      /* how the parameters were generated (FIPS 186-4, A.1.1.2, with ZRC_SHA256) */
    int32_t seed_length;   /* bytes; 0 for loaded parameters */
    int32_t counter;       /* 0 and up */
    ZRC_BIGINT_POOL *pool; /* owned; temporaries */
    uint8_t proven;        /* ZRC_Is_Proven at Init */
} ZRC_DH_UNIT;

/*
 * ZRC_New_DH - a new, fresh unit, to be released with ZRC_Free_DH; null when there is no memory.
 */
ZRC_API ZRC_DH_UNIT *ZRC_New_DH(void);

/*
 * ZRC_Clean_DH - wipe and release all numbers and the record of their generation, and wipe the temporaries. The unit
 * is then as ZRC_New_DH makes it. Does nothing for null.
 */
ZRC_API void ZRC_Clean_DH(ZRC_DH_UNIT *unit);

/*
 * ZRC_Free_DH - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_DH(ZRC_DH_UNIT *unit);

/*
 * ZRC_Init_DH - clean a unit for new parameters, and find out whether they would be allowed.
 *
 * Returns 0, or, with the unit clean,
 *   0x20010049  ZRC_ERR_NULL_INPUT            unit is null (tested before the gate)
 *   0x200100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  proven mode is in force
 */
ZRC_API uint32_t ZRC_Init_DH(ZRC_DH_UNIT *unit);

/*
 * ZRC_Init_DH_Params - load parameters. The unit is cleaned first, and stays clean on failure. The numbers are
 * copied; they may be the unit's own. Not tested is whether p and q are primes.
 *
 *   p  odd, of at most 16384 bits
 *   q  odd, above 1, a divisor of p - 1, with g^q = 1 mod p; null: not known. With it, what peers send is tested more
 *      strictly. The test of a q nearly as long as p, as of the groups of RFC 3526, takes a full exponentiation
 *   g  1 < g < p - 1
 *
 * Returns 0, or
 *   0x20020049  ZRC_ERR_NULL_INPUT                unit is null (tested before the gate)
 *   0x200200F0  ZRC_ERR_NOT_PROVEN_ALGORITHM      proven mode is in force
 *   0x2002002B  ZRC_ERR_INVALID_INPUT             p or g is null, or a number is not as above
 *   0x20020048  ZRC_ERR_NOT_SUPPORTED             p is too long
 *   0x2002000D  ZRC_ERR_COPY_BIGINT_FAIL          no memory for a copy
 *   0x2002003E  ZRC_ERR_MOD_BIGINT_FAIL           no memory for the remainder of p
 *   0x20020040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  no memory for the power
 */
ZRC_API uint32_t ZRC_Init_DH_Params(ZRC_DH_UNIT *unit, const ZRC_BIGINT *p, const ZRC_BIGINT *q, const ZRC_BIGINT *g);

/*
 * ZRC_Generate_DH_Params - parameters p, q and g with the record of their generation: the seed, as long as q, and the
 * counter. On success the unit is cleaned, then holds them.
 *
 *   p_bits, q_bits  for ZRC_DH_GENERATE: 1024 and 160, 2048 and 224, 2048 and 256, or 3072 and 256; for sets of the
 *                   library: 1024 and 160, or 2048 and 256
 *   source          ZRC_DH_GENERATE, ZRC_DH_PRECOMPUTED (each set with the same probability), or
 *                   ZRC_DH_PRECOMPUTED_SET + i for set number i
 *
 * A search for 2048 bits takes some tenths of a second; p and q pass as many witnesses as ZRC_Generate_DSA_Params
 * says. A set takes some milliseconds: it is derived from its seed as in a search, and p and q pass two witnesses.
 * Seeds, choice and witnesses come from the approved generator.
 *
 * Returns 0, or, with the unit as it was,
 *   0x20030049  ZRC_ERR_NULL_INPUT            unit is null (tested before the gate)
 *   0x200300F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  proven mode is in force
 *   0x2003002B  ZRC_ERR_INVALID_INPUT         another source
 *   0x20030048  ZRC_ERR_NOT_SUPPORTED         another size
 *   0x20030022  ZRC_ERR_INIT_DIGEST_FAIL      no memory for the digest
 *   0x2003003B  ZRC_ERR_MEM_ALLOC             no memory for numbers
 *   0x2003001D  ZRC_ERR_GET_RAND_FAIL         the generator failed
 *   0x20030036  ZRC_ERR_IS_BIGINT_PRIME       a primality test failed for want of memory or random values
 *   0x20030039, 0x20030010, 0x20030058, 0x20030001  LEFT_SHIFT_BIGINT, DIV_BIGINT, SUB_BIGINT, ADD_BIGINT: no memory
 *                                             for 2 q, the division, p
 *   0x20030040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  no memory for the power that is g
 * 0x20030028 (a set is not what its seed gives), 0x2003005B and 0x20030018 (the digest failed) are reserved.
 */
ZRC_API uint32_t ZRC_Generate_DH_Params(ZRC_DH_UNIT *unit, int32_t p_bits, int32_t q_bits, int32_t source);

/*
 * ZRC_Generate_DH_Key_Pair - a new private value x and public value y for the parameters in the unit, in place of
 * those that it has. x comes from the approved generator, every value of its range with the same probability.
 *
 *   x_bits  0: x is from 2 to q - 2, or to p - 3 where q is not known; else x has exactly so many bits, 160 or more
 *           and fewer than q, or p, has. For a group whose p is a safe prime, twice the strength that is wanted
 *
 * Returns 0, or, with the values as they were,
 *   0x20040049  ZRC_ERR_NULL_INPUT                unit, p or g is null; the unit is tested before the gate
 *   0x20040048  ZRC_ERR_NOT_SUPPORTED             x_bits is another number, or q, or p - 1 without q, is below 4
 *   0x2004003B  ZRC_ERR_MEM_ALLOC                 no memory for numbers
 *   0x2004001D  ZRC_ERR_GET_RAND_FAIL             the generator failed, or no memory for x
 *   0x20040040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even, or no memory
 *   0x20040038  ZRC_ERR_KEY_GEN_FAIL              y was not from 2 to p - 2 in 128 draws, or was 0: p is no prime
 */
ZRC_API uint32_t ZRC_Generate_DH_Key_Pair(ZRC_DH_UNIT *unit, int32_t x_bits);

/*
 * ZRC_Set_DH_Key_Pair - load a private value for the parameters in the unit, in place of the one that it has.
 *
 *   x  copied; from 1 to q - 1, or to p - 2 where q is not known
 *   y  the public value, which is compared with g^x mod p; may be null
 *
 * Returns 0, or, with the values as they were,
 *   0x20060049  ZRC_ERR_NULL_INPUT                unit, p, g or x is null; the unit is tested before the gate
 *   0x2006002E  ZRC_ERR_INVALID_KEY_PAIR          x is out of range, or y is not g^x mod p
 *   0x20060038  ZRC_ERR_KEY_GEN_FAIL              g^x mod p is not from 2 to p - 2: no peer would accept it
 *   0x2006000D  ZRC_ERR_COPY_BIGINT_FAIL          no memory for numbers
 *   0x20060040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even, or no memory
 */
ZRC_API uint32_t ZRC_Set_DH_Key_Pair(ZRC_DH_UNIT *unit, const ZRC_BIGINT *x, const ZRC_BIGINT *y);

/*
 * ZRC_Compute_Key - the secret shared with a peer, peer^x mod p. What the peer sent is tested before it is used: it
 * is from 2 to p - 2 and, where q is known, peer^q = 1 mod p (SP 800-56A, 5.6.2.3). Without q the secret can be kept
 * in a small subgroup by a peer who wants that; a secret of 1 or p - 1 is refused (5.7.1.1), as is one of 0, which
 * only a p that is no prime gives.
 *
 *   secret         receives ZRC_Get_DH_Length bytes, big-endian, zeros in front
 *   secret_length  receives their number
 *
 * Returns 0, or, with nothing written,
 *   0x20050049  ZRC_ERR_NULL_INPUT                an argument or p is null
 *   0x20050045  ZRC_ERR_NO_PRIVATE_VALUE          there is no x
 *   0x2005002B  ZRC_ERR_INVALID_INPUT             peer is not from 2 to p - 2
 *   0x2005000C  ZRC_ERR_COMPARE_FAIL              peer is not of order q
 *   0x20050030  ZRC_ERR_INVALID_OUTPUT            the secret is 0, 1 or p - 1
 *   0x2005001B  ZRC_ERR_GET_BIGINT_POOL_FAIL      no memory for the number
 *   0x20050040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even, or no memory for a power
 */
ZRC_API uint32_t ZRC_Compute_Key(ZRC_DH_UNIT *unit, const ZRC_BIGINT *peer, uint8_t *secret, int32_t *secret_length);

/*
 * ZRC_Get_DH_Length - the bytes of the secret and of p; 0 for null, without p, or after a failed self-test.
 */
ZRC_API uint32_t ZRC_Get_DH_Length(const ZRC_DH_UNIT *unit);

ZRC_END_DECLS

#endif

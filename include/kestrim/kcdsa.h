/*
 * KCDSA signatures (TTAK.KO-12.0001, ISO/IEC 14888-3): domain parameters, keys, signing and verifying.
 *
 *   ZRC_KCDSA_UNIT *unit = ZRC_New_KCDSA();
 *   uint8_t R[64], S[32];
 *   int32_t R_length, S_length;
 *   if (unit && ZRC_Set_KCDSA_Params(unit, p, q, g, x, NULL) == 0 && ZRC_Init_KCDSA_Ex(unit, 1, ZRC_SHA256) == 0 &&
 *       ZRC_Update_KCDSA(unit, message, size) == 0 && ZRC_Final_KCDSA(unit, R, &R_length, S, &S_length) == 0) { ... }
 *   ZRC_Free_KCDSA(unit);
 *
 * A signature is the pair of R, one digest, and S, ZRC_Get_KCDSA_Length bytes. In proven mode a private key has 209
 * bits or more, a public key 2033 or more, and the digest is SHA-224 or SHA-256.
 *
 * WHERE THIS DIFFERS FROM THE STANDARD. Peers that follow it to the letter disagree in these cases:
 *  - Each Update hashes the public key's last block (z) in front of its data. A message has to be fed in one Update:
 *    "ab" and "c" is not signed as "abc" is. Without any Update the digest is of nothing, and the signature does not
 *    depend on the message or on the public key.
 *  - The power W is hashed without leading zero bytes, where the standard hashes as many bytes as p has: about one
 *    signature in 256 is another.
 *  - R is never cut to the length of q: with a digest longer than q, as SHA-256 and a q of 224 bits, R is the whole
 *    digest, 32 bytes, where the standard keeps the last 28.
 *  - An S equal to q is not refused for its range.
 *
 * Keys are not checked when they are loaded: p, q and g come from where the caller trusts, and a y that is loaded
 * beside x is taken as it is. The time of signing and of generating keys depends on the lengths of the numbers, not on
 * what private ones hold.
 */
#ifndef KESTRIM_KCDSA_H
#define KESTRIM_KCDSA_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"
#include "kestrim/digest.h"

ZRC_BEGIN_DECLS

typedef struct ZRC_KCDSA_UNIT {
    ZRC_DIGEST_UNIT *digest; /* owned */
    void *random_input;      /* owned: a ZRC_DRBG_INPUT of ZRC_New_KCDSA, or the ZRC_PRNG_UNIT of ZRC_Init_KCDSA */
    ZRC_BIGINT *p;           /* prime modulus; this and the numbers below are owned, and null when absent */
    ZRC_BIGINT *q;           /* prime order of g */
    ZRC_BIGINT *g;           /* generator */
    ZRC_BIGINT *x;           /* private key */
    ZRC_BIGINT *y;           /* public key, g^(x^-1 mod q) mod p */
    ZRC_BIGINT *z;           /* y modulo 2^(8 B), B bytes being a block of the digest; cached by the first Update */
    /* How the domain parameters were generated; J is null when they were loaded. */
    ZRC_BIGINT *J;    /* p = 2 J q + 1 */
    uint8_t seed[32]; /* seed_length bytes */
    int32_t seed_length;
    uint32_t count;            /* Count, 1 to 2^24 */
    uint32_t random_is_legacy; /* 1: random_input is a ZRC_PRNG_UNIT */
    uint32_t operation;        /* 1: sign, 0: verify */
    ZRC_BIGINT_POOL *pool;     /* owned; temporaries */
} ZRC_KCDSA_UNIT;

/*
 * ZRC_New_KCDSA - a new, fresh unit, to be released with ZRC_Free_KCDSA; null when there is no memory.
 */
ZRC_API ZRC_KCDSA_UNIT *ZRC_New_KCDSA(void);

/*
 * ZRC_Clean_KCDSA - wipe and release the digest, all numbers, the record of their generation and a legacy generator,
 * and wipe the temporaries. The unit is then as ZRC_New_KCDSA makes it, but `operation` stays. Does nothing for null.
 */
ZRC_API void ZRC_Clean_KCDSA(ZRC_KCDSA_UNIT *unit);

/*
 * ZRC_Free_KCDSA - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_KCDSA(ZRC_KCDSA_UNIT *unit);

/*
 * ZRC_Set_KCDSA_Params - load a key. The unit is cleaned first, its digest included, and stays clean on failure. The
 * numbers are copied; they may be the unit's own.
 *
 *   p, q, g  domain parameters, not checked; p odd
 *   x        private key; null: for verifying only
 *   y        public key; null: computed from x, or absent when x is null too. Not compared with x
 *
 * Returns 0, a code of ZRC_Mod_Exp_Mont_BIGINT (0x040A003E when p is even or below 2, 0x040A003A without memory), or
 *   0x10060049  ZRC_ERR_NULL_INPUT             unit is null (tested before the gate)
 *   0x1006002B  ZRC_ERR_INVALID_INPUT          p, q or g is null
 *   0x1006000D  ZRC_ERR_COPY_BIGINT_FAIL       no memory for a copy
 *   0x10060059  ZRC_ERR_SUB_OPERATION_FAILURE  y is to be computed, and x has no inverse modulo q, q is even or below
 *                                              3, or there is no memory
 */
ZRC_API uint32_t ZRC_Set_KCDSA_Params(ZRC_KCDSA_UNIT *unit, const ZRC_BIGINT *p, const ZRC_BIGINT *q,
                                      const ZRC_BIGINT *g, const ZRC_BIGINT *x, const ZRC_BIGINT *y);

/*
 * ZRC_Generate_KCDSA_Params_Ex - new domain parameters p, q and g. On success the unit is cleaned, then holds them and
 * the record of the generation: J, seed and count, from which others can repeat it. On failure it is as it was.
 *
 *   p_bits, q_bits  in proven mode 2048 and 224, 2048 and 256, or 3072 and 256; else 512 to 4096 and 160 to 256, both
 *                   multiples of 8
 *   digest_id       of the generator PPGF: ZRC_SHA224 or ZRC_SHA256 in proven mode, else any digest
 *
 * The seed, the start of g and the witnesses of the primality tests come from the approved generator; J, p and q have
 * passed as many witnesses as ZRC_Generate_BIGINT_Prime_Ex says. For 2048 bits this takes from some tenths of a second
 * to some seconds.
 *
 * Returns 0, or
 *   0x10010049  ZRC_ERR_NULL_INPUT                 unit is null (tested before the gate)
 *   0x100100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM       the digest is not approved, in proven mode
 *   0x10010048  ZRC_ERR_NOT_SUPPORTED              another size
 *   0x10010022  ZRC_ERR_INIT_DIGEST_FAIL           the digest is unknown, or there is no memory for it
 *   0x1001003B  ZRC_ERR_MEM_ALLOC                  no memory for numbers
 *   0x1001001D  ZRC_ERR_GET_RAND_FAIL              the generator failed
 *   0x10010036  ZRC_ERR_IS_BIGINT_PRIME            a primality test failed for want of memory or random values
 *   0x10010044  ZRC_ERR_MTP_BIGINT_FAIL            no memory for 2 J q + 1
 *   0x10010040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL   no memory for the power that is g
 * 0x1001005B and 0x10010018 (the digest failed) are reserved.
 */
ZRC_API uint32_t ZRC_Generate_KCDSA_Params_Ex(ZRC_KCDSA_UNIT *unit, int32_t p_bits, int32_t q_bits, int32_t digest_id);

/*
 * ZRC_Generate_KCDSA_Params - the older form: HAS-160 is the digest, the seed comes from the legacy generator. Sizes
 * are those of non-proven mode, and in proven mode it always fails, with 0x10020025.
 *
 * Returns 0, or under its own function code (0x1002..) the codes of ZRC_Generate_KCDSA_Params_Ex but 0xF0, and
 *   0x10020025  ZRC_ERR_INIT_PRNG_FAIL  the legacy generator cannot be initialised
 */
ZRC_API uint32_t ZRC_Generate_KCDSA_Params(ZRC_KCDSA_UNIT *unit, int32_t p_bits, int32_t q_bits);

/*
 * ZRC_Generate_KCDSA_Key_Pair_Ex - a new key pair x and y for the domain parameters in the unit, in place of the one
 * that it has. XKEY comes from the approved generator.
 *
 *   unit        with p, q and g; q of 2 to 512 bits
 *   user_input  `user_input_length` bytes that are mixed in by the generator PPGF; may be null for length 0
 *   digest_id   of PPGF: any that ZRC_Init_DIGEST takes
 *
 * Returns 0, or, with the key as it was,
 *   0x10040049  ZRC_ERR_NULL_INPUT                 unit, p, q or g is null, or user_input for a length that is not 0
 *   0x1004002B  ZRC_ERR_INVALID_INPUT              the length is negative
 *   0x10040048  ZRC_ERR_NOT_SUPPORTED              the size of q
 *   0x10040022  ZRC_ERR_INIT_DIGEST_FAIL           the digest is unknown or refused, or there is no memory for it
 *   0x1004003B  ZRC_ERR_MEM_ALLOC                  no memory for numbers
 *   0x1004001D  ZRC_ERR_GET_RAND_FAIL              the generator failed, or gave no x above 0 in many draws
 *   0x1004003E  ZRC_ERR_MOD_BIGINT_FAIL            no memory for the reduction modulo q
 *   0x10040041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL    x has no inverse modulo q, which is no prime, or no memory
 *   0x10040040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL   p is even or below 2, or no memory
 * The unit is tested before the gate, the rest after it. 0x1004005B and 0x10040018 (the digest failed) are reserved.
 */
ZRC_API uint32_t ZRC_Generate_KCDSA_Key_Pair_Ex(ZRC_KCDSA_UNIT *unit, const uint8_t *user_input,
                                                int32_t user_input_length, int32_t digest_id);

/*
 * ZRC_Generate_KCDSA_Key_Pair - the older form: HAS-160 is the digest, XKEY comes from the legacy generator. In proven
 * mode it always fails, with 0x10050025.
 *
 * Returns 0, or under its own function code (0x1005..) the codes of ZRC_Generate_KCDSA_Key_Pair_Ex, and
 *   0x10050025  ZRC_ERR_INIT_PRNG_FAIL  the legacy generator cannot be initialised
 */
ZRC_API uint32_t ZRC_Generate_KCDSA_Key_Pair(ZRC_KCDSA_UNIT *unit, const uint8_t *user_input,
                                             int32_t user_input_length);

/*
 * ZRC_Init_KCDSA - the older start of a signature, with HAS-160 and without the tests of proven mode, which refuses
 * HAS-160 itself. A digest that the unit has is kept, whatever it is, and goes on where it is. A unit without a source
 * of random values gets a legacy generator, which nothing draws from: signing uses the approved one.
 *
 *   operation  1: sign; else: verify
 *
 * Returns 0, a code of ZRC_Init_PRNG, or, with the unit as it was,
 *   0x10080049  ZRC_ERR_NULL_INPUT        unit is null (tested before the gate)
 *   0x10080022  ZRC_ERR_INIT_DIGEST_FAIL  HAS-160 is refused in proven mode, or there is no memory for it
 *   0x1008003B  ZRC_ERR_MEM_ALLOC         no memory for the digest unit, the generator or the pool
 */
ZRC_API uint32_t ZRC_Init_KCDSA(ZRC_KCDSA_UNIT *unit, uint32_t operation);

/*
 * ZRC_Init_KCDSA_Ex - start a signature. The digest unit is made when there is none; one that the unit has is kept
 * with its algorithm, and goes on where it is: then digest_id is only tested, and that in proven mode only. To change
 * the digest, clean the unit and load the key again.
 *
 *   operation  1: sign; else: verify
 *   digest_id  ZRC_SHA224 or ZRC_SHA256 in proven mode, else any digest
 *
 * Returns 0, or, with the unit as it was,
 *   0x10070049  ZRC_ERR_NULL_INPUT            unit is null (tested before the gate)
 *   0x10070048  ZRC_ERR_NOT_SUPPORTED         in proven mode: sign, and x is absent or shorter than 209 bits; or
 *                                             verify, and y is absent or shorter than 2033 bits
 *   0x100700F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  the digest is not approved, in proven mode
 *   0x10070022  ZRC_ERR_INIT_DIGEST_FAIL      the digest is unknown, or there is no memory for it
 *   0x1007003B  ZRC_ERR_MEM_ALLOC             no memory for the digest unit or the pool
 */
ZRC_API uint32_t ZRC_Init_KCDSA_Ex(ZRC_KCDSA_UNIT *unit, uint32_t operation, int32_t digest_id);

/*
 * ZRC_Update_KCDSA - feed the message, in one call: see the top of this file.
 *
 *   data    `length` bytes, 1 or more
 *
 * Returns 0, or
 *   0x10090049  ZRC_ERR_NULL_INPUT             unit, its digest or data is null, or length is below 1
 *   0x10090059  ZRC_ERR_SUB_OPERATION_FAILURE  there is no y, or no memory for the words of z
 *   0x1009003A  ZRC_ERR_MALLOC                 no memory for z
 *   0x10090058  ZRC_ERR_SUB_BIGINT_FAIL        z is longer than a block: the caller put another digest into the unit
 *   0x1009005B  ZRC_ERR_UPDATE_DIGEST_FAIL     the digest lost its record in an earlier call without memory
 */
ZRC_API uint32_t ZRC_Update_KCDSA(ZRC_KCDSA_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_KCDSA - end the message: sign or verify, as Init was told. The digest is then ready for another message.
 *
 *   R, S                when signing, receive the signature: as many bytes as a digest and ZRC_Get_KCDSA_Length
 *   R_length, S_length  receive the lengths, or hold them when verifying
 *
 * Returns 0, a code of ZRC_Sign_KCDSA or ZRC_Verify_KCDSA, or
 *   0x100A0049  ZRC_ERR_NULL_INPUT     a pointer is null
 *   0x100A0048  ZRC_ERR_NOT_SUPPORTED  in proven mode: x (sign) is shorter than 209 bits, or y (verify) than 2033
 */
ZRC_API uint32_t ZRC_Final_KCDSA(ZRC_KCDSA_UNIT *unit, uint8_t *R, int32_t *R_length, uint8_t *S, int32_t *S_length);

/*
 * ZRC_Sign_KCDSA - the signing half of ZRC_Final_KCDSA, without its test of the length of x.
 *
 *   R         receives the digest of W
 *   R_length  receives its length
 *   S         receives s, big-endian in ZRC_Get_KCDSA_Length bytes, zeros in front
 *   S_length  receives the number of bytes of s without zeros in front, made even by adding 1. This is not always the
 *             length of what was written: it is less for a short s, and 1 more for a q of an odd number of bytes.
 *             Pass on, and verify, ZRC_Get_KCDSA_Length bytes.
 *
 * Returns 0, or
 *   0x100B0049  ZRC_ERR_NULL_INPUT                an argument, p, q, x, g or the digest is null
 *   0x100B0018  ZRC_ERR_FINAL_DIGEST_FAIL         the digest failed
 *   0x100B001B  ZRC_ERR_GET_BIGINT_POOL_FAIL      no memory for temporaries
 *   0x100B001D  ZRC_ERR_GET_RAND_FAIL             no k could be drawn: q is below 2, no memory, the generator failed;
 *                                                 or s was 0 for many, as for x = 0
 *   0x100B0040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even or below 2, or no memory for the power
 *   0x100B0022  ZRC_ERR_INIT_DIGEST_FAIL          no memory for the digest, which has no record then: clean the unit
 *   0x100B0005  ZRC_ERR_BINARY_TO_BIGINT_FAIL     no memory for e
 *   0x100B0058  ZRC_ERR_SUB_BIGINT_FAIL           no memory for k - e
 *   0x100B0042  ZRC_ERR_MOD_MTP_BIGINT_FAIL       no memory for x (k - e)
 * 0x100B0059 (the sum k + q) and 0x100B005B (the digest refuses W) are reserved.
 */
ZRC_API uint32_t ZRC_Sign_KCDSA(ZRC_KCDSA_UNIT *unit, uint8_t *R, int32_t *R_length, uint8_t *S, int32_t *S_length);

/*
 * ZRC_Verify_KCDSA - the verifying half of ZRC_Final_KCDSA, without its test of the length of y. The message has ended
 * after every code but the first.
 *
 *   R_length, S_length  bytes; R has one digest, S any number of bytes, as far as the value is at most q
 *
 * Returns 0 for a good signature, or
 *   0x100C0049  ZRC_ERR_NULL_INPUT                R, S, unit, p, q, y, g or the digest is null
 *   0x100C0018  ZRC_ERR_FINAL_DIGEST_FAIL         the digest failed
 *   0x100C005E  ZRC_ERR_VERIFY_FAILURE            R is not that of the message, or not as long as a digest
 *   0x100C0059  ZRC_ERR_SUB_OPERATION_FAILURE     there is no pool, or it has no room for a frame
 *   0x100C001B  ZRC_ERR_GET_BIGINT_POOL_FAIL      no memory for temporaries
 *   0x100C0005  ZRC_ERR_BINARY_TO_BIGINT_FAIL     S_length is negative, or no memory for s or e
 *   0x100C0037  ZRC_ERR_IS_BIGINT_ZERO_FAIL       s is 0
 *   0x100C000B  ZRC_ERR_CMP_BIGINT_FAIL           s is above q
 *   0x100C0040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even, or no memory for the powers
 *   0x100C0022  ZRC_ERR_INIT_DIGEST_FAIL          no memory for the digest, which has no record then: clean the unit
 *   0x100C005B  ZRC_ERR_UPDATE_DIGEST_FAIL        W is 0, as with y = 0, and the digest refuses empty input
 * 0x100C003F (the product of the powers) is reserved: one exponentiation makes it.
 */
ZRC_API uint32_t ZRC_Verify_KCDSA(ZRC_KCDSA_UNIT *unit, const uint8_t *R, int32_t R_length, const uint8_t *S,
                                  int32_t S_length);

/*
 * ZRC_Get_KCDSA_Length - the bytes of S, as many as q has; 0 for null, without q, or after a failed self-test.
 */
ZRC_API uint32_t ZRC_Get_KCDSA_Length(const ZRC_KCDSA_UNIT *unit);

ZRC_END_DECLS

#endif

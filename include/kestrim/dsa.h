/*
 * DSA signatures (FIPS 186-4): domain parameters, keys, signing and verifying. Not approved: refused in proven mode.
 *
 *   ZRC_DSA_UNIT *unit = ZRC_New_DSA();
 *   uint8_t R[32], S[32];
 *   int32_t R_length, S_length;
 *   if (unit && ZRC_Set_DSA_Params(unit, p, q, g, x, NULL) == 0 && ZRC_Init_DSA(unit, 1, ZRC_SHA256) == 0 &&
 *       ZRC_Update_DSA(unit, message, size) == 0 && ZRC_Final_DSA(unit, R, &R_length, S, &S_length) == 0) { ... }
 *   ZRC_Free_DSA(unit);
 *
 * A signature is the pair of R and S, big-endian numbers of ZRC_Get_DSA_Length bytes each. The unit is that of the
 * KCDSA family in most respects (kestrim/kcdsa.h), with the standard followed to the letter: the message may come in
 * pieces, of a digest longer than q its leftmost bits count, and R and S have the length of q.
 *
 * What is loaded is tested as far as that costs little: lengths, ranges and orders, but not whether p and q are
 * primes, which is the affair of who made them. The time of signing and of generating keys depends on the lengths of
 * the numbers, not on what private ones hold; nonces and keys come from the approved generator, every value with the
 * same probability.
 */
#ifndef KESTRIM_DSA_H
#define KESTRIM_DSA_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"
#include "kestrim/digest.h"

ZRC_BEGIN_DECLS

typedef struct ZRC_DSA_UNIT {
    ZRC_DIGEST_UNIT *digest; /* owned */
    ZRC_BIGINT *p;           /* prime modulus; this and the numbers below are owned, and null when absent */
    ZRC_BIGINT *q;           /* prime order of g */
    ZRC_BIGINT *g;           /* generator */
    ZRC_BIGINT *x;           /* private key */
    ZRC_BIGINT *y;           /* public key, g^x mod p */
    /* How the domain parameters were generated (FIPS 186-4, A.1.1.2); seed_length is 0 when they were loaded. */
    uint8_t seed[64];       /* seed_length bytes */
    int32_t seed_length;    /* bytes */
    int32_t counter;        /* 0 and up */
    int32_t seed_digest_id; /* the digest of the generation */
    uint32_t operation;     /* 1: sign, 0: verify */
    ZRC_BIGINT_POOL *pool;  /* owned; temporaries */
    uint8_t proven;         /* ZRC_Is_Proven at Init */
} ZRC_DSA_UNIT;

/*
 * ZRC_New_DSA - a new, fresh unit, to be released with ZRC_Free_DSA; null when there is no memory.
 */
ZRC_API ZRC_DSA_UNIT *ZRC_New_DSA(void);

/*
 * ZRC_Clean_DSA - wipe and release the digest, all numbers and the record of their generation, and wipe the
 * temporaries. The unit is then as ZRC_New_DSA makes it, but `operation` stays. Does nothing for null.
 */
ZRC_API void ZRC_Clean_DSA(ZRC_DSA_UNIT *unit);

/*
 * ZRC_Free_DSA - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_DSA(ZRC_DSA_UNIT *unit);

/*
 * ZRC_Set_DSA_Params - load a key. The unit is cleaned first, its digest included, and stays clean on failure. The
 * numbers are copied; they may be the unit's own.
 *
 *   p, q, g  domain parameters: p odd, of at most 16384 bits; q odd, above 1, a divisor of p - 1; 1 < g < p - 1 and
 *            g^q = 1 mod p
 *   x        private key, 0 < x < q; null: for verifying only
 *   y        public key. With x: g^x mod p, computed when y is null, else compared. Without: 1 < y < p - 1 and
 *            y^q = 1 mod p, or null
 *
 * Returns 0, or
 *   0x0C010049  ZRC_ERR_NULL_INPUT             unit is null (tested before the gate)
 *   0x0C01002B  ZRC_ERR_INVALID_INPUT          p, q or g is null or is not as above
 *   0x0C010048  ZRC_ERR_NOT_SUPPORTED          p is too long
 *   0x0C01002E  ZRC_ERR_INVALID_KEY_PAIR       x or y is not as above
 *   0x0C01000D  ZRC_ERR_COPY_BIGINT_FAIL       no memory for a copy
 *   0x0C01003E  ZRC_ERR_MOD_BIGINT_FAIL        no memory for the remainder of p
 *   0x0C010040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  no memory for a power
 */
ZRC_API uint32_t ZRC_Set_DSA_Params(ZRC_DSA_UNIT *unit, const ZRC_BIGINT *p, const ZRC_BIGINT *q, const ZRC_BIGINT *g,
                                    const ZRC_BIGINT *x, const ZRC_BIGINT *y);

/*
 * ZRC_Generate_DSA_Params - new domain parameters p, q and g. On success the unit is cleaned, then holds them and the
 * record of the generation, from which others can repeat it: p and q are those of FIPS 186-4, A.1.1.2, with the seed,
 * as long as q, and the counter; g is the canonical generator of A.2.3 with index 1.
 *
 *   p_bits, q_bits  1024 and 160, 2048 and 224, 2048 and 256, or 3072 and 256
 *   digest_id       any digest of at least q_bits bits
 *
 * The seed and the witnesses of the primality tests come from the approved generator; p and q have passed 40, 56 or
 * 64 witnesses, for 1024, 2048 and 3072 bits (Table C.1). For 2048 bits this takes some tenths of a second.
 *
 * Returns 0, or, with the unit as it was,
 *   0x0C070049  ZRC_ERR_NULL_INPUT         unit is null (tested before the gate)
 *   0x0C070048  ZRC_ERR_NOT_SUPPORTED      another size, or the digest is too short
 *   0x0C070022  ZRC_ERR_INIT_DIGEST_FAIL   the digest is unknown or refused, or there is no memory for it
 *   0x0C07003B  ZRC_ERR_MEM_ALLOC          no memory for numbers
 *   0x0C07001D  ZRC_ERR_GET_RAND_FAIL      the generator failed
 *   0x0C070036  ZRC_ERR_IS_BIGINT_PRIME    a primality test failed for want of memory or random values
 *   0x0C070039, 0x0C070010, 0x0C070058, 0x0C070001  LEFT_SHIFT_BIGINT, DIV_BIGINT, SUB_BIGINT, ADD_BIGINT: no memory
 *                                          for 2 q, the division, p
 *   0x0C070040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  no memory for the power that is g
 * 0x0C07005B and 0x0C070018 (the digest failed) are reserved.
 */
ZRC_API uint32_t ZRC_Generate_DSA_Params(ZRC_DSA_UNIT *unit, int32_t p_bits, int32_t q_bits, int32_t digest_id);

/*
 * ZRC_Generate_DSA_Key_Pair - a new key pair x and y for the domain parameters in the unit, in place of the one that
 * it has. x is from 1 to q - 1 (FIPS 186-4, B.1.2).
 *
 * Returns 0, or, with the key as it was,
 *   0x0C080049  ZRC_ERR_NULL_INPUT                unit, p, q or g is null; the unit is tested before the gate
 *   0x0C080048  ZRC_ERR_NOT_SUPPORTED             q is below 2, or p is too long
 *   0x0C08003B  ZRC_ERR_MEM_ALLOC                 no memory for numbers
 *   0x0C08001C  ZRC_ERR_GET_RAND_DSA_BIGINT_FAIL  the generator failed, no memory for x, or q is not normalised
 *   0x0C080040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even or below 2, or no memory
 */
ZRC_API uint32_t ZRC_Generate_DSA_Key_Pair(ZRC_DSA_UNIT *unit);

/*
 * ZRC_Init_DSA - start a signature with a digest, in place of the one that the unit has: a message that was begun is
 * dropped. The key stays, and may be loaded before; loading one afterwards cleans the unit, so that Init is due
 * again.
 *
 *   operation  1: sign; else: verify
 *   digest_id  any digest
 *
 * Returns 0, the code of a failed self-test, or, with the digest and the operation as they were,
 *   0x0C020049  ZRC_ERR_NULL_INPUT            unit is null (tested before the gate)
 *   0x0C0200F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  proven mode is in force
 *   0x0C02003B  ZRC_ERR_MEM_ALLOC             no memory for the digest unit
 *   0x0C020022  ZRC_ERR_INIT_DIGEST_FAIL      the digest is unknown, or there is no memory for it
 */
ZRC_API uint32_t ZRC_Init_DSA(ZRC_DSA_UNIT *unit, uint32_t operation, int32_t digest_id);

/*
 * ZRC_Update_DSA - feed the message, in any number of pieces; none at all is the empty message.
 *
 *   data    `length` bytes, 0 or more; never null
 *
 * Returns 0, or
 *   0x0C030049  ZRC_ERR_NULL_INPUT          unit, its digest or data is null
 *   0x0C03002B  ZRC_ERR_INVALID_INPUT       length is negative
 *   0x0C03005B  ZRC_ERR_UPDATE_DIGEST_FAIL  the digest failed
 */
ZRC_API uint32_t ZRC_Update_DSA(ZRC_DSA_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_DSA - end the message: sign or verify, as Init was told. The digest is then ready for another message.
 *
 *   R, S                when signing, receive ZRC_Get_DSA_Length bytes each
 *   R_length, S_length  receive the lengths, or hold them when verifying
 *
 * Returns 0, a code of ZRC_Sign_DSA or ZRC_Verify_DSA, or
 *   0x0C040049  ZRC_ERR_NULL_INPUT  a pointer is null
 */
ZRC_API uint32_t ZRC_Final_DSA(ZRC_DSA_UNIT *unit, uint8_t *R, int32_t *R_length, uint8_t *S, int32_t *S_length);

/*
 * ZRC_Sign_DSA - the signing half of ZRC_Final_DSA.
 *
 * Returns 0, or
 *   0x0C050049  ZRC_ERR_NULL_INPUT                an argument, p, q, g or the digest is null
 *   0x0C050045  ZRC_ERR_NO_PRIVATE_VALUE          there is no x
 *   0x0C050018  ZRC_ERR_FINAL_DIGEST_FAIL         the digest failed
 *   0x0C05001B  ZRC_ERR_GET_BIGINT_POOL_FAIL      no memory for temporaries
 *   0x0C050005  ZRC_ERR_BINARY_TO_BIGINT_FAIL     no memory for the number of the digest
 *   0x0C05001C  ZRC_ERR_GET_RAND_DSA_BIGINT_FAIL  no nonce: q is below 2 or not normalised, no memory, or the
 *                                                 generator failed
 *   0x0C050040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even or below 2, or no memory for the power
 *   0x0C05003E  ZRC_ERR_MOD_BIGINT_FAIL           no memory for r
 *   0x0C050041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL   the nonce has no inverse modulo q, which is no prime, or no memory
 *   0x0C050042  ZRC_ERR_MOD_MTP_BIGINT_FAIL       no memory for s
 *   0x0C050053  ZRC_ERR_SIGN_DSA_FAIL             r or s was 0 for 128 nonces
 */
ZRC_API uint32_t ZRC_Sign_DSA(ZRC_DSA_UNIT *unit, uint8_t *R, int32_t *R_length, uint8_t *S, int32_t *S_length);

/*
 * ZRC_Verify_DSA - the verifying half of ZRC_Final_DSA. The message has ended after every code but the first two.
 *
 *   R_length, S_length  bytes, any number as far as the value is below q
 *
 * Returns 0 for a good signature, or
 *   0x0C060049  ZRC_ERR_NULL_INPUT                R, S, unit, p, q, g or the digest is null
 *   0x0C060046  ZRC_ERR_NO_PUBLIC_VALUE           there is no y
 *   0x0C060018  ZRC_ERR_FINAL_DIGEST_FAIL         the digest failed
 *   0x0C06001B  ZRC_ERR_GET_BIGINT_POOL_FAIL      no memory for temporaries
 *   0x0C060005  ZRC_ERR_BINARY_TO_BIGINT_FAIL     a length is negative, or no memory for a number
 *   0x0C060037  ZRC_ERR_IS_BIGINT_ZERO_FAIL       r or s is 0
 *   0x0C06000B  ZRC_ERR_CMP_BIGINT_FAIL           r or s is q or above
 *   0x0C060041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL   no memory for the inverse of s
 *   0x0C060042  ZRC_ERR_MOD_MTP_BIGINT_FAIL       no memory for an exponent
 *   0x0C060040  ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL  p is even or zero, or no memory for the powers
 *   0x0C06003E  ZRC_ERR_MOD_BIGINT_FAIL           no memory for v
 *   0x0C06005E  ZRC_ERR_VERIFY_FAILURE            the signature is not that of the message
 */
ZRC_API uint32_t ZRC_Verify_DSA(ZRC_DSA_UNIT *unit, const uint8_t *R, int32_t R_length, const uint8_t *S,
                                int32_t S_length);

/*
 * ZRC_Get_DSA_Length - the bytes of R and of S, as many as q has; 0 for null, without q, or after a failed self-test.
 */
ZRC_API uint32_t ZRC_Get_DSA_Length(const ZRC_DSA_UNIT *unit);

ZRC_END_DECLS

#endif

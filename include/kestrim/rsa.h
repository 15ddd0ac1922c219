/*
 * RSA keys (PKCS #1 v2.2, RFC 8017): the unit, loading and generating keys. What is done with a key stands in
 * kestrim/rsa_schemes.h.
 *
 *   ZRC_RSA_UNIT *unit = ZRC_New_RSA();
 *   ZRC_BIGINT *e = ZRC_New_BIGINT();
 *   if (ZRC_Set_BIGINT_Word(e, 65537) == 0 && ZRC_Generate_RSA_Params_Ex(unit, e, 2048, 1) == 0) { ... }
 *   ZRC_Free_BIGINT(e);
 *   ZRC_Free_RSA(unit);
 *
 * Operations with the private half are blinded by a random pair that is made once for each key, and take a time that
 * depends on the sizes of the numbers, not on what they hold. A unit belongs to one thread at a time.
 *
 * CHOOSE SIZES OF WHOLE BYTES. A modulus of 8 j + 1 bits (2049, 4097) loads and signs, but 255 of 256 of its PSS
 * signatures fail the check.
 */
#ifndef KESTRIM_RSA_H
#define KESTRIM_RSA_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"
#include "kestrim/digest.h"

ZRC_BEGIN_DECLS

/*
 * Bits of ZRC_RSA_UNIT.key_flags. They are a summary, and outlive the numbers: ZRC_Clean_RSA keeps them, and loading a
 * key need not clear those of the one before. Operations look at the pointers, too.
 */
enum {
    ZRC_RSA_HAS_N = 0x01,
    ZRC_RSA_HAS_E = 0x02,
    ZRC_RSA_HAS_D = 0x04,
    ZRC_RSA_HAS_CRT = 0x08
};

typedef struct ZRC_RSA_UNIT {
    uint32_t mode;           /* the encoding word of the last Init: see kestrim/rsa_schemes.h */
    int32_t key_flags;       /* which parts were loaded: ZRC_RSA_HAS_*; generation stores 0x1F */
    ZRC_DIGEST_UNIT *digest; /* owned; made by the first Init of a scheme */
    ZRC_BIGINT *e;           /* public exponent; this and all below are owned, and null when absent */
    ZRC_BIGINT *d;           /* private exponent */
    ZRC_BIGINT *n;           /* modulus */
    ZRC_BIGINT *p;           /* first prime, the larger one after generation */
    ZRC_BIGINT *dP;          /* d mod (p - 1) */
    ZRC_BIGINT *q;           /* second prime */
    ZRC_BIGINT *dQ;          /* d mod (q - 1) */
    ZRC_BIGINT *qInv;        /* q^-1 mod p */
    uint32_t operation;      /* 0: with the public key (encrypt, verify), 1: with the private key */
    ZRC_BIGINT_POOL *pool;   /* owned; temporaries */
    uint32_t use_crt;        /* not 0: private-key operations may use the Chinese remainder theorem */
    int32_t pss_salt_length; /* stored, and not consulted */
    ZRC_BIGINT *blinding;    /* r^e mod n */
    ZRC_BIGINT *unblinding;  /* r^-1 mod n */
} ZRC_RSA_UNIT;

/*
 * ZRC_New_RSA - a new unit without a key, to be released with ZRC_Free_RSA; null without memory. use_crt is 1.
 */
ZRC_API ZRC_RSA_UNIT *ZRC_New_RSA(void);

/*
 * ZRC_Clean_RSA - wipe and release the numbers of the key, its blinding pair and the digest unit. mode, key_flags,
 * operation, use_crt, pss_salt_length and the pool stay as they are. Returns 0, for null too.
 */
ZRC_API uint32_t ZRC_Clean_RSA(ZRC_RSA_UNIT *unit);

/*
 * ZRC_Free_RSA - clean a unit and release it. Returns 0, for null too.
 */
ZRC_API uint32_t ZRC_Free_RSA(ZRC_RSA_UNIT *unit);

/*
 * ZRC_Dup_RSA - a new unit with copies of mode, key_flags, the numbers of the key, operation and use_crt, to be
 * released with ZRC_Free_RSA. The digest unit and pss_salt_length are not copied, nor is the blinding pair, which the
 * first private operation makes anew. Null for null or without memory.
 */
ZRC_API ZRC_RSA_UNIT *ZRC_Dup_RSA(const ZRC_RSA_UNIT *unit);

/*
 * ZRC_Set_RSA_Params - load a key. The unit is cleaned; the numbers are copied, without zero words on top, and may be
 * those of the unit itself.
 *
 *   n                   the modulus
 *   e, d                the exponents; either may be null
 *   p, q, dP, dQ, qInv  the primes, d mod (p - 1), d mod (q - 1), q^-1 mod p: looked at only if all five are given.
 *                       p need not be the larger prime
 *
 * Nothing is checked here: operations check the pair (p, q, e, d) before they use it. key_flags becomes, in order:
 *   1. with all five CRT values: ZRC_RSA_HAS_CRT, whatever it was; without: 0 if it was exactly ZRC_RSA_HAS_CRT
 *   2. with d: ZRC_RSA_HAS_D is added; without: 0 if it is exactly ZRC_RSA_HAS_D
 *   3. with e: ZRC_RSA_HAS_E is added; without: 0 if it is exactly ZRC_RSA_HAS_E
 *   4. ZRC_RSA_HAS_N is added
 * All other flags survive: after a generated key, n and e alone leave 0x1F.
 *
 * If key_flags is then 4 or more, the blinding pair is made. For that e is needed, and an odd n; and random numbers
 * are drawn until one is at least n - 1 (they are below the next power of two), which takes about 2^j draws for an n
 * that starts with j ones. After a million, loading fails.
 *
 * Returns 0, the code of a failed self-test with nothing changed, or
 *   0x18010049  ZRC_ERR_NULL_INPUT             unit is null
 *   0x1801002B  ZRC_ERR_INVALID_INPUT          n is null; the unit is clean, with its flags as they were
 *   0x1801003A  ZRC_ERR_MALLOC                 no memory for the copies; likewise
 *   0x18010059  ZRC_ERR_SUB_OPERATION_FAILURE  no blinding pair: e is missing, n is even or starts with too many
 *                                              ones, or no memory; numbers and flags are those of the new key
 */
ZRC_API uint32_t ZRC_Set_RSA_Params(ZRC_RSA_UNIT *unit, const ZRC_BIGINT *n, const ZRC_BIGINT *e, const ZRC_BIGINT *d,
                                    const ZRC_BIGINT *p, const ZRC_BIGINT *q, const ZRC_BIGINT *dP,
                                    const ZRC_BIGINT *dQ, const ZRC_BIGINT *qInv);

/*
 * ZRC_Set_RSA_Public_Params - load a public key. The unit is cleaned, operation becomes 0, n and e are copied as in
 * ZRC_Set_RSA_Params, and ZRC_RSA_HAS_N and ZRC_RSA_HAS_E are added to key_flags.
 *
 * Returns 0, the code of a failed self-test with nothing changed, or
 *   0x18020049  ZRC_ERR_NULL_INPUT     unit is null
 *   0x1802002B  ZRC_ERR_INVALID_INPUT  n or e is null; the unit is clean, with its flags as they were
 *   0x1802003A  ZRC_ERR_MALLOC         no memory for the copies; likewise
 */
ZRC_API uint32_t ZRC_Set_RSA_Public_Params(ZRC_RSA_UNIT *unit, const ZRC_BIGINT *n, const ZRC_BIGINT *e);

/*
 * ZRC_Get_RSA_Length - the bytes of the modulus, (bits + 7) / 8, which is the size of ciphertexts and signatures; 0
 * without one, for null, and when the self-test fails.
 */
ZRC_API uint32_t ZRC_Get_RSA_Length(const ZRC_RSA_UNIT *unit);

/*
 * ZRC_Generate_RSA_Params_Ex - generate a key pair into a unit, from the approved generator. Numbers of an earlier key
 * are overwritten, its blinding pair is dropped.
 *
 *   e        the public exponent: an odd prime, of any size; 65537 is the usual one
 *   bits     8 or more: the bits of p and q together, of which p has one more for an odd number. n HAS AS MANY BITS,
 *            OR ONE LESS: the top bit alone of a prime is sure to be set, so about 4 of 10 keys of 2048 bits have a
 *            modulus of 2047, in which nothing is amiss. Proven mode asks for 2048
 *   version  1: d is e^-1 modulo (p - 1)(q - 1); 2: modulo the least common multiple of p - 1 and q - 1, which is
 *            found in a time that depends on the primes, as d is for an e of more than 32 bits
 *
 * Afterwards p > q, key_flags is 0x1F, and the new pair has passed a test: three bytes are encrypted and decrypted
 * with RSAES-OAEP and SHA-256, for which a modulus of fewer than 545 bits has no room. The unit is left initialised
 * for that.
 *
 * IF THE RESULT IS 0 AND key_flags IS NOT 0x1F, THERE IS NO KEY: the search for q gives up, with success, when it
 * finds p three times in a row, which takes a tiny size. Use a fresh unit, whose flags are 0 to begin with.
 *
 * Returns 0, the code of a failed self-test, the code of an arithmetic function that failed
 * (ZRC_Generate_BIGINT_Prime_Ex, for instance), 1 if the new key got no blinding pair for want of memory or of a
 * usable random number, or
 *   0x180B002B  ZRC_ERR_INVALID_INPUT         bits is negative, which is tested before the self-test; a pointer is
 *                                             null, bits is below 8, or version is neither 1 nor 2
 *   0x180B0048  ZRC_ERR_NOT_SUPPORTED         proven mode, and bits is below 2048; tested before the other arguments
 *   0x180B001B  ZRC_ERR_GET_BIGINT_POOL_FAIL  no pool, or no memory for a temporary
 *   0x180B003A  ZRC_ERR_MALLOC                no memory
 *   0x180B0036  ZRC_ERR_IS_BIGINT_PRIME       e is not a prime, or is 2
 *   0x180B0038  ZRC_ERR_KEY_GEN_FAIL          a function that the test of the pair calls failed
 *   0x180B0067  ZRC_ERR_CONDITION_TEST_FAIL   something else was decrypted
 * After the last two the unit holds the key that failed: clean it.
 */
ZRC_API uint32_t ZRC_Generate_RSA_Params_Ex(ZRC_RSA_UNIT *unit, const ZRC_BIGINT *e, int32_t bits, int32_t version);

/*
 * ZRC_Generate_RSA_Params - the same from the legacy generator (ZRC_Generate_BIGINT_Prime), tested with SHA-1, which
 * has room from 353 bits on. The codes are 0x180C002B, 0x180C001B, 0x180C003A, 0x180C0036, 0x180C0038 and 0x180C0067.
 * Proven mode has no rule for the size here, but refuses the legacy generator: 0x180C0036.
 */
ZRC_API uint32_t ZRC_Generate_RSA_Params(ZRC_RSA_UNIT *unit, const ZRC_BIGINT *e, int32_t bits, int32_t version);

/*
 * zrc_Set_RSASSA_PKCS1_PSS_SALT_Length - store a salt length in pss_salt_length. Nothing reads it: signing and
 * verifying take theirs from the mode word. Returns 0, or 1 if unit is null or length is negative.
 */
ZRC_API uint32_t zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(ZRC_RSA_UNIT *unit, int32_t length);

ZRC_END_DECLS

#endif

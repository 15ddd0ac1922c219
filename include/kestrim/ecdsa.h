/*
 * ECDSA signatures (FIPS 186-4, SEC 1) over the curves of kestrim/ecc.h. Not approved: refused in proven mode.
 *
 *   ZRC_ECDSA_UNIT *unit = ZRC_New_ECDSA();
 *   uint8_t R[66], S[66];
 *   int32_t R_length, S_length;
 *   if (unit && ZRC_Set_ECDSA_Params(unit, curve, d, NULL) == 0 && ZRC_Init_ECDSA(unit, 1, ZRC_SHA256) == 0 &&
 *       ZRC_Update_ECDSA(unit, message, size) == 0 && ZRC_Final_ECDSA(unit, R, &R_length, S, &S_length) == 0) { ... }
 *   ZRC_Free_ECDSA(unit);
 *
 * A signature is the pair of R and S, big-endian numbers of as many bytes as n has. Of the digest, the leftmost bits
 * count, as many as n has. Curves are taken as they are: check those from somewhere else with ZRC_Check_ECC_CURVE
 * first. The time of signing and of generating keys depends on the lengths of the numbers, not on what private ones
 * hold; only how many nonces were drawn until one was below n shows, which tells nothing about the one that was taken.
 */
#ifndef KESTRIM_ECDSA_H
#define KESTRIM_ECDSA_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"
#include "kestrim/digest.h"
#include "kestrim/ecc.h"

ZRC_BEGIN_DECLS

/* Function numbers of ZRC_L_ECDSA beside those of kestrim/error.h and kestrim/ecc.h. */
enum {
    ZRC_F_SET_ECDSA_PARAMS = 15,
    ZRC_F_GENERATE_ECDSA_KEY_PAIR = 16
};

typedef struct ZRC_ECDSA_UNIT {
    ZRC_DIGEST_UNIT *digest; /* owned */
    ZRC_ECC_CURVE *curve;    /* owned, like all below; null when absent */
    ZRC_BIGINT *d;           /* private key */
    ZRC_ECC_POINT *Q;        /* public key, d G */
    uint32_t operation;      /* 1: sign, 0: verify */
    ZRC_BIGINT_POOL *pool;   /* temporaries */
    uint8_t proven;          /* ZRC_Is_Proven at Init */
} ZRC_ECDSA_UNIT;

/*
 * ZRC_New_ECDSA - a new, fresh unit, to be released with ZRC_Free_ECDSA; null when there is no memory.
 */
ZRC_API ZRC_ECDSA_UNIT *ZRC_New_ECDSA(void);

/*
 * ZRC_Clean_ECDSA - wipe and release the digest, the curve and the keys, and wipe the temporaries. `operation` stays.
 * Does nothing for null.
 */
ZRC_API void ZRC_Clean_ECDSA(ZRC_ECDSA_UNIT *unit);

/*
 * ZRC_Free_ECDSA - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_ECDSA(ZRC_ECDSA_UNIT *unit);

/*
 * ZRC_Set_ECDSA_Params - load a curve and a key. The unit is cleaned first, its digest included, and stays clean on
 * failure. Everything is copied, and may be the unit's own.
 *
 *   d  private key, 1 to n - 1; null: for verifying only
 *   Q  public key, which passes ZRC_Check_ECC_POINT; null: computed from d, or absent when d is null too. Beside d, it
 *      has to be d G
 *
 * Returns 0, the code of a failed self-test, or
 *   0x210F0049  ZRC_ERR_NULL_INPUT        unit is null (tested before the gate)
 *   0x210F002B  ZRC_ERR_INVALID_INPUT     the curve is null or has no parameters, or Q has no coordinates
 *   0x210F002E  ZRC_ERR_INVALID_KEY_PAIR  d is out of range, or Q is not d G, not on the curve, infinity (d G, too,
 *                                         where n is not the order of G), or not of order n
 *   0x210F000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory for a copy of d or Q
 *   0x210F003B  ZRC_ERR_MEM_ALLOC         no memory for the curve, or for d G
 */
ZRC_API uint32_t ZRC_Set_ECDSA_Params(ZRC_ECDSA_UNIT *unit, const ZRC_ECC_CURVE *curve, const ZRC_BIGINT *d,
                                      const ZRC_ECC_POINT *Q);

/*
 * ZRC_Generate_ECDSA_Key_Pair - a new key pair: d from the approved generator, all values from 1 to n - 1 with the
 * same probability, and Q = d G. On success the unit is cleaned, then holds the curve and the key; on failure it is as
 * it was.
 *
 *   curve  null: the one that the unit has
 *
 * Returns 0, the code of a failed self-test, or
 *   0x21100049  ZRC_ERR_NULL_INPUT        unit is null (tested before the gate); or there is no curve with parameters
 *   0x2110003B  ZRC_ERR_MEM_ALLOC         no memory for the curve, d or Q
 *   0x2110001D  ZRC_ERR_GET_RAND_FAIL     the generator failed, or no memory for d
 *   0x2110002E  ZRC_ERR_INVALID_KEY_PAIR  d G is infinity: n is not the order of G
 */
ZRC_API uint32_t ZRC_Generate_ECDSA_Key_Pair(ZRC_ECDSA_UNIT *unit, const ZRC_ECC_CURVE *curve);

/*
 * ZRC_Init_ECDSA - start a signature with a digest, in place of the one that the unit has: a message that was begun is
 * dropped. The key stays, and may be loaded before; loading one afterwards cleans the unit, so that Init is due
 * again.
 *
 *   operation  1: sign; else: verify
 *   digest_id  any digest
 *
 * Returns 0, the code of a failed self-test, or, with the digest and the operation as they were,
 *   0x21010049  ZRC_ERR_NULL_INPUT            unit is null (tested before the gate)
 *   0x210100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  in proven mode, always
 *   0x21010022  ZRC_ERR_INIT_DIGEST_FAIL      the digest is unknown, or there is no memory for it
 *   0x2101003B  ZRC_ERR_MEM_ALLOC             no memory for the digest unit
 */
ZRC_API uint32_t ZRC_Init_ECDSA(ZRC_ECDSA_UNIT *unit, uint32_t operation, int32_t digest_id);

/*
 * ZRC_Update_ECDSA - feed `length` bytes of the message, in as many pieces as one likes.
 *
 * Returns 0, or
 *   0x21020049  ZRC_ERR_NULL_INPUT          unit, its digest or data is null
 *   0x2102002B  ZRC_ERR_INVALID_INPUT       the length is negative
 *   0x2102005B  ZRC_ERR_UPDATE_DIGEST_FAIL  the digest failed
 */
ZRC_API uint32_t ZRC_Update_ECDSA(ZRC_ECDSA_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_ECDSA - end the message: sign or verify, as Init was told. Another message can follow at once.
 *
 * Returns the code of ZRC_Sign_ECDSA or ZRC_Verify_ECDSA, which is given the lengths behind the pointers, or
 *   0x21030049  ZRC_ERR_NULL_INPUT  an argument is null
 */
ZRC_API uint32_t ZRC_Final_ECDSA(ZRC_ECDSA_UNIT *unit, uint8_t *R, int32_t *R_length, uint8_t *S, int32_t *S_length);

/*
 * ZRC_Sign_ECDSA - the signing half of ZRC_Final_ECDSA. k is drawn from the approved generator, all values from 1 to
 * n - 1 with the same probability, and anew while r or s is 0.
 *
 *   R, S                receive ZRC_Get_ECDSA_Length bytes each
 *   R_length, S_length  receive that length
 *
 * Returns 0, or, with the arguments as they were,
 *   0x21040049  ZRC_ERR_NULL_INPUT                an argument, the digest or the curve is null
 *   0x21040045  ZRC_ERR_NO_PRIVATE_VALUE          there is no d
 *   0x21040018  ZRC_ERR_FINAL_DIGEST_FAIL         the digest failed
 *   0x2104001B  ZRC_ERR_GET_BIGINT_POOL_FAIL      no memory for temporaries
 *   0x21040005  ZRC_ERR_BINARY_TO_BIGINT_FAIL     no memory for the digest as a number
 *   0x2104001D  ZRC_ERR_GET_RAND_FAIL             the generator failed, or no memory for k
 *   0x21040041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL   n is not prime, and k has no inverse
 *   0x21040016  ZRC_ERR_EXPAND_BIGINT_WORD        no memory for r or s
 *   0x21040054  ZRC_ERR_SIGN_FAILURE              r or s was 0 for many k: the curve is none
 */
ZRC_API uint32_t ZRC_Sign_ECDSA(ZRC_ECDSA_UNIT *unit, uint8_t *R, int32_t *R_length, uint8_t *S, int32_t *S_length);

/*
 * ZRC_Verify_ECDSA - the verifying half of ZRC_Final_ECDSA.
 *
 *   R_length, S_length  bytes; any number of them, as far as the values are below n
 *
 * Returns 0 for a good signature, or
 *   0x21050049  ZRC_ERR_NULL_INPUT               R, S, unit, the digest or the curve is null
 *   0x21050046  ZRC_ERR_NO_PUBLIC_VALUE          there is no Q
 *   0x21050018  ZRC_ERR_FINAL_DIGEST_FAIL        the digest failed
 *   0x2105001B  ZRC_ERR_GET_BIGINT_POOL_FAIL     no memory for temporaries
 *   0x21050005  ZRC_ERR_BINARY_TO_BIGINT_FAIL    a length is negative, or no memory for a number
 *   0x21050037  ZRC_ERR_IS_BIGINT_ZERO_FAIL      r or s is 0
 *   0x2105000B  ZRC_ERR_CMP_BIGINT_FAIL          r or s is not below n
 *   0x2105003B  ZRC_ERR_MEM_ALLOC                no memory for the inverse of s
 *   0x21050041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL  no memory to compute it
 *   0x2105005E  ZRC_ERR_VERIFY_FAILURE           r is not that of the message
 */
ZRC_API uint32_t ZRC_Verify_ECDSA(ZRC_ECDSA_UNIT *unit, const uint8_t *R, int32_t R_length, const uint8_t *S,
                                  int32_t S_length);

/*
 * ZRC_Get_ECDSA_Length - the bytes of R, and of S, as many as n has; 0 for null, without a curve, or after a failed
 * self-test.
 */
ZRC_API uint32_t ZRC_Get_ECDSA_Length(const ZRC_ECDSA_UNIT *unit);

ZRC_END_DECLS

#endif

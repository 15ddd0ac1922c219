/*
 * DES (FIPS 46-3) and triple DES in its encrypt-decrypt-encrypt form (SP 800-67), one 8-byte block at a time. Most
 * callers want the block cipher unit, which also does modes of operation and padding.
 *
 * A schedule is key material: its owner wipes it. The transforms look tables up at key-dependent places, which is in
 * the nature of DES in software: they do not run in constant time.
 */
#ifndef KESTRIM_DES_H
#define KESTRIM_DES_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * Sixteen round keys in the order of use: 128 bytes. Each is cut into the six bits for every S-box, which are the
 * low ones of a byte, S1 and S2 in the highest: word 0 for S1, S3, S5, S7, word 1 for S2, S4, S6, S8. A decryption
 * schedule has the round keys in reverse order.
 */
typedef struct ZRC_DES_KEY {
    uint32_t round_key[16][2];
} ZRC_DES_KEY;

/* The schedules of the three passes in the order of use: 384 bytes. */
typedef struct ZRC_DES_EDE_KEY {
    ZRC_DES_KEY slot[3];
} ZRC_DES_EDE_KEY;

/*
 * zrc_Init_Encrypt_DES_Key - expand a key.
 *
 *   key        8 bytes; the parity bit of each (its lowest) is ignored, and weak keys are accepted
 *   direction  1 for an encryption schedule, 0 for a decryption schedule; with any other value the schedule is left
 *              as it was, and the function returns 0
 *
 * Returns 0, or
 *   0x0801002B  ZRC_ERR_INVALID_INPUT  key or schedule is null
 */
ZRC_API uint32_t zrc_Init_Encrypt_DES_Key(const uint8_t *key, ZRC_DES_KEY *schedule, uint16_t direction);

/*
 * zrc_DES_Encrypt_Block - transform the 8 bytes at `in` to the 8 bytes at `out`, which may be the same buffer:
 * encryption or decryption, as the schedule was made. Does nothing when an argument is null.
 */
ZRC_API void zrc_DES_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_DES_KEY *schedule);

/*
 * zrc_Init_Encrypt_DES_EDE_KEY - expand a key of two or three parts for triple DES, which encrypts x to
 * E(K3, D(K2, E(K1, x))).
 *
 *   key         K1, K2 and K3 of 8 bytes each, parts as for DES
 *   key_length  bytes: 24, or 16 for two-key triple DES with K3 = K1
 *   direction   1 for an encryption schedule, 0 for a decryption schedule; with any other value the schedule is left
 *               as it was, and the function returns 0
 *
 * Returns 0, or
 *   0x0807002B  ZRC_ERR_INVALID_INPUT     key or schedule is null, or key_length is neither 16 nor 24 (tested before
 *                                         the direction; the library number of single DES is wanted)
 *   0x08070024  ZRC_ERR_INIT_KEY_FAILURE  the expansion of a part failed
 */
ZRC_API uint32_t zrc_Init_Encrypt_DES_EDE_KEY(const uint8_t *key, uint32_t key_length, ZRC_DES_EDE_KEY *schedule,
                                              uint16_t direction);

/*
 * DES_EDE_encrypt_block - the transforms of the three slots, one after the other, on the 8 bytes at `in`; the result
 * goes to `out`, which may be the same buffer. Does nothing when an argument is null.
 */
ZRC_API void DES_EDE_encrypt_block(const uint8_t *in, uint8_t *out, const ZRC_DES_EDE_KEY *schedule);

ZRC_END_DECLS

#endif

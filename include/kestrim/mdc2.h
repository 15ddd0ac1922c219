/*
 * MDC-2 with DES (ISO/IEC 10118-2) over a caller-owned state record. Most callers want the digest unit
 * (kestrim/digest.h). Refused in proven mode.
 *
 * Padding is zero bytes up to a multiple of 8 and nothing for a message that is one, so messages that differ only by
 * trailing zero bytes inside the last block have the same digest.
 */
#ifndef KESTRIM_MDC2_H
#define KESTRIM_MDC2_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* 32 bytes, flat: copying it is an exact snapshot. */
typedef struct ZRC_MDC2_STATE {
    uint32_t buffer_count; /* bytes in buffer, 0..7 between calls */
    uint8_t buffer[8];     /* input waiting for a whole block */
    uint8_t h[8];          /* first chain, initially 0x52 */
    uint8_t hh[8];         /* second chain, initially 0x25 */
    uint32_t pad_type;     /* 1: zero bytes; 2: 0x80, then zero bytes, also for a whole number of blocks */
} ZRC_MDC2_STATE;

/* Sixteen round keys of the DES core, in the order of use and in the core's own bit arrangement. */
typedef struct ZRC_MDC2_DES_KEY {
    uint32_t round_key[16][2];
} ZRC_MDC2_DES_KEY;

/*
 * zrc_Init_MDC2 - start a message; pad type 1.
 *
 * Returns 0, or
 *   0x130100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  proven mode is in force (tested first, before the gate)
 *   0x13010049  ZRC_ERR_NULL_INPUT            state is null
 */
ZRC_API uint32_t zrc_Init_MDC2(ZRC_MDC2_STATE *state);

/*
 * zrc_Update_MDC2 - absorb `length` bytes; 0 changes nothing.
 *
 * Returns 0, or
 *   0x13020049  ZRC_ERR_NULL_INPUT             state is null, or data is null and length is not 0
 *   0x13020059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's buffer count is above 7
 */
ZRC_API uint32_t zrc_Update_MDC2(ZRC_MDC2_STATE *state, const uint8_t *data, uint32_t length);

/*
 * zrc_Final_MDC2 - pad, and write 16 bytes of digest. Call Init before the next message.
 *
 * Returns 0, or
 *   0x13030049  ZRC_ERR_NULL_INPUT             state or output is null
 *   0x13030059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's buffer count is above 8, or is 8 with pad type 2
 */
ZRC_API uint32_t zrc_Final_MDC2(ZRC_MDC2_STATE *state, uint8_t *output);

/*
 * mdc2_comp - compress `length` bytes, a multiple of 8 (an incomplete block at the end is ignored).
 *
 * Returns 0, or
 *   0x13020049  ZRC_ERR_NULL_INPUT  state is null, or data is null and length is not 0
 */
ZRC_API uint32_t mdc2_comp(ZRC_MDC2_STATE *state, const uint8_t *data, uint32_t length);

/*
 * init_MDC2_DES_KEY - expand 8 key bytes (FIPS 46-3; parity bits are ignored). Does nothing when an argument is
 * null. The caller wipes the round keys.
 */
ZRC_API void init_MDC2_DES_KEY(const uint8_t *key, ZRC_MDC2_DES_KEY *round_keys);

/*
 * encrypt_MDC2_DES_Block - encrypt 8 bytes in place. Does nothing when an argument is null.
 */
ZRC_API void encrypt_MDC2_DES_Block(uint8_t *block, const ZRC_MDC2_DES_KEY *round_keys);

ZRC_END_DECLS

#endif

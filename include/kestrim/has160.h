/*
 * HAS-160 (TTAS.KO-12.0011/R2) over a caller-owned state record. Most callers want the digest unit
 * (kestrim/digest.h), which refuses it in proven mode.
 */
#ifndef KESTRIM_HAS160_H
#define KESTRIM_HAS160_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* 92 bytes, flat: copying it is an exact snapshot. The buffered bytes number (bit_count_low / 8) mod 64. */
typedef struct ZRC_HAS160_STATE {
    uint32_t h[5];           /* chaining value */
    uint32_t bit_count_low;  /* message bits, low word */
    uint32_t bit_count_high; /* message bits, high word: see zrc_Update_HAS160 */
    uint8_t buffer[64];      /* input waiting for a whole block */
} ZRC_HAS160_STATE;

/*
 * zrc_Init_HAS160 - start a message.
 *
 * Returns 0, or
 *   0x0E010049  ZRC_ERR_NULL_INPUT  state is null (tested before the gate)
 */
ZRC_API uint32_t zrc_Init_HAS160(ZRC_HAS160_STATE *state);

/*
 * zrc_Update_HAS160 - absorb `length` bytes, at least 1. The low word of the bit count passes no carry into the high
 * word, on purpose: the high word counts only the top bits of each single length, so a message of 512 MiB or more in
 * several pieces has another digest than in one.
 *
 * Returns 0, or
 *   0x0E020049  ZRC_ERR_NULL_INPUT     state is null, or data is null and length is not 0
 *   0x0E02002B  ZRC_ERR_INVALID_INPUT  length is 0
 */
ZRC_API uint32_t zrc_Update_HAS160(ZRC_HAS160_STATE *state, const uint8_t *data, uint32_t length);

/*
 * zrc_Final_HAS160 - pad, and write 20 bytes of digest. Call Init before the next message.
 *
 * Returns 0, or
 *   0x0E030049  ZRC_ERR_NULL_INPUT  state or output is null
 */
ZRC_API uint32_t zrc_Final_HAS160(ZRC_HAS160_STATE *state, uint8_t *output);

/*
 * comp_HAS160 - compress one 64-byte block into the record's chaining value; nothing else in the record changes.
 *
 * Returns 0, or
 *   0x0E020049  ZRC_ERR_NULL_INPUT  state or block is null
 */
ZRC_API uint32_t comp_HAS160(ZRC_HAS160_STATE *state, const uint8_t *block);

ZRC_END_DECLS

#endif

/*
 * MD5 (RFC 1321) over a caller-owned state record. Most callers want the digest unit (kestrim/digest.h). MD5 is
 * broken as a collision-resistant digest and is refused by the digest unit in proven mode.
 */
#ifndef KESTRIM_MD5_H
#define KESTRIM_MD5_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* 160 bytes, flat: copying it is an exact snapshot. */
typedef struct ZRC_MD5_STATE {
    uint8_t work_block[64]; /* where Final assembles the padded last block */
    uint32_t bit_count[2];  /* message bits compressed so far, low word first */
    uint32_t work_count;    /* bytes already placed in work_block */
    uint32_t h[4];          /* chaining words A to D */
    uint8_t buffer[64];     /* input waiting for a whole block */
    uint32_t buffer_count;  /* bytes in buffer, 0..63 between calls */
} ZRC_MD5_STATE;

/*
 * zrc_Init_MD5 - start a message.
 *
 * Returns 0, or
 *   0x12010049  ZRC_ERR_NULL_INPUT  state is null (tested before the gate)
 */
ZRC_API uint32_t zrc_Init_MD5(ZRC_MD5_STATE *state);

/*
 * zrc_Update_MD5 - absorb `length` bytes, at least 1.
 *
 * Returns 0, or
 *   0x12020049  ZRC_ERR_NULL_INPUT             state or data is null
 *   0x1202002B  ZRC_ERR_INVALID_INPUT          length is 0
 *   0x12020059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's work count or buffer count is above 64
 */
ZRC_API uint32_t zrc_Update_MD5(ZRC_MD5_STATE *state, const uint8_t *data, uint32_t length);

/*
 * zrc_Final_MD5 - pad, and write 16 bytes of digest. Call Init before the next message.
 *
 * Returns 0, or
 *   0x12030049  ZRC_ERR_NULL_INPUT             state or output is null
 *   0x12030059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's work count is above 63 or its buffer count above 64
 */
ZRC_API uint32_t zrc_Final_MD5(ZRC_MD5_STATE *state, uint8_t *output);

/*
 * comp_MD5 - compress one 64-byte block into the record's chaining words; nothing else in the record changes.
 *
 * Returns 0, or
 *   0x12020049  ZRC_ERR_NULL_INPUT  state or block is null
 */
ZRC_API uint32_t comp_MD5(ZRC_MD5_STATE *state, const uint8_t *block);

ZRC_END_DECLS

#endif

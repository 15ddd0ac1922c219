/*
 * SHA-1, SHA-224, SHA-256, SHA-384 and SHA-512 (FIPS 180-4) over caller-owned state records. Most callers want the
 * digest unit (kestrim/digest.h), which drives these functions and owns the record.
 *
 * The records are flat: copying one is an exact snapshot of the message so far. Messages below 2^64 bits.
 */
#ifndef KESTRIM_SHA_H
#define KESTRIM_SHA_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* SHA-1: 164 bytes. */
typedef struct ZRC_SHA1_STATE {
    uint32_t bit_count[2];  /* message bits compressed so far, low word first */
    uint32_t work_count;    /* bytes already placed in work_block */
    uint32_t h[5];          /* chaining value */
    uint8_t work_block[64]; /* where Final assembles the padded last block */
    uint8_t buffer[64];     /* input waiting for a whole block */
    uint32_t buffer_count;  /* bytes in buffer, 0..63 between calls */
} ZRC_SHA1_STATE;

/* SHA-224 and SHA-256: 176 bytes. */
typedef struct ZRC_SHA256_STATE {
    uint32_t bit_count[2];
    uint32_t work_count;
    uint32_t h[8];
    uint8_t work_block[64];
    uint8_t buffer[64];
    uint32_t buffer_count;
} ZRC_SHA256_STATE;

/* SHA-384 and SHA-512: 336 bytes. */
typedef struct ZRC_SHA512_STATE {
    uint32_t bit_count[2];
    uint32_t work_count;
    uint32_t h[16]; /* eight 64-bit words, each low half first */
    uint8_t work_block[128];
    uint8_t buffer[128];
    uint32_t buffer_count; /* bytes in buffer, 0..127 between calls */
} ZRC_SHA512_STATE;

/*
 * zrc_Init_SHA* - start a message: the standard's initial value, no data. The gate comes before the test of the record.
 *
 * Returns 0, or
 *   0x1B010049, 0x1B050049, 0x1B080049, 0x1B0C0049, 0x1B0F0049  ZRC_ERR_NULL_INPUT  state is null
 *   (SHA-1, SHA-224, SHA-256, SHA-384, SHA-512)
 */
ZRC_API uint32_t zrc_Init_SHA1(ZRC_SHA1_STATE *state);
ZRC_API uint32_t zrc_Init_SHA224(ZRC_SHA256_STATE *state);
ZRC_API uint32_t zrc_Init_SHA256(ZRC_SHA256_STATE *state);
ZRC_API uint32_t zrc_Init_SHA384(ZRC_SHA512_STATE *state);
ZRC_API uint32_t zrc_Init_SHA512(ZRC_SHA512_STATE *state);

/*
 * zrc_Update_SHA* - absorb `length` bytes; 0 changes nothing. data is never null, not even for length 0.
 *
 * Returns 0, or
 *   SHA-1    0x1B020049  ZRC_ERR_NULL_INPUT             state or data is null, or the record's work count is above 64
 *            0x1B020059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's buffer count is above 64
 *   SHA-224  0x1B060049  ZRC_ERR_NULL_INPUT             state or data is null
 *            0x1B06005C  ZRC_ERR_UPDATE_FAILURE         the record is inconsistent
 *   SHA-256  0x1B090049  ZRC_ERR_NULL_INPUT             state or data is null
 *            0x1B090006  ZRC_ERR_BUF_TOO_SMALL          the record's work count is above 64
 *            0x1B090059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's buffer count is above 64
 *   SHA-384  0x1B0D0049  ZRC_ERR_NULL_INPUT             state or data is null
 *            0x1B0D005C  ZRC_ERR_UPDATE_FAILURE         the record is inconsistent
 *   SHA-512  0x1B200049  ZRC_ERR_NULL_INPUT             state or data is null, or the work count is above 128
 *            0x1B200059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's buffer count is above 128
 */
ZRC_API uint32_t zrc_Update_SHA1(ZRC_SHA1_STATE *state, const uint8_t *data, uint32_t length);
ZRC_API uint32_t zrc_Update_SHA224(ZRC_SHA256_STATE *state, const uint8_t *data, uint32_t length);
ZRC_API uint32_t zrc_Update_SHA256(ZRC_SHA256_STATE *state, const uint8_t *data, uint32_t length);
ZRC_API uint32_t zrc_Update_SHA384(ZRC_SHA512_STATE *state, const uint8_t *data, uint32_t length);
ZRC_API uint32_t zrc_Update_SHA512(ZRC_SHA512_STATE *state, const uint8_t *data, uint32_t length);

/*
 * zrc_Final_SHA* - pad, and write 20, 28, 32, 48 or 64 bytes of digest. The record keeps its chaining value and bit
 * count and loses its data; call Init before the next message.
 *
 * Returns 0, or
 *   SHA-1    0x1B030049  ZRC_ERR_NULL_INPUT             state or output is null
 *            0x1B030006  ZRC_ERR_BUF_TOO_SMALL          the record's work count is above 63
 *            0x1B030059  ZRC_ERR_SUB_OPERATION_FAILURE  the record's buffer count is above 64
 *   SHA-224  0x1B070049  ZRC_ERR_NULL_INPUT             state or output is null
 *            0x1B070019  ZRC_ERR_FINAL_FAILURE          the record is inconsistent
 *   SHA-256  0x1B0A0049  ZRC_ERR_NULL_INPUT             state or output is null
 *            0x1B0A0059  ZRC_ERR_SUB_OPERATION_FAILURE  the record is inconsistent
 *   SHA-384  0x1B0E0049  ZRC_ERR_NULL_INPUT             state or output is null, or the work count is above 127
 *            0x1B210059  ZRC_ERR_SUB_OPERATION_FAILURE  the buffer count is above 128 (SHA-512's number, on purpose)
 *   SHA-512  0x1B210049  ZRC_ERR_NULL_INPUT             state or output is null, or the work count is above 127
 *            0x1B030059  ZRC_ERR_SUB_OPERATION_FAILURE  the buffer count is above 128 (SHA-1's number, on purpose)
 */
ZRC_API uint32_t zrc_Final_SHA1(ZRC_SHA1_STATE *state, uint8_t *output);
ZRC_API uint32_t zrc_Final_SHA224(ZRC_SHA256_STATE *state, uint8_t *output);
ZRC_API uint32_t zrc_Final_SHA256(ZRC_SHA256_STATE *state, uint8_t *output);
ZRC_API uint32_t zrc_Final_SHA384(ZRC_SHA512_STATE *state, uint8_t *output);
ZRC_API uint32_t zrc_Final_SHA512(ZRC_SHA512_STATE *state, uint8_t *output);

/*
 * comp_SHA* - compress one block of 64 (SHA-1, SHA-256) or 128 bytes (SHA-512) into the record's chaining value;
 * nothing else in the record changes.
 *
 * Returns 0, or
 *   0x1B040049, 0x1B0B0049, 0x1B200049  ZRC_ERR_NULL_INPUT  state or block is null (SHA-1, SHA-256, SHA-512)
 */
ZRC_API uint32_t comp_SHA1(ZRC_SHA1_STATE *state, const uint8_t *block);
ZRC_API uint32_t comp_SHA256(ZRC_SHA256_STATE *state, const uint8_t *block);
ZRC_API uint32_t comp_SHA512(ZRC_SHA512_STATE *state, const uint8_t *block);

ZRC_END_DECLS

#endif

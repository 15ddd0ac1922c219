/*
 * RC5-32/16 (RFC 2040: 32-bit words, 16 rounds), one 8-byte block at a time. Most callers want the block cipher
 * unit, which also does modes of operation and padding.
 *
 * A schedule is key material: its owner wipes it.
 */
#ifndef KESTRIM_RC5_H
#define KESTRIM_RC5_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* The expanded key, for both directions: 140 bytes. */
typedef struct ZRC_RC5_KEY {
    uint32_t round_key[34]; /* S[0] to S[33] of the RFC */
    uint32_t rounds;        /* 16; not looked at by the transforms */
} ZRC_RC5_KEY;

/*
 * zrc_Init_Encrypt_RC5_Key - expand a key.
 *
 *   key         key_length bytes; never null, not even for length 0
 *   key_length  0 to 255; the unit's keys have 16
 *
 * Returns 0, or
 *   0x1701002B  ZRC_ERR_INVALID_INPUT  key or schedule is null, or key_length is above 255
 */
ZRC_API uint32_t zrc_Init_Encrypt_RC5_Key(const uint8_t *key, uint32_t key_length, ZRC_RC5_KEY *schedule);

/*
 * zrc_RC5_Encrypt_Block, zrc_RC5_Decrypt_Block - transform the 8 bytes at `in` to the 8 bytes at `out`, which may be
 * the same buffer. Nothing is done when an argument is null.
 */
ZRC_API void zrc_RC5_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_RC5_KEY *schedule);
ZRC_API void zrc_RC5_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_RC5_KEY *schedule);

ZRC_END_DECLS

#endif

/*
 * Blowfish (B. Schneier, 1993) with 16 rounds, one 8-byte block at a time. Most callers want the block cipher unit,
 * which also does modes of operation and padding.
 *
 * A schedule is key material: its owner wipes it. The S-boxes are part of it and looked up at places that depend on
 * key and data, which is in the nature of Blowfish: it does not run in constant time.
 */
#ifndef KESTRIM_BLOWFISH_H
#define KESTRIM_BLOWFISH_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* The expanded key, for both directions: 4168 bytes. */
typedef struct ZRC_BF_KEY {
    uint32_t p[18];
    uint32_t s[4][256];
} ZRC_BF_KEY;

/*
 * zrc_Init_Encrypt_BF_Key - expand a key: 521 encryptions, so keys that are used again are worth keeping expanded.
 *
 *   key         key_length bytes
 *   key_length  1 to 72
 *
 * Returns 0, or
 *   0x0301002B  ZRC_ERR_INVALID_INPUT  key or schedule is null, or key_length is out of its range
 */
ZRC_API uint32_t zrc_Init_Encrypt_BF_Key(const uint8_t *key, uint32_t key_length, ZRC_BF_KEY *schedule);

/*
 * zrc_BF_Encrypt_Block, zrc_BF_Decrypt_Block - transform the 8 bytes at `in` to the 8 bytes at `out`, which may be
 * the same buffer. Nothing is done when an argument is null.
 */
ZRC_API void zrc_BF_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_BF_KEY *schedule);
ZRC_API void zrc_BF_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_BF_KEY *schedule);

ZRC_END_DECLS

#endif

/*
 * RC2 (RFC 2268), one 8-byte block at a time. Most callers want the block cipher unit, which also does modes of
 * operation and padding.
 *
 * A schedule is key material: its owner wipes it. Key expansion and transforms look tables up at key-dependent
 * places, which is in the nature of RC2: they do not run in constant time.
 */
#ifndef KESTRIM_RC2_H
#define KESTRIM_RC2_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* The expanded key, for both directions: 144 bytes. */
typedef struct ZRC_RC2_KEY {
    uint16_t round_key[64];  /* K[0] to K[63] of the RFC */
    uint32_t effective_bits; /* as asked for; not looked at by the transforms */
    uint32_t reserved[3];    /* 0 */
} ZRC_RC2_KEY;

/*
 * zrc_Init_Encrypt_RC2_Key - expand a key.
 *
 *   key             key_length bytes
 *   key_length      1 to 128
 *   effective_bits  bits of strength to which the expanded key is cut: 1 to 1024
 *
 * Returns 0, or
 *   0x1500002B  ZRC_ERR_INVALID_INPUT  key or schedule is null, or a number is out of its range (no function number,
 *                                      on purpose)
 */
ZRC_API uint32_t zrc_Init_Encrypt_RC2_Key(const uint8_t *key, uint32_t key_length, uint32_t effective_bits,
                                          ZRC_RC2_KEY *schedule);

/*
 * zrc_RC2_Encrypt_Block, zrc_RC2_Decrypt_Block - transform the 8 bytes at `in` to the 8 bytes at `out`, which may be
 * the same buffer. Nothing is done when an argument is null.
 */
ZRC_API void zrc_RC2_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_RC2_KEY *schedule);
ZRC_API void zrc_RC2_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_RC2_KEY *schedule);

ZRC_END_DECLS

#endif

/*
 * ARIA (RFC 5794, KS X 1213): key schedules and single blocks of 16 bytes, with keys of 16, 24 or 32 bytes. Most
 * callers want the block cipher unit, which owns the schedule and adds the modes.
 */
#ifndef KESTRIM_ARIA_H
#define KESTRIM_ARIA_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * Key schedule: 548 bytes. Each half holds up to 17 round keys of four words, most significant byte first; each of the
 * two functions below fills one. The schedule is key material: wipe it after use.
 */
typedef struct ZRC_ARIA_KEY {
    uint32_t encrypt[68];
    uint32_t decrypt[68];
    uint32_t rounds; /* 12, 14 or 16 for keys of 16, 24 or 32 bytes; anything else: not keyed */
} ZRC_ARIA_KEY;

/*
 * zrc_Init_*_ARIA_Key - fill the half of one direction, zero behind its last round key, and the number of rounds. The
 * other half stays as it is, so clear a new schedule first; one keyed by both functions serves both directions.
 *
 *   key         `key_length` bytes
 *   key_length  bytes: 16, 24 or 32
 *
 * Returns 0, or
 *   0x0201002B  ZRC_ERR_INVALID_INPUT  key or schedule is null, or the length is another; the schedule is unchanged
 */
ZRC_API uint32_t zrc_Init_Encrypt_ARIA_Key(const uint8_t *key, uint32_t key_length, ZRC_ARIA_KEY *schedule);
ZRC_API uint32_t zrc_Init_Decrypt_ARIA_Key(const uint8_t *key, uint32_t key_length, ZRC_ARIA_KEY *schedule);

/*
 * zrc_ARIA_*_Block - one block of 16 bytes; in and out may be the same. Encryption uses the first half of the
 * schedule, decryption the second: a schedule keyed for the other direction gives wrong output. With a schedule that
 * is not keyed nothing is done. No pointer is null; nothing else is checked.
 */
ZRC_API void zrc_ARIA_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_ARIA_KEY *schedule);
ZRC_API void zrc_ARIA_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_ARIA_KEY *schedule);

/*
 * set_*_key - write the round keys of one direction, four words for each of rounds + 1 keys (52, 60 or 68 words).
 *
 *   key       `key_bits` bits
 *   key_bits  128, 192 or 256
 *
 * Returns the number of rounds, 12, 14 or 16; or 0, with nothing written, when a pointer is null or key_bits another.
 */
ZRC_API uint32_t set_encrypt_key(const uint8_t *key, uint32_t *round_keys, uint32_t key_bits);
ZRC_API uint32_t set_decrypt_key(const uint8_t *key, uint32_t *round_keys, uint32_t key_bits);

/*
 * printBlock, printBlockOfLength - for debugging: 16 or `length` bytes to the standard output, two lower-case
 * hexadecimal digits each without separators, then a newline. Nothing is printed when block is null or length
 * negative.
 */
ZRC_API void printBlock(const uint8_t *block);
ZRC_API void printBlockOfLength(const uint8_t *block, int32_t length);

ZRC_END_DECLS

#endif

/*
 * AES (FIPS 197): key schedules and single blocks. Most callers want the block cipher unit (kestrim/block_cipher.h).
 * These functions work with tables whose look-ups depend on key and data: they do not run in constant time. The modes
 * of the unit use the AES instructions where the processor has them.
 */
#ifndef KESTRIM_AES_H
#define KESTRIM_AES_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* 244 bytes. A schedule serves one direction. */
typedef struct ZRC_AES_KEY {
    uint32_t round_key[60]; /* four words to a round, the first byte highest in a word */
    uint32_t rounds;        /* 10, 12 or 14 */
} ZRC_AES_KEY;

/*
 * zrc_Init_Encrypt_AES_Key - expand a key for encryption, round keys in the standard's order.
 *
 *   key         `key_length` bytes: 16, 24 or 32
 *   schedule    the caller wipes it
 *
 * Returns 0, or, with nothing written,
 *   0x0101002B  ZRC_ERR_INVALID_INPUT  key or schedule is null, or the length is another one
 */
ZRC_API uint32_t zrc_Init_Encrypt_AES_Key(const uint8_t *key, uint32_t key_length, ZRC_AES_KEY *schedule);

/*
 * zrc_Init_Decrypt_AES_Key - expand a key for decryption: round keys in reverse order, InvMixColumns applied to all but
 * the first and the last (the equivalent inverse cipher, FIPS 197, 5.3.5). Returns as zrc_Init_Encrypt_AES_Key.
 */
ZRC_API uint32_t zrc_Init_Decrypt_AES_Key(const uint8_t *key, uint32_t key_length, ZRC_AES_KEY *schedule);

/*
 * zrc_AES_Encrypt_Block, zrc_AES_Decrypt_Block - one block of 16 bytes; in and out may be the same. Nothing happens
 * when an argument is null or the schedule has another number of rounds.
 */
ZRC_API void zrc_AES_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_AES_KEY *schedule);
ZRC_API void zrc_AES_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_AES_KEY *schedule);

ZRC_END_DECLS

#endif

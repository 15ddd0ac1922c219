/*
 * SEED, the 128-bit block cipher of KISA (RFC 4269), with its 128-bit key and 16 rounds, and a variant with a 256-bit
 * key and 24 rounds: key schedules and single blocks. Most callers want the block cipher unit, which adds the modes
 * of operation, padding and wiping; there SEED-256 is refused in proven mode.
 *
 * No published standard gives answers for SEED-256. Other SEED-256 code exists that, between rounds, moves the bits
 * of the left half of the key the other way (new A = A >> 9 | B << 23, where this library has A >> 9 | D << 23); the
 * two give different round keys from round 1 on, the second, and do not read each other's ciphertext.
 *
 * These functions look up tables at places that depend on the key and the data, so their time can depend on both.
 */
#ifndef KESTRIM_SEED_H
#define KESTRIM_SEED_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* 196 bytes, flat, for both directions and both key lengths. It holds the key: wipe it after use. */
typedef struct ZRC_SEED_KEY {
    uint32_t round_key[48]; /* two for each round, in the order of encryption; 0 where there is no round */
    uint32_t rounds;        /* 16 or 24 */
} ZRC_SEED_KEY;

/*
 * zrc_Init_Encrypt_SEED_Key - the key schedule of RFC 4269: 16 rounds from the 16 bytes at key. The same schedule
 * serves encryption and decryption. A refused call leaves the schedule as it was.
 *
 * Returns 0, or
 *   0x1901002B  ZRC_ERR_INVALID_INPUT  key or schedule is null
 */
ZRC_API uint32_t zrc_Init_Encrypt_SEED_Key(const uint8_t *key, ZRC_SEED_KEY *schedule);

/*
 * zrc_Init_Encrypt_SEED_Key_256 - the key schedule of SEED-256: 24 rounds from the 32 bytes at key, for both
 * directions.
 *
 * The key is the big-endian words A to H, all sums are modulo 2^32, G is that of RFC 4269, and KC is 0x9E3779B9
 * rotated left by as many bits as the number of the round, 0 to 23. The two keys of a round are
 *
 *   G((((A + C) ^ E) - F) ^ KC)   and   G((((B - D) ^ G) + H) ^ KC)
 *
 * After each round one half rotates as a single number of 128 bits: A|B|C|D right by 9, after the next E|F|G|H left
 * by 9, then right by 11, left by 11, right by 12, left by 12, and from the start again. A refused call leaves the
 * schedule as it was.
 *
 * Returns 0, or
 *   0x1901002B  ZRC_ERR_INVALID_INPUT  key or schedule is null
 */
ZRC_API uint32_t zrc_Init_Encrypt_SEED_Key_256(const uint8_t *key, ZRC_SEED_KEY *schedule);

/*
 * zrc_SEED_Encrypt_Block, zrc_SEED_Decrypt_Block - one block of 16 bytes from in to out, which may be the same. No
 * pointer is null. The schedule says how many rounds; one whose rounds are neither 16 nor 24 leaves out as it was.
 */
ZRC_API void zrc_SEED_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_SEED_KEY *schedule);
ZRC_API void zrc_SEED_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_SEED_KEY *schedule);

ZRC_END_DECLS

#endif

/*
 * LEA (TTAK.KO-12.0223, KS X 3246): key schedules and single blocks of 16 bytes, with keys of 16, 24 or 32 bytes.
 * Most callers want the block cipher unit, which owns the schedule and adds the modes.
 */
#ifndef KESTRIM_LEA_H
#define KESTRIM_LEA_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * Key schedule, for both directions: 772 bytes. It is key material: wipe it after use.
 */
typedef struct ZRC_LEA_KEY {
    uint32_t round_key[192]; /* six words a round; zero behind those of the last round */
    uint32_t rounds;         /* 24, 28 or 32 for keys of 16, 24 or 32 bytes; anything else: not keyed */
} ZRC_LEA_KEY;

/*
 * zrc_Init_Encrypt_LEA_Key - fill the whole schedule.
 *
 *   key         `key_length` bytes
 *   key_length  bytes: 16, 24 or 32
 *
 * Returns 0, or
 *   0x1F01002B  ZRC_ERR_INVALID_INPUT  key or schedule is null, or the length is another; the schedule is unchanged
 */
ZRC_API uint32_t zrc_Init_Encrypt_LEA_Key(const uint8_t *key, uint32_t key_length, ZRC_LEA_KEY *schedule);

/*
 * zrc_LEA_*_Block - one block of 16 bytes; in and out may be the same. With a schedule that is not keyed nothing is
 * done. No pointer is null; nothing else is checked.
 */
ZRC_API void zrc_LEA_Encrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_LEA_KEY *schedule);
ZRC_API void zrc_LEA_Decrypt_Block(const uint8_t *in, uint8_t *out, const ZRC_LEA_KEY *schedule);

ZRC_END_DECLS

#endif

/*
 * The RC4 stream cipher, for old formats that ask for it: it is broken and no choice for anything new.
 *
 * It is not part of the block cipher unit, and no function here passes the gate or looks at the mode: RC4 works in
 * proven mode and before the self-test.
 */
#ifndef KESTRIM_RC4_H
#define KESTRIM_RC4_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* 1032 bytes; key material from Init on. */
typedef struct ZRC_RC4_UNIT {
    uint32_t x; /* indices into s, 0 to 255 */
    uint32_t y;
    uint32_t s[256]; /* a permutation of 0 to 255 */
} ZRC_RC4_UNIT;

/*
 * ZRC_New_RC4_Unit - a unit that is, other than most, not cleared: it holds anything until Init. To be released with
 * ZRC_Free_RC4_Unit. Null when there is no memory.
 */
ZRC_API ZRC_RC4_UNIT *ZRC_New_RC4_Unit(void);

/*
 * ZRC_Init_RC4 - clean the unit and key it.
 *
 *   key         `key_length` bytes, used over and over; what stands behind the first 256 has no effect
 *   key_length  bytes, 1 or more
 *
 * Returns 0, or
 *   0x1600002B  ZRC_ERR_INVALID_INPUT  unit or key is null, or the length is below 1; the unit is unchanged
 */
ZRC_API uint32_t ZRC_Init_RC4(ZRC_RC4_UNIT *unit, const uint8_t *key, int32_t key_length);

/*
 * ZRC_Do_RC4 - encrypt or decrypt, which is the same: XOR with the next `length` bytes of the keystream. Calls
 * continue one another.
 *
 *   unit    keyed; with another one the output is worthless, but nothing else goes wrong
 *   in      `length` bytes
 *   length  bytes, 1 or more
 *   out     `length` bytes; the same buffer as `in`, or one that does not overlap it
 *
 * Returns 0, or
 *   0x1600002B  ZRC_ERR_INVALID_INPUT  unit, in or out is null, or the length is 0; nothing has changed
 */
ZRC_API uint32_t ZRC_Do_RC4(ZRC_RC4_UNIT *unit, const uint8_t *in, uint32_t length, uint8_t *out);

/*
 * ZRC_Clean_RC4_Unit - write zeros over the whole unit; null is allowed.
 */
ZRC_API void ZRC_Clean_RC4_Unit(ZRC_RC4_UNIT *unit);

/*
 * ZRC_Free_RC4_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_RC4_Unit(ZRC_RC4_UNIT *unit);

ZRC_END_DECLS

#endif

/*
 * DES-MAC: the CBC-MAC with DES and a zero IV of the message followed by 1 to 8 zero bytes. For old data only. Refused in
 * proven mode.
 */
#ifndef KESTRIM_DES_MAC_H
#define KESTRIM_DES_MAC_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_DES_MAC - MAC of one message.
 *
 *   key     8 bytes; parity bits are ignored
 *   data    `length` bytes
 *   length  1 or more. For 1 to 7 bytes the MAC is eight zero bytes, on purpose
 *   output  receives 8 bytes
 *
 * Returns 0, or, tested in this order after the gate,
 *   0x0901003C  ZRC_ERR_MEMORY_ALLOC             no memory for the cipher unit
 *   0x090100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM     proven mode is in force
 *   0x09010049  ZRC_ERR_NULL_INPUT               key, data or output is null, or length is below 1
 *   0x09010021  ZRC_ERR_INIT_BLOCKCIPHER_FAIL    no memory for the key schedule
 *   0x0901005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher failed
 */
ZRC_API uint32_t ZRC_DES_MAC(const uint8_t *key, const uint8_t *data, int32_t length, uint8_t *output);

ZRC_END_DECLS

#endif

/*
 * CBC-MAC over any cipher of the block cipher unit: the last block of a CBC encryption with a zero IV, without padding.
 * Secure for messages of one fixed length only. Refused in proven mode.
 */
#ifndef KESTRIM_CBC_MAC_H
#define KESTRIM_CBC_MAC_H

#include "kestrim/base.h"
#include "kestrim/block_cipher.h"

ZRC_BEGIN_DECLS

typedef struct ZRC_CBC_MAC_UNIT {
    ZRC_BLOCK_CIPHER_UNIT *cipher; /* owned */
    uint8_t chain[64];             /* the last cipher output; one block of it is used */
    uint8_t block[64];             /* input XOR chain, before it is enciphered */
    int32_t count;                 /* always 0: updates take whole blocks */
} ZRC_CBC_MAC_UNIT;

/*
 * ZRC_New_CBC_MAC_Unit - a new, fresh unit, to be released with ZRC_Free_CBC_MAC_Unit; null when there is no memory.
 */
ZRC_API ZRC_CBC_MAC_UNIT *ZRC_New_CBC_MAC_Unit(void);

/*
 * ZRC_Init_CBC_MAC - key a unit and start a message.
 *
 *   unit  from ZRC_New_CBC_MAC_Unit; a used unit is cleaned first
 *   id    a block cipher identifier; its mode and padding are not looked at
 *   key   as many bytes as the cipher's key has
 *
 * Returns 0, or
 *   0x060100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode is in force (tested first, before the gate)
 *   0x06010049  ZRC_ERR_NULL_INPUT             unit or key is null
 *   0x06010021  ZRC_ERR_INIT_BLOCKCIPHER_FAIL  the cipher is unknown, or no memory
 */
ZRC_API uint32_t ZRC_Init_CBC_MAC(ZRC_CBC_MAC_UNIT *unit, int32_t id, const uint8_t *key);

/*
 * ZRC_Update_CBC_MAC - absorb `length` bytes, a multiple of the cipher's block; 0 changes nothing.
 *
 * Returns 0, or, with nothing absorbed,
 *   0x0602005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  unit or data is null, the unit is not initialised, or the length does not
 *                                                fit
 */
ZRC_API uint32_t ZRC_Update_CBC_MAC(ZRC_CBC_MAC_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_CBC_MAC - the MAC of what was absorbed since Init. The chain stays: a second Final repeats the MAC, another
 * Update continues the message; a new message needs Init.
 *
 *   output         receives one cipher block
 *   output_length  receives its length; may be null
 *
 * Returns 0, or
 *   0x0603005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  unit or output is null, or the unit is not initialised
 */
ZRC_API uint32_t ZRC_Final_CBC_MAC(ZRC_CBC_MAC_UNIT *unit, uint8_t *output, int32_t *output_length);

/*
 * ZRC_Clean_CBC_MAC_Unit - wipe the unit for another Init; null is allowed.
 */
ZRC_API void ZRC_Clean_CBC_MAC_Unit(ZRC_CBC_MAC_UNIT *unit);

/*
 * ZRC_Free_CBC_MAC_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_CBC_MAC_Unit(ZRC_CBC_MAC_UNIT *unit);

/*
 * ZRC_CBC_MAC - MAC of one message in one call; the arguments are those of Init, Update and Final.
 *
 * Returns 0, or
 *   0x0604003B  ZRC_ERR_MEM_ALLOC       no memory for the unit
 *   0x06040023  ZRC_ERR_INIT_FAILURE    Init failed, for whatever reason, proven mode included
 *   0x0604005C  ZRC_ERR_UPDATE_FAILURE  Update failed
 *   0x06040019  ZRC_ERR_FINAL_FAILURE   Final failed
 */
ZRC_API uint32_t ZRC_CBC_MAC(int32_t id, const uint8_t *key, const uint8_t *data, int32_t length, uint8_t *output,
                             int32_t *output_length);

ZRC_END_DECLS

#endif

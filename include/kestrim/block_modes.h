/*
 * The modes of operation of each cipher (NIST SP 800-38A), on the fields of a block cipher unit. Most callers want the unit's
 * own functions (kestrim/block_cipher.h), which drive these; the CFB modes with short segments are reached only here.
 *
 * zrc_Init_C (unit, key, iv, encrypt) passes the gate, copies the IV when it is not null and makes the key schedule. The
 * unit has been bound to the cipher by ZRC_Init_BLOCK_CIPHER or holds a schedule of that cipher's size.
 *
 * zrc_Init_C_Key makes the key schedule alone: for AES, ARIA and (triple) DES the one for decryption when the unit decrypts
 * in ECB or CBC; for AES and ARIA in CFB128, too, on purpose.
 *
 * zrc_Do_C_MODE (unit, out, in, length) processes `length` bytes from `in` to `out`, which are the same buffer or do not
 * overlap. A length below 1 does nothing and returns 0, but for CFBR, which refuses it.
 *
 *   ECB    whole blocks; an incomplete one at the end is ignored. Enciphers when the unit's direction is exactly 1
 *   CBC    the same direction. An incomplete last block: encryption fills it from the register and writes a whole block;
 *          decryption reads a whole block and writes only the bytes that are there
 *   CFB    whole-block feedback, any number of bytes; keeps its place in the block between calls. Enciphers when the
 *          direction is not 0
 *   OFB    as CFB; the direction does not matter
 *   CTR    as OFB; the counter is the working IV, one big-endian number as long as a block
 *   CFBR   length in BITS, 1 to the bits of a block: one segment. Whole bytes are read and written; the caller masks the
 *          last one
 *   CFB1   length in BITS, the first bit is the highest of a byte; bits behind the last one become 0
 *   CFB8, CFB16, CFB32, CFB64   segments of 1, 2, 4, 8 bytes; an incomplete last one is processed as if zero bytes followed
 *          it, of which nothing is written
 *
 * All return 0 or one code, module << 24 | function << 16 | 0x2B (ZRC_ERR_INVALID_INPUT), when unit, out or in is null, the
 * unit has no key schedule, or CFBR's length does not fit:
 *
 *             ECB         CBC         CFB, CFBn   OFB         CTR
 *   AES       0x0103002B  0x0104002B  0x0105002B  0x0106002B  0x0107002B
 *   ARIA      0x0203002B  0x0204002B  0x0205002B  0x0206002B  0x0207002B
 *   SEED      0x1905002B  0x1903002B  0x1904002B  0x1906002B  0x1907002B
 *   LEA       0x1F03002B  0x1F04002B  0x1F05002B  0x1F06002B  0x1F07002B
 *   DES       0x0802002B  0x0803002B  0x0804002B  0x0805002B  0x0806002B
 *   DES_EDE   0x0702002B  0x0703002B  0x0704002B  0x0705002B  0x0706002B
 *   RC2       0x1500002B  0x1500002B  0x1500002B  0x1500002B  no such
 *   RC5       0x1702002B  0x1703002B  0x1704002B  0x1705002B  0x1706002B
 *   BF        0x0303002B  0x0304002B  0x0305002B  0x0306002B  0x0307002B
 *
 * Init and its failures:
 *
 *   AES               0x02020024 (the numbers of ARIA, on purpose) from zrc_Init_AES, 0x01010024 from zrc_Init_AES_Key
 *   ARIA, SEED, LEA   0x02020023, 0x19020023, 0x1F020023 from Init, 0x02010024, 0x19010024, 0x1F010024 from the key function
 *   BF, RC5, RC2      0x03020023, 0x17020023, 0x15000023 from Init, 0x03010024, 0x17010024, 0x15000024 from the key function
 *   DES, DES_EDE      Init returns 0 once the gate has passed; 0x08010024, 0x07010024 from the key function
 *
 * A null key is refused; ARIA, DES and triple DES take it in Init and leave the unit unkeyed.
 */
#ifndef KESTRIM_BLOCK_MODES_H
#define KESTRIM_BLOCK_MODES_H

#include "kestrim/block_cipher.h"

ZRC_BEGIN_DECLS

ZRC_API uint32_t zrc_Init_AES(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_AES_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, uint32_t encrypt);
ZRC_API uint32_t zrc_Do_AES_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_AES_CFB64(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_ARIA(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_ARIA_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, uint32_t encrypt);
ZRC_API uint32_t zrc_Do_ARIA_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_ARIA_CFB64(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_SEED(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_SEED_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key);
ZRC_API uint32_t zrc_Do_SEED_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_SEED_CFB64(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_LEA(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_LEA_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key);
ZRC_API uint32_t zrc_Do_LEA_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_LEA_CFB64(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_DES(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_DES_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, uint32_t encrypt);
ZRC_API uint32_t zrc_Do_DES_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_DES_EDE(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_DES_EDE_key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, uint32_t encrypt);
ZRC_API uint32_t zrc_Do_DES_EDE_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_DES_EDE_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_RC2(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_RC2_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key);
ZRC_API uint32_t zrc_Do_RC2_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC2_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_RC5(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_RC5_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key);
ZRC_API uint32_t zrc_Do_RC5_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_RC5_CFB64(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_API uint32_t zrc_Init_BF(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
ZRC_API uint32_t zrc_Init_BF_Key(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key);
ZRC_API uint32_t zrc_Do_BF_ECB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CBC(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_OFB(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CTR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CFBR(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CFB1(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CFB8(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CFB16(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
ZRC_API uint32_t zrc_Do_BF_CFB32(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);

ZRC_END_DECLS

#endif

/*
 * The block cipher unit: every block cipher, mode and padding through one set of functions.
 *
 *   ZRC_BLOCK_CIPHER_UNIT *unit = ZRC_New_BLOCK_CIPHER_Unit();
 *   int32_t written, rest;
 *   if (unit && ZRC_Init_BLOCK_CIPHER(unit, ZRC_ARIA_256 | ZRC_MODE_CBC, key, iv, 1) == 0 &&
 *       ZRC_Update_BLOCK_CIPHER(unit, out, &written, in, size) == 0 &&
 *       ZRC_Final_BLOCK_CIPHER(unit, out + written, &rest) == 0) { ... written + rest bytes ... }
 *   ZRC_Free_BLOCK_CIPHER_Unit(unit);
 */
#ifndef KESTRIM_BLOCK_CIPHER_H
#define KESTRIM_BLOCK_CIPHER_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * An algorithm identifier is a cipher, a mode and perhaps ZRC_NO_PADDING, joined by |.
 *
 * Ciphers: bits 8-31. Only ARIA and ZRC_SEED are approved in proven mode.
 *
 *   identifier        name           key  block  schedule (bytes)
 *   ZRC_AES_128       "AES_128"      16   16      244
 *   ZRC_AES_192       "AES_192"      24   16      244
 *   ZRC_AES_256       "AES_256"      32   16      244
 *   ZRC_DES           "ZRC_DES"       8    8      128
 *   ZRC_DES_EDE       "ZRC_DES_EDE"  24    8      384
 *   ZRC_DES_EDE2      "ZRC_DES_EDE"  16    8      384   two keys, the third is the first
 *   ZRC_DES_EDE3      "ZRC_DES_EDE"  24    8      384   another identifier of ZRC_DES_EDE
 *   ZRC_ARIA_128      "ARIA_128"     16   16      548
 *   ZRC_ARIA_192      "ARIA_192"     24   16      548
 *   ZRC_ARIA_256      "ARIA_256"     32   16      548
 *   ZRC_SEED          "ZRC_SEED"     16   16      196
 *   ZRC_SEED_256      "SEED_256"     32   16      196
 *   ZRC_RC5           "ZRC_RC5"      16    8      140
 *   ZRC_BLOWFISH      "BlowFish"     16    8     4168
 *   ZRC_RC2_128       "ZRC_RC2_128"  16    8      144
 *   ZRC_RC2_40        "ZRC_RC2_40"    5    8      144   40 effective key bits
 *   ZRC_RC2_64        "ZRC_RC2_64"    8    8      144   64 effective key bits
 *   ZRC_LEA_128       "LEA_128"      16   16      772
 *   ZRC_LEA_192       "LEA_192"      24   16      772
 *   ZRC_LEA_256       "LEA_256"      32   16      772
 */
enum {
    ZRC_AES_128 = 0x01000100,
    ZRC_AES_192 = 0x01000200,
    ZRC_AES_256 = 0x01000300,
    ZRC_DES = 0x02000100,
    ZRC_DES_EDE = 0x02000200,
    ZRC_DES_EDE2 = 0x02001200,
    ZRC_DES_EDE3 = 0x02010200,
    ZRC_ARIA_128 = 0x03000100,
    ZRC_ARIA_192 = 0x03000200,
    ZRC_ARIA_256 = 0x03000300,
    ZRC_SEED = 0x04000100,
    ZRC_SEED_256 = 0x04000200,
    ZRC_RC5 = 0x05000100,
    ZRC_BLOWFISH = 0x06000100,
    ZRC_RC2_128 = 0x07000100,
    ZRC_RC2_40 = 0x07000200,
    ZRC_RC2_64 = 0x07000300,
    ZRC_LEA_128 = 0x08000100,
    ZRC_LEA_192 = 0x08000200,
    ZRC_LEA_256 = 0x08000300,

    /* Modes: bits 1-7. The unit refuses CFB1 to CFB64; the functions of each cipher have them. CFB128 is CFB for the
     * ciphers with 16-byte blocks. RC2 has no CTR, and proven mode refuses CTR. */
    ZRC_MODE_ECB = 0x00,
    ZRC_MODE_CBC = 0x20,
    ZRC_MODE_CFB = 0x40,
    ZRC_MODE_CFB1 = 0x42,
    ZRC_MODE_CFB8 = 0x44,
    ZRC_MODE_CFB16 = 0x46,
    ZRC_MODE_CFB32 = 0x48,
    ZRC_MODE_CFB64 = 0x4A,
    ZRC_MODE_CFB128 = 0x4C,
    ZRC_MODE_OFB = 0x60,
    ZRC_MODE_CTR = 0x80,

    /* Bit 0. ECB and CBC take whole blocks only. Decryption in the stream modes (CFB, OFB, CTR) needs it, encryption in
     * them does not look at it. Without it ECB and CBC pad with 1 to block-length bytes whose value is their number. */
    ZRC_NO_PADDING = 0x01,

    ZRC_BLOCK_CIPHER_RECORD_BYTES = 876
};

typedef struct ZRC_BLOCK_CIPHER_UNIT ZRC_BLOCK_CIPHER_UNIT;
struct ZRC_BLOCK_CIPHER_UNIT {
    uint32_t algorithm_id; /* cipher and key size; the low byte is 0 */
    uint32_t block_length; /* bytes, as the next two */
    uint32_t key_length;
    uint32_t iv_length;
    uint32_t rc2_key_bits; /* effective key bits of RC2; 0: 128 */
    uint8_t mode;          /* ZRC_MODE_* */
    uint8_t no_padding;    /* bit 0 of the identifier */
    uint32_t (*init_fn)(ZRC_BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t encrypt);
    uint32_t (*mode_fn)(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, int32_t length);
    uint32_t encrypt;       /* direction; non-zero encrypts */
    uint8_t initial_iv[16]; /* as given to Init */
    uint8_t iv[16];         /* working IV, feedback register or counter */
    uint8_t buffer[32];     /* input waiting for a whole block */
    uint8_t keystream[16];  /* CTR: the current keystream block */
    uint32_t buffer_count;
    uint32_t keystream_position; /* stream modes: place in the current block, 0-15 */
    void *key_schedule;          /* owned */
    uint32_t key_schedule_length;
    uint32_t held;          /* padded decryption: held_block holds the last block so far */
    uint8_t held_block[32]; /* deciphered */
    uint32_t block_mask;    /* block_length - 1 */
    int32_t initialized;    /* -1 after Init, 0 when fresh */
    uint8_t proven;         /* ZRC_Is_Proven at Init */
};

/*
 * ZRC_New_BLOCK_CIPHER_Unit - a new, fresh unit, to be released with ZRC_Free_BLOCK_CIPHER_Unit; null when there is no
 * memory.
 */
ZRC_API ZRC_BLOCK_CIPHER_UNIT *ZRC_New_BLOCK_CIPHER_Unit(void);

/*
 * zrc_New_BLOCK_CIPHER_Unit_Ex - the same with the proven copy set, for a direct zrc_Init_Block_Alg; ZRC_Init_BLOCK_CIPHER
 * sets it from the mode of the process.
 */
ZRC_API ZRC_BLOCK_CIPHER_UNIT *zrc_New_BLOCK_CIPHER_Unit_Ex(uint8_t proven);

/*
 * ZRC_Clean_BLOCK_CIPHER_Unit - wipe and release the key schedule and wipe the unit; does nothing for null or a unit that
 * was never initialised.
 */
ZRC_API void ZRC_Clean_BLOCK_CIPHER_Unit(ZRC_BLOCK_CIPHER_UNIT *unit);

/*
 * ZRC_Free_BLOCK_CIPHER_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_BLOCK_CIPHER_Unit(ZRC_BLOCK_CIPHER_UNIT *unit);

/*
 * ZRC_Init_BLOCK_CIPHER - bind a unit to an algorithm, key it and start a message.
 *
 *   unit     from ZRC_New_BLOCK_CIPHER_Unit; a used unit is cleaned first
 *   id       cipher | mode | padding
 *   key      as many bytes as the cipher's key has; ARIA, DES and triple DES take null and stay unkeyed
 *   iv       one block; may be null for ECB only
 *   encrypt  1 encrypts, 0 decrypts. (Other values encrypt in the stream modes and give garbage in ECB and CBC.)
 *
 * Returns 0, or
 *   0x0501002B  ZRC_ERR_INVALID_INPUT         unit is null (tested before the gate)
 *   0x05010023  ZRC_ERR_INIT_FAILURE          unknown cipher or mode, not approved in proven mode, or no key
 *   0x0501003A  ZRC_ERR_MALLOC                no memory for the key schedule
 *   0x0501004A  ZRC_ERR_NULL_IV_VALUE         iv is null, and the mode is not ECB
 *   0x050100F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  CTR in proven mode, with an approved cipher
 */
ZRC_API uint32_t ZRC_Init_BLOCK_CIPHER(ZRC_BLOCK_CIPHER_UNIT *unit, uint32_t id, const uint8_t *key, const uint8_t *iv,
                                       uint32_t encrypt);

/*
 * zrc_Init_Block_Alg - fill a fresh or cleaned unit's identifier, lengths, mode and functions. The proven copy of the unit
 * decides what is refused. The schedule of a used unit is wiped and released.
 *
 * Returns 0, or
 *   0x0509002B  ZRC_ERR_INVALID_INPUT         unit is null
 *   0x05090029  ZRC_ERR_INVALID_ALGORITHM_ID  unknown cipher, or a mode that the cipher does not have in the unit
 *   0x050900F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  the cipher is not approved
 *   1                                         RC2 with CTR
 */
ZRC_API uint32_t zrc_Init_Block_Alg(ZRC_BLOCK_CIPHER_UNIT *unit, uint32_t id);

/*
 * ZRC_Update_BLOCK_CIPHER - process message bytes. Output comes in whole blocks; what is left over waits in the unit. A
 * padded decryption holds the last whole block back for Final.
 *
 *   out         at least `length` bytes and one block; `in` itself when nothing waits in the unit; else no overlap
 *   out_length  receives the bytes written
 *   in          `length` bytes
 *   length      1 or more
 *
 * Returns 0, or a code, with nothing taken in and *out_length 0:
 *   0x0502002B  ZRC_ERR_INVALID_INPUT     unit or out_length is null, length is below 1, or the unit is not initialised
 *   0x0503004C  ZRC_ERR_OPERATE_FUNCTION  in is null, out is null with bytes due, the two overlap in a way that would
 *                                         lose input, more bytes are due than an int32_t counts, or the unit was
 *                                         initialised without a key
 *   0x0504005C  ZRC_ERR_UPDATE_FAILURE    the same in a padded decryption
 */
ZRC_API uint32_t ZRC_Update_BLOCK_CIPHER(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, int32_t *out_length,
                                         const uint8_t *in, int32_t length);

/*
 * ZRC_Final_BLOCK_CIPHER - end the message. Whatever the result, the unit is ready for another message under the same key
 * and IV.
 *
 *   out         at least one block
 *   out_length  receives the bytes written
 *
 * Returns 0, or
 *   0x0505002B  ZRC_ERR_INVALID_INPUT           unit, out or out_length is null, or the unit is not initialised
 *   0x0505000A  ZRC_ERR_CIPHER_ENCRYPT_FAILURE  ECB or CBC without padding, and the message was not whole blocks; or
 *                                               the unit was initialised without a key
 *   0x05050009  ZRC_ERR_CIPHER_DECRYPT_FAILURE  the same, wrong padding, or a stream mode without ZRC_NO_PADDING
 */
ZRC_API uint32_t ZRC_Final_BLOCK_CIPHER(ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *out, int32_t *out_length);

/*
 * ZRC_BLOCK_CIPHER - one message in one call; the arguments are those of Init, Update and Final. An empty message is
 * refused.
 *
 *   out  `length` bytes and one block
 *
 * Returns 0, or
 *   0x0508003B  ZRC_ERR_MEM_ALLOC                no memory for the unit
 *   0x05080021  ZRC_ERR_INIT_BLOCKCIPHER_FAIL    Init failed, for whatever reason, a failed self-test included
 *   0x0508005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  Update failed, or the output would be longer than an int32_t counts
 *   0x05080017  ZRC_ERR_FINAL_BLOCKCIPHER_FAIL   Final failed
 */
ZRC_API uint32_t ZRC_BLOCK_CIPHER(uint32_t id, uint32_t encrypt, const uint8_t *key, const uint8_t *iv,
                                  const uint8_t *in, int32_t length, uint8_t *out, int32_t *out_length);

/*
 * ZRC_Init_Advanced_BLOCK_CIPHER - key a cipher into a record of 876 bytes, from which whole messages can be processed. The
 * record holds key material: wipe it.
 *
 *   record         receives ZRC_BLOCK_CIPHER_RECORD_BYTES bytes
 *   record_length  size of the buffer; receives 876
 *
 * Returns 0, or
 *   0x050A0049  ZRC_ERR_NULL_INPUT             key, record or record_length is null
 *   0x050A0048  ZRC_ERR_NOT_SUPPORTED          Blowfish: its schedule does not fit
 *   0x050A0006  ZRC_ERR_BUF_TOO_SMALL          *record_length is below 876
 *   0x050A0021  ZRC_ERR_INIT_BLOCKCIPHER_FAIL  Init failed, for whatever reason
 *   0x050A0059  ZRC_ERR_SUB_OPERATION_FAILURE  no memory, or the unit could not be written
 */
ZRC_API uint32_t ZRC_Init_Advanced_BLOCK_CIPHER(uint32_t id, const uint8_t *key, const uint8_t *iv, uint32_t encrypt,
                                                uint8_t *record, uint32_t *record_length);

/*
 * ZRC_DoFinal_Advanced_BLOCK_CIPHER - one whole message from a record, which does not change.
 *
 * Returns 0, or
 *   0x050B0049  ZRC_ERR_NULL_INPUT               record, out or out_length is null
 *   0x050B0059  ZRC_ERR_SUB_OPERATION_FAILURE    the record is too short or inconsistent, or no memory
 *   0x050B005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  Update failed, or the output would be longer than an int32_t counts
 *   0x050B0017  ZRC_ERR_FINAL_BLOCKCIPHER_FAIL   Final failed
 */
ZRC_API uint32_t ZRC_DoFinal_Advanced_BLOCK_CIPHER(const uint8_t *record, uint32_t record_length, const uint8_t *in,
                                                   int32_t length, uint8_t *out, int32_t *out_length);

/*
 * blockcipher_Unit_to_BinaryKey - write a keyed unit as a record of 876 bytes (little-endian words): the unit's fields up
 * to the working IV with an index of the cipher and of the mode in place of the two functions (68 bytes), the key schedule,
 * and from offset 856 its size, the held flag, the block mask, the state marker and the proven copy. Bytes that wait in the
 * unit are not part of it.
 *
 * Returns 0 and 876 in *record_length, or 1: an argument is null, the unit is not initialised, or its schedule is too large
 * (Blowfish).
 */
ZRC_API uint32_t blockcipher_Unit_to_BinaryKey(const ZRC_BLOCK_CIPHER_UNIT *unit, uint8_t *record,
                                               uint32_t *record_length);

/*
 * blockcipher_BinaryKey_to_Unit - the reverse, into a fresh or a used unit, whose own schedule is wiped and replaced.
 * Everything in the record is checked against the cipher it names, and against proven mode.
 *
 * Returns 0, or 1 with the unit unchanged: an argument is null, the record is too short or inconsistent, or no memory.
 */
ZRC_API uint32_t blockcipher_BinaryKey_to_Unit(const uint8_t *record, uint32_t record_length,
                                               ZRC_BLOCK_CIPHER_UNIT *unit);

/*
 * Queries. Identifiers may carry mode bits. Each passes the gate; a failed self-test gives 0, null or, for the IV length,
 * 0xFFFFFFFF. Unknown identifiers give 0 or null. For ZRC_SEED_256 the three lengths are 0, on purpose.
 */
ZRC_API uint32_t ZRC_Get_Block_Alg_ID(const ZRC_BLOCK_CIPHER_UNIT *unit); /* the unit's identifier; 0 for null */
ZRC_API const char *ZRC_Get_Block_Alg_Name(uint32_t id);                  /* a string of the library */
ZRC_API const char *ZRC_Get_Mode_Name(uint32_t id); /* "ECB", "CBC", ..., a string of the library */
ZRC_API uint32_t ZRC_Get_Key_Length(uint32_t id);   /* bytes */
ZRC_API uint32_t ZRC_Get_Block_Length(uint32_t id); /* bytes */
ZRC_API uint32_t ZRC_Get_IV_Length(uint32_t id);    /* bytes: the block length */

/*
 * zrc_Get_Mode_Length - bytes that the unit's mode takes in one step: 1, 1, 2, 4, 8 and 16 for CFB1, CFB8, CFB16, CFB32,
 * CFB64 and CFB128, the block length for all others; 0 for null or a failed self-test.
 */
ZRC_API uint32_t zrc_Get_Mode_Length(const ZRC_BLOCK_CIPHER_UNIT *unit);

/*
 * zrc_Increase_Counter - add 1 to 16 bytes as one big-endian number; null is allowed and does nothing.
 */
ZRC_API void zrc_Increase_Counter(uint8_t *counter);

ZRC_END_DECLS

#endif

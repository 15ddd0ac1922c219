/*
 * HMAC (FIPS 198-1, RFC 2104) over any digest of the digest unit. The key is processed once for each Init; every
 * further message costs only its own bytes and one short outer hash.
 */
#ifndef KESTRIM_HMAC_H
#define KESTRIM_HMAC_H

#include "kestrim/base.h"
#include "kestrim/digest.h"

ZRC_BEGIN_DECLS

typedef struct ZRC_HMAC_UNIT {
    int32_t algorithm_id;         /* the digest identifier with ZRC_HMAC_FLAG */
    ZRC_DIGEST_UNIT *digest_unit; /* owned */
    uint8_t *inner_state;         /* digest record after the key block XOR 0x36; state_length bytes, owned */
    uint8_t *outer_state;         /* digest record after the key block XOR 0x5C; state_length bytes, owned */
    int32_t state_length;         /* size of the digest record, bytes */
    uint8_t key[128];             /* the key block */
    int32_t key_length;           /* bytes of key (the digest's length when the key was hashed) */
    int32_t status;               /* 1 after Init, 2 after Update, 3 after Final */
    int32_t initialized;          /* -1 after Init, 0 when fresh */
    int32_t no_mdc2;              /* flag for the digest unit: its low byte refuses ZRC_MDC2 */
} ZRC_HMAC_UNIT;

/*
 * ZRC_New_HMAC_Unit - a new, fresh unit, to be released with ZRC_Free_HMAC_Unit; null when there is no memory.
 */
ZRC_API ZRC_HMAC_UNIT *ZRC_New_HMAC_Unit(void);

/*
 * zrc_New_HMAC_Unit_Ex - the same with `no_mdc2` set to the flag. It holds for the first Init only, since each Init
 * of a used unit cleans it.
 */
ZRC_API ZRC_HMAC_UNIT *zrc_New_HMAC_Unit_Ex(int32_t no_mdc2);

/*
 * ZRC_Init_HMAC - key a unit and start a message. Passes the gate before the arguments are tested.
 *
 *   unit        from ZRC_New_HMAC_Unit; a used unit is cleaned first
 *   digest_id   a digest identifier (ZRC_SHA256, not ZRC_HMAC_SHA256)
 *   key         `key_length` bytes, never null; a key longer than the digest's block is replaced by its digest
 *   key_length  0 or more
 *
 * Returns 0, or
 *   0x0F010049  ZRC_ERR_NULL_INPUT             unit or key is null
 *   0x0F010022  ZRC_ERR_INIT_DIGEST_FAIL       the digest is unknown or refused, or no memory for it
 *   0x0F010059  ZRC_ERR_SUB_OPERATION_FAILURE  key_length is negative, or no memory for the snapshots
 *   0x0F01005B  ZRC_ERR_UPDATE_DIGEST_FAIL     the digest refused the key
 *   0x0F010018  ZRC_ERR_FINAL_DIGEST_FAIL      the digest of the key failed
 */
ZRC_API uint32_t ZRC_Init_HMAC(ZRC_HMAC_UNIT *unit, int32_t digest_id, const uint8_t *key, int32_t key_length);

/*
 * ZRC_Update_HMAC - feed message bytes; after a Final this starts the next message under the same key.
 *
 *   data    `length` bytes
 *   length  1 or more: 0 is refused, unlike in the digest unit
 *
 * Returns 0, or
 *   0x0F020049  ZRC_ERR_NULL_INPUT          unit is null
 *   0x0F02002B  ZRC_ERR_INVALID_INPUT       length is below 1
 *   0x0F02005B  ZRC_ERR_UPDATE_DIGEST_FAIL  data is null, or the unit is not initialised
 */
ZRC_API uint32_t ZRC_Update_HMAC(ZRC_HMAC_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_HMAC - end the message. Directly after Init this is the MAC of the empty message. A second Final without
 * an Update between them does not repeat the MAC.
 *
 *   output         receives as many bytes as the digest has: at most 64; not written on failure
 *   output_length  receives that length; may be null
 *
 * Returns 0, or
 *   0x0F030049  ZRC_ERR_NULL_INPUT          unit is null
 *   0x0F030018  ZRC_ERR_FINAL_DIGEST_FAIL   output is null, or the unit is not initialised
 *   0x0F03005B  ZRC_ERR_UPDATE_DIGEST_FAIL  the outer hash failed
 */
ZRC_API uint32_t ZRC_Final_HMAC(ZRC_HMAC_UNIT *unit, uint8_t *output, int32_t *output_length);

/*
 * ZRC_Clean_HMAC_Unit - wipe and release all that the unit owns and wipe the unit; does nothing for null or a unit
 * that was never initialised.
 */
ZRC_API void ZRC_Clean_HMAC_Unit(ZRC_HMAC_UNIT *unit);

/*
 * ZRC_Free_HMAC_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_HMAC_Unit(ZRC_HMAC_UNIT *unit);

/*
 * ZRC_HMAC - MAC of one message in one call; the arguments are those of Init, Update and Final. An empty message is
 * refused.
 *
 * Returns 0, or
 *   0x0F04003B  ZRC_ERR_MEM_ALLOC       no memory for the unit
 *   0x0F040023  ZRC_ERR_INIT_FAILURE    Init failed, for whatever reason, a failed self-test included
 *   0x0F04005C  ZRC_ERR_UPDATE_FAILURE  Update failed: data is null or data_length below 1
 *   0x0F040019  ZRC_ERR_FINAL_FAILURE   Final failed: output is null
 */
ZRC_API uint32_t ZRC_HMAC(int32_t digest_id, const uint8_t *key, int32_t key_length, const uint8_t *data,
                          int32_t data_length, uint8_t *output, int32_t *output_length);

/*
 * ZRC_Get_HMAC_Name - the name of an HMAC identifier, such as "HMAC_SHA256" for ZRC_HMAC_SHA256, as a new string to
 * be released with ZRC_Free; null for any other value, without memory, or after a failed self-test.
 */
ZRC_API char *ZRC_Get_HMAC_Name(int32_t hmac_id);

ZRC_END_DECLS

#endif

/*
 * The digest unit: every message digest of the library through one set of functions.
 *
 *   ZRC_DIGEST_UNIT *unit = ZRC_New_DIGEST_Unit();
 *   uint8_t digest[32];
 *   int32_t length;
 *   if (unit && ZRC_Init_DIGEST(unit, ZRC_SHA256) == 0 && ZRC_Update_DIGEST(unit, data, size) == 0 &&
 *       ZRC_Final_DIGEST(unit, digest, &length) == 0) { ... }
 *   ZRC_Free_DIGEST_Unit(unit);
 */
#ifndef KESTRIM_DIGEST_H
#define KESTRIM_DIGEST_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * Digest identifiers. HMAC identifiers are the same values with ZRC_HMAC_FLAG set.
 *
 *   identifier    name      digest  block   record   in proven mode
 *   ZRC_SHA1      "SHA1"    20       64     164      refused
 *   ZRC_SHA224    "SHA224"  28       64     176
 *   ZRC_SHA256    "SHA256"  32       64     176
 *   ZRC_SHA384    "SHA384"  48      128     336
 *   ZRC_SHA512    "SHA512"  64      128     336
 *   ZRC_MD5       "MD5"     16       64     160      refused
 *   ZRC_HAS160    "HAS160"  20       64      92      refused
 *   ZRC_MDC2      "MDC2"    16        8      32      refused
 */
enum {
    ZRC_SHA1 = 0x05000100,
    ZRC_SHA224 = 0x05000200,
    ZRC_SHA256 = 0x05000300,
    ZRC_SHA384 = 0x05000400,
    ZRC_SHA512 = 0x05000500,
    ZRC_MD5 = 0x06000100,
    ZRC_HAS160 = 0x07000100,
    ZRC_MDC2 = 0x08000100,

    ZRC_HMAC_FLAG = 0x10000000,
    ZRC_HMAC_SHA1 = 0x15000100,
    ZRC_HMAC_SHA224 = 0x15000200,
    ZRC_HMAC_SHA256 = 0x15000300,
    ZRC_HMAC_SHA384 = 0x15000400,
    ZRC_HMAC_SHA512 = 0x15000500,
    ZRC_HMAC_MD5 = 0x16000100,
    ZRC_HMAC_HAS160 = 0x17000100,
    ZRC_HMAC_MDC2 = 0x18000100
};

typedef struct ZRC_DIGEST_UNIT {
    int32_t algorithm_id;  /* the identifier given to Init; 0 after an Init with an unknown one */
    int32_t block_length;  /* input block, bytes */
    int32_t digest_length; /* output, bytes */
    void *state;           /* the algorithm's record, owned by the unit; flat, so a byte copy is a snapshot */
    int32_t state_length;  /* size of the record, bytes */
    uint32_t (*init_fn)(void *state);
    uint32_t (*update_fn)(void *state, const uint8_t *data, uint32_t length);
    uint32_t (*final_fn)(void *state, uint8_t *output);
    int32_t initialized; /* -1 after Init, 0 when fresh */
    uint8_t no_mdc2;     /* non-zero: ZRC_MDC2 is refused */
} ZRC_DIGEST_UNIT;

/*
 * ZRC_New_DIGEST_Unit - a new, fresh unit, to be released with ZRC_Free_DIGEST_Unit; null when there is no memory.
 */
ZRC_API ZRC_DIGEST_UNIT *ZRC_New_DIGEST_Unit(void);

/*
 * zrc_New_DIGEST_Unit_Ex - the same with `no_mdc2` set to the low byte of the flag. It holds for the first Init
 * only, since each Init of a used unit cleans it.
 */
ZRC_API ZRC_DIGEST_UNIT *zrc_New_DIGEST_Unit_Ex(int32_t no_mdc2);

/*
 * ZRC_Init_DIGEST - bind a unit to an algorithm and start a message.
 *
 *   unit          from ZRC_New_DIGEST_Unit; a used unit is cleaned first
 *   algorithm_id  ZRC_SHA1 ... ZRC_MDC2
 *
 * Returns 0, or
 *   0x0A010049  ZRC_ERR_NULL_INPUT             unit is null (tested before the gate)
 *   0x0A010059  ZRC_ERR_SUB_OPERATION_FAILURE  the algorithm is unknown, or refused in proven mode or by no_mdc2
 *   0x0A010022  ZRC_ERR_INIT_DIGEST_FAIL       no memory for the record
 */
ZRC_API uint32_t ZRC_Init_DIGEST(ZRC_DIGEST_UNIT *unit, int32_t algorithm_id);

/*
 * zrc_Init_DIGEST_Alg - fill a fresh or cleaned unit's identifier, lengths and operations, without a record. A
 * record that the unit holds is lost; use ZRC_Init_DIGEST.
 *
 * Returns 0, or
 *   0x0A040049  ZRC_ERR_NULL_INPUT            unit is null
 *   0x0A040029  ZRC_ERR_INVALID_ALGORITHM_ID  unknown, or ZRC_MDC2 while no_mdc2 is set; algorithm_id is 0 then
 *   0x0A0400F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  SHA-1, MD5, HAS-160 or MDC-2 in proven mode; only algorithm_id is set
 */
ZRC_API uint32_t zrc_Init_DIGEST_Alg(ZRC_DIGEST_UNIT *unit, int32_t algorithm_id);

/*
 * ZRC_Update_DIGEST - feed message bytes to a unit.
 *
 *   unit    initialised with ZRC_Init_DIGEST
 *   data    `length` bytes; never null, not even for length 0
 *   length  bytes; 0 is passed on to the algorithm (SHA and MDC-2 take it, MD5 and HAS-160 refuse it)
 *
 * Returns 0, or
 *   0x0A020049  ZRC_ERR_NULL_INPUT          unit or data is null
 *   0x0A02002B  ZRC_ERR_INVALID_INPUT       length is negative
 *   0x0A02005B  ZRC_ERR_UPDATE_DIGEST_FAIL  the algorithm refused the input, or the unit is not initialised
 */
ZRC_API uint32_t ZRC_Update_DIGEST(ZRC_DIGEST_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_DIGEST - end the message; the unit is at once ready for another one under the same algorithm.
 *
 *   output         receives digest_length bytes; not written on failure
 *   output_length  receives digest_length; may be null
 *
 * Returns 0, or
 *   0x0A030049  ZRC_ERR_NULL_INPUT         unit or output is null
 *   0x0A030018  ZRC_ERR_FINAL_DIGEST_FAIL  the algorithm refused, or the unit is not initialised
 */
ZRC_API uint32_t ZRC_Final_DIGEST(ZRC_DIGEST_UNIT *unit, uint8_t *output, int32_t *output_length);

/*
 * ZRC_Clean_DIGEST_Unit - wipe and release the record and wipe the unit; does nothing for null or a unit that was
 * never initialised.
 */
ZRC_API void ZRC_Clean_DIGEST_Unit(ZRC_DIGEST_UNIT *unit);

/*
 * ZRC_Free_DIGEST_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void ZRC_Free_DIGEST_Unit(ZRC_DIGEST_UNIT *unit);

/*
 * ZRC_DIGEST - digest of one message in one call.
 *
 *   data           `length` bytes; never null
 *   output         receives the digest: at most 64 bytes
 *   output_length  receives the digest's length; may be null
 *
 * Returns 0, or
 *   0x0A050049  ZRC_ERR_NULL_INPUT          data is null
 *   0x0A05003A  ZRC_ERR_MALLOC              no memory for the unit
 *   0x0A050022  ZRC_ERR_INIT_DIGEST_FAIL    Init failed, for whatever reason, a failed self-test included
 *   0x0A05005B  ZRC_ERR_UPDATE_DIGEST_FAIL  the length is negative, or 0 for MD5 or HAS-160
 *   0x0A050018  ZRC_ERR_FINAL_DIGEST_FAIL   output is null
 */
ZRC_API uint32_t ZRC_DIGEST(int32_t algorithm_id, const uint8_t *data, int32_t length, uint8_t *output,
                            int32_t *output_length);

/*
 * ZRC_Get_DIGEST_Length - digest length in bytes, in any mode; 0 for an unknown identifier or a failed self-test.
 */
ZRC_API int32_t ZRC_Get_DIGEST_Length(int32_t algorithm_id);

/*
 * ZRC_Get_DIGEST_Alg_Name - the algorithm's name, a string of the library; null for an unknown identifier or a failed
 * self-test.
 */
ZRC_API const char *ZRC_Get_DIGEST_Alg_Name(int32_t algorithm_id);

/*
 * ZRC_Get_DIGEST_Alg_ID - the unit's identifier; 0 for null or a failed self-test.
 */
ZRC_API int32_t ZRC_Get_DIGEST_Alg_ID(const ZRC_DIGEST_UNIT *unit);

/*
 * ZRC_Get_DIGEST_Alg_ID_By_Name - the identifier of a name, whole and in any case ("sha256", "SHA256"; not
 * "SHA-256"); 0 for null, an unknown name or a failed self-test. Reads at most 16 characters.
 */
ZRC_API int32_t ZRC_Get_DIGEST_Alg_ID_By_Name(const char *name);

ZRC_END_DECLS

#endif

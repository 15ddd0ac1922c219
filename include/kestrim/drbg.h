/*
 * Random bytes and numbers: Hash_DRBG of NIST SP 800-90A over SHA-2, SHA-1 or HAS-160, one state for the whole
 * process.
 *
 *   uint8_t key[32];
 *   if (ZRC_Rand_Bytes(key, sizeof key) == 0) { ... }
 *
 * A FAILED REQUEST LOCKS THE GENERATOR FOR GOOD. After ZRC_Rand_Bytes, ZRC_Rand_Bytes_DRBG or zrc_Get_Rand_Bytes_DRBG
 * has returned one of the codes marked [locks], every later request of the process waits forever, and so does every
 * function that needs random bytes: the generator fails closed, on purpose. A null buffer, a length of 0, an unknown
 * digest, and SHA-1 or HAS-160 in proven mode do that too. Units of one's own (zrc_New_DRBG_Unit and on) are not
 * affected.
 *
 * WITHOUT /dev/urandom THE NON-PROVEN GENERATOR CAN BE GUESSED. In non-proven mode it starts from, and reseeds with,
 * 76 bytes: 64 of /dev/urandom, the process id and the time of day. When /dev/urandom cannot be opened (an empty
 * chroot, no descriptor left), or when descriptor 0, 1 or 2 is closed, so that /dev/urandom would be opened in the
 * place of a standard stream, the process id and the time are all there is: 12 bytes that an attacker can try out.
 * Requests SUCCEED ALL THE SAME and nothing reports it. Keep descriptors 0 to 2 open, on /dev/null if need be, and
 * /dev/urandom within reach. Proven mode collects statistics of the system as well, which are not as easy to guess,
 * but no replacement for the device, either.
 *
 * fork(): a child process never continues its parent's stream. It starts from fresh entropy, with a lock of its own
 * that is free even if another thread of the parent was in a request; but if a failed request has locked the parent's
 * generator, the child's is locked as well.
 */
#ifndef KESTRIM_DRBG_H
#define KESTRIM_DRBG_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"

ZRC_BEGIN_DECLS

/* Entropy input that a caller supplies. A null pointer: that value is collected (personalization: none). */
typedef struct ZRC_DRBG_INPUT {
    uint32_t level;                 /* collection level, 1 to 3 */
    int32_t entropy_length;         /* bytes */
    int32_t nonce_length;           /* bytes */
    int32_t personalization_length; /* bytes */
    uint8_t *entropy;
    uint8_t *nonce;
    uint8_t *personalization;
} ZRC_DRBG_INPUT;

typedef struct ZRC_DRBG_UNIT {
    int32_t type;      /* 0: Hash_DRBG */
    int32_t digest_id; /* ZRC_SHA256, ... */
    int32_t min_entropy_length;
    int32_t max_entropy_length;
    int32_t min_nonce_length;
    int32_t max_nonce_length;
    int32_t max_personalization_length;
    int32_t max_additional_length;
    int32_t outlen;            /* bytes of the digest */
    int32_t security_strength; /* bytes */
    uint8_t *V;                /* seedlen bytes; owned */
    uint8_t *C;                /* seedlen bytes; owned */
    int32_t seedlen;           /* bytes */
    uint8_t *additional_input; /* owned; used by the next generate or reseed */
    int32_t additional_input_length;
    int32_t prediction_resistance; /* not 0: reseed before every generate */
    int32_t reseed_counter;
    uint8_t last_block[64]; /* the last block of output, for the continuous test */
    int32_t last_block_length;
    ZRC_DRBG_INPUT *input; /* owned, with what it points to */
} ZRC_DRBG_UNIT;

/*
 * ZRC_Rand_Bytes - random bytes from the one generator of the process, with SHA-256. Any thread may call it.
 *
 *   buffer  receives `length` bytes
 *   length  1 to 0x7FFFFFF0
 *
 * Returns 0, the code of a failed self-test, or a code of ZRC_Rand_Bytes_DRBG.
 */
ZRC_API uint32_t ZRC_Rand_Bytes(uint8_t *buffer, int32_t length);

/*
 * ZRC_Rand_Bytes_DRBG - the same with a choice of the digest. A digest other than the one before makes the generator
 * start anew from fresh entropy; else one state goes on from request to request.
 *
 *   type                   0: Hash_DRBG
 *   digest_id              ZRC_SHA224, ZRC_SHA256, ZRC_SHA384, ZRC_SHA512; in non-proven mode ZRC_SHA1 and
 *                          ZRC_HAS160 too
 *   prediction_resistance  not 0: reseed from fresh entropy first
 *
 * Returns 0, the code of a failed self-test, or
 *   0x0B050061  ZRC_ERR_MUTEX_LOCK_FAIL        the lock cannot be made or taken
 *   0x0B050048  ZRC_ERR_NOT_SUPPORTED          [locks] type is not 0
 *   0x0B050063  ZRC_ERR_INIT_DRBG_FAIL         [locks] the digest is unknown, or refused in proven mode
 *   0x0B050064  ZRC_ERR_INSTANTIATE_DRBG_FAIL  [locks] no entropy, or input of a length that is out of range
 *   0x0B050066  ZRC_ERR_GENERATE_DRBG_FAIL     [locks] buffer is null, length out of range, or no entropy to reseed
 *   0x0B050067  ZRC_ERR_CONDITION_TEST_FAIL    [locks] a block of output was the same as the one before it
 *   0x0B050062  ZRC_ERR_MUTEX_UNLOCK_FAIL      the lock cannot be given back; the buffer is filled
 * 0x0B05003B (no memory for the unit) is reserved: the unit of a request is not allocated.
 */
ZRC_API uint32_t ZRC_Rand_Bytes_DRBG(uint8_t *buffer, int32_t length, int32_t type, int32_t digest_id,
                                     int32_t prediction_resistance);

/*
 * zrc_Get_Rand_Bytes_DRBG - the same with input of the caller's for the case that the generator starts anew; it is
 * not looked at while a state goes on.
 *
 *   input  may be null; its pointers may be null one by one, and its level is not used. Everything is copied.
 *
 * Returns what ZRC_Rand_Bytes_DRBG returns.
 */
ZRC_API uint32_t zrc_Get_Rand_Bytes_DRBG(uint8_t *buffer, int32_t length, int32_t type, int32_t digest_id,
                                         int32_t prediction_resistance, const ZRC_DRBG_INPUT *input);

/*
 * ZRC_Get_Rand_BIGINT_Ex - a random number of at most `bits` bits; the top bit is not forced. Below 1 bit the number
 * is 0 and the generator is not asked.
 *
 * Returns 0, the code of a failed self-test, or
 *   0x0B060049  ZRC_ERR_NULL_INPUT             bn is null
 *   0x0B06003A  ZRC_ERR_MALLOC                 no memory for the bytes
 *   0x0B06001D  ZRC_ERR_GET_RAND_FAIL          the generator failed, and is locked
 *   0x0B060005  ZRC_ERR_BINARY_TO_BIGINT_FAIL  bn cannot grow
 */
ZRC_API uint32_t ZRC_Get_Rand_BIGINT_Ex(ZRC_BIGINT *bn, int32_t bits);

/*
 * Hash_df - the derivation function of SP 800-90A, 10.3.1. Passes the gate before the arguments are tested.
 *
 *   digest_id      as for ZRC_Rand_Bytes_DRBG
 *   input          `input_length` bytes; null for length 0 only
 *   output         receives `output_length` bytes; must not overlap the input
 *   output_length  1 to 255 digest lengths
 *
 * Returns 0, or
 *   0x0B080049  ZRC_ERR_NULL_INPUT            a pointer is null
 *   0x0B0800F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  SHA-1, HAS-160 or an unknown digest, in proven mode
 *   0x0B080048  ZRC_ERR_NOT_SUPPORTED         the digest is unknown
 *   0x0B08002B  ZRC_ERR_INVALID_INPUT         a length is out of range
 */
ZRC_API uint32_t Hash_df(int32_t digest_id, const uint8_t *input, int32_t input_length, uint8_t *output,
                         int32_t output_length);

/*
 * A generator of one's own, for tests with known input:
 *
 *   zrc_New_DRBG_Unit, zrc_Init_DRBG, [zrc_Set_Instantiate_DRBG_Param,] zrc_Instantiate_DRBG,
 *   then in any order [zrc_Set_Reseed_DRBG_Param,] zrc_Reseed_DRBG and [zrc_Set_Generate_DRBG_Param,]
 *   zrc_Generate_DRBG, zrc_Free_DRBG_Unit.
 *
 * The setters copy what they are given, in place of an earlier copy; a null pointer leaves that value as it is. A
 * step that has worked wipes and releases the input that it used. A step on a unit that is not ready for it answers
 * with the reason ZRC_ERR_INVALID_UNIT (0x34). Lengths of input are 0 to 0x7FFFFFF0 bytes. A unit belongs to one
 * thread at a time; after a fork() it gives the same bytes in both processes.
 */

/*
 * zrc_New_DRBG_Unit - a new, fresh unit, to be released with zrc_Free_DRBG_Unit; null when there is no memory.
 */
ZRC_API ZRC_DRBG_UNIT *zrc_New_DRBG_Unit(void);

/*
 * zrc_Init_DRBG - choose the mechanism and its digest. A used unit is uninstantiated first. Passes the gate before
 * the arguments are tested.
 *
 *   type, digest_id, prediction_resistance  as for ZRC_Rand_Bytes_DRBG
 *   level                                   of entropy collection: 1 quick, 2 normal, 3 slow
 *
 * Returns 0, the code of a failed self-test, a code of zrc_Init_HashDRBG, or
 *   0x0B010049  ZRC_ERR_NULL_INPUT     unit is null
 *   0x0B010048  ZRC_ERR_NOT_SUPPORTED  type is not 0
 */
ZRC_API uint32_t zrc_Init_DRBG(ZRC_DRBG_UNIT *unit, int32_t digest_id, int32_t type, int32_t prediction_resistance,
                               uint32_t level);

/*
 * zrc_Init_HashDRBG - the part of zrc_Init_DRBG that sets the parameters of the digest and makes V and C:
 *
 *   digest          strength  seedlen  outlen   in proven mode (bytes)
 *   SHA-1           10         55      20       refused
 *   HAS-160         10         55      20       refused
 *   SHA-224         14         55      28
 *   SHA-256         16         55      32
 *   SHA-384         24        111      48
 *   SHA-512         32        111      64
 *
 * Returns 0, or
 *   0x0B070049  ZRC_ERR_NULL_INPUT            unit is null
 *   0x0B0700F0  ZRC_ERR_NOT_PROVEN_ALGORITHM  SHA-1, HAS-160 or an unknown digest, in proven mode
 *   0x0B070048  ZRC_ERR_NOT_SUPPORTED         the digest is unknown
 *   0x0B050049  ZRC_ERR_NULL_INPUT            the digest has no length: the self-test failed (the function number is
 *                                             that of a request, on purpose)
 *   0x0B07003A  ZRC_ERR_MALLOC                no memory for V and C
 */
ZRC_API uint32_t zrc_Init_HashDRBG(ZRC_DRBG_UNIT *unit, int32_t digest_id);

/*
 * zrc_Set_Instantiate_DRBG_Param - input for zrc_Instantiate_DRBG, which collects the entropy and the nonce that are
 * not set.
 *
 * Returns 0, or
 *   0x0B020049  ZRC_ERR_NULL_INPUT    unit is null
 *   0x0B02000C  ZRC_ERR_COMPARE_FAIL  a length is out of range; nothing was set
 *   0x0B02003A  ZRC_ERR_MALLOC        no memory; some of it may have been set
 */
ZRC_API uint32_t zrc_Set_Instantiate_DRBG_Param(ZRC_DRBG_UNIT *unit, const uint8_t *entropy, int32_t entropy_length,
                                                const uint8_t *nonce, int32_t nonce_length,
                                                const uint8_t *personalization, int32_t personalization_length);

/*
 * zrc_Instantiate_DRBG - V and C from entropy input, nonce and personalization string; reseed_counter is 1
 * afterwards.
 *
 * Returns 0, or
 *   0x0B020049  ZRC_ERR_NULL_INPUT             unit is null
 *   0x0B020034  ZRC_ERR_INVALID_UNIT           the unit was not initialised
 *   0x0B02000C  ZRC_ERR_COMPARE_FAIL           a length is out of range, or less entropy than the security strength
 *   0x0B020059  ZRC_ERR_SUB_OPERATION_FAILURE  entropy could not be collected, or the digest failed
 */
ZRC_API uint32_t zrc_Instantiate_DRBG(ZRC_DRBG_UNIT *unit);

/*
 * zrc_Set_Reseed_DRBG_Param, zrc_Set_Generate_DRBG_Param - additional input for the next reseed or generate, and the
 * entropy for a reseed, by itself or inside a generate; entropy that is not set is collected.
 *
 * Returns 0, or, with the function number 3 or 4,
 *   0x0B030049, 0x0B040049  ZRC_ERR_NULL_INPUT    unit is null
 *   0x0B03000C, 0x0B04000C  ZRC_ERR_COMPARE_FAIL  a length is out of range; nothing was set
 *   0x0B03003A, 0x0B04003A  ZRC_ERR_MALLOC        no memory; some of it may have been set
 */
ZRC_API uint32_t zrc_Set_Reseed_DRBG_Param(ZRC_DRBG_UNIT *unit, const uint8_t *additional, int32_t additional_length,
                                           const uint8_t *entropy, int32_t entropy_length);
ZRC_API uint32_t zrc_Set_Generate_DRBG_Param(ZRC_DRBG_UNIT *unit, const uint8_t *additional, int32_t additional_length,
                                             const uint8_t *entropy, int32_t entropy_length);

/*
 * zrc_Reseed_DRBG - V and C anew from V, entropy and additional input; reseed_counter is 1 afterwards.
 *
 * Returns 0, or
 *   0x0B030049  ZRC_ERR_NULL_INPUT             unit is null
 *   0x0B030034  ZRC_ERR_INVALID_UNIT           the unit was not instantiated
 *   0x0B03000C  ZRC_ERR_COMPARE_FAIL           too much additional input, or less entropy than the security strength
 *   0x0B030059  ZRC_ERR_SUB_OPERATION_FAILURE  entropy could not be collected, or the digest failed
 */
ZRC_API uint32_t zrc_Reseed_DRBG(ZRC_DRBG_UNIT *unit);

/*
 * zrc_Generate_DRBG - bytes from the unit. Reseeds first with prediction resistance, and when reseed_counter has come
 * to 100,000,001; that reseed takes the additional input. On failure no output is left in the buffer, and without a
 * reseed V, C and the counter are as they were.
 *
 *   output  receives `length` bytes; not part of the unit
 *   length  1 to 0x7FFFFFF0
 *
 * Returns 0, or
 *   0x0B040049  ZRC_ERR_NULL_INPUT             unit or output is null
 *   0x0B04002B  ZRC_ERR_INVALID_INPUT          length is below 1
 *   0x0B040034  ZRC_ERR_INVALID_UNIT           the unit was not instantiated
 *   0x0B04000C  ZRC_ERR_COMPARE_FAIL           too much additional input
 *   0x0B040059  ZRC_ERR_SUB_OPERATION_FAILURE  the reseed failed
 *   0x0B0A0026  ZRC_ERR_INPUT_BUF_TOO_BIG      length is above 0x7FFFFFF0
 *   0x0B0A0067  ZRC_ERR_CONDITION_TEST_FAIL    a block of output was the same as the one before it
 *   0x0B0A0022, 0x0B0A005B, 0x0B0A0018, 0x0B0A001F  the digest failed (init, update, final, none chosen)
 */
ZRC_API uint32_t zrc_Generate_DRBG(ZRC_DRBG_UNIT *unit, uint8_t *output, int32_t length);

/*
 * ZRC_Uninstantiate_DRBG - wipe and release all that the unit owns and wipe the unit, which can be initialised again.
 *
 * Returns 0, or
 *   0x0B020049  ZRC_ERR_NULL_INPUT  unit is null
 */
ZRC_API uint32_t ZRC_Uninstantiate_DRBG(ZRC_DRBG_UNIT *unit);

/*
 * zrc_Free_DRBG_Unit - uninstantiate and release a unit; null is allowed.
 */
ZRC_API void zrc_Free_DRBG_Unit(ZRC_DRBG_UNIT *unit);

ZRC_END_DECLS

#endif

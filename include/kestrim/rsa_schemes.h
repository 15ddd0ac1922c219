/*
 * RSA encryption and signatures (PKCS #1 v2.2, RFC 8017) with a key of kestrim/rsa.h.
 *
 *   uint8_t signature[256];            // as many bytes as the modulus: ZRC_Get_RSA_Length
 *   int32_t length;
 *   if (ZRC_Init_RSASSA(unit, ZRC_SHA256, ZRC_RSASSA_PSS | 32U << ZRC_RSASSA_SALT_SHIFT, 1) == 0 &&
 *       ZRC_Update_RSASSA(unit, data, size) == 0 && ZRC_Final_RSASSA(unit, signature, &length) == 0) { ... }
 *
 *   if (ZRC_Init_RSAES(unit, ZRC_RSAES_OAEP_V21, 0, ZRC_SHA256) == 0 &&
 *       ZRC_Encrypt_RSAES(unit, ciphertext, &length, message, size) == 0) { ... }
 *
 * The mode word of both Inits:
 *
 *   bits 0 to 7              the encoding: one of the constants below
 *   bits 16 to 23            bytes of the salt of PSS; 0 means 20
 *   bits 8 to 15, 24 to 31   a digest identifier for MGF1 (ZRC_SHA1, ...; its other bits are 0). When the bits name no
 *                            digest, the one of the messages is folded in by exclusive-or. So a word without any,
 *                            as above, gives MGF1 the digest of the messages; one with bits that are no identifier by
 *                            themselves gives something that may be none either, and MGF1 then uses SHA-1.
 *
 * k stands for the bytes of the modulus. Ciphertexts and signatures come out with k bytes and go in with any number:
 * leading zero bytes may be added or left off, only the value counts. A failed call writes to no output and to no
 * length. What held an encoded message, a digest or a number of the private key is wiped on every path.
 *
 * The private operation of decryption and signing goes by the Chinese remainder theorem if use_crt is not 0, key_flags
 * has ZRC_RSA_HAS_CRT, the five CRT values are there and the mode word has an encoding. It then needs no d, but for
 * the rare blinded number that is hardly longer than qInv.
 *
 * PROVEN MODE asks for a modulus of 2041 bits or more, OAEP or PSS, and SHA-224 or SHA-256 for signatures; see
 * ZRC_Init_RSAES and ZRC_Init_RSASSA. SHA-1 stays allowed inside MGF1.
 *
 * What may surprise, and is kept:
 *   - ZRC_RSASSA_PKCS1_V15 gives SHA-384 and SHA-512 the object identifier of SHA-256. Other software does not take
 *     these signatures, nor does this library take theirs.
 *   - A PSS signature under a modulus of 8 j + 1 bits (2049, ...) is made, and fails its verification here in 255 of
 *     256 cases, whoever made it. Do not use such a modulus.
 *   - ZRC_Decrypt_RSAES with ZRC_RSAES_PKCS1_V15 takes blocks of type 1 and type 2, with either key, and cannot give
 *     back an empty message; neither can OAEP.
 *   - The longest message that ZRC_RSAES_OAEP_V21 encodes, k - 2 h - 1 bytes for a digest of h bytes, cannot be
 *     decrypted again: it is one byte too long.
 *   - Decryption with PKCS #1 v1.5 tells by its code that a block is not sound. To answer a stranger's ciphertexts
 *     with that difference gives the plaintexts away (Bleichenbacher); use OAEP.
 */
#ifndef KESTRIM_RSA_SCHEMES_H
#define KESTRIM_RSA_SCHEMES_H

#include "kestrim/base.h"
#include "kestrim/rsa.h"

ZRC_BEGIN_DECLS

/* Bits 0 to 7 of the mode word. */
enum {
    ZRC_RSAES_NO_PADDING = 0, /* the message is the number; not in proven mode */
    ZRC_RSAES_OAEP_V20 = 8,   /* RSAES-OAEP with an encoded message of k - 1 bytes */
    ZRC_RSAES_OAEP_V21 = 16,  /* RSAES-OAEP with one of k bytes, of which the first is 0, as in RFC 8017 */
    ZRC_RSAES_PKCS1_V15 = 32, /* RSAES-PKCS1-v1_5; not in proven mode */

    ZRC_RSASSA_NO_ENCODE = 0, /* the digest is the number; not in proven mode */
    ZRC_RSASSA_PKCS1_V15 = 1, /* RSASSA-PKCS1-v1_5; not in proven mode */
    ZRC_RSASSA_PSS = 2        /* RSASSA-PSS */
};

/* Where the bytes of the salt stand in the mode word. */
enum {
    ZRC_RSASSA_SALT_SHIFT = 16
};

/*
 * ZRC_Init_RSAES - choose an encoding, an operation and a digest for ZRC_Encrypt_RSAES and ZRC_Decrypt_RSAES. It
 * holds until the next Init of either family. The key may be loaded before or afterwards.
 *
 *   mode       ZRC_RSAES_...; an unknown encoding is refused later
 *   operation  0: with the public key, 1: with the private key, for either direction
 *   digest_id  of the label of OAEP, and of MGF1 when the mode names none; 0 is ZRC_SHA1
 *
 * Returns 0, the code of a failed self-test, or
 *   0x18080049  ZRC_ERR_NULL_INPUT             unit is null (tested before the gate)
 *   0x18080048  ZRC_ERR_NOT_SUPPORTED          proven mode: a modulus is loaded and has less than 2041 bits
 *   0x180800F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode: no padding, or PKCS #1 v1.5
 *   0x18080059  ZRC_ERR_SUB_OPERATION_FAILURE  the digest is unknown, or refused in proven mode (SHA-1, which is the
 *                                              default, too), or no memory
 */
ZRC_API uint32_t ZRC_Init_RSAES(ZRC_RSA_UNIT *unit, uint32_t mode, uint32_t operation, int32_t digest_id);

/*
 * ZRC_Encrypt_RSAES - encrypt one message.
 *
 *   output         receives k bytes; may be the input
 *   output_length  receives k
 *   input          never null, not even for length 0
 *   input_length   bytes, for a digest of h bytes at most
 *                    OAEP v2.0   k - 2 h - 2
 *                    OAEP v2.1   k - 2 h - 1, of which the last one cannot be decrypted
 *                    PKCS #1     k - 11
 *                    no padding  k, but not 0, and the value has to be less than the modulus
 *
 * With the private key a PKCS #1 block has type 1, and the power is taken without blinding or the primes, in a time
 * that does not depend on the exponent.
 *
 * Returns 0, or
 *   0x18090049  ZRC_ERR_NULL_INPUT             unit is null
 *   0x1809002B  ZRC_ERR_INVALID_INPUT          another pointer is null; the length is negative, or above k for OAEP
 *                                              v2.0 and no padding
 *   0x18090045  ZRC_ERR_NO_PRIVATE_VALUE       private key: key_flags has neither n nor d, or one of them is missing
 *   0x18090046  ZRC_ERR_NO_PUBLIC_VALUE        public key: key_flags has neither n nor e, or one of them is missing
 *   0x18090048  ZRC_ERR_NOT_SUPPORTED          proven mode: the modulus has less than 2041 bits
 *   0x1809003A  ZRC_ERR_MALLOC                 no memory
 *   0x180900F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode: no padding, or PKCS #1 v1.5
 *   0x18090033  ZRC_ERR_INVALID_RSA_ENCODING   the mode word has no encoding of the above
 *   0x18090012  ZRC_ERR_ENCODING_FAILURE       the message is too long, or empty without padding; no Init (OAEP), no
 *                                              random bytes, or no memory
 *   0x1809003D  ZRC_ERR_MESSAGE_TOO_LONG       the number is not less than the modulus
 *   0x18090059  ZRC_ERR_SUB_OPERATION_FAILURE  the power could not be taken: an even modulus, no memory, no pool
 */
ZRC_API uint32_t ZRC_Encrypt_RSAES(ZRC_RSA_UNIT *unit, uint8_t *output, int32_t *output_length, const uint8_t *input,
                                   int32_t input_length);

/*
 * ZRC_Decrypt_RSAES - decrypt one message.
 *
 *   output         room for k bytes (ZRC_Get_RSA_Length), whatever the ciphertext's length; receives the message; may
 *                  be the input
 *   output_length  receives the message's length, 1 or more
 *   input          the ciphertext; never null. A message longer than the ciphertext is refused, which only matters
 *                  when many leading zero bytes were left off
 *   input_length   bytes, 0 or more
 *
 * Without padding the message is the number without leading zero bytes. That a block is not sound is told by one
 * code, and in a time that does not depend on what is wrong with it.
 *
 * Returns 0, or
 *   0x180A0049  ZRC_ERR_NULL_INPUT             unit is null
 *   0x180A002B  ZRC_ERR_INVALID_INPUT          another pointer is null, or the length is negative
 *   0x180A0046  ZRC_ERR_NO_PUBLIC_VALUE        private key: key_flags has neither n nor e (the flags are tested the
 *                                              other way round than for encryption); public key: n or e is missing
 *   0x180A0045  ZRC_ERR_NO_PRIVATE_VALUE       public key: key_flags has neither n nor d; private key: n is
 *                                              missing, or d is and the primes cannot replace it
 *   0x180A0048  ZRC_ERR_NOT_SUPPORTED          proven mode: the modulus has less than 2041 bits
 *   0x180A003A  ZRC_ERR_MALLOC                 no memory
 *   0x180A003D  ZRC_ERR_MESSAGE_TOO_LONG       the ciphertext is not less than the modulus
 *   0x180A002E  ZRC_ERR_INVALID_KEY_PAIR       private key: p, q, n, e and d are there and do not fit together
 *   0x18060059  ZRC_ERR_SUB_OPERATION_FAILURE  the blinding could not be taken off (the function number is that of
 *                                              signing, on purpose)
 *   0x180A0059  ZRC_ERR_SUB_OPERATION_FAILURE  the power could not be taken: no blinding, an even modulus, no memory,
 *                                              no pool
 *   0x180A00F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode: no padding, or PKCS #1 v1.5
 *   0x180A0033  ZRC_ERR_INVALID_RSA_ENCODING   the mode word has no encoding of the above
 *   0x180A000E  ZRC_ERR_DECODING_FAILURE       the block is not sound, the message empty, no Init (OAEP), no memory
 */
ZRC_API uint32_t ZRC_Decrypt_RSAES(ZRC_RSA_UNIT *unit, uint8_t *output, int32_t *output_length, const uint8_t *input,
                                   int32_t input_length);

/*
 * ZRC_Init_RSASSA - start a message to be signed or verified. Each signature needs an Init. The key may be loaded
 * afterwards: but loading cleans the unit, its digest too, so load it before.
 *
 *   digest_id  ZRC_SHA1 ... ZRC_MDC2; an HMAC identifier means the digest under it
 *   mode       ZRC_RSASSA_..., and the salt's length for PSS; an unknown encoding is refused at the end
 *   operation  0: verify, 1: sign
 *
 * Returns 0, the code of a failed self-test, or
 *   0x18030049  ZRC_ERR_NULL_INPUT             unit is null (tested before the gate)
 *   0x180300F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode: PKCS #1 v1.5, or a digest_id other than ZRC_SHA224 and
 *                                              ZRC_SHA256
 *   0x18030048  ZRC_ERR_NOT_SUPPORTED          proven mode: a modulus is loaded and has less than 2041 bits
 *   0x18030023  ZRC_ERR_INIT_FAILURE           no memory for a digest unit; or there was one and the digest is
 *                                              unknown, or has no memory for its record
 *   0x18030059  ZRC_ERR_SUB_OPERATION_FAILURE  the same in a unit that had no digest unit; or no memory for a pool
 */
ZRC_API uint32_t ZRC_Init_RSASSA(ZRC_RSA_UNIT *unit, int32_t digest_id, uint32_t mode, uint32_t operation);

/*
 * ZRC_Update_RSASSA - feed bytes of the message.
 *
 *   data    `length` bytes; never null
 *   length  bytes, 0 or more; MD5 and HAS-160 refuse 0
 *
 * Returns 0, or
 *   0x18040049  ZRC_ERR_NULL_INPUT             unit is null
 *   0x18040059  ZRC_ERR_SUB_OPERATION_FAILURE  the digest refused the bytes, or there was no Init
 */
ZRC_API uint32_t ZRC_Update_RSASSA(ZRC_RSA_UNIT *unit, const uint8_t *data, int32_t length);

/*
 * ZRC_Final_RSASSA - end the message: sign or verify, as the Init said.
 *
 *   signature         to sign: receives k bytes; to verify: the signature
 *   signature_length  to sign: receives k; to verify: the signature's length, which stays as it is
 *
 * Returns what ZRC_Sign_RSASSA or ZRC_Verify_RSASSA returns, or
 *   0x18050049  ZRC_ERR_NULL_INPUT        a pointer is null
 *   0x18050048  ZRC_ERR_NOT_SUPPORTED     proven mode: a modulus is loaded and has less than 2041 bits
 *   0x18050045  ZRC_ERR_NO_PRIVATE_VALUE  to sign: key_flags is below 4
 *   0x18050046  ZRC_ERR_NO_PUBLIC_VALUE   to verify: key_flags is below 3
 */
ZRC_API uint32_t ZRC_Final_RSASSA(ZRC_RSA_UNIT *unit, uint8_t *signature, int32_t *signature_length);

/*
 * ZRC_Sign_RSASSA - end the message and sign it, whatever operation the Init named.
 *
 *   signature         receives k bytes
 *   signature_length  receives k
 *
 * Returns 0, or
 *   0x18060049  ZRC_ERR_NULL_INPUT             a pointer is null
 *   0x1806003A  ZRC_ERR_MALLOC                 no memory, or no pool
 *   0x18060059  ZRC_ERR_SUB_OPERATION_FAILURE  n is missing, or d is and the primes cannot replace it; no Init;
 *                                              the blinding failed (without e there is none), or the step by the
 *                                              primes did
 *   0x180600F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode: PKCS #1 v1.5, or no encoding
 *   0x18060012  ZRC_ERR_ENCODING_FAILURE       the modulus has no room for the digest and the salt; no encoding for
 *                                              the digest (PKCS #1 v1.5); no random bytes; no memory
 *   0x1806002A  ZRC_ERR_INVALID_ENCODE_MODE    the mode word has no encoding of the above
 *   0x18060005  ZRC_ERR_BINARY_TO_BIGINT_FAIL  no memory for the number
 *   0x1806003D  ZRC_ERR_MESSAGE_TOO_LONG       the number is not less than the modulus
 *   0x1806002E  ZRC_ERR_INVALID_KEY_PAIR       p, q, n, e and d are there and do not fit together
 *   0x18060054  ZRC_ERR_SIGN_FAILURE           the signature came out as 0
 *   a code of ZRC_Mod_Exp_Mont_BIGINT          the power without the primes could not be taken
 */
ZRC_API uint32_t ZRC_Sign_RSASSA(ZRC_RSA_UNIT *unit, uint8_t *signature, int32_t *signature_length);

/*
 * ZRC_Verify_RSASSA - end the message and verify its signature, whatever operation the Init named.
 *
 *   signature         any number of bytes; leading zero bytes do not count
 *   signature_length  bytes, 1 or more
 *
 * Returns 0 when the signature is good, or
 *   0x18070049  ZRC_ERR_NULL_INPUT             a pointer is null
 *   0x1807003A  ZRC_ERR_MALLOC                 no memory
 *   0x18070059  ZRC_ERR_SUB_OPERATION_FAILURE  n or e is missing; no Init; no pool; no memory for the number
 *   0x1807002B  ZRC_ERR_INVALID_INPUT          the length is below 1; PKCS #1 v1.5: the signature is not good, or
 *                                              there is no encoding for the digest or the modulus
 *   0x18070055  ZRC_ERR_SIGNATURE_TOO_LONG     the signature is not less than the modulus
 *   0x180700F0  ZRC_ERR_NOT_PROVEN_ALGORITHM   proven mode: PKCS #1 v1.5, or no encoding
 *   0x1807000E  ZRC_ERR_DECODING_FAILURE       no encoding: the signature is not good; or the mode word has no
 *                                              encoding of the above
 *   0x18100059  ZRC_ERR_SUB_OPERATION_FAILURE  PSS: the signature is not good, or the modulus is too short
 *   a code of ZRC_Check_RSASSA_PKCS1_PSS_Encode or of ZRC_Mod_Exp_Mont_BIGINT
 */
ZRC_API uint32_t ZRC_Verify_RSASSA(ZRC_RSA_UNIT *unit, const uint8_t *signature, int32_t signature_length);

ZRC_END_DECLS

#endif

/*
 * The encodings of PKCS #1 (RFC 8017) that the schemes of kestrim/rsa_schemes.h put around the RSA operation.
 *
 * The schemes call these functions; there is seldom a reason to call them oneself. k is the size of the modulus in
 * bytes, h the length of a digest. None of them looks at proven mode.
 *
 * Lengths are in bytes. Where a comment does not allow it, a pointer must not be null, not even for a length of 0,
 * and input and output must not overlap.
 *
 * The digest of MGF1 is the one that bits 8-15 and 24-31 of unit->mode name, or else SHA-1; the digest of the label
 * of OAEP is that of unit->digest. Both digest units that occur here, unit->digest and the `digest` of PSS, must be
 * initialised; what they were fed before is dropped. Afterwards they are as behind ZRC_Final_DIGEST, ready for a new
 * message; if a digest failed, the next Init, or the next function of this header, makes them ready.
 */
#ifndef KESTRIM_RSA_PADDING_H
#define KESTRIM_RSA_PADDING_H

#include "kestrim/base.h"
#include "kestrim/rsa.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_Encode_RSAES_PKCS1_PADDING - PKCS #1 v1.5 encryption block: 00, type, padding, 00, message. Type 2 with random
 * padding for the public key (unit->operation 0), type 1 with padding FF for the private key (any other operation).
 *
 *   input          `input_length` bytes, at most output_length - 11; may overlap the output
 *   output         receives `output_length` bytes
 *   output_length  k
 *
 * Returns output_length, or 0: an argument is null or out of range, or the random generator failed (nothing of the
 * block is left then, and the generator is locked: see kestrim/drbg.h).
 */
ZRC_API int32_t ZRC_Encode_RSAES_PKCS1_PADDING(ZRC_RSA_UNIT *unit, const uint8_t *input, int32_t input_length,
                                               uint8_t *output, int32_t output_length);

/*
 * ZRC_Decode_RSAES_PKCS1_PADDING - the message of such a block of either type, whatever the operation: 01 or 02, at
 * least 8 bytes that are not zero, 00, message. How many bytes stand in front of the message is not compared with
 * the size of the modulus.
 *
 *   input          `input_length` bytes, without the zero byte in front of the type
 *   output         receives the message, at most `output_length` bytes; may be `input`
 *   output_length  the longest message that is accepted
 *
 * Returns the length of the message, or 0: an argument is null or negative, the block is not sound, the message is
 * empty or too long. Up to the returned length, the time depends on input_length only. A caller who tells others
 * whether a ciphertext decodes lets them decrypt (Bleichenbacher's attack): prefer OAEP.
 */
ZRC_API int32_t ZRC_Decode_RSAES_PKCS1_PADDING(ZRC_RSA_UNIT *unit, const uint8_t *input, int32_t input_length,
                                               uint8_t *output, int32_t output_length);

/*
 * ZRC_Encode_RSAES_OAEP_PADDING - EME-OAEP: seed and data block, masked with MGF1.
 *
 *   unit            with a modulus and an initialised digest
 *   message         `message_length` bytes, at most E - 2h - 1; may overlap the output
 *   output          receives E bytes: k - 1 for form 0, k for form 1
 *   output_size     size of the output, E at least
 *   label           `label_length` bytes; null for length 0 only
 *   form            0: PKCS #1 v2.0, without a leading zero byte; 1: PKCS #1 v2.1
 *
 * Form 1 accepts a message one byte longer than the standard does (k - 2h - 1 bytes). The byte 01 in front of that
 * message then overwrites the last byte of the label's digest, and the result cannot be decoded.
 *
 * Returns E, or -1: an argument is null or out of range, the modulus is too short (E is to be 2h + 1 at least), the
 * unit has no modulus or no digest, the random generator failed (and is locked: see kestrim/drbg.h), a digest failed,
 * or there is no memory. In the last two cases the output is wiped.
 */
ZRC_API int32_t ZRC_Encode_RSAES_OAEP_PADDING(ZRC_RSA_UNIT *unit, const uint8_t *message, int32_t message_length,
                                              uint8_t *output, int32_t output_size, const uint8_t *label,
                                              int32_t label_length, int32_t form);

/*
 * ZRC_Decode_RSAES_OAEP_PADDING - the message of such an encoding.
 *
 *   unit, label, label_length, form  as for ZRC_Encode_RSAES_OAEP_PADDING
 *   encoded         `encoded_length` bytes, at most E; leading zero bytes may be left off. In form 1 the first of k
 *                   bytes is not looked at
 *   output          receives the message; room for output_bound bytes in form 0, for output_bound + 1 in form 1
 *   output_bound    compared with the length of the message in form 0, with that length less 1 in form 1: form 1
 *                   accepts a message that is one byte longer
 *
 * Returns the length of the message, or 0: an argument is null or out of range, the encoding is not sound, the
 * message is empty or too long, a digest failed, or there is no memory. Up to the returned length, the time depends
 * on the sizes only, if that of the digests does (it does not for MDC-2).
 */
ZRC_API int32_t ZRC_Decode_RSAES_OAEP_PADDING(ZRC_RSA_UNIT *unit, const uint8_t *encoded, int32_t encoded_length,
                                              uint8_t *output, int32_t output_bound, const uint8_t *label,
                                              int32_t label_length, int32_t form);

/*
 * ZRC_Add_EMSA_PKCS1_v1_5_Encode - EMSA-PKCS1-v1_5: 00, 01, padding FF, 00, prefix of the digest, digest.
 *
 *   digest       prefix (hexadecimal)                    least k
 *   ZRC_SHA1     3021300906052b0e03021a05000414          38
 *   ZRC_SHA256   3031300d060960864801650304020105000420  54
 *   ZRC_SHA384   3041300d060960864801650304020105000430  70
 *   ZRC_SHA512   3051300d060960864801650304020105000440  86
 *   ZRC_MD5      3020300c06082a864886f70d020505000410    37
 *
 * The prefixes of SHA-384 and SHA-512 carry the object identifier of SHA-256 and so differ from the standard: such
 * signatures verify with this library only. With the least k the padding has no bytes, where the standard wants 8.
 *
 *   output       receives k bytes
 *   hash         `hash_length` bytes, the digest
 *   digest_id    of the table; no other digest has an encoding
 *
 * Returns 0, or
 *   43  k is less than prefix length + 11, or than prefix length + hash_length + 3
 *   -1  the digest has no encoding, an argument is null, or hash_length is negative (tested first)
 */
ZRC_API int32_t ZRC_Add_EMSA_PKCS1_v1_5_Encode(uint8_t *output, int32_t k, const uint8_t *hash, int32_t hash_length,
                                               int32_t digest_id);

/*
 * ZRC_Check_EMSA_PKCS1_v1_5_Encode - compare what a signature gave with the whole encoding of a digest.
 *
 *   recovered         `recovered_length` bytes, without leading zero bytes: k - 1 when the signature is good
 *   k, hash, hash_length, digest_id  as for ZRC_Add_EMSA_PKCS1_v1_5_Encode
 *
 * Returns 0 when they are equal, 1 when recovered or hash is null or recovered_length is below 1, or
 *   0x180D000C  ZRC_ERR_COMPARE_FAIL      they differ, in length or in a byte
 *   0x180D0012  ZRC_ERR_ENCODING_FAILURE  the digest cannot be encoded
 *   0x180D003A  ZRC_ERR_MALLOC            no memory for the encoding
 */
ZRC_API uint32_t ZRC_Check_EMSA_PKCS1_v1_5_Encode(const uint8_t *recovered, int32_t recovered_length, int32_t k,
                                                  const uint8_t *hash, int32_t hash_length, int32_t digest_id);

/*
 * ZRC_Add_RSASSA_PKCS1_PSS_Encode - EMSA-PSS with a random salt. With a modulus of 8 j + 1 bits the encoded message
 * is a byte shorter than k, and stands behind a zero byte.
 *
 * WITH A MODULUS OF 8 j + 1 BITS (2041, 2049, ...) 255 of 256 signatures fail the check of this library, on purpose;
 * other libraries accept them. Use moduli of 2048 bits, 3072 bits and so on.
 *
 *   unit         with a modulus
 *   output       receives k bytes
 *   k            size of the modulus
 *   hash         `hash_length` bytes, the digest of the message
 *   salt_length  bytes
 *   digest       initialised, with digests of hash_length bytes; usually unit->digest
 *
 * Returns 0, or
 *   0x180F002B  ZRC_ERR_INVALID_INPUT          an argument is null, a length is negative or does not fit, k is not
 *                                              the size of the modulus, or the encoded message is shorter than
 *                                              h + salt_length + 2 bytes
 *   0x180F0059  ZRC_ERR_SUB_OPERATION_FAILURE  a digest or MGF1 failed, and the output is wiped; or the random
 *                                              generator, which is locked then (see kestrim/drbg.h)
 * 0x180F003B (no memory) is reserved: only MGF1 allocates.
 */
ZRC_API uint32_t ZRC_Add_RSASSA_PKCS1_PSS_Encode(ZRC_RSA_UNIT *unit, uint8_t *output, int32_t k, const uint8_t *hash,
                                                 int32_t hash_length, int32_t salt_length, ZRC_DIGEST_UNIT *digest);

/*
 * ZRC_Check_RSASSA_PKCS1_PSS_Encode - check what a signature gave.
 *
 *   recovered    `recovered_length` bytes, at most k; leading zero bytes may be left off
 *   salt_length  the salt must have exactly so many bytes; 0 is never accepted
 *   unit, hash, hash_length, digest  as for ZRC_Add_RSASSA_PKCS1_PSS_Encode
 *
 * Returns 0, or
 *   0x18100049  ZRC_ERR_NULL_INPUT             an argument is null
 *   0x18100059  ZRC_ERR_SUB_OPERATION_FAILURE  the encoding is not that of the digest, or could not be compared
 *   0x1810003B  ZRC_ERR_MEM_ALLOC              no memory for the encoded message
 */
ZRC_API uint32_t ZRC_Check_RSASSA_PKCS1_PSS_Encode(ZRC_RSA_UNIT *unit, const uint8_t *recovered,
                                                   int32_t recovered_length, const uint8_t *hash, int32_t hash_length,
                                                   int32_t salt_length, ZRC_DIGEST_UNIT *digest);

/*
 * PKCS1_MGF1 - the mask generation function of RFC 8017, B.2.1: Hash(seed, 0), Hash(seed, 1), ... Proven mode does
 * not restrict its digest: SHA-1, MD5 and HAS-160 work in every mode (MDC-2 refuses by itself).
 *
 * OpenSSL has a function of this name, too. Both libraries can serve one program, since this one binds its own calls
 * and versions its names; but one source file cannot include both this header and <openssl/rsa.h>.
 *
 *   mask         receives `mask_length` bytes; may overlap the seed
 *   seed         `seed_length` bytes; 0 is refused by MD5 and HAS-160
 *   digest_id    ZRC_SHA1 ... ZRC_MDC2; any other value means ZRC_SHA1
 *
 * Returns 0, the code of a failed self-test, a code of a digest (0x0A02005B: the seed is refused; 0x0A0400F0: MDC-2
 * in proven mode), or
 *   0x180E0049  ZRC_ERR_NULL_INPUT     mask or seed is null
 *   0x180E002B  ZRC_ERR_INVALID_INPUT  a length is negative
 *   0x180E003A  ZRC_ERR_MALLOC         no memory for the digest
 */
ZRC_API uint32_t PKCS1_MGF1(uint8_t *mask, int32_t mask_length, const uint8_t *seed, int32_t seed_length,
                            int32_t digest_id);

ZRC_END_DECLS

#endif

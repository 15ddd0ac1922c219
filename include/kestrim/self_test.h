/*
 * Self-tests. ZRC_Crypto_Initialize runs ZRC_Crypto_Self_Test once in each process, before the first cryptographic
 * operation; it and every check can also be called directly.
 *
 * Each check makes and releases its own units and returns 0 or one code whatever step of it failed; only the check of
 * the library's file tells the step. Units pass the gate, so a check that is called before any other gated call runs
 * the whole power-up self-test first, by its first Init, and fails when that does. Checks that sign or encrypt draw
 * random bytes: see kestrim/drbg.h for what a failing draw means for the rest of the process.
 */
#ifndef KESTRIM_SELF_TEST_H
#define KESTRIM_SELF_TEST_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_Crypto_Self_Test - run the power-up checks in their order, stopping at the first that fails:
 *
 *   zrc_Verify_DLL, zrc_Context_Check, zrc_Version_Check, zrc_Entropy_Check (in proven mode only), zrc_DRBG_Check,
 *   zrc_HMAC_Check, zrc_DIGEST_Check, zrc_Sym_Check, zrc_RSAES_Check, zrc_RSASSA_Check, zrc_KCDSA_Check
 *
 * Returns 0, or the code of the check that failed (below). Does not change the gate: a direct call is a test, no
 * more.
 */
ZRC_API uint32_t ZRC_Crypto_Self_Test(void);

/*
 * zrc_Verify_DLL - the library's own file is what was built: its last 256 bytes are an RSA-PSS signature (RFC 8017,
 * SHA-256, salt of 20 bytes) over all before them, which fits the 2048-bit key in the library.
 *
 * The file is looked for in the folders that the environment variable LD_LIBRARY_PATH names, separated by ':', and
 * nowhere else. Taken is the first regular file libKESTRIM_Crypto_for_C_v5.2.0_Linux_2.6.so that the dynamic loader
 * opens (which runs its initialisers) and that exports ZRC_Crypto_Self_Test. Passed over are empty folder names and
 * paths of more than 2,048 bytes. No other thread may change the environment meanwhile.
 *
 * Returns 0, or
 *   0x1A01003B  ZRC_ERR_MEM_ALLOC       no memory for the key or the path
 *   0x1A010050  ZRC_ERR_READ_FROM_FILE  LD_LIBRARY_PATH is not set, no folder in it has the library, or the file
 *                                       cannot be read or finds no memory
 *   0x1A010023  ZRC_ERR_INIT_FAILURE    the signature check could not start
 *   0x1A01005C  ZRC_ERR_UPDATE_FAILURE  the file could not be digested
 *   0x1A010019  ZRC_ERR_FINAL_FAILURE   the signature is wrong, or the file is not longer than one
 */
ZRC_API uint32_t zrc_Verify_DLL(void);

/*
 * zrc_Context_Check - create and free one unit of each family: DRBG, HMAC, digest, block cipher, RSA, KCDSA, and
 * outside proven mode, DSA.
 *
 * Returns 0, or
 *   0x1A020059  ZRC_ERR_SUB_OPERATION_FAILURE  a constructor returned null
 */
ZRC_API uint32_t zrc_Context_Check(void);

/*
 * zrc_Version_Check - the version string is there.
 *
 * Returns 0, or
 *   0x1A030059  ZRC_ERR_SUB_OPERATION_FAILURE  ZRC_Get_Crypto_Version gave null or an empty string
 */
ZRC_API uint32_t zrc_Version_Check(void);

/*
 * zrc_Entropy_Check - draw entropy and nonce twice, slowly (level 3, strength 16), and start the random generator
 * from the second draw, if it is not running already.
 *
 * TWO EQUAL DRAWS PASS. When an entropy or a nonce is missing, or the two draws have the same one, the check ends
 * with 0 and does not start the generator: this is required as it is. It shows that the source works, not that it is
 * random.
 *
 * Returns 0, or
 *   0x1A040014  ZRC_ERR_ENTROPY_FAIL  a draw failed, or 32 bytes could not be generated
 */
ZRC_API uint32_t zrc_Entropy_Check(void);

/*
 * zrc_DRBG_Check - known answers of Hash_DRBG with SHA-224, SHA-256, SHA-384 and SHA-512 (SP 800-90A): instantiated
 * with personalization, two requests with additional input, the second one compared.
 *
 * Returns 0, or
 *   0x1A050059  ZRC_ERR_SUB_OPERATION_FAILURE  a wrong answer, or none
 */
ZRC_API uint32_t zrc_DRBG_Check(void);

/*
 * zrc_HMAC_Check - known answers of HMAC with SHA-224, SHA-256, SHA-384 and SHA-512 (RFC 4231).
 *
 * Returns 0, or
 *   0x1A060059  ZRC_ERR_SUB_OPERATION_FAILURE  a wrong answer, or none
 */
ZRC_API uint32_t zrc_HMAC_Check(void);

/*
 * zrc_DIGEST_Check - known answers of SHA-224, SHA-256, SHA-384 and SHA-512 (FIPS 180-4).
 *
 * Returns 0, or
 *   0x1A070059  ZRC_ERR_SUB_OPERATION_FAILURE  a wrong answer, or none
 */
ZRC_API uint32_t zrc_DIGEST_Check(void);

/*
 * zrc_Sym_Check - known answers of SEED (RFC 4269, RFC 4196), ARIA-128, ARIA-192 and ARIA-256 (KS X 1213) in ECB,
 * CBC, CFB and OFB: one block, encrypted and decrypted.
 *
 * Returns 0, or
 *   0x1A090059  ZRC_ERR_SUB_OPERATION_FAILURE  a wrong answer, or none
 */
ZRC_API uint32_t zrc_Sym_Check(void);

/*
 * zrc_RSAES_Check - RSAES-OAEP (RFC 8017) with a fixed 2048-bit key: what was encrypted, with SHA-224 (MGF1 with
 * SHA-1) and with SHA-256 (MGF1 with SHA-224), is decrypted.
 *
 * Returns 0, or
 *   0x1A0B0059  ZRC_ERR_SUB_OPERATION_FAILURE  a step failed, or another message came out
 */
ZRC_API uint32_t zrc_RSAES_Check(void);

/*
 * zrc_RSASSA_Check - RSASSA-PSS (RFC 8017) with a fixed 2048-bit key: what was signed, with SHA-224 and with SHA-256
 * and a salt of the digest's length, is verified.
 *
 * Returns 0, or
 *   0x1A0C0059  ZRC_ERR_SUB_OPERATION_FAILURE  a step failed, or the signature is refused
 */
ZRC_API uint32_t zrc_RSASSA_Check(void);

/*
 * zrc_KCDSA_Check - KCDSA (TTAK.KO-12.0001) with fixed keys, of 2048 and 224 bits with SHA-224 and of 2048 and 256
 * bits with SHA-256: what was signed is verified.
 *
 * Returns 0, or
 *   0x1A0D0059  ZRC_ERR_SUB_OPERATION_FAILURE  a step failed, or the signature is refused
 */
ZRC_API uint32_t zrc_KCDSA_Check(void);

/*
 * Conditional checks, for programs that make keys. They are not part of the power-up self-test.
 */

/*
 * zrc_Sym_Key_Check - draw a random key, and wipe it, for ARIA-128, ARIA-192, ARIA-256 and SEED.
 *
 * Returns 0, or
 *   0x1A080059  ZRC_ERR_SUB_OPERATION_FAILURE  the length of a key is 0 or above 1,024 bytes, or the generator failed
 */
ZRC_API uint32_t zrc_Sym_Key_Check(void);

/*
 * zrc_Asym_Key_Check - generate an RSA key of 2048 bits (exponent 65537, version 1), and verify what was signed with
 * it (RSASSA-PSS with SHA-256 and a salt of 32 bytes).
 *
 * Returns 0, or
 *   0x1A0A0059  ZRC_ERR_SUB_OPERATION_FAILURE  a step failed, or the signature is refused
 */
ZRC_API uint32_t zrc_Asym_Key_Check(void);

ZRC_END_DECLS

#endif

/*
 * Power-up self-tests. ZRC_Crypto_Initialize runs them once for each process; they can also be called directly.
 */
#ifndef KESTRIM_SELF_TEST_H
#define KESTRIM_SELF_TEST_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_Crypto_Self_Test - run the checks in their order, stopping at the first that fails: unit construction,
 * version, HMAC and digest known answers.
 *
 * Returns 0, or the code of the check that failed (below). Does not change the gate: a direct call is a test, no
 * more.
 */
ZRC_API uint32_t ZRC_Crypto_Self_Test(void);

/*
 * zrc_Context_Check - create and free one unit of each family.
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

ZRC_END_DECLS

#endif

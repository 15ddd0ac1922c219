/*
 * Library state: the self-test gate, the operating mode and the version.
 */
#ifndef KESTRIM_STATE_H
#define KESTRIM_STATE_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_Crypto_Initialize - the gate: run the power-up self-test unless it has passed.
 *
 * Every Init function and most queries call it, so a program does not have to. A pass is remembered for the life of
 * the process; after a failure the next call tests again. When several threads call it at once, one runs the test
 * and the others wait for its result.
 *
 * Returns 0, or the code of the first check that failed (ZRC_Crypto_Self_Test).
 */
ZRC_API uint32_t ZRC_Crypto_Initialize(void);

/*
 * ZRC_Is_Proven - 1 while proven mode is in force, else 0.
 */
ZRC_API uint8_t ZRC_Is_Proven(void);

/*
 * ZRC_Change_Non_Proven_Mode - allow the algorithms that proven mode refuses. Possible until the self-test has
 * passed; nothing sets proven mode again.
 *
 * Returns 0 (also when called again before the first gated call), or
 *   0x0D0100F1  ZRC_ERR_NOT_CHANGE_NONPROVEN  the self-test has passed or was switched off; the mode stays
 */
ZRC_API uint32_t ZRC_Change_Non_Proven_Mode(void);

/*
 * ZRC_Change_Test_Mode - switch off the self-test and proven mode for the rest of the process. For development only:
 * a module that was not tested is not a validated module.
 */
ZRC_API void ZRC_Change_Test_Mode(void);

/*
 * ZRC_Get_Crypto_Version - "5.2.0", a string of the library.
 */
ZRC_API const char *ZRC_Get_Crypto_Version(void);

/*
 * GetLibraryFileName - always null on Linux.
 */
ZRC_API const char *GetLibraryFileName(void);

ZRC_END_DECLS

#endif

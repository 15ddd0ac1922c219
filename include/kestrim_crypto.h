/*
 * Kestrim Crypto for C 5.2.0 - the one header to include, from C99 or C++.
 *
 * What holds for every function, said once:
 *
 * Units (objects).  Each family works on a unit with one life: ZRC_New_X_Unit allocates it zeroed, ZRC_Init_X
 *   selects the algorithm and keys it, ZRC_Update_X feeds data any number of times, ZRC_Final_X ends the message,
 *   ZRC_Clean_X_Unit wipes it for another Init and ZRC_Free_X_Unit wipes and releases it. Init on a used unit cleans
 *   it first. The fields of a unit are documented so that they can be read in a debugger; callers do not write them.
 *
 * Sizes.  Every length is in bytes unless the comment says bits. Lengths are 32-bit: one call takes at most 2^31 - 1
 *   bytes where the length is signed, longer messages go in pieces. Output buffers are the caller's and are as large
 *   as the comment says; the library does not know their size.
 *
 * Ownership.  The caller owns every buffer and unit it passes. What a function allocates for the caller is
 *   released with ZRC_Free. Units own what their pointer fields point at. Strings returned as
 *   `const char *` belong to the library.
 *
 * Errors.  Functions that return uint32_t give 0 for success or a code: module in bits 24-31 (ZRC_L_*), function in
 *   bits 16-23 (ZRC_F_*), reason in bits 0-7 (ZRC_ERR_*). Comments list each code by value. A null pointer argument
 *   that a comment does not allow is refused by the code whose reason is ZRC_ERR_NULL_INPUT (0x49), or, where a function
 *   has no such code, is not to be passed. Queries return 0, -1 or null on failure.
 *
 * Modes and self-test.  The library starts in proven mode, in which only approved algorithms can be initialised, and
 *   tests itself in the first call that needs it (ZRC_Crypto_Initialize, "the gate"). Every Init and most queries
 *   pass the gate and return the self-test's own code (0x1A......) unchanged when it fails; comments do not repeat
 *   that. To use the other algorithms call ZRC_Change_Non_Proven_Mode before anything else.
 *
 * Threads.  The library starts none. A unit belongs to one thread at a time; different units are independent. If
 *   several threads make the first gated call at once, one runs the self-test and the others wait for its result.
 *   Switch modes before threads share the library.
 *
 * Forking.  Do not fork while another thread is inside the first gated call.
 */
#ifndef KESTRIM_CRYPTO_H
#define KESTRIM_CRYPTO_H

#include "kestrim/aes.h"
#include "kestrim/aria.h"
#include "kestrim/base.h"
#include "kestrim/bigint.h"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "kestrim/bigint_words.h"
#include "kestrim/block_cipher.h"
#include "kestrim/block_modes.h"
#include "kestrim/blowfish.h"
#include "kestrim/cbc_mac.h"
#include "kestrim/des.h"
#include "kestrim/des_mac.h"
#include "kestrim/dh.h"
#include "kestrim/digest.h"
#include "kestrim/drbg.h"
#include "kestrim/dsa.h"
#include "kestrim/ecc.h"
#include "kestrim/ecdsa.h"
#include "kestrim/entropy.h"
#include "kestrim/error.h"
#include "kestrim/has160.h"
#include "kestrim/hmac.h"
#include "kestrim/kcdsa.h"
#include "kestrim/lea.h"
#include "kestrim/lock.h"
#include "kestrim/md5.h"
#include "kestrim/mdc2.h"
#include "kestrim/memory.h"
#include "kestrim/prng.h"
#include "kestrim/rc2.h"
#include "kestrim/rc4.h"
#include "kestrim/rc5.h"
#include "kestrim/rsa.h"
#include "kestrim/rsa_padding.h"
#include "kestrim/rsa_schemes.h"
#include "kestrim/seed.h"
#include "kestrim/self_test.h"
#include "kestrim/sha.h"
#include "kestrim/state.h"
#include "kestrim/stream.h"
#include "kestrim/utils.h"

#endif

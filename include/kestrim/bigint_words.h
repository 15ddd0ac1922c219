/*
 * The word level of the big-number arithmetic: operations on arrays of 32-bit words, least significant first. Most
 * callers want kestrim/bigint_arithmetic.h.
 *
 * Counts are words, and arrays have at least as many as the counts say; no pointer is null. A negative count does
 * nothing and gives 0, except where noted. A result array may be an operand (the same address) where that is said;
 * otherwise the two do not overlap. Nothing is allocated.
 */
#ifndef KESTRIM_BIGINT_WORDS_H
#define KESTRIM_BIGINT_WORDS_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * zrc_Add_Words, zrc_Sub_Words - r = a + b and r = a - b over `words` words; r may be a or b.
 *
 * Return the carry or the borrow, 0 or 1.
 */
ZRC_API uint32_t zrc_Add_Words(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t words);
ZRC_API uint32_t zrc_Sub_Words(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t words);

/*
 * zrc_Sub_Part_Words - r = a - b for operands of different lengths; r may be a or b.
 *
 *   common      words of the shorter operand
 *   difference  by how many words a is longer than b; negative when b is the longer one
 *   r           receives as many words as the longer operand has
 *
 * Returns the borrow.
 */
ZRC_API uint32_t zrc_Sub_Part_Words(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t common,
                                    int32_t difference);

/*
 * zrc_Mtp_Words, zrc_Mtp_Add_Words - r = a w and r += a w over `words` words; r may be a.
 *
 * Return the word that belongs above. A negative count prints the failed assertion "num >= 0" on standard error and
 * aborts the process, in every build.
 */
ZRC_API uint32_t zrc_Mtp_Words(uint32_t *r, const uint32_t *a, int32_t words, uint32_t w);
ZRC_API uint32_t zrc_Mtp_Add_Words(uint32_t *r, const uint32_t *a, int32_t words, uint32_t w);

/*
 * zrc_Sqr_Words - the square of each word of a, two words each: r receives 2 * words words.
 */
ZRC_API void zrc_Sqr_Words(uint32_t *r, const uint32_t *a, int32_t words);

/*
 * zrc_Div_Words - the quotient of high * 2^32 + low by `divisor`: its low word, which is all of it when
 * high < divisor. 0xFFFFFFFF for the divisor 0.
 */
ZRC_API uint32_t zrc_Div_Words(uint32_t high, uint32_t low, uint32_t divisor);

/*
 * zrc_Cmp_Parts - compares operands of different lengths, given as for zrc_Sub_Part_Words; zero words on top count
 * as nothing. The time depends on the values.
 *
 * Returns -1, 0 or 1 for a below, equal to or above b.
 */
ZRC_API int32_t zrc_Cmp_Parts(const uint32_t *a, const uint32_t *b, int32_t common, int32_t difference);

/*
 * zrc_Mtp_Word_Base - r = a b, a_words + b_words words, all written. A count of 0 stands for the number zero.
 */
ZRC_API void zrc_Mtp_Word_Base(uint32_t *r, const uint32_t *a, int32_t a_words, const uint32_t *b, int32_t b_words);

/*
 * zrc_Sqr_Word_Base - r = a^2, 2 * words words. `scratch` is for 2 * words words and may be null: it is not used.
 */
ZRC_API void zrc_Sqr_Word_Base(uint32_t *r, const uint32_t *a, int32_t words, uint32_t *scratch);

/*
 * zrc_Mtp_Base, zrc_Mtp_Base_Ex - r = a b for operands of four and of eight words; r has twice as many.
 */
ZRC_API void zrc_Mtp_Base(uint32_t *r, const uint32_t *a, const uint32_t *b);
ZRC_API void zrc_Mtp_Base_Ex(uint32_t *r, const uint32_t *a, const uint32_t *b);

/*
 * zrc_Sqr_Base, zrc_Sqr_Base_Ex - r = a^2 for operands of four and of eight words; r has twice as many.
 */
ZRC_API void zrc_Sqr_Base(uint32_t *r, const uint32_t *a);
ZRC_API void zrc_Sqr_Base_Ex(uint32_t *r, const uint32_t *a);

/*
 * zrc_Mtp_Recursive - r = a b by Karatsuba's method for operands of up to n words.
 *
 *   n         a power of two
 *   dna, dnb  what the operands lack: a has n + dna words and b n + dnb; not above 0
 *   r         2 * n words, all written
 *   scratch   4 * n words; left with intermediate values, to be wiped like the operands
 *
 * Does nothing when n is not positive or dna or dnb is. The time of this and the next two functions can depend on the
 * values: the signs of differences steer the additions.
 */
ZRC_API void zrc_Mtp_Recursive(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t n, int32_t dna, int32_t dnb,
                               uint32_t *scratch);

/*
 * zrc_Mtp_Recursive_P - the same for operands of n to 2 * n words.
 *
 *   n         a power of two
 *   tna, tnb  what the operands have above n words, 0 to n
 *   r         4 * n words, all written
 *   scratch   8 * n words; left with intermediate values
 *
 * Does nothing when n is not positive or tna or tnb out of range.
 */
ZRC_API void zrc_Mtp_Recursive_P(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t n, int32_t tna, int32_t tnb,
                                 uint32_t *scratch);

/*
 * zrc_Sqr_Recursive - r = a^2 by Karatsuba's method.
 *
 *   n        words of a, a power of two
 *   r        2 * n words
 *   scratch  2 * n words; left with intermediate values
 */
ZRC_API void zrc_Sqr_Recursive(uint32_t *r, const uint32_t *a, int32_t n, uint32_t *scratch);

ZRC_END_DECLS

#endif

/*
 * Arithmetic on ZRC_BIGINT: sums, products, quotients, modular arithmetic, Montgomery form, random values.
 *
 * Results come first in the argument lists, the pool for temporaries last. A result may be any of the operands; it
 * grows at most once, and is always normalised. Operands that are not, such as hexadecimal text can give, count as
 * what they are worth, except where ZRC_Mtp_BIGINT says otherwise. What a result holds after a failure is undefined,
 * but it is still a value that can be used and released. The shared constants can be operands, never results.
 *
 * The time of everything here depends on the lengths of the operands, and that of divisions, common divisors,
 * inverses and exponentiations on their values. What temporaries held stays in the pool until that is released.
 */
#ifndef KESTRIM_BIGINT_ARITHMETIC_H
#define KESTRIM_BIGINT_ARITHMETIC_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"

ZRC_BEGIN_DECLS

/* Montgomery form for an odd modulus N: x is kept as x R mod N with R = 2^ri. */
typedef struct ZRC_BIGINT_MONT {
    int32_t ri;     /* bit length of N rounded up to a multiple of 32 */
    ZRC_BIGINT RR;  /* R^2 mod N */
    ZRC_BIGINT N;   /* the modulus */
    ZRC_BIGINT Ni;  /* not used */
    uint32_t ninv0; /* -N^-1 mod 2^32 */
} ZRC_BIGINT_MONT;

/*
 * ZRC_Add_BIGINT - r = a + b. r grows to one word more than the longer operand has.
 *
 * Returns 0, or
 *   0x040D0049  ZRC_ERR_NULL_INPUT          a pointer is null
 *   0x040D0016  ZRC_ERR_EXPAND_BIGINT_WORD  r cannot grow
 */
ZRC_API uint32_t ZRC_Add_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b);

/*
 * ZRC_Sub_BIGINT - r = a - b. r grows to the length of a.
 *
 * Returns 0, or, with r as it was,
 *   0x040E0049  ZRC_ERR_NULL_INPUT          a pointer is null
 *   0x040E002B  ZRC_ERR_INVALID_INPUT       a is below b: there are no negative values
 *   0x040E0016  ZRC_ERR_EXPAND_BIGINT_WORD  r cannot grow
 */
ZRC_API uint32_t ZRC_Sub_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b);

/*
 * ZRC_Add_BIGINT_Word - a = a + w. a grows by a word when its top word may carry.
 *
 * Returns 0, or, with a as it was,
 *   0x04030049  ZRC_ERR_NULL_INPUT          a is null
 *   0x04030016  ZRC_ERR_EXPAND_BIGINT_WORD  a cannot grow
 */
ZRC_API uint32_t ZRC_Add_BIGINT_Word(ZRC_BIGINT *a, uint32_t w);

/*
 * ZRC_Sub_BIGINT_Word - a = a - w.
 *
 * Returns 0, or, with a as it was,
 *   0x04040049  ZRC_ERR_NULL_INPUT     a is null
 *   0x0404002B  ZRC_ERR_INVALID_INPUT  a is below w
 */
ZRC_API uint32_t ZRC_Sub_BIGINT_Word(ZRC_BIGINT *a, uint32_t w);

/*
 * ZRC_Mtp_BIGINT_Word - a = a w. a grows by a word when the product may need it. A zero gives 0, unlike in
 * ZRC_Mtp_BIGINT.
 *
 * Returns 0, or, with a as it was,
 *   0x04050049  ZRC_ERR_NULL_INPUT          a is null
 *   0x04050016  ZRC_ERR_EXPAND_BIGINT_WORD  a cannot grow
 */
ZRC_API uint32_t ZRC_Mtp_BIGINT_Word(ZRC_BIGINT *a, uint32_t w);

/*
 * ZRC_Div_BIGINT_Word - a = a / w, rounded down.
 *
 * Returns the remainder, not a code. For w = 0 and for null a: 0xFFFFFFFF, which is no remainder; a stays as it was.
 */
ZRC_API uint32_t ZRC_Div_BIGINT_Word(ZRC_BIGINT *a, uint32_t w);

/*
 * ZRC_Mod_BIGINT_Word - a mod w. For w = 0 and for null a: 0xFFFFFFFF, which is no remainder.
 */
ZRC_API uint32_t ZRC_Mod_BIGINT_Word(const ZRC_BIGINT *a, uint32_t w);

/*
 * ZRC_Mtp_BIGINT - r = a b; but r = 1, not 0, when an operand has no words: do not multiply by zero with this
 * function. The shared zero, and other zeros that have words, give 0.
 *
 *   r     grows to the sum of the lengths of a and b; or, for operands of 16 words or more whose lengths differ by 1
 *         at most, to 4 n or 8 n words, where n is the largest power of two not above the longer length and 8 n is
 *         for operands longer than n
 *   pool  for temporaries; may be null only when an operand has no words
 *
 * Returns 0, or
 *   0x04120049  ZRC_ERR_NULL_INPUT              r, a or b is null
 *   0x04120057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x0412001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    no memory for a temporary
 *   0x04120016  ZRC_ERR_EXPAND_BIGINT_WORD      r or a temporary cannot grow
 *   0x0412000D  ZRC_ERR_COPY_BIGINT_FAIL        r is an operand and cannot grow
 */
ZRC_API uint32_t ZRC_Mtp_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b, ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Sqr_BIGINT - r = a^2; 0 for zero.
 *
 *   r     grows to twice the length of a; or to four times, if that is a power of two and 16 or more
 *   pool  for temporaries; may be null only when a is zero
 *
 * Returns 0, or
 *   0x04110049  ZRC_ERR_NULL_INPUT              r or a is null
 *   0x04110057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x0411001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    no memory for a temporary
 *   0x04110016  ZRC_ERR_EXPAND_BIGINT_WORD      r or a temporary cannot grow
 *   0x0411000D  ZRC_ERR_COPY_BIGINT_FAIL        r is a and cannot grow
 */
ZRC_API uint32_t ZRC_Sqr_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Div_BIGINT - quotient = a / d, rounded down, and remainder = a mod d.
 *
 *   quotient, remainder  not the same; each may be null, or a, or d
 *   pool                 for temporaries; when it is null they are allocated and released
 *
 * Temporaries have a place more than a, and room for work beside a copy of d, but are no longer than any other value:
 * an a of more than 0xFFFFFC words is refused with 0x04100039, even with a divisor of one word, and a d of more than
 * 0x7FFFDE words as well. Only where a is below d does neither matter.
 *
 * Returns 0, or
 *   0x04100028  ZRC_ERR_INTERNAL                d is zero, the shared zero included; tested first
 *   0x04100049  ZRC_ERR_NULL_INPUT              a or d is null
 *   0x04100057  ZRC_ERR_START_BIGINT_POOL_FAIL  the pool has no room for a frame, or no memory for a temporary
 *   0x04100039  ZRC_ERR_LEFT_SHIFT_BIGINT_FAIL  a temporary cannot grow
 *   0x0410003A  ZRC_ERR_MALLOC                  a result cannot grow; or, without a pool, no memory for a temporary
 */
ZRC_API uint32_t ZRC_Div_BIGINT(ZRC_BIGINT *quotient, ZRC_BIGINT *remainder, const ZRC_BIGINT *a, const ZRC_BIGINT *d,
                                ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Mod_Mtp_BIGINT - r = a b mod m, 0 when an operand is zero.
 *
 *   a, b  of any size
 *   m     not zero
 *   pool  for temporaries, never null
 *
 * Returns 0, or
 *   0x04130049  ZRC_ERR_NULL_INPUT              a pointer other than pool is null
 *   0x04130057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x0413001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    no memory for a temporary
 *   0x04130044  ZRC_ERR_MTP_BIGINT_FAIL         no memory for the product
 *   0x0413003E  ZRC_ERR_MOD_BIGINT_FAIL         m is zero, or no memory for the division or for r
 */
ZRC_API uint32_t ZRC_Mod_Mtp_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b, const ZRC_BIGINT *m,
                                    ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Mod_Sub_BIGINT - r = a - b mod m: from 0 to m - 1, also when a is below b.
 *
 *   a, b  of any size
 *   m     not zero
 *   pool  for temporaries, never null
 *
 * Returns 0, or
 *   0x040F0049  ZRC_ERR_NULL_INPUT              a pointer other than pool is null
 *   0x040F0057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x040F001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    no memory for a temporary
 *   0x040F003E  ZRC_ERR_MOD_BIGINT_FAIL         m is zero, or no memory for the reduction of a or b
 *   0x040F0001  ZRC_ERR_ADD_BIGINT_FAIL         no memory for a sum
 *   0x040F0058  ZRC_ERR_SUB_BIGINT_FAIL         r cannot grow
 */
ZRC_API uint32_t ZRC_Mod_Sub_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b, const ZRC_BIGINT *m,
                                    ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Mod_Inverse_BIGINT - r = a^-1 mod m: from 0 to m - 1, also when a is m or above. Modulo 1 that is 0.
 *
 *   r     grows to the words that the inverse has. Null: only the answer is wanted whether there is one
 *   m     not zero; it need not be odd
 *   pool  for temporaries, never null
 *
 * The time depends on a and m: not for secrets.
 *
 * Returns 0, or
 *   0x04070049  ZRC_ERR_NULL_INPUT              a or m is null
 *   0x04070057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x0407001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    r is null, and there is no memory for a temporary
 *   0x0407003E  ZRC_ERR_MOD_BIGINT_FAIL         m is zero
 *   0x04070041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL a and m have a common divisor above 1, as zero and m have
 *   0x0407003A  ZRC_ERR_MALLOC                  no memory
 *   0x04070016  ZRC_ERR_EXPAND_BIGINT_WORD      r cannot grow
 */
ZRC_API uint32_t ZRC_Mod_Inverse_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *m, ZRC_BIGINT_POOL *pool);

/*
 * zrc_Gcd_BIGINT - r = the greatest common divisor of a and b: the other one if one is zero, zero if both are.
 *
 *   r     grows to the words that the divisor has
 *   pool  for temporaries, never null
 *
 * Returns 0, or
 *   0x04060049  ZRC_ERR_NULL_INPUT              a pointer other than pool is null
 *   0x04060057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x04060015  ZRC_ERR_EUCLID_FAIL             no memory
 *   0x04060016  ZRC_ERR_EXPAND_BIGINT_WORD      r cannot grow
 */
ZRC_API uint32_t zrc_Gcd_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b, ZRC_BIGINT_POOL *pool);

/*
 * zrc_Euclid - the greatest common divisor of a and b as a temporary of the caller's frame, which has to be open. What
 * a and b hold afterwards is undefined.
 *
 * Returns the temporary; null if a pointer is null, or without memory.
 */
ZRC_API ZRC_BIGINT *zrc_Euclid(ZRC_BIGINT *a, ZRC_BIGINT *b, ZRC_BIGINT_POOL *pool);

/*
 * zrc_Left_Shift_BIGINT - r = a 2^bits.
 *
 * Returns 0, or, with r as it was,
 *   0x04150049  ZRC_ERR_NULL_INPUT          r or a is null
 *   0x0415002B  ZRC_ERR_INVALID_INPUT       bits is negative
 *   0x04150016  ZRC_ERR_EXPAND_BIGINT_WORD  r cannot grow, or the result would have more than 0xFFFFFF words
 */
ZRC_API uint32_t zrc_Left_Shift_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, int32_t bits);

/*
 * zrc_Right_Shift_BIGINT - r = a / 2^bits, rounded down.
 *
 * Returns 0, or, with r as it was,
 *   0x04160049  ZRC_ERR_NULL_INPUT          r or a is null
 *   0x0416002B  ZRC_ERR_INVALID_INPUT       bits is negative
 *   0x04160016  ZRC_ERR_EXPAND_BIGINT_WORD  r cannot grow
 */
ZRC_API uint32_t zrc_Right_Shift_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, int32_t bits);

/*
 * ZRC_Mod_Exp_BIGINT - r = a^e mod m for any m but zero, by divisions: ZRC_Mod_Exp_Mont_BIGINT is faster for odd m.
 *
 *   a, e  of any size; e = 0 gives r = 1, whatever a and m are, even 0 or 1
 *   m     not zero unless e is
 *   pool  for temporaries; may be null, a pool is made for the call then
 *
 * When a mod m is 0 (so for m = 1 too) r is 0.
 *
 * Returns 0, or
 *   0x04140049  ZRC_ERR_NULL_INPUT              r, a, e or m is null
 *   0x0414003E  ZRC_ERR_MOD_BIGINT_FAIL         m is zero, or no memory for the reduction of a
 *   0x04140057  ZRC_ERR_START_BIGINT_POOL_FAIL  the pool has no room for a frame, or there is no memory for one
 *   0x0414001B  ZRC_ERR_GET_BIGINT_POOL_FAIL    no memory for a temporary
 *   0x04140042  ZRC_ERR_MOD_MTP_BIGINT_FAIL     no memory for a product
 *   0x0414000D  ZRC_ERR_COPY_BIGINT_FAIL        a temporary or r cannot grow
 *   0x04200016  ZRC_ERR_EXPAND_BIGINT_WORD      e is 0 and r cannot grow (as from ZRC_Set_BIGINT_Word)
 */
ZRC_API uint32_t ZRC_Mod_Exp_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *e, const ZRC_BIGINT *m,
                                    ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Rand_BIGINT_Ex - r = a random value from the approved generator, ZRC_Rand_Bytes; what its comment says about
 * failures and forks holds here.
 *
 *   bits    the length, 0 or more; 0 gives zero without asking the generator
 *   top     below 0: any value below 2^bits; 0: the top bit is set; above 0: the top two bits are, or the only one
 *   bottom  not 0: the value is odd
 *
 * Returns 0, or
 *   0x04170049  ZRC_ERR_NULL_INPUT            r is null
 *   0x0417003B  ZRC_ERR_MEM_ALLOC             no memory
 *   0x0417001D  ZRC_ERR_GET_RAND_FAIL         the generator failed
 *   0x04170005  ZRC_ERR_BINARY_TO_BIGINT_FAIL bits is negative or above 32 x 0xFFFFFF, or r cannot grow
 */
ZRC_API uint32_t ZRC_Rand_BIGINT_Ex(ZRC_BIGINT *r, int32_t bits, int32_t top, int32_t bottom);

/*
 * ZRC_Rand_BIGINT - the same from the legacy generator, seeded anew for each call.
 *
 *   extra      passed on to ZRC_Init_PRNG as the pool; may be null
 *   algorithm  the identifier for ZRC_Init_PRNG; 0: ZRC_SHA1
 *
 * Returns 0, or, under its own function code, the codes of ZRC_Rand_BIGINT_Ex (0x041800..) and
 *   0x04180025  ZRC_ERR_INIT_PRNG_FAIL  the generator cannot be initialised; in proven mode it never can
 */
ZRC_API uint32_t ZRC_Rand_BIGINT(ZRC_BIGINT *r, int32_t bits, int32_t top, int32_t bottom, ZRC_BIGINT_POOL *extra,
                                 int32_t algorithm);

/*
 * zrc_New_BIGINT_MONT - a new, initialised context, to be released with zrc_Free_BIGINT_MONT; null when there is no
 * memory.
 */
ZRC_API ZRC_BIGINT_MONT *zrc_New_BIGINT_MONT(void);

/*
 * zrc_Init_BIGINT_MONT - initialise a context in the caller's storage, whatever that holds: arrays of an earlier use
 * are forgotten, not released. Harmless after zrc_New_BIGINT_MONT. Does nothing for null.
 */
ZRC_API void zrc_Init_BIGINT_MONT(ZRC_BIGINT_MONT *mont);

/*
 * zrc_Free_BIGINT_MONT - wipe and release a context from zrc_New_BIGINT_MONT and its numbers.
 *
 * Returns 0, or
 *   0x04080049  ZRC_ERR_NULL_INPUT  mont is null
 */
ZRC_API uint32_t zrc_Free_BIGINT_MONT(ZRC_BIGINT_MONT *mont);

/*
 * zrc_Set_BIGINT_MONT - set a context up for a modulus, which is copied.
 *
 *   mont     initialised; can be set up again
 *   modulus  odd, 1 allowed
 *   pool     for temporaries, never null
 *
 * Returns 0, or
 *   0x04090049  ZRC_ERR_NULL_INPUT               mont or modulus is null
 *   0x04090057  ZRC_ERR_START_BIGINT_POOL_FAIL   pool is null or has no room for a frame
 *   0x0409001B  ZRC_ERR_GET_BIGINT_POOL_FAIL     no memory for a temporary
 *   0x04090041  ZRC_ERR_MOD_INVERSE_BIGINT_FAIL  the modulus is even or zero
 *   0x04090052  ZRC_ERR_SET_BIGINT_FAIL          no memory for R^2
 *   0x0409000D  ZRC_ERR_COPY_BIGINT_FAIL         no memory for the copy
 *   0x04090010  ZRC_ERR_DIV_BIGINT_FAIL          no memory for the division
 */
ZRC_API uint32_t zrc_Set_BIGINT_MONT(ZRC_BIGINT_MONT *mont, const ZRC_BIGINT *modulus, ZRC_BIGINT_POOL *pool);

/*
 * zrc_Mod_Mul_BIGINT_Montgomery - r = a b R^-1 mod N: the product of two numbers in Montgomery form, in that form.
 * With b = RR it brings a into the form.
 *
 *   r     may be a or b
 *   a, b  of any size
 *   mont  set up with zrc_Set_BIGINT_MONT
 *   pool  never null
 *
 * Returns 0, or
 *   0x040B0049  ZRC_ERR_NULL_INPUT              a pointer other than pool is null
 *   0x040B0057  ZRC_ERR_START_BIGINT_POOL_FAIL  pool is null or has no room for a frame
 *   0x040B003E  ZRC_ERR_MOD_BIGINT_FAIL         mont is not set up
 *   0x040B003A  ZRC_ERR_MALLOC                  no memory for temporaries
 *   0x040B0016  ZRC_ERR_EXPAND_BIGINT_WORD      r cannot grow
 */
ZRC_API uint32_t zrc_Mod_Mul_BIGINT_Montgomery(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *b,
                                               const ZRC_BIGINT_MONT *mont, ZRC_BIGINT_POOL *pool);

/*
 * zrc_BIGINT_from_Montgomery - r = a R^-1 mod N: out of Montgomery form. Arguments and codes as above, under the
 * function code ZRC_F_BIGINT_FROM_MONTGOMERY (0x040C....).
 */
ZRC_API uint32_t zrc_BIGINT_from_Montgomery(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT_MONT *mont,
                                            ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Mod_Exp_Mont_BIGINT - r = a^e mod m for an odd m. The time depends on the exponent: this is for public ones.
 *
 *   r     may be any operand
 *   a, e  of any size; e = 0 gives r = 1, whatever m is, even 0 or 1
 *   m     odd unless e is 0
 *   pool  not used; may be null
 *
 * When a mod m is 0 (so for m = 1 too), 0 is returned and r stays as it was: do not rely on r then.
 *
 * Returns 0, or
 *   0x040A0049  ZRC_ERR_NULL_INPUT                   r, a, e or m is null
 *   0x040A003E  ZRC_ERR_MOD_BIGINT_FAIL              e is not 0 and m is even or zero
 *   0x040A003A  ZRC_ERR_MALLOC                       no memory for temporaries
 *   0x040A0002  ZRC_ERR_BIGINT_FROM_MONTGOMERY_FAIL  r cannot grow
 *   0x04200016  ZRC_ERR_EXPAND_BIGINT_WORD           e is 0 and r cannot grow (as from ZRC_Set_BIGINT_Word)
 */
ZRC_API uint32_t ZRC_Mod_Exp_Mont_BIGINT(ZRC_BIGINT *r, const ZRC_BIGINT *a, const ZRC_BIGINT *e, const ZRC_BIGINT *m,
                                         ZRC_BIGINT_POOL *pool);

ZRC_END_DECLS

#endif

/*
 * Elliptic curves y^2 = x^3 + a x + b over prime fields with parameters of the caller's (SEC 1, FIPS 186-4): curves,
 * affine points, their arithmetic and their validation. For signatures see kestrim/ecdsa.h.
 *
 *   ZRC_ECC_CURVE *curve = ZRC_New_ECC_CURVE();
 *   ZRC_ECC_POINT *shared = ZRC_New_ECC_POINT();
 *   if (curve && shared && ZRC_Set_ECC_CURVE(curve, p, a, b, gx, gy, n, 1) == 0 && ZRC_Check_ECC_CURVE(curve) == 0 &&
 *       ZRC_Check_ECC_POINT(curve, peer) == 0 && ZRC_Mtp_ECC_POINT(curve, shared, d, peer) == 0) { ... }
 *   ZRC_Free_ECC_POINT(shared);
 *   ZRC_Free_ECC_CURVE(curve);
 *
 * p and n have up to 1024 bits. Parameters and points from somewhere else have to be checked before they are used:
 * ZRC_Check_ECC_CURVE, once for each set of parameters, and ZRC_Check_ECC_POINT. Without that nothing crashes and
 * everything ends, but results mean nothing.
 *
 * Numbers are copied wherever they are given, and results may be operands. None of these functions passes the gate of
 * the self-test, as those of ZRC_BIGINT do not; only ZRC_Check_ECC_CURVE draws random numbers, which does.
 */
#ifndef KESTRIM_ECC_H
#define KESTRIM_ECC_H

#include "kestrim/base.h"
#include "kestrim/bigint.h"

ZRC_BEGIN_DECLS

/* Function numbers of ZRC_L_ECDSA beside those of kestrim/error.h; kestrim/ecdsa.h has the rest. */
enum {
    ZRC_F_SET_ECC_POINT = 6,
    ZRC_F_COPY_ECC_POINT = 7,
    ZRC_F_SET_ECC_CURVE = 8,
    ZRC_F_COPY_ECC_CURVE = 9,
    ZRC_F_CHECK_ECC_CURVE = 10,
    ZRC_F_CHECK_ECC_POINT = 11,
    ZRC_F_ADD_ECC_POINT = 12,
    ZRC_F_DOUBLE_ECC_POINT = 13,
    ZRC_F_MTP_ECC_POINT = 14
};

typedef struct ZRC_ECC_POINT {
    ZRC_BIGINT *x;    /* owned; 0 to p - 1 */
    ZRC_BIGINT *y;    /* owned */
    int32_t infinity; /* 1: the point at infinity, x and y are not looked at */
} ZRC_ECC_POINT;

typedef struct ZRC_ECC_CURVE {
    ZRC_BIGINT *p; /* prime; this and the numbers below are owned, and null before ZRC_Set_ECC_CURVE */
    ZRC_BIGINT *a;
    ZRC_BIGINT *b;
    ZRC_ECC_POINT *G; /* base point */
    ZRC_BIGINT *n;    /* prime order of G */
    uint32_t h;       /* cofactor */
    int32_t known;    /* which well-known prime p is: its bits for the primes of P-192 to P-521, 0 for any other */
    void *engine;     /* owned: what the arithmetic has made of the numbers, which must not be changed therefore */
} ZRC_ECC_CURVE;

/*
 * ZRC_New_ECC_POINT - a new point, infinity, to be released with ZRC_Free_ECC_POINT; null without memory.
 */
ZRC_API ZRC_ECC_POINT *ZRC_New_ECC_POINT(void);

/*
 * ZRC_Free_ECC_POINT - wipe and release a point; null is allowed.
 */
ZRC_API void ZRC_Free_ECC_POINT(ZRC_ECC_POINT *point);

/*
 * ZRC_Set_ECC_POINT - set a point to (x, y), which is checked for nothing.
 *
 * Returns 0, or, with the point as it was,
 *   0x21060049  ZRC_ERR_NULL_INPUT        an argument is null
 *   0x2106000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory
 */
ZRC_API uint32_t ZRC_Set_ECC_POINT(ZRC_ECC_POINT *point, const ZRC_BIGINT *x, const ZRC_BIGINT *y);

/*
 * ZRC_Set_ECC_POINT_Infinity - set a point to the point at infinity. The old coordinates are wiped.
 *
 * Returns 0, or
 *   0x21060049  ZRC_ERR_NULL_INPUT  point is null
 */
ZRC_API uint32_t ZRC_Set_ECC_POINT_Infinity(ZRC_ECC_POINT *point);

/*
 * ZRC_Copy_ECC_POINT - set `destination` to `source`. They may be the same.
 *
 * Returns 0, or, with the destination as it was,
 *   0x21070049  ZRC_ERR_NULL_INPUT        an argument or a coordinate of the source is null
 *   0x2107000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory
 */
ZRC_API uint32_t ZRC_Copy_ECC_POINT(ZRC_ECC_POINT *destination, const ZRC_ECC_POINT *source);

/*
 * ZRC_Cmp_ECC_POINT - 0 if two points are equal, 1 if they are not or one is null. The time depends on both.
 */
ZRC_API int32_t ZRC_Cmp_ECC_POINT(const ZRC_ECC_POINT *a, const ZRC_ECC_POINT *b);

/*
 * ZRC_New_ECC_CURVE - a new curve without parameters, to be released with ZRC_Free_ECC_CURVE; null without memory.
 */
ZRC_API ZRC_ECC_CURVE *ZRC_New_ECC_CURVE(void);

/*
 * ZRC_Free_ECC_CURVE - release a curve; null is allowed.
 */
ZRC_API void ZRC_Free_ECC_CURVE(ZRC_ECC_CURVE *curve);

/*
 * ZRC_Set_ECC_CURVE - set all parameters of a curve, and compute what arithmetic wants prepared: multiples of G, which
 * takes as long as a few multiplications.
 *
 *   p, n  odd, up to 1024 bits; p above 3, n above 1
 *   a, b, gx, gy  below p
 *   h             cofactor, 1 or more
 * Whether p and n are prime, and whatever else makes a curve, is not tested: see ZRC_Check_ECC_CURVE.
 *
 * Returns 0, or, with the curve as it was,
 *   0x21080049  ZRC_ERR_NULL_INPUT        an argument is null
 *   0x2108002B  ZRC_ERR_INVALID_INPUT     a number is not as above
 *   0x21080048  ZRC_ERR_NOT_SUPPORTED     p or n is too long
 *   0x2108003B  ZRC_ERR_MEM_ALLOC         no memory for what is prepared
 *   0x2108000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory for a copy
 */
ZRC_API uint32_t ZRC_Set_ECC_CURVE(ZRC_ECC_CURVE *curve, const ZRC_BIGINT *p, const ZRC_BIGINT *a, const ZRC_BIGINT *b,
                                   const ZRC_BIGINT *gx, const ZRC_BIGINT *gy, const ZRC_BIGINT *n, uint32_t h);

/*
 * ZRC_Copy_ECC_CURVE - set `destination` to `source`, without preparing anything anew. They may be the same.
 *
 * Returns 0, or, with the destination as it was,
 *   0x21090049  ZRC_ERR_NULL_INPUT        an argument is null, or the source has no parameters
 *   0x2109003B  ZRC_ERR_MEM_ALLOC         no memory for what is prepared
 *   0x2109000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory for a copy
 */
ZRC_API uint32_t ZRC_Copy_ECC_CURVE(ZRC_ECC_CURVE *destination, const ZRC_ECC_CURVE *source);

/*
 * ZRC_Check_ECC_CURVE - validate the parameters of a curve (SEC 1, 3.1.1.2.1): p and n are prime (see
 * ZRC_Is_BIGINT_Prime_Ex; as many witnesses as a prime of no assumed origin wants), 4 a^3 + 27 b^2 is not 0, G is on
 * the curve, n G is infinity, n h is in the interval of Hasse, n is not p, and p^i is not 1 modulo n for i up to 100.
 * The strength that the lengths give is not judged.
 *
 * Returns 0, or
 *   0x210A0049  ZRC_ERR_NULL_INPUT             curve is null, or has no parameters
 *   0x210A003B  ZRC_ERR_MEM_ALLOC              no memory for temporaries
 *   0x210A0059  ZRC_ERR_SUB_OPERATION_FAILURE  a test failed for want of memory or random numbers
 *   0x210A0036  ZRC_ERR_IS_BIGINT_PRIME        p or n is not prime
 *   0x210A002B  ZRC_ERR_INVALID_INPUT          4 a^3 + 27 b^2 is 0: no elliptic curve
 *   0x210A000C  ZRC_ERR_COMPARE_FAIL           G is not on the curve
 *   0x210A000B  ZRC_ERR_CMP_BIGINT_FAIL        n G is not infinity, or n h no order that a curve over p has
 *   0x210A0048  ZRC_ERR_NOT_SUPPORTED          discrete logarithms are easy: n = p, or a small embedding degree
 */
ZRC_API uint32_t ZRC_Check_ECC_CURVE(const ZRC_ECC_CURVE *curve);

/*
 * ZRC_Is_On_ECC_CURVE - 1 if the point satisfies the equation, with coordinates below p, or is infinity; else 0: for
 * nulls and a curve without parameters, too.
 */
ZRC_API int32_t ZRC_Is_On_ECC_CURVE(const ZRC_ECC_CURVE *curve, const ZRC_ECC_POINT *point);

/*
 * ZRC_Check_ECC_POINT - validate a point as a public key (SEC 1, 3.2.2.1): it is not infinity, its coordinates are
 * below p, it is on the curve, and, unless the cofactor is 1, n times the point is infinity.
 *
 * Returns 0, or
 *   0x210B0049  ZRC_ERR_NULL_INPUT       an argument or a coordinate is null, or the curve has no parameters
 *   0x210B002B  ZRC_ERR_INVALID_INPUT    infinity, or a coordinate is not below p
 *   0x210B000C  ZRC_ERR_COMPARE_FAIL     not on the curve
 *   0x210B000B  ZRC_ERR_CMP_BIGINT_FAIL  not of order n
 */
ZRC_API uint32_t ZRC_Check_ECC_POINT(const ZRC_ECC_CURVE *curve, const ZRC_ECC_POINT *point);

/*
 * ZRC_Add_ECC_POINT, ZRC_Double_ECC_POINT - r = a + b, r = 2 a. The time depends on the points.
 *
 *   a, b  on the curve; any two points, equal, opposite and infinite ones too
 *
 * Returns 0, or, with r as it was, under 0x210C.. or 0x210D..
 *   0x210C0049  ZRC_ERR_NULL_INPUT        an argument or a coordinate is null, or the curve has no parameters
 *   0x210C000C  ZRC_ERR_COMPARE_FAIL      an operand is not on the curve
 *   0x210C000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory for the result
 */
ZRC_API uint32_t ZRC_Add_ECC_POINT(const ZRC_ECC_CURVE *curve, ZRC_ECC_POINT *r, const ZRC_ECC_POINT *a,
                                   const ZRC_ECC_POINT *b);
ZRC_API uint32_t ZRC_Double_ECC_POINT(const ZRC_ECC_CURVE *curve, ZRC_ECC_POINT *r, const ZRC_ECC_POINT *a);

/*
 * ZRC_Mtp_ECC_POINT - r = k a, for a k that may be secret: no branch and no address depends on it. Public are how many
 * words it has if they are more than n has, the point, whether the result is infinity, and how many words its
 * coordinates have. Multiples of G, and no k longer than n, are about three times as fast as others.
 *
 *   k  up to 2048 bits; not reduced modulo n, as `a` may have another order
 *   a  on the curve; infinity and points of any order, too
 *
 * Returns 0, or, with r as it was,
 *   0x210E0049  ZRC_ERR_NULL_INPUT        an argument or a coordinate is null, or the curve has no parameters
 *   0x210E002B  ZRC_ERR_INVALID_INPUT     k is too long
 *   0x210E000C  ZRC_ERR_COMPARE_FAIL      a is not on the curve
 *   0x210E000D  ZRC_ERR_COPY_BIGINT_FAIL  no memory for the result
 */
ZRC_API uint32_t ZRC_Mtp_ECC_POINT(const ZRC_ECC_CURVE *curve, ZRC_ECC_POINT *r, const ZRC_BIGINT *k,
                                   const ZRC_ECC_POINT *a);

ZRC_END_DECLS

#endif

/*
 * ZRC_BIGINT: non-negative integers of any length up to 16,777,215 words of 32 bits, their conversions and accessors,
 * and the pool that temporaries come from. Arithmetic: kestrim/bigint_arithmetic.h; primes: kestrim/bigint_prime.h.
 *
 * A value is normalised when its top word is not zero; zero then has no words at all. Functions keep results
 * normalised except where a comment says otherwise. None of these functions passes the gate of the self-test. Arrays
 * are wiped before they are released, also when a value grows out of one.
 */
#ifndef KESTRIM_BIGINT_H
#define KESTRIM_BIGINT_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/* Bits of ZRC_BIGINT.flags. */
enum {
    ZRC_BIGINT_ALLOCATED = 1, /* the structure came from ZRC_New_BIGINT */
    ZRC_BIGINT_STATIC = 2,    /* `data` is not the library's to grow */
    ZRC_BIGINT_IN_PLACE = 4   /* initialised by ZRC_Init_BIGINT */
};

typedef struct ZRC_BIGINT {
    uint32_t *data;    /* words, least significant first; owned unless ZRC_BIGINT_STATIC is set */
    int32_t length;    /* words in use; the top one is not zero, and zero has none */
    int32_t allocated; /* words that `data` can hold; those from `length` on are undefined */
    uint32_t flags;
} ZRC_BIGINT;

typedef struct ZRC_BIGINT_POOL_BLOCK {
    ZRC_BIGINT bigint[8];
    struct ZRC_BIGINT_POOL_BLOCK *prev;
    struct ZRC_BIGINT_POOL_BLOCK *next;
} ZRC_BIGINT_POOL_BLOCK;

typedef struct ZRC_BIGINT_POOL {
    ZRC_BIGINT_POOL_BLOCK *head;
    ZRC_BIGINT_POOL_BLOCK *current; /* holds the temporary handed out last */
    ZRC_BIGINT_POOL_BLOCK *tail;
    int32_t used;             /* temporaries handed out */
    int32_t capacity;         /* temporaries in all blocks */
    uint32_t frame_count[80]; /* temporaries of each open frame */
    int32_t depth;            /* the innermost open frame; -1: none */
} ZRC_BIGINT_POOL;

/*
 * ZRC_New_BIGINT - a new value, zero, without an array, to be released with ZRC_Free_BIGINT; null without memory.
 */
ZRC_API ZRC_BIGINT *ZRC_New_BIGINT(void);

/*
 * ZRC_Init_BIGINT - make a value of a structure in the caller's storage.
 *
 *   bn  If any flag is set, all fields are zeroed first; an array that the structure had is forgotten, not released.
 *       With no flag set the other fields stay as they are: zero the structure, or set any flag, before the first
 *       Init. Release the array with ZRC_Clear_BIGINT.
 *
 * Returns 0, or
 *   0x04010049  ZRC_ERR_NULL_INPUT  bn is null
 */
ZRC_API uint32_t ZRC_Init_BIGINT(ZRC_BIGINT *bn);

/*
 * ZRC_Clear_BIGINT - wipe and release the array, which leaves the value zero; the structure stays and can be used
 * again. An array with ZRC_BIGINT_STATIC is released all the same and the flag cleared, so do not clear a value whose
 * array did not come from ZRC_Malloc. Does nothing for null and for the two shared constants.
 */
ZRC_API void ZRC_Clear_BIGINT(ZRC_BIGINT *bn);

/*
 * ZRC_Free_BIGINT - clear a value, and wipe and release the structure if it came from ZRC_New_BIGINT.
 *
 * Returns 0, whether or not the structure was released, or
 *   0x04020049  ZRC_ERR_NULL_INPUT  bn is null
 */
ZRC_API uint32_t ZRC_Free_BIGINT(ZRC_BIGINT *bn);

/*
 * zrc_Expand_BIGINT - make room for `words` words, exactly that many. The value stays; words above its length are
 * undefined.
 *
 * Returns bn, at once when it is null or has the room. Returns null, and leaves bn as it was, when `words` is above
 * 0xFFFFFF, the array is static, or there is no memory.
 */
ZRC_API ZRC_BIGINT *zrc_Expand_BIGINT(ZRC_BIGINT *bn, int32_t words);

/*
 * ZRC_Get_BIGINT_Bits_Length - the length in bits: 32 for each word below the top one, and the length of that. 0 for
 * null and for zero.
 */
ZRC_API uint32_t ZRC_Get_BIGINT_Bits_Length(const ZRC_BIGINT *bn);

/*
 * zrc_Get_BIGINT_Bits_Word - the length in bits of one word, 0 to 32, in a time that does not depend on it.
 */
ZRC_API uint32_t zrc_Get_BIGINT_Bits_Word(uint32_t word);

/*
 * ZRC_Get_BIGINT_Word - the value if it fits one word; 0xFFFFFFFF if it has more words; 1 for null.
 */
ZRC_API uint32_t ZRC_Get_BIGINT_Word(const ZRC_BIGINT *bn);

/*
 * ZRC_Set_BIGINT_Word - set the value to one word. The array has room for one word afterwards, for 0 too.
 *
 * Returns 0, or
 *   0x04200049  ZRC_ERR_NULL_INPUT          bn is null
 *   0x04200016  ZRC_ERR_EXPAND_BIGINT_WORD  the array cannot grow
 */
ZRC_API uint32_t ZRC_Set_BIGINT_Word(ZRC_BIGINT *bn, uint32_t word);

/*
 * ZRC_Set_BIGINT_Bit - set bit `bit`, counted from 0; words between the old top and the bit become zero.
 *
 * Returns 0, or
 *   0x04210049  ZRC_ERR_NULL_INPUT          bn is null, or bit is negative
 *   0x04210016  ZRC_ERR_EXPAND_BIGINT_WORD  the array cannot grow
 */
ZRC_API uint32_t ZRC_Set_BIGINT_Bit(ZRC_BIGINT *bn, int32_t bit);

/*
 * ZRC_Is_BIGINT_Bit_Set - 1 if bit `bit` is set, else 0: for null, a negative index and one above the top word, too.
 */
ZRC_API int32_t ZRC_Is_BIGINT_Bit_Set(const ZRC_BIGINT *bn, int32_t bit);

/*
 * ZRC_Cmp_BIGINT - 1 if a > b, -1 if a < b, 0 if equal; 1 if either is null. The time depends on both values.
 *
 * The number of words decides first, so both have to be normalised: the shared zero, which has one word, counts as
 * greater than a zero without words.
 */
ZRC_API int32_t ZRC_Cmp_BIGINT(const ZRC_BIGINT *a, const ZRC_BIGINT *b);

/*
 * zrc_Cmp_BIGINT_Words - the same for two arrays of `words` words each; 0 for no words, 1 when an array is null.
 */
ZRC_API int32_t zrc_Cmp_BIGINT_Words(const uint32_t *a, const uint32_t *b, int32_t words);

/*
 * ZRC_Swap_BIGINT - exchange two values, arrays and all. Each structure keeps its own ZRC_BIGINT_ALLOCATED and takes
 * the other's ZRC_BIGINT_STATIC; ZRC_BIGINT_IN_PLACE is cleared in both. Does nothing if either is null.
 */
ZRC_API void ZRC_Swap_BIGINT(ZRC_BIGINT *a, ZRC_BIGINT *b);

/*
 * ZRC_Copy_BIGINT - set `destination` to the value of `source`, word for word, zero words on top included. They may
 * be the same.
 *
 * Returns 0, or
 *   0x041F0049  ZRC_ERR_NULL_INPUT          destination or source is null
 *   0x041F0016  ZRC_ERR_EXPAND_BIGINT_WORD  the destination cannot grow
 */
ZRC_API uint32_t ZRC_Copy_BIGINT(ZRC_BIGINT *destination, const ZRC_BIGINT *source);

/*
 * ZRC_Dup_BIGINT - a new value equal to bn, to be released with ZRC_Free_BIGINT; null for null or without memory.
 */
ZRC_API ZRC_BIGINT *ZRC_Dup_BIGINT(const ZRC_BIGINT *bn);

/*
 * ZRC_Value_One_BIGINT, ZRC_Value_Zero_BIGINT - shared constants in read-only memory: never write to them. This zero
 * is one word that is 0, not a value without words; see ZRC_Cmp_BIGINT and ZRC_BIGINT_To_HEX for what that means.
 */
ZRC_API const ZRC_BIGINT *ZRC_Value_One_BIGINT(void);
ZRC_API const ZRC_BIGINT *ZRC_Value_Zero_BIGINT(void);

/*
 * ZRC_Binary_To_BIGINT - the value of a big-endian byte string, normalised.
 *
 *   bytes   `length` bytes; never null, not even for length 0
 *   length  bytes, 0 or more; 0 gives zero
 *   out     receives the value; null: a new value, to be released with ZRC_Free_BIGINT
 *
 * Returns out or the new value. Returns null, and leaves `out` as it was, when bytes is null, length is negative, or
 * the array cannot grow.
 */
ZRC_API ZRC_BIGINT *ZRC_Binary_To_BIGINT(const uint8_t *bytes, int32_t length, ZRC_BIGINT *out);

/*
 * ZRC_BIGINT_To_Binary_Unsigned - write the value as big-endian bytes, as few as its bit length needs.
 *
 *   out  room for (bits + 7) / 8 bytes, with bits from ZRC_Get_BIGINT_Bits_Length
 *
 * Returns the number of bytes; 0, with nothing written, for zero and for nulls.
 */
ZRC_API int32_t ZRC_BIGINT_To_Binary_Unsigned(const ZRC_BIGINT *bn, uint8_t *out);

/*
 * ZRC_BIGINT_To_Binary - the same in two's complement: a zero byte stands in front when the first byte would have its
 * top bit set, as the contents of an ASN.1 INTEGER.
 *
 *   out  room for bits / 8 + 1 bytes
 *
 * Returns the number of bytes; 0, with nothing written, for zero and for nulls.
 */
ZRC_API int32_t ZRC_BIGINT_To_Binary(const ZRC_BIGINT *bn, uint8_t *out);

/*
 * ZRC_BIGINT_To_HEX - upper-case hexadecimal text, two digits for each byte from the first that is not zero ("0ABC"),
 * as a new string to be released with ZRC_Free. Zero is "0", but the shared zero, and any other value that has words
 * and all of them zero, is "". Null for null or without memory.
 */
ZRC_API char *ZRC_BIGINT_To_HEX(const ZRC_BIGINT *bn);

/*
 * ZRC_Dump_BIGINT - the same behind "0x".
 */
ZRC_API char *ZRC_Dump_BIGINT(const ZRC_BIGINT *bn);

/*
 * ZRC_Print_BIGINT - print the text of ZRC_Dump_BIGINT and a newline to standard output; nothing for null.
 */
ZRC_API void ZRC_Print_BIGINT(const ZRC_BIGINT *bn);

/*
 * ZRC_BIGINT_To_DEC - decimal text as a new string to be released with ZRC_Free; any zero is "0". Null for null or
 * without memory. The time grows with the square of the length.
 */
ZRC_API char *ZRC_BIGINT_To_DEC(const ZRC_BIGINT *bn);

/*
 * ZRC_HEX_To_BIGINT - a new value, to be released with ZRC_Free_BIGINT, from the hexadecimal digits, of either case,
 * that `text` starts with. Reading stops at the first other character: "0x10" is the value of its "0".
 *
 * Every group of eight digits, counted from the end, becomes a word, so the result is normalised only if the text has
 * no needless zeros in front: "00000000FF" gives two words, and "0" one word that is 0. Text that starts with another
 * character gives zero without words. Null for null or empty text, too many digits, or without memory.
 */
ZRC_API ZRC_BIGINT *ZRC_HEX_To_BIGINT(const char *text);

/*
 * A pool hands out temporaries and takes them back by frames, last in, first out:
 *
 *     ZRC_Start_BIGINT_Pool(pool);
 *     ZRC_BIGINT *t = ZRC_Get_BIGINT_Pool(pool);
 *     ...
 *     ZRC_Finish_BIGINT_Pool(pool);
 *
 * Frames nest, also across calls that get the pool as an argument. A temporary belongs to the pool: it is not
 * released by itself, and not used after its frame is finished. Temporaries keep their arrays, and what is in them,
 * until the pool is released. A pool serves one thread at a time.
 *
 * ZRC_New_BIGINT_Pool - a new pool without temporaries; null when there is no memory.
 */
ZRC_API ZRC_BIGINT_POOL *ZRC_New_BIGINT_Pool(void);

/*
 * zrc_Init_BIGINT_Pool - make an empty pool of a structure; what it held is forgotten. Returns 0, or 1 for null.
 */
ZRC_API uint32_t zrc_Init_BIGINT_Pool(ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Start_BIGINT_Pool - open a frame; at most 80 can be open.
 *
 * Returns 0, or, with no frame opened that would have to be finished,
 *   0x041B0049  ZRC_ERR_NULL_INPUT              pool is null
 *   0x041B0057  ZRC_ERR_START_BIGINT_POOL_FAIL  80 frames are open
 */
ZRC_API uint32_t ZRC_Start_BIGINT_Pool(ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Get_BIGINT_Pool - the next temporary, value zero, counted in the innermost frame; memory is asked for only when
 * all temporaries of the pool are out, for eight at once. Without an open frame no Finish takes the temporary back.
 * Null for null, without memory, or after ZRC_Clear_BIGINT_Pool.
 */
ZRC_API ZRC_BIGINT *ZRC_Get_BIGINT_Pool(ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Finish_BIGINT_Pool - close the innermost frame and take back its temporaries.
 *
 * Returns 0, or
 *   0x041C0049  ZRC_ERR_NULL_INPUT     pool is null
 *   0x041C002B  ZRC_ERR_INVALID_INPUT  no frame is open
 *   0x041D002B  ZRC_ERR_INVALID_INPUT  temporaries of the frame were already released; the frame is closed
 */
ZRC_API uint32_t ZRC_Finish_BIGINT_Pool(ZRC_BIGINT_POOL *pool);

/*
 * zrc_Release_BIGINT_POOL - take back the last `count` temporaries, whatever their frames.
 *
 * Returns 0, or, with nothing changed,
 *   0x041D0049  ZRC_ERR_NULL_INPUT     pool is null
 *   0x041D002B  ZRC_ERR_INVALID_INPUT  fewer than `count` are out
 */
ZRC_API uint32_t zrc_Release_BIGINT_POOL(ZRC_BIGINT_POOL *pool, uint32_t count);

/*
 * ZRC_Clear_BIGINT_Pool - wipe and release all temporaries. The counters and `tail` stay as they were: afterwards the
 * pool is fit only for ZRC_Free_BIGINT_Pool or zrc_Init_BIGINT_Pool.
 *
 * Returns 0, or
 *   0x041A0049  ZRC_ERR_NULL_INPUT  pool is null
 */
ZRC_API uint32_t ZRC_Clear_BIGINT_Pool(ZRC_BIGINT_POOL *pool);

/*
 * ZRC_Free_BIGINT_Pool - clear and release a pool.
 *
 * Returns 0, or
 *   0x04190049  ZRC_ERR_NULL_INPUT  pool is null
 */
ZRC_API uint32_t ZRC_Free_BIGINT_Pool(ZRC_BIGINT_POOL *pool);

ZRC_END_DECLS

#endif

/*
 * Memory: the library's allocation entry points. Everything that the library allocates comes from here, and what it
 * hands to the caller is released with ZRC_Free. They are as safe between threads as the platform's allocator.
 */
#ifndef KESTRIM_MEMORY_H
#define KESTRIM_MEMORY_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * ZRC_Malloc - `size` bytes, not cleared; null when there is no memory. A size of 0 gives what the platform's malloc
 * gives.
 */
ZRC_API void *ZRC_Malloc(uint32_t size);

/*
 * ZRC_Calloc - `count` x `size` bytes, cleared; null when there is no memory or the product does not fit the address
 * space.
 */
ZRC_API void *ZRC_Calloc(uint32_t count, uint32_t size);

/*
 * ZRC_Realloc - resize a block to `size` bytes as the platform's realloc does: a null pointer allocates, and on
 * failure the result is null and the old block stays. The old block is not wiped when it moves.
 */
ZRC_API void *ZRC_Realloc(void *ptr, uint32_t size);

/*
 * ZRC_Free - release a block without wiping it; null is allowed.
 */
ZRC_API void ZRC_Free(void *ptr);

/*
 * ZRC_Free_Ex - write `size` zero bytes over the block, in a way the compiler cannot remove, and release it. Does
 * nothing for null, whatever the size.
 */
ZRC_API void ZRC_Free_Ex(void *ptr, uint32_t size);

/*
 * test_malloc - another name of ZRC_Malloc.
 */
ZRC_API void *test_malloc(uint32_t size);

ZRC_END_DECLS

#endif

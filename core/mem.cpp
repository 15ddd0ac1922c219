// The allocation entry points: the C library's allocator behind 32-bit sizes.
#include "core/secret.hpp"
#include "kestrim/memory.h"

#include <cstdint>
#include <cstdlib>

void* ZRC_Malloc(std::uint32_t size)
{
    return std::malloc(size);
}

void* ZRC_Calloc(std::uint32_t count, std::uint32_t size)
{
    // No object is larger than PTRDIFF_MAX. Asked here: some allocators look only for a product that wraps, and
    // sanitizers stop the program.
    if (std::uint64_t{count} * size > PTRDIFF_MAX) return nullptr;
    return std::calloc(count, size);
}

void* ZRC_Realloc(void* ptr, std::uint32_t size)
{
    return std::realloc(ptr, size);
}

void ZRC_Free(void* ptr)
{
    std::free(ptr);
}

void ZRC_Free_Ex(void* ptr, std::uint32_t size)
{
    if (!ptr) return;
    zrc::wipe(ptr, size);
    std::free(ptr);
}

void* test_malloc(std::uint32_t size)
{
    return ZRC_Malloc(size);
}

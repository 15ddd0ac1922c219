// Every block of the heap is wiped when it is released. A key given on the command line is copied several times by
// the parser, and message data pass through buffers; wiping them all here forgets none of them.
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

void* operator new(std::size_t size)
{
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc{};
}

void operator delete(void* memory) noexcept
{
    if (memory) explicit_bzero(memory, malloc_usable_size(memory));
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

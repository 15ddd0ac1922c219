#include "core/memfrag.hpp"

#include "kestrim/memory.h"

#include <utility>

namespace zrc {

memfrag* new_memfrag() noexcept
{
    return static_cast<memfrag*>(ZRC_Malloc(sizeof(memfrag)));
}

void free_memfrags(memfrag* first) noexcept
{
    while (first)
        ZRC_Free_Ex(std::exchange(first, first->next), sizeof(memfrag));
}

} // namespace zrc

// One fragment of a memory buffer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zrc {

struct memfrag {
    // With the link and the allocator's own words, a fragment fills a page.
    static constexpr std::size_t kBytes = 4096 - 32;

    memfrag* next;
    std::uint8_t bytes[kBytes];
};

// Null when there is no memory. The bytes are not cleared.
memfrag* new_memfrag() noexcept;

// Wipes a fragment and releases it, and all that follow it.
void free_memfrags(memfrag* first) noexcept;

} // namespace zrc

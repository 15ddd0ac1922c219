// A pool of fragments: what is given back waits, wiped, for the next use.
#pragma once

#include "core/memfrag.hpp"

#include <cstddef>

namespace zrc {

class mempool {
public:
    mempool() = default;
    mempool(const mempool&) = delete;
    mempool& operator=(const mempool&) = delete;
    ~mempool() { free_memfrags(free_); }

    // Sees to it that so many fragments can be taken. False when there is no memory for them.
    bool reserve(std::size_t count) noexcept;

    // One of the reserved fragments; it is followed by none.
    memfrag* take() noexcept;

    // Wipes a fragment, and all that follow it, and keeps them.
    void give_back(memfrag* first) noexcept;

private:
    memfrag* free_ = nullptr;
    std::size_t count_ = 0;
};

} // namespace zrc

#include "core/mempool.hpp"

#include "core/secret.hpp"

#include <utility>

namespace zrc {

bool mempool::reserve(std::size_t count) noexcept
{
    for (; count_ < count; ++count_) {
        memfrag* const fragment = new_memfrag();
        if (!fragment) return false;
        fragment->next = std::exchange(free_, fragment);
    }
    return true;
}

memfrag* mempool::take() noexcept
{
    --count_;
    memfrag* const fragment = std::exchange(free_, free_->next);
    fragment->next = nullptr;
    return fragment;
}

void mempool::give_back(memfrag* first) noexcept
{
    while (first) {
        wipe(first->bytes, sizeof first->bytes);
        memfrag* const following = std::exchange(first->next, free_);
        free_ = std::exchange(first, following);
        ++count_;
    }
}

} // namespace zrc

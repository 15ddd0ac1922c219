// Memory that a child process does not inherit.
#pragma once

#include <atomic>
#include <sys/mman.h>

namespace zrc {

// One object of type T, all zero at first, in a page that the kernel clears in every child, however that was made.
// Where the kernel cannot do that (before Linux 4.14) or has no page, the fallback is used for good; without one,
// get() is null then. Any thread may ask.
template <class T>
class cleared_in_children {
public:
    explicit constexpr cleared_in_children(T* fallback) noexcept : fallback_{fallback} {}

    T* get() noexcept
    {
        T* const found = place_.load(std::memory_order_acquire);
        return found ? found : choose();
    }

private:
    static T* new_page() noexcept
    {
#if defined(MADV_WIPEONFORK)
        void* page = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (page == MAP_FAILED) return nullptr;
        if (madvise(page, sizeof(T), MADV_WIPEONFORK) == 0) {
            madvise(page, sizeof(T), MADV_DONTDUMP); // best effort: keep it out of core files
            return static_cast<T*>(page);
        }
        munmap(page, sizeof(T));
#endif
        return nullptr;
    }

    T* choose() noexcept
    {
        T* const page = new_page();
        T* const mine = page ? page : fallback_;
        T* chosen = nullptr;
        if (!mine || place_.compare_exchange_strong(chosen, mine, std::memory_order_acq_rel)) return mine;
        if (page) munmap(page, sizeof(T)); // another thread was faster
        return chosen;
    }

    T* const fallback_;
    std::atomic<T*> place_{nullptr};
};

} // namespace zrc

#include "random/process_number.hpp"

#include <atomic>
#include <sys/mman.h>
#include <unistd.h>

namespace zrc {
namespace {

using number = std::atomic<std::uint32_t>;

// In ordinary memory, which children inherit: the number of a child is above those of its ancestors.
constinit number last_given{0};

// Where the number of this process lies: a page that the kernel clears in every child, however it was made.
constinit std::atomic<number*> place{nullptr};

number* cleared_in_children() noexcept
{
#if defined(MADV_WIPEONFORK)
    void* page = mmap(nullptr, sizeof(number), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return nullptr;
    if (madvise(page, sizeof(number), MADV_WIPEONFORK) == 0) return static_cast<number*>(page);
    munmap(page, sizeof(number));
#endif
    return nullptr;
}

// Null where the kernel cannot clear a page (before Linux 4.14).
number* find_place() noexcept
{
    number* found = place.load(std::memory_order_acquire);
    if (found) return found;
    number* const mine = cleared_in_children();
    if (!mine || place.compare_exchange_strong(found, mine, std::memory_order_acq_rel)) return mine;
    munmap(mine, sizeof(number)); // another thread was faster
    return found;
}

} // namespace

std::uint32_t process_number() noexcept
{
    constexpr std::uint32_t kProcessId = 0x80000000; // the best there is without such a page

    number* const own = find_place();
    if (!own) return std::uint32_t(getpid()) | kProcessId;
    std::uint32_t seen = own->load(std::memory_order_relaxed);
    if (seen != 0) return seen;
    const std::uint32_t fresh = last_given.fetch_add(1, std::memory_order_relaxed) + 1;
    return own->compare_exchange_strong(seen, fresh, std::memory_order_relaxed) ? fresh : seen;
}

} // namespace zrc

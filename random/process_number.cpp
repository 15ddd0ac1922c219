#include "random/process_number.hpp"

#include "random/cleared_in_children.hpp"

#include <atomic>
#include <unistd.h>

namespace zrc {
namespace {

using number = std::atomic<std::uint32_t>;

// In ordinary memory, which children inherit: the number of a child is above those of its ancestors.
constinit number last_given{0};

// The number of this process.
constinit cleared_in_children<number> place{nullptr};

} // namespace

std::uint32_t process_number() noexcept
{
    constexpr std::uint32_t kProcessId = 0x80000000; // the best there is without such a page

    number* const own = place.get();
    if (!own) return std::uint32_t(getpid()) | kProcessId;
    std::uint32_t seen = own->load(std::memory_order_relaxed);
    if (seen != 0) return seen;
    const std::uint32_t fresh = last_given.fetch_add(1, std::memory_order_relaxed) + 1;
    return own->compare_exchange_strong(seen, fresh, std::memory_order_relaxed) ? fresh : seen;
}

} // namespace zrc

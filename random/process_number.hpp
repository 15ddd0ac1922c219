// How state that came along with a fork() is told from state of this process.
#pragma once

#include <cstdint>

namespace zrc {

// A number that this process keeps and that none of its ancestors had; never 0. Process ids do not do: they come
// again, and in another namespace parent and child can have the same one.
std::uint32_t process_number() noexcept;

} // namespace zrc

// The allocator between the library's objects and the tests: the linker puts it in place of libc's (--wrap). It fails
// on request, fills new memory with what a program may find there, and looks whether memory is clean when it is
// released.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace test {

extern int allocations_until_failure; // the allocation that fails; negative: none does
extern void (*on_allocation)();
extern int dirty_releases; // blocks released under watch that were not all zero

// Watches the blocks that are allocated in its scope.
class release_watch {
public:
    release_watch();
    ~release_watch();
    release_watch(const release_watch&) = delete;
    release_watch& operator=(const release_watch&) = delete;

    std::size_t live_blocks() const { return blocks_.size(); }

private:
    std::map<void*, std::size_t> blocks_;
};

// The code of `operation` for each number of allocations that succeed, until it succeeds itself.
std::vector<std::uint32_t> codes_with_failing_allocations(const std::function<std::uint32_t()>& operation);

// The same without repetitions.
std::vector<std::uint32_t> distinct_codes(const std::function<std::uint32_t()>& operation);

} // namespace test

#include "tests/allocator.hpp"

#include <algorithm>
#include <cstring>

namespace test {

int allocations_until_failure = -1;
void (*on_allocation)() = nullptr;
int dirty_releases = 0;

namespace {

bool tracking = false;
std::map<void*, std::size_t>* live = nullptr;

bool allocation_fails()
{
    if (on_allocation) on_allocation();
    return allocations_until_failure >= 0 && allocations_until_failure-- == 0;
}

void* note(void* block, std::size_t bytes)
{
    if (!tracking || !block) return block;
    tracking = false;
    (*live)[block] = bytes;
    tracking = true;
    return block;
}

} // namespace

release_watch::release_watch()
{
    dirty_releases = 0;
    live = &blocks_;
    tracking = true;
}

release_watch::~release_watch()
{
    tracking = false;
}

std::vector<std::uint32_t> codes_with_failing_allocations(const std::function<std::uint32_t()>& operation)
{
    std::vector<std::uint32_t> codes;
    while (codes.empty() || codes.back() != 0) {
        allocations_until_failure = int(codes.size());
        codes.push_back(operation());
        allocations_until_failure = -1;
    }
    return codes;
}

std::vector<std::uint32_t> distinct_codes(const std::function<std::uint32_t()>& operation)
{
    std::vector<std::uint32_t> codes = codes_with_failing_allocations(operation);
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    return codes;
}

} // namespace test

using namespace test;

extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* block, std::size_t bytes);
void __real_free(void* block);

void* __wrap_malloc(std::size_t bytes)
{
    if (allocation_fails()) return nullptr;
    void* block = __real_malloc(bytes);
    if (block) std::memset(block, 0xA5, bytes); // as what was there before may have
    return note(block, bytes);
}

void* __wrap_calloc(std::size_t count, std::size_t bytes)
{
    return allocation_fails() ? nullptr : note(__real_calloc(count, bytes), count * bytes);
}

void* __wrap_realloc(void* block, std::size_t bytes)
{
    return allocation_fails() ? nullptr : __real_realloc(block, bytes);
}

void __wrap_free(void* block)
{
    if (tracking && live->count(block) != 0) {
        const auto* bytes = static_cast<const std::uint8_t*>(block);
        dirty_releases += std::any_of(bytes, bytes + (*live)[block], [](std::uint8_t byte) { return byte != 0; });
        tracking = false;
        live->erase(block);
        tracking = true;
    }
    __real_free(block);
}
}

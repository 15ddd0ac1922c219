#include "core/membuf.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zrc {
namespace {

constexpr std::uint64_t fragments_for(std::uint64_t bytes) noexcept
{
    return (bytes + memfrag::kBytes - 1) / memfrag::kBytes;
}

} // namespace

bool membuf::append(byte_span bytes) noexcept
{
    if (!pool_.reserve(std::size_t(fragments_for(length_ + bytes.size()) - fragments_for(length_)))) return false;
    while (!bytes.empty()) {
        const std::size_t used = std::size_t(length_ % memfrag::kBytes);
        if (used == 0) {
            memfrag* const fragment = pool_.take();
            (last_ ? last_->next : first_) = fragment;
            last_ = fragment;
        }
        const std::size_t count = std::min(bytes.size(), memfrag::kBytes - used);
        std::memcpy(last_->bytes + used, bytes.data(), count);
        bytes = bytes.subspan(count);
        length_ += count;
    }
    return true;
}

std::size_t membuf::read(std::span<std::uint8_t> out) noexcept
{
    const std::size_t total = std::size_t(std::min<std::uint64_t>(out.size(), length_ - position_));
    for (std::size_t done = 0; done != total;) {
        const std::size_t used = std::size_t(position_ % memfrag::kBytes);
        if (used == 0) current_ = current_ ? current_->next : first_;
        const std::size_t count = std::min(total - done, memfrag::kBytes - used);
        std::memcpy(out.data() + done, current_->bytes + used, count);
        done += count;
        position_ += count;
    }
    return total;
}

bool membuf::seek(std::uint64_t position) noexcept
{
    if (position > length_) return false;
    position_ = position;
    current_ = position != 0 ? first_ : nullptr;
    for (std::uint64_t fragments = fragments_for(position); fragments > 1; --fragments)
        current_ = current_->next;
    return true;
}

void membuf::copy_to(std::uint8_t* out) const noexcept
{
    std::uint64_t rest = length_;
    for (const memfrag* fragment = first_; fragment; fragment = fragment->next) {
        const std::size_t count = std::size_t(std::min<std::uint64_t>(rest, memfrag::kBytes));
        std::memcpy(out, fragment->bytes, count);
        out += count;
        rest -= count;
    }
}

void membuf::clear() noexcept
{
    pool_.give_back(std::exchange(first_, nullptr));
    last_ = current_ = nullptr;
    length_ = position_ = 0;
}

} // namespace zrc

// What the kinds of streams share.
#pragma once

#include "core/error.hpp"
#include "kestrim/stream.h"

#include <cstdint>

namespace zrc {

// The record of a kind, which ZRC_Open_STREAM allocated with its size.
template <class State>
State& state_of(const ZRC_STREAM* stream) noexcept
{
    return *static_cast<State*>(stream->state);
}

// The reason in what an operation, or a function of this family, returned.
constexpr std::uint32_t reason_in(std::uint32_t result) noexcept
{
    if (result == 0) return 0;
    return (result & 0xFF) != 0 ? result & 0xFF : std::uint32_t{ZRC_ERR_SUB_OPERATION_FAILURE};
}

// The code of every Open function.
constexpr std::uint32_t open_failure(std::uint32_t reason) noexcept
{
    return code(ZRC_L_FOUNDATION, ZRC_F_OPEN_STREAM, reason);
}

// Exactly one of the two directions.
constexpr bool is_one_way(std::uint32_t mode) noexcept
{
    return mode == ZRC_STREAM_READ || mode == ZRC_STREAM_WRITE;
}

// Puts a filter over another stream. Returns 0 or a reason.
std::uint32_t attach(ZRC_STREAM* filter, ZRC_STREAM* next) noexcept;

} // namespace zrc

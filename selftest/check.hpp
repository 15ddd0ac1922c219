// What the checks share: their result, and the message that the signature checks sign.
#pragma once

#include "core/error.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

// The result of a check that tells nothing but that it failed.
constexpr std::uint32_t outcome(std::uint32_t check, bool passed) noexcept
{
    return passed ? 0 : code(ZRC_L_SELF_TEST, check, ZRC_ERR_SUB_OPERATION_FAILURE);
}

inline constexpr auto kSignedMessage = [] {
    std::array<std::uint8_t, 128> message{};
    for (std::size_t i = 0; i < message.size(); ++i)
        message[i] = std::uint8_t(i);
    return message;
}();

} // namespace zrc

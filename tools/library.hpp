// The library's error codes and units for C++.
#pragma once

#include "kestrim_crypto.h"
#include "tools/command.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tool {

// The names in an error code; empty where the library knows none.
struct decoded_error {
    std::string library;
    std::string function;
    std::string reason;
};

decoded_error decode(std::uint32_t code);

// "0x0A010049", the form in which codes are documented.
std::string code_text(std::uint32_t code);

// Throws failure with the decoded code unless it is 0. `call` names the function that returned it.
void require(std::uint32_t code, const char* call);

// One message through the digest unit.
class digest {
public:
    explicit digest(std::int32_t algorithm_id);
    void update(std::span<const std::uint8_t> piece);
    std::vector<std::uint8_t> finish();

private:
    struct release {
        void operator()(ZRC_DIGEST_UNIT* unit) const noexcept { ZRC_Free_DIGEST_Unit(unit); }
    };
    std::unique_ptr<ZRC_DIGEST_UNIT, release> unit_;
};

// One message through the HMAC unit. A unit is keyed anew for each message, because an empty message has the right
// MAC only directly after Init.
class hmac {
public:
    hmac(std::int32_t digest_id, std::span<const std::uint8_t> key);
    void update(std::span<const std::uint8_t> piece);
    std::vector<std::uint8_t> finish();

private:
    struct release {
        void operator()(ZRC_HMAC_UNIT* unit) const noexcept { ZRC_Free_HMAC_Unit(unit); }
    };
    std::unique_ptr<ZRC_HMAC_UNIT, release> unit_;
};

} // namespace tool

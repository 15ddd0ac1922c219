// The library's error codes and units for C++.
#pragma once

#include "kestrim_crypto.h"
#include "tools/command.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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

// What can be done about a failed self-test; empty where there is nothing to say.
std::string advice(std::uint32_t code);

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

// One message through the CBC-MAC unit, which takes whole blocks: the bytes of an incomplete one wait here.
class cbc_mac {
public:
    cbc_mac(std::uint32_t cipher_id, std::size_t block_bytes, std::span<const std::uint8_t> key);
    void update(std::span<const std::uint8_t> piece);
    std::optional<std::vector<std::uint8_t>> finish(); // nothing: the message was not whole blocks

private:
    void absorb(std::span<const std::uint8_t> blocks);

    struct release {
        void operator()(ZRC_CBC_MAC_UNIT* unit) const noexcept { ZRC_Free_CBC_MAC_Unit(unit); }
    };
    std::unique_ptr<ZRC_CBC_MAC_UNIT, release> unit_;
    std::size_t block_bytes_;
    std::vector<std::uint8_t> rest_;
};

// DES-MAC of a whole message of 1 to 2^31 - 1 bytes.
std::vector<std::uint8_t> des_mac(std::span<const std::uint8_t> key, std::span<const std::uint8_t> message);

} // namespace tool

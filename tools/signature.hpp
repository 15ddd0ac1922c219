// A message on its way to a signature, or to its verification, with either kind of key.
#pragma once

#include "tools/command.hpp"
#include "tools/key_file.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tool {

struct signature_options {
    std::string digest;
    bool pkcs1 = false; // RSASSA-PKCS1-v1_5 and not PSS
    int salt = 0;       // bytes; 0: as many as the digest has
};

// Everything throws failure. One message for each object.
class signature_scheme {
public:
    signature_scheme() = default;
    signature_scheme(const signature_scheme&) = delete;
    signature_scheme& operator=(const signature_scheme&) = delete;
    virtual ~signature_scheme() = default;

    virtual void update(std::span<const std::uint8_t> piece) = 0; // never empty
    virtual bytes sign() = 0;
    virtual bool verify(std::span<const std::uint8_t> signature) = 0;
};

// Bring the library up in the mode that key, digest and encoding need, and load the key.
std::unique_ptr<signature_scheme> new_signing(const key_file& file, const signature_options& options,
                                              const session& session);
std::unique_ptr<signature_scheme> new_verification(const key_file& file, const signature_options& options,
                                                   const session& session);

} // namespace tool

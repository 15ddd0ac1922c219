// The elliptic curves that the tool knows by name (FIPS 186-4, D.1.2; SEC 2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tool {

// y^2 = x^3 + a x + b modulo p; hexadecimal. The cofactor of each is 1.
struct named_curve {
    std::string_view name;                    // "P-256"
    std::string_view sec_name;                // "secp256r1"
    std::span<const std::uint8_t> identifier; // content of the object identifier (RFC 5480, 2.1.1.1)
    std::string_view p;
    std::string_view a;
    std::string_view b;
    std::string_view gx; // the base point
    std::string_view gy;
    std::string_view n; // its prime order

    std::size_t coordinate_bytes() const { return p.size() / 2; }
    std::size_t scalar_bytes() const { return n.size() / 2; }
};

// By either name in lower case and without hyphens, or by the identifier. Null: not known.
const named_curve* find_curve(std::string_view normalised_name);
const named_curve* find_curve(std::span<const std::uint8_t> identifier);

std::string curve_names();

} // namespace tool

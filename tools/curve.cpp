#include "tools/curve.hpp"

#include <algorithm>

namespace tool {
namespace {

constexpr std::uint8_t kP192Identifier[] = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x01}; // 1.2.840.10045.3.1.1
constexpr std::uint8_t kP224Identifier[] = {0x2B, 0x81, 0x04, 0x00, 0x21};                   // 1.3.132.0.33
constexpr std::uint8_t kP256Identifier[] = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07}; // 1.2.840.10045.3.1.7
constexpr std::uint8_t kP384Identifier[] = {0x2B, 0x81, 0x04, 0x00, 0x22};                   // 1.3.132.0.34
constexpr std::uint8_t kP521Identifier[] = {0x2B, 0x81, 0x04, 0x00, 0x23};                   // 1.3.132.0.35
constexpr std::uint8_t kSecp256k1Identifier[] = {0x2B, 0x81, 0x04, 0x00, 0x0A};              // 1.3.132.0.10

constexpr named_curve kCurves[] = {
    {"P-192", "secp192r1", kP192Identifier, "fffffffffffffffffffffffffffffffeffffffffffffffff",
     "fffffffffffffffffffffffffffffffefffffffffffffffc", "64210519e59c80e70fa7e9ab72243049feb8deecc146b9b1",
     "188da80eb03090f67cbf20eb43a18800f4ff0afd82ff1012", "07192b95ffc8da78631011ed6b24cdd573f977a11e794811",
     "ffffffffffffffffffffffff99def836146bc9b1b4d22831"},
    {"P-224", "secp224r1", kP224Identifier, "ffffffffffffffffffffffffffffffff000000000000000000000001",
     "fffffffffffffffffffffffffffffffefffffffffffffffffffffffe",
     "b4050a850c04b3abf54132565044b0b7d7bfd8ba270b39432355ffb4",
     "b70e0cbd6bb4bf7f321390b94a03c1d356c21122343280d6115c1d21",
     "bd376388b5f723fb4c22dfe6cd4375a05a07476444d5819985007e34",
     "ffffffffffffffffffffffffffff16a2e0b8f03e13dd29455c5c2a3d"},
    {"P-256", "secp256r1", kP256Identifier, "ffffffff00000001000000000000000000000000ffffffffffffffffffffffff",
     "ffffffff00000001000000000000000000000000fffffffffffffffffffffffc",
     "5ac635d8aa3a93e7b3ebbd55769886bc651d06b0cc53b0f63bce3c3e27d2604b",
     "6b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296",
     "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5",
     "ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551"},
    {"P-384", "secp384r1", kP384Identifier,
     "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffeffffffff0000000000000000ffffffff",
     "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffeffffffff0000000000000000fffffffc",
     "b3312fa7e23ee7e4988e056be3f82d19181d9c6efe8141120314088f5013875ac656398d8a2ed19d2a85c8edd3ec2aef",
     "aa87ca22be8b05378eb1c71ef320ad746e1d3b628ba79b9859f741e082542a385502f25dbf55296c3a545e3872760ab7",
     "3617de4a96262c6f5d9e98bf9292dc29f8f41dbd289a147ce9da3113b5f0b8c00a60b1ce1d7e819d7a431d7c90ea0e5f",
     "ffffffffffffffffffffffffffffffffffffffffffffffffc7634d81f4372ddf581a0db248b0a77aecec196accc52973"},
    {"P-521", "secp521r1", kP521Identifier,
     "01ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
     "ffffffffffffffffffffffffffffffffffff",
     "01ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
     "fffffffffffffffffffffffffffffffffffc",
     "0051953eb9618e1c9a1f929a21a0b68540eea2da725b99b315f3b8b489918ef109e156193951ec7e937b1652c0bd3bb1"
     "bf073573df883d2c34f1ef451fd46b503f00",
     "00c6858e06b70404e9cd9e3ecb662395b4429c648139053fb521f828af606b4d3dbaa14b5e77efe75928fe1dc127a2ff"
     "a8de3348b3c1856a429bf97e7e31c2e5bd66",
     "011839296a789a3bc0045c8a5fb42c7d1bd998f54449579b446817afbd17273e662c97ee72995ef42640c550b9013fad"
     "0761353c7086a272c24088be94769fd16650",
     "01fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffa51868783bf2f966b7fcc0148f709"
     "a5d03bb5c9b8899c47aebb6fb71e91386409"},
    {"secp256k1", "secp256k1", kSecp256k1Identifier, "fffffffffffffffffffffffffffffffffffffffffffffffffffffffefffffc2f",
     "0000000000000000000000000000000000000000000000000000000000000000",
     "0000000000000000000000000000000000000000000000000000000000000007",
     "79be667ef9dcbbac55a06295ce870b07029bfcdb2dce28d959f2815b16f81798",
     "483ada7726a3c4655da4fbfc0e1108a8fd17b448a68554199c47d08ffb10d4b8",
     "fffffffffffffffffffffffffffffffebaaedce6af48a03bbfd25e8cd0364141"},
};

// "secp256k1" and "P-256" as they are given on the command line.
bool is_name(std::string_view name, std::string_view normalised_name)
{
    std::string plain{name};
    std::erase(plain, '-');
    std::ranges::replace(plain, 'P', 'p');
    return plain == normalised_name;
}

} // namespace

const named_curve* find_curve(std::string_view normalised_name)
{
    const auto found = std::ranges::find_if(kCurves, [&](const named_curve& curve) {
        return is_name(curve.name, normalised_name) || curve.sec_name == normalised_name;
    });
    return found == std::end(kCurves) ? nullptr : found;
}

const named_curve* find_curve(std::span<const std::uint8_t> identifier)
{
    const auto found = std::ranges::find_if(
        kCurves, [&](const named_curve& curve) { return std::ranges::equal(curve.identifier, identifier); });
    return found == std::end(kCurves) ? nullptr : found;
}

std::string curve_names()
{
    std::string list;
    for (const named_curve& curve : kCurves)
        list.append(list.empty() ? "" : " ").append(curve.name);
    return list;
}

} // namespace tool

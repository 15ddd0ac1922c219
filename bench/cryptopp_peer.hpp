// Crypto++'s side of the comparison: LEA, which OpenSSL does not have.
#pragma once

#include <cryptopp/lea.h>
#include <cryptopp/modes.h>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace bench::cryptopp {

using data_span = std::span<const std::uint8_t>;
using cipher_ptr = std::unique_ptr<CryptoPP::SymmetricCipher>;

template <template <class> class Mode>
cipher_ptr new_lea(bool encrypt)
{
    if (encrypt) return std::make_unique<typename Mode<CryptoPP::LEA>::Encryption>();
    return std::make_unique<typename Mode<CryptoPP::LEA>::Decryption>();
}

inline cipher_ptr new_lea(std::string_view mode, bool encrypt)
{
    if (mode == "ECB") return new_lea<CryptoPP::ECB_Mode>(encrypt);
    if (mode == "CBC") return new_lea<CryptoPP::CBC_Mode>(encrypt);
    if (mode == "CFB") return new_lea<CryptoPP::CFB_Mode>(encrypt);
    if (mode == "OFB") return new_lea<CryptoPP::OFB_Mode>(encrypt);
    return new_lea<CryptoPP::CTR_Mode>(encrypt);
}

inline void set_key(CryptoPP::SymmetricCipher& cipher, data_span key, data_span iv)
{
    if (cipher.IsResynchronizable()) {
        cipher.SetKeyWithIV(key.data(), key.size(), iv.data(), iv.size());
    } else {
        cipher.SetKey(key.data(), key.size()); // ECB does not take an IV
    }
}

// A keyed cipher, always in the same message. `out` takes as many bytes as `data` has.
inline auto lea(std::string_view mode, bool encrypt, data_span key, data_span iv, data_span data, std::uint8_t* out)
{
    return [=] {
        cipher_ptr cipher = new_lea(mode, encrypt);
        set_key(*cipher, key, iv);
        return [=, cipher = std::move(cipher)] { cipher->ProcessData(out, data.data(), data.size()); };
    };
}

// Encrypts message after message with one cipher object, each with its key and IV.
inline auto lea_messages(std::string_view mode, data_span key, data_span iv, data_span data, std::uint8_t* out)
{
    return [=] {
        return [=, cipher = new_lea(mode, true)] {
            set_key(*cipher, key, iv);
            cipher->ProcessData(out, data.data(), data.size());
        };
    };
}

} // namespace bench::cryptopp

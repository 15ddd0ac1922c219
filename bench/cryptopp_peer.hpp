// Crypto++'s side of the comparison: LEA and RC5, which OpenSSL does not have or is built without.
#pragma once

#include <cryptopp/lea.h>
#include <cryptopp/modes.h>
#include <cryptopp/rc5.h>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace bench::cryptopp {

using data_span = std::span<const std::uint8_t>;
using cipher_ptr = std::unique_ptr<CryptoPP::SymmetricCipher>;

inline bool has(std::string_view cipher)
{
    return cipher.starts_with("LEA") || cipher == "RC5";
}

template <class Mode>
cipher_ptr new_cipher(bool encrypt)
{
    if (encrypt) return std::make_unique<typename Mode::Encryption>();
    return std::make_unique<typename Mode::Decryption>();
}

template <class Cipher>
cipher_ptr new_cipher(std::string_view mode, bool encrypt)
{
    if (mode == "ECB") return new_cipher<CryptoPP::ECB_Mode<Cipher>>(encrypt);
    if (mode == "CBC") return new_cipher<CryptoPP::CBC_Mode<Cipher>>(encrypt);
    if (mode == "CFB") return new_cipher<CryptoPP::CFB_Mode<Cipher>>(encrypt);
    if (mode == "OFB") return new_cipher<CryptoPP::OFB_Mode<Cipher>>(encrypt);
    return new_cipher<CryptoPP::CTR_Mode<Cipher>>(encrypt);
}

inline cipher_ptr new_cipher(std::string_view cipher, std::string_view mode, bool encrypt)
{
    return cipher == "RC5" ? new_cipher<CryptoPP::RC5>(mode, encrypt) : new_cipher<CryptoPP::LEA>(mode, encrypt);
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
inline auto cipher(std::string_view name, std::string_view mode, bool encrypt, data_span key, data_span iv,
                   data_span data, std::uint8_t* out)
{
    return [=] {
        cipher_ptr cipher = new_cipher(name, mode, encrypt);
        set_key(*cipher, key, iv);
        return [=, cipher = std::move(cipher)] { cipher->ProcessData(out, data.data(), data.size()); };
    };
}

// Encrypts message after message with one cipher object, each with its key and IV.
inline auto cipher_messages(std::string_view name, std::string_view mode, data_span key, data_span iv, data_span data,
                            std::uint8_t* out)
{
    return [=] {
        return [=, cipher = new_cipher(name, mode, true)] {
            set_key(*cipher, key, iv);
            cipher->ProcessData(out, data.data(), data.size());
        };
    };
}

} // namespace bench::cryptopp

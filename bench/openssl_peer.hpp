// OpenSSL's side of the comparison.
#pragma once

#include "bench/comparison.hpp"

#define OPENSSL_SUPPRESS_DEPRECATED // DES
#include <cstring>
#include <memory>
#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/provider.h>
#include <span>

namespace bench::openssl {

using data_span = std::span<const std::uint8_t>;

template <auto Free>
struct freer {
    void operator()(auto* object) const { Free(object); }
};

// MDC-2 and the older ciphers live in the legacy provider, which not every OpenSSL has. Kept until the program ends.
inline void load_legacy()
{
    static OSSL_PROVIDER* const legacy = OSSL_PROVIDER_try_load(nullptr, "legacy", 1);
    (void)legacy;
}

// Null when this OpenSSL has no such digest. Kept until the program ends, as are ciphers.
inline EVP_MD* fetch(const char* digest)
{
    load_legacy();
    return EVP_MD_fetch(nullptr, digest, nullptr);
}

inline EVP_CIPHER* fetch_cipher(const char* cipher)
{
    load_legacy();
    return EVP_CIPHER_fetch(nullptr, cipher, nullptr);
}

// A context kept from message to message.
inline auto unit(EVP_MD* md, data_span data)
{
    return [=] {
        std::unique_ptr<EVP_MD_CTX, freer<EVP_MD_CTX_free>> context{EVP_MD_CTX_new()};
        EVP_DigestInit_ex2(context.get(), md, nullptr);
        return [=, context = std::move(context)](output& out) {
            EVP_DigestUpdate(context.get(), data.data(), data.size());
            EVP_DigestFinal_ex(context.get(), out.data(), nullptr);
            EVP_DigestInit_ex2(context.get(), nullptr, nullptr);
        };
    };
}

inline auto evp_digest(EVP_MD* md, data_span data)
{
    return [=] { return [=](output& out) { EVP_Digest(data.data(), data.size(), out.data(), nullptr, md, nullptr); }; };
}

inline auto evp_q_digest(const char* digest, data_span data)
{
    return [=] {
        return
            [=](output& out) { EVP_Q_digest(nullptr, digest, nullptr, data.data(), data.size(), out.data(), nullptr); };
    };
}

// MDC-2 put together from OpenSSL's DES, for the many builds that leave MDC-2 out. Whole blocks only.
inline auto mdc2_over_des(data_span data)
{
    return [=] {
        return [=](output& out) {
            DES_cblock chains[2], encrypted[2], message;
            std::memset(chains[0], 0x52, 8);
            std::memset(chains[1], 0x25, 8);
            for (std::size_t at = 0; at + 8 <= data.size(); at += 8) {
                std::memcpy(message, data.data() + at, 8);
                chains[0][0] = std::uint8_t((chains[0][0] & 0x9F) | 0x40);
                chains[1][0] = std::uint8_t((chains[1][0] & 0x9F) | 0x20);
                for (std::size_t i = 0; i < 2; ++i) {
                    DES_key_schedule schedule;
                    DES_set_key_unchecked(&chains[i], &schedule);
                    DES_ecb_encrypt(&message, &encrypted[i], &schedule, DES_ENCRYPT);
                }
                for (std::size_t i = 0; i < 8; ++i) {
                    chains[0][i] = std::uint8_t(message[i] ^ encrypted[i < 4 ? 0 : 1][i]);
                    chains[1][i] = std::uint8_t(message[i] ^ encrypted[i < 4 ? 1 : 0][i]);
                }
            }
            std::memcpy(out.data(), chains, 16);
        };
    };
}

inline auto hmac(EVP_MD* md, data_span key, data_span data)
{
    return [=] {
        return
            [=](output& out) { HMAC(md, key.data(), int(key.size()), data.data(), data.size(), out.data(), nullptr); };
    };
}

inline auto evp_q_mac(const char* digest, data_span key, data_span data)
{
    return [=] {
        return [=](output& out) {
            std::size_t length = 0;
            EVP_Q_mac(nullptr, "HMAC", nullptr, digest, nullptr, key.data(), key.size(), data.data(), data.size(),
                      out.data(), out.size(), &length);
        };
    };
}

// A context keyed once.
inline auto keyed_mac(const char* digest, data_span key, data_span data)
{
    return [=] {
        const std::unique_ptr<EVP_MAC, freer<EVP_MAC_free>> mac{EVP_MAC_fetch(nullptr, "HMAC", nullptr)};
        std::unique_ptr<EVP_MAC_CTX, freer<EVP_MAC_CTX_free>> context{EVP_MAC_CTX_new(mac.get())};
        const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string("digest", const_cast<char*>(digest), 0),
                                         OSSL_PARAM_construct_end()};
        EVP_MAC_init(context.get(), key.data(), key.size(), parameters);
        return [=, context = std::move(context)](output& out) {
            std::size_t length = 0;
            EVP_MAC_init(context.get(), nullptr, 0, nullptr);
            EVP_MAC_update(context.get(), data.data(), data.size());
            EVP_MAC_final(context.get(), out.data(), &length, out.size());
        };
    };
}

using cipher_context = std::unique_ptr<EVP_CIPHER_CTX, freer<EVP_CIPHER_CTX_free>>;

// A keyed context without padding, always in the same message. `out` takes as many bytes as `data` has.
inline auto cipher(EVP_CIPHER* cipher, bool encrypt, data_span key, data_span iv, data_span data, std::uint8_t* out)
{
    return [=] {
        cipher_context context{EVP_CIPHER_CTX_new()};
        EVP_CipherInit_ex(context.get(), cipher, nullptr, key.data(), iv.data(), encrypt);
        EVP_CIPHER_CTX_set_padding(context.get(), 0);
        return [=, context = std::move(context)] {
            int written = 0;
            EVP_CipherUpdate(context.get(), out, &written, data.data(), int(data.size()));
        };
    };
}

// Encrypts message after message in one context, each with its key and IV. The cipher is given only once, which is
// OpenSSL's fastest way.
inline auto cipher_messages(EVP_CIPHER* cipher, data_span key, data_span iv, data_span data, std::uint8_t* out)
{
    return [=] {
        cipher_context context{EVP_CIPHER_CTX_new()};
        EVP_CipherInit_ex(context.get(), cipher, nullptr, nullptr, nullptr, 1);
        EVP_CIPHER_CTX_set_padding(context.get(), 0); // holds for all messages
        return [=, context = std::move(context)] {
            int written = 0, rest = 0;
            EVP_CipherInit_ex(context.get(), nullptr, nullptr, key.data(), iv.data(), 1);
            EVP_CipherUpdate(context.get(), out, &written, data.data(), int(data.size()));
            EVP_CipherFinal_ex(context.get(), out + written, &rest);
        };
    };
}

} // namespace bench::openssl

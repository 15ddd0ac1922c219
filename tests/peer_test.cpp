// Random messages against OpenSSL's digests and HMACs.
#include "kestrim_crypto.h"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/provider.h>

namespace {

using test::bytes;
using test::hex;

// OpenSSL's names
constexpr std::pair<std::int32_t, const char*> kPeers[] = {{ZRC_SHA1, "SHA1"},     {ZRC_SHA224, "SHA224"},
                                                           {ZRC_SHA256, "SHA256"}, {ZRC_SHA384, "SHA384"},
                                                           {ZRC_SHA512, "SHA512"}, {ZRC_MD5, "MD5"}};

// Messages of random lengths up to 5000 bytes, and a few long ones.
void for_random_messages(test::repeatable& random, auto check)
{
    for (int i = 0; i < 300; ++i)
        check(random.data(1 + random.upto(i % 3 == 0 ? 4999 : 300)));
    for (const std::size_t size : {65536U, 100003U, 1048583U})
        check(random.data(size));
}

std::string our_digest(std::int32_t id, const bytes& message, test::repeatable& random)
{
    const test::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> unit{ZRC_New_DIGEST_Unit()};
    bytes digest(64);
    std::int32_t length = 0;
    EXPECT_EQ(ZRC_Init_DIGEST(unit, id), 0U);
    random.pieces(message, message.size(), [&](auto piece) {
        EXPECT_EQ(ZRC_Update_DIGEST(unit, piece.data(), std::int32_t(piece.size())), 0U);
    });
    EXPECT_EQ(ZRC_Final_DIGEST(unit, digest.data(), &length), 0U);
    digest.resize(std::size_t(length));
    return hex(digest);
}

std::string peer_digest(const EVP_MD* md, const bytes& message)
{
    bytes digest(EVP_MAX_MD_SIZE);
    unsigned length = 0;
    EXPECT_EQ(EVP_Digest(message.data(), message.size(), digest.data(), &length, md, nullptr), 1);
    digest.resize(length);
    return hex(digest);
}

TEST(Peer, Digests)
{
    test::repeatable random{31};
    for (const auto& p : kPeers) {
        const EVP_MD* const md = EVP_get_digestbyname(p.second);
        ASSERT_TRUE(md) << p.second;
        for_random_messages(random, [&](const bytes& message) {
            ASSERT_EQ(our_digest(p.first, message, random), peer_digest(md, message))
                << p.second << " " << message.size();
        });
    }
}

TEST(Peer, Mdc2)
{
    const test::owned<OSSL_PROVIDER, OSSL_PROVIDER_unload> legacy{OSSL_PROVIDER_try_load(nullptr, "legacy", 1)};
    const test::owned<EVP_MD, EVP_MD_free> md{EVP_MD_fetch(nullptr, "MDC2", nullptr)};
    if (!md) GTEST_SKIP() << "this OpenSSL has no MDC-2";
    test::repeatable random{32};
    for_random_messages(random, [&](const bytes& message) {
        ASSERT_EQ(our_digest(ZRC_MDC2, message, random), peer_digest(md, message)) << message.size();
    });
}

TEST(Peer, Hmacs)
{
    test::repeatable random{33};
    for (const auto& p : kPeers) {
        for_random_messages(random, [&](const bytes& message) {
            const bytes key = random.data(1 + random.upto(300));
            bytes ours(64), theirs(64);
            unsigned length = 0;
            EXPECT_EQ(ZRC_HMAC(p.first, key.data(), std::int32_t(key.size()), message.data(),
                               std::int32_t(message.size()), ours.data(), nullptr),
                      0U);
            EXPECT_TRUE(HMAC(EVP_get_digestbyname(p.second), key.data(), int(key.size()), message.data(),
                             message.size(), theirs.data(), &length));
            ASSERT_EQ(hex(ours), hex(theirs))
                << p.second << ", key of " << key.size() << ", " << message.size() << " bytes";
        });
    }
}

} // namespace

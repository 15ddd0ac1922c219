// Random messages against OpenSSL's ciphers, in every mode that both have.
#include "kestrim_crypto.h"
#include "tests/sanitized.hpp"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <openssl/evp.h>
#include <openssl/provider.h>

namespace {

using test::bytes;

using unit_ptr = test::owned<ZRC_BLOCK_CIPHER_UNIT, ZRC_Free_BLOCK_CIPHER_Unit>;
using cipher_ptr = test::owned<EVP_CIPHER, EVP_CIPHER_free>;
using context_ptr = test::owned<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;
using provider_ptr = test::owned<OSSL_PROVIDER, OSSL_PROVIDER_unload>;

struct peer {
    std::uint32_t id;
    const char* name; // OpenSSL's, which a mode follows
    std::size_t key_bytes, block_bytes;
};
constexpr peer kPeers[] = {{ZRC_AES_128, "aes-128", 16, 16},   {ZRC_AES_192, "aes-192", 24, 16},
                           {ZRC_AES_256, "aes-256", 32, 16},   {ZRC_ARIA_128, "aria-128", 16, 16},
                           {ZRC_ARIA_192, "aria-192", 24, 16}, {ZRC_ARIA_256, "aria-256", 32, 16},
                           {ZRC_SEED, "seed", 16, 16},         {ZRC_DES, "des", 8, 8},
                           {ZRC_DES_EDE2, "des-ede", 16, 8},   {ZRC_DES_EDE3, "des-ede3", 24, 8},
                           {ZRC_BLOWFISH, "bf", 16, 8},        {ZRC_RC2_128, "rc2", 16, 8}};

// One message, or one way back, under one key.
struct job {
    std::uint32_t id;
    const EVP_CIPHER* evp;
    bytes key, iv;
    bool encrypt;
};

bytes theirs(const job& j, const bytes& in)
{
    const context_ptr context{EVP_CIPHER_CTX_new()};
    bytes out(in.size() + 16);
    int written = 0, rest = 0;
    EXPECT_EQ(EVP_CipherInit_ex(context, j.evp, nullptr, nullptr, nullptr, j.encrypt), 1);
    EXPECT_EQ(EVP_CIPHER_CTX_set_key_length(context, int(j.key.size())), 1);
    EXPECT_EQ(EVP_CipherInit_ex(context, nullptr, nullptr, j.key.data(), j.iv.data(), j.encrypt), 1);
    EVP_CIPHER_CTX_set_padding(context, (j.id & ZRC_NO_PADDING) == 0);
    EXPECT_EQ(EVP_CipherUpdate(context, out.data(), &written, in.data(), int(in.size())), 1);
    EXPECT_EQ(EVP_CipherFinal_ex(context, out.data() + written, &rest), 1);
    return {out.begin(), out.begin() + written + rest};
}

bytes ours(const job& j, const bytes& in, test::repeatable& random)
{
    const unit_ptr unit{ZRC_New_BLOCK_CIPHER_Unit()};
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, j.id, j.key.data(), j.iv.data(), j.encrypt), 0U);
    bytes out(in.size() + 16);
    std::int32_t total = 0, written = 0;
    random.pieces(in, 1 + random.upto(in.size() - 1), [&](auto piece) {
        std::uint8_t* const to = out.data() + total;
        EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, to, &written, piece.data(), std::int32_t(piece.size())), 0U);
        total += written;
    });
    EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, out.data() + total, &written), 0U);
    return {out.begin(), out.begin() + total + written};
}

constexpr std::size_t kLong = test::kSanitized ? 1 << 15 : 1 << 17;

void compare(const peer& p, std::uint32_t mode, const EVP_CIPHER* evp, test::repeatable& random)
{
    // Streams are decrypted with this flag only.
    const std::uint32_t id = p.id | mode, back = mode <= ZRC_MODE_CBC ? id : id | ZRC_NO_PADDING;
    for (int i = 0; i <= 60; ++i) {
        const std::size_t size = i < 60 ? 1 + random.upto(2998) : kLong;
        const bytes key = random.data(p.key_bytes), iv = random.data(p.block_bytes), message = random.data(size);
        const bytes sealed = theirs({back, evp, key, iv, true}, message);
        ASSERT_TRUE(ours({id, evp, key, iv, true}, message, random) == sealed) << "encryption of " << size;
        ASSERT_TRUE(ours({back, evp, key, iv, false}, sealed, random) == message) << "decryption of " << size;
    }
}

TEST(CipherPeer, BlockCiphers)
{
    const provider_ptr legacy{OSSL_PROVIDER_try_load(nullptr, "legacy", 1)};
    test::repeatable random{61};
    int compared = 0;
    for (const peer& p : kPeers) {
        for (const std::uint32_t mode : {ZRC_MODE_ECB, ZRC_MODE_CBC, ZRC_MODE_CFB, ZRC_MODE_OFB, ZRC_MODE_CTR}) {
            const std::string name = std::string(p.name) + "-" + ZRC_Get_Mode_Name(mode);
            const cipher_ptr evp{EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr)};
            if (!evp) continue; // not in this OpenSSL
            SCOPED_TRACE(name);
            ASSERT_NO_FATAL_FAILURE(compare(p, mode, evp, random));
            ++compared;
        }
    }
    EXPECT_GE(compared, 15) << "AES is in every OpenSSL";
}

} // namespace

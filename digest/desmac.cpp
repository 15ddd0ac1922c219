// DES-MAC: DES in CBC mode with a zero IV, of which the last block is kept.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim/block_cipher.h"
#include "kestrim/des_mac.h"
#include "kestrim/state.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 8;
constexpr std::size_t kWorkBytes = 1024;
constexpr std::uint8_t kZeroIv[kBlockBytes] = {};

// Enciphers the whole blocks of `data` and leaves the last one in `mac`.
bool absorb(ZRC_BLOCK_CIPHER_UNIT* unit, const std::uint8_t* data, std::size_t bytes, std::uint8_t* mac) noexcept
{
    secret_array<std::uint8_t, kWorkBytes> work;
    while (bytes != 0) {
        const std::size_t piece = std::min(bytes, kWorkBytes);
        std::int32_t written = 0;
        if (ZRC_Update_BLOCK_CIPHER(unit, work.data(), &written, data, std::int32_t(piece)) != 0) return false;
        std::memcpy(mac, work.data() + piece - kBlockBytes, kBlockBytes);
        data += piece;
        bytes -= piece;
    }
    return true;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_DES_MAC(const std::uint8_t* key, const std::uint8_t* data, std::int32_t length, std::uint8_t* output)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DES_MAC, ZRC_F_DES_MAC, reason); };

    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const zrc::owned<ZRC_BLOCK_CIPHER_UNIT, ZRC_Free_BLOCK_CIPHER_Unit> unit{ZRC_New_BLOCK_CIPHER_Unit()};
    if (!unit) return fail(ZRC_ERR_MEMORY_ALLOC);
    if (ZRC_Is_Proven() == 1) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (!key || !data || !output || length < 1) return fail(ZRC_ERR_NULL_INPUT);
    if (length < std::int32_t(zrc::kBlockBytes)) {
        std::memset(output, 0, zrc::kBlockBytes); // a documented oddity
        return 0;
    }
    if (ZRC_Init_BLOCK_CIPHER(unit.get(), ZRC_DES | ZRC_MODE_CBC | ZRC_NO_PADDING, key, zrc::kZeroIv, 1) != 0) {
        return fail(ZRC_ERR_INIT_BLOCKCIPHER_FAIL);
    }

    const std::size_t rest = std::size_t(length) % zrc::kBlockBytes;
    const std::size_t whole = std::size_t(length) - rest;
    zrc::secret_array<std::uint8_t, zrc::kBlockBytes> last;
    std::memset(last.data(), 0, zrc::kBlockBytes);
    std::memcpy(last.data(), data + whole, rest);
    zrc::secret_array<std::uint8_t, zrc::kBlockBytes> mac;
    if (!zrc::absorb(unit.get(), data, whole, mac.data()) ||
        !zrc::absorb(unit.get(), last.data(), zrc::kBlockBytes, mac.data())) {
        return fail(ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL);
    }
    std::memcpy(output, mac.data(), zrc::kBlockBytes);
    return 0;
}

// Keyed block cipher units as records of bytes, and whole messages from a record.
//
// A record can come from anywhere, so import believes nothing: it binds a unit anew to the algorithm that the record names,
// which also asks proven mode, and compares what it got.
#include "cipher/blockcipher.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/aes.h"
#include "kestrim/aria.h"
#include "kestrim/lea.h"
#include "kestrim/memory.h"
#include "kestrim/seed.h"
#include "kestrim/state.h"

#include <cstddef>
#include <cstring>

namespace zrc {
namespace {

// Offsets in the record. All words are little-endian.
constexpr std::size_t kId = 0, kBlockLength = 4, kKeyLength = 8, kIvLength = 12, kRc2KeyBits = 16;
constexpr std::size_t kMode = 20, kNoPadding = 21; // bytes
constexpr std::size_t kCipherIndex = 24, kModeIndex = 28, kEncrypt = 32;
constexpr std::size_t kInitialIv = 36, kWorkingIv = 52, kSchedule = 68;
constexpr std::size_t kScheduleLength = 856, kHeld = 860, kBlockMask = 864, kMarker = 868;
constexpr std::size_t kProven = 872; // byte
constexpr std::size_t kMostSchedule = kScheduleLength - kSchedule;

void write_record(std::uint8_t* record, const ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
{
    std::memset(record, 0, ZRC_BLOCK_CIPHER_RECORD_BYTES);
    store_le32(record + kId, unit.algorithm_id);
    store_le32(record + kBlockLength, unit.block_length);
    store_le32(record + kKeyLength, unit.key_length);
    store_le32(record + kIvLength, unit.iv_length);
    store_le32(record + kRc2KeyBits, unit.rc2_key_bits);
    record[kMode] = unit.mode;
    record[kNoPadding] = unit.no_padding;
    store_le32(record + kCipherIndex, std::uint32_t(cipher_index(unit.algorithm_id)));
    store_le32(record + kModeIndex, std::uint32_t(mode_place(unit.mode)));
    store_le32(record + kEncrypt, unit.encrypt);
    std::memcpy(record + kInitialIv, unit.initial_iv, sizeof unit.initial_iv);
    std::memcpy(record + kWorkingIv, unit.iv, sizeof unit.iv);
    std::memcpy(record + kSchedule, unit.key_schedule, unit.key_schedule_length);
    store_le32(record + kScheduleLength, unit.key_schedule_length);
    store_le32(record + kHeld, unit.held);
    store_le32(record + kBlockMask, unit.block_mask);
    store_le32(record + kMarker, std::uint32_t(unit.initialized));
    record[kProven] = unit.proven;
}

// True when the schedule, whose last word is the number of rounds for these ciphers, has as many as the key length asks.
bool rounds_fit(const std::uint8_t* record, const ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
{
    const std::uint32_t rounds = load_le32(record + kSchedule + unit.key_schedule_length - 4);
    switch (unit.key_schedule_length) {
    case sizeof(ZRC_AES_KEY):
        return rounds == unit.key_length / 4 + 6;
    case sizeof(ZRC_ARIA_KEY):
        return rounds == unit.key_length / 4 + 8;
    case sizeof(ZRC_SEED_KEY):
        return rounds == unit.key_length / 2 + 8;
    case sizeof(ZRC_LEA_KEY):
        return rounds == unit.key_length / 2 + 16;
    default:
        return true;
    }
}

// Everything but the schedule. `unit` is fresh; false leaves it in no particular state.
bool read_fields(const std::uint8_t* record, ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
{
    const auto word = [record](std::size_t offset) { return load_le32(record + offset); };
    const std::uint32_t id = word(kId);
    const std::uint32_t mode = record[kMode];

    unit.proven = ZRC_Is_Proven();
    if ((id & 0xFF) != 0 || (mode & ZRC_NO_PADDING) != 0 || zrc_Init_Block_Alg(&unit, id | mode) != 0) return false;
    if (mode == ZRC_MODE_CTR && unit.proven != 0) return false;

    unit.block_mask = unit.block_length - 1;
    const bool consistent =
        word(kBlockLength) == unit.block_length && word(kKeyLength) == unit.key_length &&
        word(kIvLength) == unit.iv_length && word(kRc2KeyBits) == unit.rc2_key_bits &&
        word(kCipherIndex) == std::uint32_t(cipher_index(id)) && word(kModeIndex) == std::uint32_t(mode_place(mode)) &&
        word(kScheduleLength) == unit.key_schedule_length && unit.key_schedule_length <= kMostSchedule &&
        word(kBlockMask) == unit.block_mask && word(kMarker) == std::uint32_t(kInitialized) && record[kNoPadding] <= 1;
    if (!consistent || !rounds_fit(record, unit)) return false;

    unit.no_padding = record[kNoPadding];
    unit.encrypt = word(kEncrypt);
    std::memcpy(unit.initial_iv, record + kInitialIv, sizeof unit.initial_iv);
    std::memcpy(unit.iv, record + kWorkingIv, sizeof unit.iv);
    return true; // a held block is not part of a record, so the flag of one is not taken over
}

} // namespace
} // namespace zrc

std::uint32_t blockcipher_Unit_to_BinaryKey(const ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* record,
                                            std::uint32_t* record_length)
{
    if (!record || !record_length || !zrc::is_ready(unit) || unit->key_schedule_length > zrc::kMostSchedule) return 1;
    zrc::write_record(record, *unit);
    *record_length = ZRC_BLOCK_CIPHER_RECORD_BYTES;
    return 0;
}

std::uint32_t blockcipher_BinaryKey_to_Unit(const std::uint8_t* record, std::uint32_t record_length,
                                            ZRC_BLOCK_CIPHER_UNIT* unit)
{
    if (!record || !unit || record_length < ZRC_BLOCK_CIPHER_RECORD_BYTES) return 1;
    zrc::secret<ZRC_BLOCK_CIPHER_UNIT> read;
    *read = {};
    if (!zrc::read_fields(record, *read) || !zrc::allocate_schedule(*read)) return 1;
    std::memcpy(read->key_schedule, record + zrc::kSchedule, read->key_schedule_length);
    read->initialized = zrc::kInitialized;

    ZRC_Clean_BLOCK_CIPHER_Unit(unit);
    *unit = *read;
    return 0;
}

std::uint32_t ZRC_Init_Advanced_BLOCK_CIPHER(std::uint32_t id, const std::uint8_t* key, const std::uint8_t* iv,
                                             std::uint32_t encrypt, std::uint8_t* record, std::uint32_t* record_length)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_INIT_ADVANCED_BLOCKCIPHER, reason);
    };

    if (!key || !record || !record_length) return fail(ZRC_ERR_NULL_INPUT);
    if ((id & 0xFFFFFF00) == ZRC_BLOWFISH) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (*record_length < ZRC_BLOCK_CIPHER_RECORD_BYTES) return fail(ZRC_ERR_BUF_TOO_SMALL);
    const zrc::owned_block_cipher_unit unit{ZRC_New_BLOCK_CIPHER_Unit()};
    if (!unit) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (ZRC_Init_BLOCK_CIPHER(unit.get(), id, key, iv, encrypt) != 0) return fail(ZRC_ERR_INIT_BLOCKCIPHER_FAIL);
    if (blockcipher_Unit_to_BinaryKey(unit.get(), record, record_length) != 0) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    return 0;
}

std::uint32_t ZRC_DoFinal_Advanced_BLOCK_CIPHER(const std::uint8_t* record, std::uint32_t record_length,
                                                const std::uint8_t* in, std::int32_t length, std::uint8_t* out,
                                                std::int32_t* out_length)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_DO_FINAL_ADVANCED_BLOCKCIPHER, reason);
    };

    if (!record || !out || !out_length) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::owned_block_cipher_unit unit{ZRC_New_BLOCK_CIPHER_Unit()};
    if (!unit || blockcipher_BinaryKey_to_Unit(record, record_length, unit.get()) != 0) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    const std::uint32_t reason = zrc::process_message(*unit, in, length, out, out_length);
    return reason == 0 ? 0 : fail(reason);
}

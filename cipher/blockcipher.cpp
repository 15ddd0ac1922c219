// The block cipher unit: one front end over the table of ciphers, with buffering and padding.
#include "cipher/blockcipher.hpp"

#include "cipher/portable_blocks.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim/aes.h"
#include "kestrim/aria.h"
#include "kestrim/block_modes.h"
#include "kestrim/blowfish.h"
#include "kestrim/des.h"
#include "kestrim/lea.h"
#include "kestrim/memory.h"
#include "kestrim/rc2.h"
#include "kestrim/rc5.h"
#include "kestrim/seed.h"
#include "kestrim/state.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace zrc {
namespace {

using init_function = decltype(ZRC_BLOCK_CIPHER_UNIT::init_fn);
using mode_function = decltype(ZRC_BLOCK_CIPHER_UNIT::mode_fn);

// What the unit runs for one cipher. The functions of the modes are in the order of kModes; null: the mode is refused.
struct binding {
    init_function init;
    std::array<mode_function, 5> modes; // ECB, CBC, CFB, OFB, CTR
    std::uint32_t block_length;
    std::uint32_t schedule_length;
};

struct block_cipher {
    std::uint32_t id;
    const char* name;
    std::uint32_t key_length;
    const binding* bound;
    bool approved;              // may be used in proven mode
    std::uint32_t rc2_key_bits; // 0 for RC2: 128
};

constexpr binding kAes{
    zrc_Init_AES, {zrc_Do_AES_ECB, zrc_Do_AES_CBC, zrc_Do_AES_CFB, zrc_Do_AES_OFB, zrc_Do_AES_CTR}, 16, 244};
constexpr binding kAria{
    zrc_Init_ARIA, {zrc_Do_ARIA_ECB, zrc_Do_ARIA_CBC, zrc_Do_ARIA_CFB, zrc_Do_ARIA_OFB, zrc_Do_ARIA_CTR}, 16, 548};
constexpr binding kSeed{
    zrc_Init_SEED, {zrc_Do_SEED_ECB, zrc_Do_SEED_CBC, zrc_Do_SEED_CFB, zrc_Do_SEED_OFB, zrc_Do_SEED_CTR}, 16, 196};
constexpr binding kLea{
    zrc_Init_LEA, {zrc_Do_LEA_ECB, zrc_Do_LEA_CBC, zrc_Do_LEA_CFB, zrc_Do_LEA_OFB, zrc_Do_LEA_CTR}, 16, 772};
constexpr binding kDes{
    zrc_Init_DES, {zrc_Do_DES_ECB, zrc_Do_DES_CBC, zrc_Do_DES_CFB, zrc_Do_DES_OFB, zrc_Do_DES_CTR}, 8, 128};
constexpr binding kDesEde{
    zrc_Init_DES_EDE,
    {zrc_Do_DES_EDE_ECB, zrc_Do_DES_EDE_CBC, zrc_Do_DES_EDE_CFB, zrc_Do_DES_EDE_OFB, zrc_Do_DES_EDE_CTR},
    8,
    384};
constexpr binding kRc2{zrc_Init_RC2, {zrc_Do_RC2_ECB, zrc_Do_RC2_CBC, zrc_Do_RC2_CFB, zrc_Do_RC2_OFB, nullptr}, 8, 144};
constexpr binding kRc5{
    zrc_Init_RC5, {zrc_Do_RC5_ECB, zrc_Do_RC5_CBC, zrc_Do_RC5_CFB, zrc_Do_RC5_OFB, zrc_Do_RC5_CTR}, 8, 140};
constexpr binding kBlowfish{
    zrc_Init_BF, {zrc_Do_BF_ECB, zrc_Do_BF_CBC, zrc_Do_BF_CFB, zrc_Do_BF_OFB, zrc_Do_BF_CTR}, 8, 4168};

static_assert(sizeof(ZRC_AES_KEY) == 244 && sizeof(ZRC_ARIA_KEY) == 548 && sizeof(ZRC_SEED_KEY) == 196);
static_assert(sizeof(ZRC_LEA_KEY) == 772 && sizeof(ZRC_DES_KEY) == 128 && sizeof(ZRC_DES_EDE_KEY) == 384);
static_assert(sizeof(ZRC_RC2_KEY) == 144 && sizeof(ZRC_RC5_KEY) == 140 && sizeof(ZRC_BF_KEY) == 4168);

constexpr block_cipher kCiphers[] = {
    {ZRC_AES_128, "AES_128", 16, &kAes, false, 0},
    {ZRC_AES_192, "AES_192", 24, &kAes, false, 0},
    {ZRC_AES_256, "AES_256", 32, &kAes, false, 0},
    {ZRC_DES, "ZRC_DES", 8, &kDes, false, 0},
    {ZRC_DES_EDE, "ZRC_DES_EDE", 24, &kDesEde, false, 0},
    {ZRC_DES_EDE2, "ZRC_DES_EDE", 16, &kDesEde, false, 0},
    {ZRC_DES_EDE3, "ZRC_DES_EDE", 24, &kDesEde, false, 0},
    {ZRC_ARIA_128, "ARIA_128", 16, &kAria, true, 0},
    {ZRC_ARIA_192, "ARIA_192", 24, &kAria, true, 0},
    {ZRC_ARIA_256, "ARIA_256", 32, &kAria, true, 0},
    {ZRC_SEED, "ZRC_SEED", 16, &kSeed, true, 0},
    {ZRC_SEED_256, "SEED_256", 32, &kSeed, false, 0},
    {ZRC_RC5, "ZRC_RC5", 16, &kRc5, false, 0},
    {ZRC_BLOWFISH, "BlowFish", 16, &kBlowfish, false, 0},
    {ZRC_RC2_128, "ZRC_RC2_128", 16, &kRc2, false, 0},
    {ZRC_RC2_40, "ZRC_RC2_40", 5, &kRc2, false, 40},
    {ZRC_RC2_64, "ZRC_RC2_64", 8, &kRc2, false, 64},
    {ZRC_LEA_128, "LEA_128", 16, &kLea, false, 0},
    {ZRC_LEA_192, "LEA_192", 24, &kLea, false, 0},
    {ZRC_LEA_256, "LEA_256", 32, &kLea, false, 0},
};

struct named_mode {
    std::uint32_t value;
    const char* name;
    std::uint32_t step; // bytes; 0: one block
};
constexpr named_mode kModes[] = {
    {ZRC_MODE_ECB, "ECB", 0},     {ZRC_MODE_CBC, "CBC", 0},     {ZRC_MODE_CFB, "CFB", 0},
    {ZRC_MODE_CFB1, "CFB1", 1},   {ZRC_MODE_CFB8, "CFB8", 1},   {ZRC_MODE_CFB16, "CFB16", 2},
    {ZRC_MODE_CFB32, "CFB32", 4}, {ZRC_MODE_CFB64, "CFB64", 8}, {ZRC_MODE_CFB128, "CFB128", 16},
    {ZRC_MODE_OFB, "OFB", 0},     {ZRC_MODE_CTR, "CTR", 0},
};

constexpr std::uint32_t kCipherBits = 0xFFFFFF00;
constexpr std::uint32_t kModeBits = 0xFE;
constexpr std::uint32_t kLongestBlock = 16;

// The highest byte of an identifier is the family, 1 to kFamilies; a family's ciphers stand together, in that order.
constexpr std::uint32_t kFamilies = 8;

// Place of the first cipher of each family, and behind the last one.
constexpr auto kFirstOfFamily = [] {
    std::array<std::uint8_t, kFamilies + 2> first{};
    for (std::size_t family = 0; family < first.size(); ++family)
        for (const block_cipher& c : kCiphers)
            first[family] = std::uint8_t(first[family] + (c.id >> 24 < family ? 1 : 0));
    return first;
}();
static_assert(std::is_sorted(std::begin(kCiphers), std::end(kCiphers),
                             [](const auto& a, const auto& b) { return a.id >> 24 < b.id >> 24; }));

const block_cipher* find_cipher(std::uint32_t id) noexcept
{
    const std::uint32_t family = id >> 24;
    if (family > kFamilies) return nullptr;
    const auto* end = kCiphers + kFirstOfFamily[family + 1];
    const auto* found = std::find_if(kCiphers + kFirstOfFamily[family], end,
                                     [id](const auto& c) { return c.id == (id & kCipherBits); });
    return found == end ? nullptr : found;
}

const named_mode* find_mode(std::uint32_t id) noexcept
{
    const auto* end = std::end(kModes);
    const auto* found =
        std::find_if(std::begin(kModes), end, [id](const auto& m) { return m.value == (id & kModeBits); });
    return found == end ? nullptr : found;
}

bool is_segmented(std::uint32_t mode) noexcept
{
    return mode >= ZRC_MODE_CFB1 && mode <= ZRC_MODE_CFB64;
}
bool pads_blocks(std::uint32_t mode) noexcept
{
    return mode == ZRC_MODE_ECB || mode == ZRC_MODE_CBC;
}

} // namespace

int mode_place(std::uint32_t mode) noexcept
{
    switch (mode) {
    case ZRC_MODE_ECB:
        return 0;
    case ZRC_MODE_CBC:
        return 1;
    case ZRC_MODE_CFB:
    case ZRC_MODE_CFB128:
        return 2;
    case ZRC_MODE_OFB:
        return 3;
    case ZRC_MODE_CTR:
        return 4;
    default:
        return -1;
    }
}

bool is_ready(const ZRC_BLOCK_CIPHER_UNIT* unit) noexcept
{
    return unit && unit->initialized == kInitialized && unit->mode_fn && unit->key_schedule && unit->block_mask != 0 &&
           unit->block_length <= kLongestBlock && unit->buffer_count < unit->block_length;
}

bool allocate_schedule(ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
{
    unit.key_schedule = ZRC_Calloc(1, unit.key_schedule_length);
    return unit.key_schedule != nullptr;
}

int cipher_index(std::uint32_t id) noexcept
{
    const block_cipher* cipher = find_cipher(id);
    return cipher ? int(cipher - kCiphers) : -1;
}

namespace {

// What the unit is bound to in a mode; null when the cipher does not have the mode. Blowfish in CFB128 is bound to LEA: that
// is part of the contract.
const binding* binding_for(const block_cipher& cipher, std::uint32_t mode) noexcept
{
    if (mode_place(mode) < 0) return nullptr;
    if (mode == ZRC_MODE_CFB128 && cipher.bound == &kBlowfish) return &kLea;
    if (mode == ZRC_MODE_CFB128 && cipher.bound->block_length != kLongestBlock) return nullptr;
    return cipher.bound;
}

void bind(ZRC_BLOCK_CIPHER_UNIT& unit, const block_cipher& cipher, const binding& bound, std::uint32_t mode) noexcept
{
    unit.block_length = bound.block_length;
    unit.key_length = cipher.key_length;
    unit.iv_length = bound.block_length;
    unit.key_schedule_length = bound.schedule_length;
    unit.mode = std::uint8_t(mode);
    unit.init_fn = bound.init;
    unit.mode_fn = bound.modes[std::size_t(mode_place(mode))];
}

// True when writing `written` bytes to `out` would destroy bytes of `in` that are still to be read. The same buffer is fine
// where output keeps step with input.
bool loses_input(const std::uint8_t* out, std::size_t written, const std::uint8_t* in, std::size_t read,
                 bool in_step) noexcept
{
    if (out == in && in_step) return false;
    const auto to = reinterpret_cast<std::uintptr_t>(out), from = reinterpret_cast<std::uintptr_t>(in);
    return to < from + read && from < to + written;
}

// What one update has to do.
struct update_plan {
    std::size_t whole;     // bytes of whole blocks in the buffer and the input together
    std::size_t rest;      // bytes that stay in the buffer
    std::size_t held_out;  // bytes of the held block, which go out first
    std::size_t held_back; // bytes at the end of the whole blocks that become the held block

    std::size_t written() const noexcept { return held_out + whole - held_back; }
};

update_plan plan_update(const ZRC_BLOCK_CIPHER_UNIT& unit, std::size_t length, bool holds_back) noexcept
{
    const std::size_t total = unit.buffer_count + length;
    update_plan plan{total & ~std::size_t{unit.block_mask}, total & unit.block_mask, 0, 0};
    if (holds_back && unit.held != 0) plan.held_out = unit.block_length;
    if (holds_back && plan.rest == 0) plan.held_back = unit.block_length;
    return plan;
}

// Runs the mode over the whole blocks of a plan, `bytes` of which are still to come, from the buffer first. Returns the
// input behind them; null when the mode function refuses the unit, which its first call does or none.
const std::uint8_t* run_blocks(ZRC_BLOCK_CIPHER_UNIT& unit, std::uint8_t* out, const std::uint8_t* in,
                               std::size_t bytes) noexcept
{
    if (bytes == 0) return in;
    if (unit.buffer_count != 0) {
        const std::size_t taken = unit.block_length - unit.buffer_count;
        std::memcpy(unit.buffer + unit.buffer_count, in, taken);
        if (unit.mode_fn(&unit, out, unit.buffer, std::int32_t(unit.block_length)) != 0) return nullptr;
        unit.buffer_count = 0;
        wipe(unit.buffer, sizeof unit.buffer);
        in += taken;
        out += unit.block_length;
        bytes -= unit.block_length;
    }
    if (bytes != 0 && unit.mode_fn(&unit, out, in, std::int32_t(bytes)) != 0) return nullptr;
    return in + bytes;
}

// The update of both directions. False when the arguments do not allow it or the mode function refuses the unit; nothing is
// lost then.
bool update(ZRC_BLOCK_CIPHER_UNIT& unit, std::uint8_t* out, std::int32_t& out_length, const std::uint8_t* in,
            std::size_t length, bool holds_back) noexcept
{
    const update_plan plan = plan_update(unit, length, holds_back);
    if (plan.whole > INT32_MAX || plan.written() > INT32_MAX) return false;
    const bool in_step = unit.buffer_count == 0 && plan.held_out == 0;
    if (!in) return false;
    if (plan.written() != 0 && (!out || loses_input(out, plan.written(), in, length, in_step))) return false;

    if (plan.held_out != 0) {
        std::memcpy(out, unit.held_block, plan.held_out);
        out += plan.held_out;
    }
    const std::size_t straight = plan.whole - plan.held_back;
    in = run_blocks(unit, out, in, straight);
    if (in && plan.held_back != 0) in = run_blocks(unit, unit.held_block, in, plan.held_back);
    if (!in) return false;
    if (holds_back) unit.held = plan.held_back != 0 ? 1 : 0;

    const std::size_t buffered = plan.rest - unit.buffer_count;
    if (buffered != 0) std::memcpy(unit.buffer + unit.buffer_count, in, buffered);
    unit.buffer_count = std::uint32_t(plan.rest);
    out_length = std::int32_t(plan.written());
    return true;
}

// The last call of a stream mode: a whole block is processed, and only the bytes that were there go out.
bool flush_stream(ZRC_BLOCK_CIPHER_UNIT& unit, std::uint8_t* out, std::int32_t& out_length) noexcept
{
    if (unit.buffer_count == 0) return true;
    secret_array<std::uint8_t, kLongestBlock> block;
    if (unit.mode_fn(&unit, block.data(), unit.buffer, std::int32_t(unit.block_length)) != 0) return false;
    std::memcpy(out, block.data(), unit.buffer_count);
    out_length = std::int32_t(unit.buffer_count);
    return true;
}

bool finish_encryption(ZRC_BLOCK_CIPHER_UNIT& unit, std::uint8_t* out, std::int32_t& out_length) noexcept
{
    if (!pads_blocks(unit.mode)) return flush_stream(unit, out, out_length);
    if (unit.no_padding != 0) return unit.buffer_count == 0;

    const std::uint32_t padding = unit.block_length - unit.buffer_count;
    std::memset(unit.buffer + unit.buffer_count, int(padding), padding);
    if (unit.mode_fn(&unit, out, unit.buffer, std::int32_t(unit.block_length)) != 0) return false;
    out_length = std::int32_t(unit.block_length);
    return true;
}

// The number of padding bytes at the end of a block, 0 when they are wrong. Every byte is looked at whatever the others are.
std::uint32_t padding_of(const std::uint8_t* block, std::uint32_t block_length) noexcept
{
    const std::uint32_t padding = block[block_length - 1];
    std::uint32_t wrong = (padding - 1) >> 31 | (block_length - padding) >> 31; // 0, or more than a block
    for (std::uint32_t i = 0; i < block_length; ++i) {
        const std::uint32_t from_end = block_length - i;
        const std::uint32_t in_padding = ((from_end - padding - 1) >> 31) & 1; // from_end <= padding
        wrong |= (0 - in_padding) & (block[i] ^ padding);
    }
    return wrong == 0 ? padding : 0;
}

bool finish_decryption(ZRC_BLOCK_CIPHER_UNIT& unit, std::uint8_t* out, std::int32_t& out_length) noexcept
{
    if (!pads_blocks(unit.mode)) {
        // Stream modes are decrypted with the flag only.
        return unit.no_padding != 0 && flush_stream(unit, out, out_length);
    }
    if (unit.no_padding != 0) return unit.buffer_count == 0;

    if (unit.buffer_count != 0 || unit.held == 0) return false;
    const std::uint32_t padding = padding_of(unit.held_block, unit.block_length);
    if (padding == 0) return false;
    out_length = std::int32_t(unit.block_length - padding);
    std::memcpy(out, unit.held_block, std::size_t(out_length));
    return true;
}

// The schedule taken out of a used unit. Wiped, it becomes that of the next cipher, if it is as long; otherwise it is
// released when its scope ends.
class spare_schedule {
public:
    explicit spare_schedule(ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
    {
        if (unit.initialized != kInitialized) return;
        memory_ = std::exchange(unit.key_schedule, nullptr);
        length_ = unit.key_schedule_length;
    }
    ~spare_schedule() { ZRC_Free_Ex(memory_, length_); }
    spare_schedule(const spare_schedule&) = delete;
    spare_schedule& operator=(const spare_schedule&) = delete;

    // False when it is not what the unit, bound anew, needs.
    bool move_to(ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
    {
        if (!memory_ || length_ != unit.key_schedule_length) return false;
        wipe(memory_, length_);
        unit.key_schedule = std::exchange(memory_, nullptr);
        return true;
    }

private:
    void* memory_ = nullptr;
    std::uint32_t length_ = 0;
};

// What zrc_Init_Block_Alg does behind its test of the argument and the gate.
std::uint32_t bind_algorithm(ZRC_BLOCK_CIPHER_UNIT& unit, std::uint32_t id) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_BLOCK_CIPHER, ZRC_F_INIT_ALGORITHM, reason); };

    const block_cipher* cipher = find_cipher(id);
    const std::uint32_t mode = id & kModeBits;
    if (!cipher || is_segmented(mode)) return fail(ZRC_ERR_INVALID_ALGORITHM_ID);

    unit.algorithm_id = cipher->id;
    if (!cipher->approved && unit.proven != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (cipher->bound == &kRc2 && mode == ZRC_MODE_CTR) return 1; // no such mode; the bare 1 is documented
    const binding* bound = binding_for(*cipher, mode);
    if (!bound) return fail(ZRC_ERR_INVALID_ALGORITHM_ID);
    bind(unit, *cipher, *bound, mode);
    unit.rc2_key_bits = cipher->rc2_key_bits;
    return 0;
}

// Ready for another message under the same key and IV.
void start_again(ZRC_BLOCK_CIPHER_UNIT& unit) noexcept
{
    wipe(unit.buffer, sizeof unit.buffer);
    wipe(unit.held_block, sizeof unit.held_block);
    unit.buffer_count = 0;
    unit.held = 0;
    std::memcpy(unit.iv, unit.initial_iv, sizeof unit.iv);
}

// False when a padded message of `length` bytes would have more bytes than a length can say.
bool output_fits(const ZRC_BLOCK_CIPHER_UNIT& unit, std::int32_t length) noexcept
{
    const bool padded = unit.encrypt != 0 && unit.no_padding == 0 && pads_blocks(unit.mode);
    return !padded || length <= std::int32_t(INT32_MAX - unit.block_length);
}

} // namespace

std::uint32_t process_message(ZRC_BLOCK_CIPHER_UNIT& unit, const std::uint8_t* in, std::int32_t length,
                              std::uint8_t* out, std::int32_t* out_length) noexcept
{
    std::int32_t updated = 0, rest = 0;
    if (!out_length || !output_fits(unit, length)) return ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL;
    if (ZRC_Update_BLOCK_CIPHER(&unit, out, &updated, in, length) != 0) return ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL;
    std::uint8_t* const behind = out ? out + updated : nullptr;
    if (ZRC_Final_BLOCK_CIPHER(&unit, behind, &rest) != 0) return ZRC_ERR_FINAL_BLOCKCIPHER_FAIL;
    *out_length = updated + rest;
    return 0;
}

} // namespace zrc

ZRC_BLOCK_CIPHER_UNIT* ZRC_New_BLOCK_CIPHER_Unit()
{
    return zrc_New_BLOCK_CIPHER_Unit_Ex(0);
}

ZRC_BLOCK_CIPHER_UNIT* zrc_New_BLOCK_CIPHER_Unit_Ex(std::uint8_t proven)
{
    auto* unit = static_cast<ZRC_BLOCK_CIPHER_UNIT*>(ZRC_Malloc(sizeof(ZRC_BLOCK_CIPHER_UNIT)));
    if (!unit) return nullptr;
    std::memset(unit, 0, sizeof *unit);
    unit->proven = proven;
    return unit;
}

void ZRC_Clean_BLOCK_CIPHER_Unit(ZRC_BLOCK_CIPHER_UNIT* unit)
{
    if (!unit || unit->initialized != zrc::kInitialized) return;
    ZRC_Free_Ex(unit->key_schedule, unit->key_schedule_length);
    zrc::wipe(unit, sizeof *unit);
}

void ZRC_Free_BLOCK_CIPHER_Unit(ZRC_BLOCK_CIPHER_UNIT* unit)
{
    ZRC_Clean_BLOCK_CIPHER_Unit(unit);
    ZRC_Free(unit);
}

std::uint32_t ZRC_Init_BLOCK_CIPHER(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint32_t id, const std::uint8_t* key,
                                    const std::uint8_t* iv, std::uint32_t encrypt)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_INIT_BLOCKCIPHER, reason);
    };

    if (!unit) return fail(ZRC_ERR_INVALID_INPUT);
    zrc::spare_schedule spare{*unit};
    ZRC_Clean_BLOCK_CIPHER_Unit(unit);
    unit->initialized = zrc::kInitialized;
    unit->proven = ZRC_Is_Proven();
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (zrc::bind_algorithm(*unit, id) != 0) return fail(ZRC_ERR_INIT_FAILURE);

    unit->encrypt = encrypt;
    if (!spare.move_to(*unit) && !zrc::allocate_schedule(*unit)) return fail(ZRC_ERR_MALLOC);
    unit->no_padding = std::uint8_t(id & ZRC_NO_PADDING);
    if (unit->mode == ZRC_MODE_CTR && unit->proven != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (unit->mode != ZRC_MODE_ECB && !iv) return fail(ZRC_ERR_NULL_IV_VALUE);
    if (unit->init_fn(unit, key, iv, encrypt) != 0) return fail(ZRC_ERR_INIT_FAILURE);
    unit->block_mask = unit->block_length - 1;
    return 0;
}

std::uint32_t zrc_Init_Block_Alg(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint32_t id)
{
    if (!unit) return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_INIT_ALGORITHM, ZRC_ERR_INVALID_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (unit->initialized == zrc::kInitialized) { // a used unit
        ZRC_Free_Ex(unit->key_schedule, unit->key_schedule_length);
        unit->key_schedule = nullptr;
    }
    return zrc::bind_algorithm(*unit, id);
}

std::uint32_t ZRC_Update_BLOCK_CIPHER(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, std::int32_t* out_length,
                                      const std::uint8_t* in, std::int32_t length)
{
    if (out_length) *out_length = 0;
    if (!zrc::is_ready(unit) || !out_length || length < 1) {
        return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_UPDATE_BLOCKCIPHER, ZRC_ERR_INVALID_INPUT);
    }
    const bool holds_back = unit->encrypt == 0 && unit->no_padding == 0;
    if (zrc::update(*unit, out, *out_length, in, std::size_t(length), holds_back)) return 0;
    return holds_back ? zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_UPDATE_DECRYPTION, ZRC_ERR_UPDATE_FAILURE)
                      : zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_UPDATE_ENCRYPTION, ZRC_ERR_OPERATE_FUNCTION);
}

std::uint32_t ZRC_Final_BLOCK_CIPHER(ZRC_BLOCK_CIPHER_UNIT* unit, std::uint8_t* out, std::int32_t* out_length)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_FINAL_BLOCKCIPHER, reason);
    };

    if (out_length) *out_length = 0;
    if (!zrc::is_ready(unit) || !out || !out_length) return fail(ZRC_ERR_INVALID_INPUT);
    const bool encrypting = unit->encrypt != 0;
    const bool finished =
        encrypting ? zrc::finish_encryption(*unit, out, *out_length) : zrc::finish_decryption(*unit, out, *out_length);
    zrc::start_again(*unit);
    if (finished) return 0;
    return fail(encrypting ? ZRC_ERR_CIPHER_ENCRYPT_FAILURE : ZRC_ERR_CIPHER_DECRYPT_FAILURE);
}

std::uint32_t ZRC_BLOCK_CIPHER(std::uint32_t id, std::uint32_t encrypt, const std::uint8_t* key, const std::uint8_t* iv,
                               const std::uint8_t* in, std::int32_t length, std::uint8_t* out, std::int32_t* out_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BLOCK_CIPHER, ZRC_F_BLOCKCIPHER, reason); };

    const zrc::owned_block_cipher_unit unit{ZRC_New_BLOCK_CIPHER_Unit()};
    if (!unit) return fail(ZRC_ERR_MEM_ALLOC);
    if (ZRC_Init_BLOCK_CIPHER(unit.get(), id, key, iv, encrypt) != 0) return fail(ZRC_ERR_INIT_BLOCKCIPHER_FAIL);
    const std::uint32_t reason = zrc::process_message(*unit, in, length, out, out_length);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Get_Block_Alg_ID(const ZRC_BLOCK_CIPHER_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0) return 0;
    return unit ? unit->algorithm_id : 0;
}

const char* ZRC_Get_Block_Alg_Name(std::uint32_t id)
{
    if (ZRC_Crypto_Initialize() != 0) return nullptr;
    const zrc::block_cipher* cipher = zrc::find_cipher(id);
    return cipher ? cipher->name : nullptr;
}

const char* ZRC_Get_Mode_Name(std::uint32_t id)
{
    if (ZRC_Crypto_Initialize() != 0) return nullptr;
    const zrc::named_mode* mode = zrc::find_mode(id);
    return mode ? mode->name : nullptr;
}

// SEED-256 can be used in the unit although these two answer 0 for it: a documented mismatch.
std::uint32_t ZRC_Get_Key_Length(std::uint32_t id)
{
    if (ZRC_Crypto_Initialize() != 0) return 0;
    const zrc::block_cipher* cipher = zrc::find_cipher(id);
    return cipher && cipher->id != ZRC_SEED_256 ? cipher->key_length : 0;
}

std::uint32_t ZRC_Get_Block_Length(std::uint32_t id)
{
    if (ZRC_Crypto_Initialize() != 0) return 0;
    const zrc::block_cipher* cipher = zrc::find_cipher(id);
    return cipher && cipher->id != ZRC_SEED_256 ? cipher->bound->block_length : 0;
}

std::uint32_t ZRC_Get_IV_Length(std::uint32_t id)
{
    if (ZRC_Crypto_Initialize() != 0) return 0xFFFFFFFF;
    return ZRC_Get_Block_Length(id);
}

std::uint32_t zrc_Get_Mode_Length(const ZRC_BLOCK_CIPHER_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0 || !unit) return 0;
    const zrc::named_mode* mode = zrc::find_mode(unit->mode);
    return mode && mode->step != 0 ? mode->step : unit->block_length;
}

void zrc_Increase_Counter(std::uint8_t* counter)
{
    if (counter) zrc::increment_counter<16>(counter);
}

#include "tools/message_cipher.hpp"

#include "tools/library.hpp"

#include <new>
#include <utility>
#include <vector>

namespace tool {
namespace {

struct release {
    void operator()(ZRC_BLOCK_CIPHER_UNIT* unit) const noexcept { ZRC_Free_BLOCK_CIPHER_Unit(unit); }
    void operator()(ZRC_RC4_UNIT* unit) const noexcept { ZRC_Free_RC4_Unit(unit); }
};
using block_cipher_unit = std::unique_ptr<ZRC_BLOCK_CIPHER_UNIT, release>;

block_cipher_unit new_unit(std::uint32_t id, std::span<const std::uint8_t> key, std::span<const std::uint8_t> iv,
                           bool encrypt)
{
    block_cipher_unit unit{ZRC_New_BLOCK_CIPHER_Unit()};
    if (!unit) throw std::bad_alloc{};
    require(ZRC_Init_BLOCK_CIPHER(unit.get(), id, key.data(), iv.empty() ? nullptr : iv.data(), encrypt ? 1 : 0),
            "ZRC_Init_BLOCK_CIPHER");
    return unit;
}

// The modes of the block cipher unit.
class block_cipher : public message_cipher {
public:
    explicit block_cipher(block_cipher_unit unit) : unit_{std::move(unit)} {}

    std::size_t update(std::span<const std::uint8_t> piece, std::span<std::uint8_t> out) override
    {
        std::int32_t length = 0;
        require(ZRC_Update_BLOCK_CIPHER(unit_.get(), out.data(), &length, piece.data(), std::int32_t(piece.size())),
                "ZRC_Update_BLOCK_CIPHER");
        return std::size_t(length);
    }

    std::optional<std::size_t> finish(std::span<std::uint8_t> out) override
    {
        std::int32_t length = 0;
        const std::uint32_t code = ZRC_Final_BLOCK_CIPHER(unit_.get(), out.data(), &length);
        const std::uint32_t reason = code & 0xFF;
        if (reason == ZRC_ERR_CIPHER_ENCRYPT_FAILURE || reason == ZRC_ERR_CIPHER_DECRYPT_FAILURE) return {};
        require(code, "ZRC_Final_BLOCK_CIPHER");
        return std::size_t(length);
    }

private:
    block_cipher_unit unit_;
};

// CFB with short segments: a function works on the unit's fields. It takes whole segments until the message ends, so
// the bytes of an incomplete one wait here.
class segment_cipher : public message_cipher {
public:
    segment_cipher(block_cipher_unit unit, const segmentation& segments) : unit_{std::move(unit)}, segments_{segments}
    {
    }

    std::size_t update(std::span<const std::uint8_t> piece, std::span<std::uint8_t> out) override
    {
        waiting_.insert(waiting_.end(), piece.begin(), piece.end());
        const std::size_t whole = waiting_.size() - waiting_.size() % segments_.bytes();
        process(whole, out);
        waiting_.erase(waiting_.begin(), waiting_.begin() + std::ptrdiff_t(whole));
        return whole;
    }

    std::optional<std::size_t> finish(std::span<std::uint8_t> out) override
    {
        process(waiting_.size(), out);
        return waiting_.size();
    }

private:
    // The length of segments of one bit is in bits.
    void process(std::size_t bytes, std::span<std::uint8_t> out)
    {
        const auto length = std::int32_t(segments_.bits == 1 ? 8 * bytes : bytes);
        if (length == 0) return;
        require(segments_.process(unit_.get(), out.data(), waiting_.data(), length), "segmented CFB");
    }

    block_cipher_unit unit_;
    segmentation segments_;
    std::vector<std::uint8_t> waiting_;
};

class rc4 : public message_cipher {
public:
    explicit rc4(std::span<const std::uint8_t> key) : unit_{ZRC_New_RC4_Unit()}
    {
        if (!unit_) throw std::bad_alloc{};
        require(ZRC_Init_RC4(unit_.get(), key.data(), std::int32_t(key.size())), "ZRC_Init_RC4");
    }

    std::size_t update(std::span<const std::uint8_t> piece, std::span<std::uint8_t> out) override
    {
        require(ZRC_Do_RC4(unit_.get(), piece.data(), std::uint32_t(piece.size()), out.data()), "ZRC_Do_RC4");
        return piece.size();
    }

    std::optional<std::size_t> finish(std::span<std::uint8_t>) override { return 0; }

private:
    std::unique_ptr<ZRC_RC4_UNIT, release> unit_;
};

} // namespace

std::unique_ptr<message_cipher> new_message_cipher(const cipher_mode& cipher, std::span<const std::uint8_t> key,
                                                   std::span<const std::uint8_t> iv, bool encrypt)
{
    if (cipher.is_rc4) return std::make_unique<rc4>(key);
    block_cipher_unit unit = new_unit(cipher.id, key, iv, encrypt);
    if (cipher.segments.process) return std::make_unique<segment_cipher>(std::move(unit), cipher.segments);
    return std::make_unique<block_cipher>(std::move(unit));
}

} // namespace tool

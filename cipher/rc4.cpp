// The RC4 stream cipher, which stands outside the self-test gate and proven mode on purpose. By its nature it looks
// up its permutation by secret bytes: it is not constant-time.
#include "kestrim/rc4.h"

#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_RC4_UNIT) == 1032);

constexpr std::uint32_t kBadInput = code(ZRC_L_RC4_INTERFACE, 0, ZRC_ERR_INVALID_INPUT);

// The generator at work on a message. Every index is reduced: a unit that was never keyed holds anything.
class generator {
public:
    explicit generator(ZRC_RC4_UNIT& unit) noexcept : unit_{unit}, x_{unit.x & 0xFF}, y_{unit.y & 0xFF} {}
    ~generator()
    {
        unit_.x = x_;
        unit_.y = y_;
    }
    generator(const generator&) = delete;
    generator& operator=(const generator&) = delete;

    // Passes of eight bytes start where x + 1 is a multiple of 8, so that x does not wrap within one.
    void process(const std::uint8_t* in, std::uint8_t* out, std::size_t length) noexcept
    {
        for (; length != 0 && (x_ + 1) % 8 != 0; --length)
            *out++ = std::uint8_t(*in++ ^ next());
        for (; length >= 8; length -= 8, in += 8, out += 8)
            pass(in, out, std::make_index_sequence<8>{});
        for (; length != 0; --length)
            *out++ = std::uint8_t(*in++ ^ next());
    }

private:
    std::uint8_t next() noexcept
    {
        x_ = (x_ + 1) & 0xFF;
        const std::uint32_t at_x = unit_.s[x_];
        y_ = (y_ + at_x) & 0xFF;
        return swap(x_, at_x);
    }

    // Exchanges what stands at x, `at_x`, with what stands at y, and looks up the sum.
    [[gnu::always_inline]] std::uint8_t swap(std::uint32_t x, std::uint32_t at_x) noexcept
    {
        const std::uint32_t at_y = unit_.s[y_];
        unit_.s[y_] = at_x;
        unit_.s[x] = at_y;
        return std::uint8_t(unit_.s[(at_x + at_y) & 0xFF]);
    }

    template <std::size_t... I>
    [[gnu::always_inline]] void pass(const std::uint8_t* in, std::uint8_t* out, std::index_sequence<I...>) noexcept
    {
        const std::uint32_t first = (x_ + 1) & 0xFF;
        std::uint32_t at_x = unit_.s[first];
        ((out[I] = std::uint8_t(in[I] ^ step<I>(first + I, at_x))), ...);
        x_ = first + sizeof...(I) - 1;
    }

    // What stands at the next x is read before the exchange, and taken from it in the rare case that the exchange put
    // it there: the next step need not wait for the stores of this one. A branch, because a prediction costs no time
    // in the chain of y's and a selection does.
    template <std::size_t I>
    [[gnu::always_inline]] std::uint8_t step(std::uint32_t x, std::uint32_t& at_x) noexcept
    {
        const std::uint32_t now = at_x;
        y_ = (y_ + now) & 0xFF;
        if constexpr (I < 7) {
            if (y_ != x + 1) [[likely]] {
                at_x = unit_.s[x + 1];
            } else {
                __asm__("" : "+r"(at_x)); // keeps the branch
            }
        }
        return swap(x, now);
    }

    ZRC_RC4_UNIT& unit_;
    std::uint32_t x_;
    std::uint32_t y_;
};

void expand_key(ZRC_RC4_UNIT& unit, const std::uint8_t* key, std::uint32_t key_length) noexcept
{
    unit.x = unit.y = 0;
    std::iota(unit.s, unit.s + 256, 0U);
    std::uint32_t j = 0;
    for (std::uint32_t i = 0; i < 256; ++i) {
        j = (j + unit.s[i] + key[i % key_length]) & 0xFF;
        std::swap(unit.s[i], unit.s[j]);
    }
}

} // namespace
} // namespace zrc

ZRC_RC4_UNIT* ZRC_New_RC4_Unit(void)
{
    return static_cast<ZRC_RC4_UNIT*>(ZRC_Malloc(sizeof(ZRC_RC4_UNIT)));
}

std::uint32_t ZRC_Init_RC4(ZRC_RC4_UNIT* unit, const std::uint8_t* key, std::int32_t key_length)
{
    if (!unit || !key || key_length < 1) return zrc::kBadInput;
    zrc::expand_key(*unit, key, std::uint32_t(key_length));
    return 0;
}

std::uint32_t ZRC_Do_RC4(ZRC_RC4_UNIT* unit, const std::uint8_t* in, std::uint32_t length, std::uint8_t* out)
{
    if (!unit || !in || length == 0 || !out) return zrc::kBadInput;
    zrc::generator{*unit}.process(in, out, length);
    return 0;
}

void ZRC_Clean_RC4_Unit(ZRC_RC4_UNIT* unit)
{
    if (unit) zrc::wipe(unit, sizeof *unit);
}

void ZRC_Free_RC4_Unit(ZRC_RC4_UNIT* unit)
{
    ZRC_Clean_RC4_Unit(unit);
    ZRC_Free(unit);
}

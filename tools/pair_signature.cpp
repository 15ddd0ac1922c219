#include "tools/pair_signature.hpp"

#include "tools/library.hpp"

#include <algorithm>
#include <optional>
#include <utility>

namespace tool {
namespace {

struct dsa_family {
    using unit = dsa_unit;
    static constexpr auto init = ZRC_Init_DSA;
    static constexpr auto update = ZRC_Update_DSA;
    static constexpr auto final = ZRC_Final_DSA;
    static constexpr auto length = ZRC_Get_DSA_Length;
    static constexpr std::uint32_t kVerify = 0x0C060000;
};

struct ecdsa_family {
    using unit = ecdsa_unit;
    static constexpr auto init = ZRC_Init_ECDSA;
    static constexpr auto update = ZRC_Update_ECDSA;
    static constexpr auto final = ZRC_Final_ECDSA;
    static constexpr auto length = ZRC_Get_ECDSA_Length;
    static constexpr std::uint32_t kVerify = 0x21050000;
};

// What verifying says of a signature that is a wrong one: a number out of its range, or another one than it should be.
constexpr std::uint32_t kWrong[] = {ZRC_ERR_IS_BIGINT_ZERO_FAIL, ZRC_ERR_CMP_BIGINT_FAIL, ZRC_ERR_VERIFY_FAILURE};

struct pair {
    bytes r, s;
};

// Nothing: no signature at all, or a number is 0 or has more bytes than the order of the group.
std::optional<pair> read_pair(std::span<const std::uint8_t> encoded, std::size_t size)
{
    try {
        der::reader fields = der::only_sequence(encoded);
        pair numbers{fields.positive(), fields.positive()};
        fields.finish();
        if (numbers.r.size() <= size && numbers.s.size() <= size) return numbers;
    } catch (const malformed&) {
    }
    return {};
}

template <class Family>
class pair_scheme : public signature_scheme {
public:
    pair_scheme(typename Family::unit unit, std::int32_t digest_id, std::uint32_t operation) : unit_{std::move(unit)}
    {
        require(Family::init(unit_.get(), operation, digest_id), "initialisation of the signature");
    }

    void update(std::span<const std::uint8_t> piece) override
    {
        require(Family::update(unit_.get(), piece.data(), std::int32_t(piece.size())), "hashing of the message");
    }

    bytes sign() override
    {
        bytes r(Family::length(unit_.get())), s(r.size());
        std::int32_t r_length = 0, s_length = 0;
        require(Family::final(unit_.get(), r.data(), &r_length, s.data(), &s_length), "signing");
        r.resize(std::size_t(r_length));
        s.resize(std::size_t(s_length));
        return der::sequence({der::number(r), der::number(s)});
    }

    bool verify(std::span<const std::uint8_t> signature) override
    {
        auto numbers = read_pair(signature, Family::length(unit_.get()));
        if (!numbers) return false;
        auto r_length = std::int32_t(numbers->r.size()), s_length = std::int32_t(numbers->s.size());
        const std::uint32_t code =
            Family::final(unit_.get(), numbers->r.data(), &r_length, numbers->s.data(), &s_length);
        if ((code & 0xFFFF0000) == Family::kVerify && std::ranges::find(kWrong, code & 0xFFFF) != std::end(kWrong)) {
            return false;
        }
        require(code, "verification");
        return true;
    }

private:
    typename Family::unit unit_;
};

} // namespace

std::unique_ptr<signature_scheme> new_dsa_scheme(dsa_unit unit, std::int32_t digest_id, std::uint32_t operation)
{
    return std::make_unique<pair_scheme<dsa_family>>(std::move(unit), digest_id, operation);
}

std::unique_ptr<signature_scheme> new_ecdsa_scheme(ecdsa_unit unit, std::int32_t digest_id, std::uint32_t operation)
{
    return std::make_unique<pair_scheme<ecdsa_family>>(std::move(unit), digest_id, operation);
}

} // namespace tool

#include "tools/dh_validation.hpp"

#include "tools/key_file.hpp"
#include "tools/library.hpp"
#include "tools/number.hpp"

#include <algorithm>
#include <iterator>

namespace tool {
namespace {

constexpr std::int32_t kWitnesses = 64;           // for what is said to be a prime
constexpr std::uint32_t kSmallPrimesBelow = 1024; // for what is said to be none
constexpr std::uint8_t kIndex = 1;                // that goes into g

struct size {
    std::size_t p_bits, q_bits;
};
constexpr size kSizes[] = {{1024, 160}, {2048, 224}, {2048, 256}, {3072, 256}};

bytes hash(std::int32_t digest_id, const bytes& input)
{
    digest digest{digest_id};
    digest.update(input);
    return digest.finish();
}

// A big-endian number plus a small one, modulo 256 to the power of its length.
bytes sum(bytes number, std::uint64_t addend)
{
    for (auto byte = number.rbegin(); byte != number.rend(); ++byte, addend >>= 8) {
        addend += *byte;
        *byte = std::uint8_t(addend);
    }
    return number;
}

// The last bytes of a number that is to have a length in bits, with its top bit set.
bytes with_top_bit(const bytes& digits, std::size_t bits)
{
    bytes number{digits.end() - std::ptrdiff_t(bits / 8), digits.end()};
    number[0] |= 0x80;
    return number;
}

bool is_prime(const number& value, std::int32_t witnesses, ZRC_BIGINT_POOL& pool)
{
    const std::int32_t answer = ZRC_Is_BIGINT_Prime_Ex(value.get(), witnesses + 1, &pool);
    if (answer == 0 && ZRC_Is_BIGINT_Bit_Set(value.get(), 0) == 1) throw failure{kFailed, "a number cannot be tested"};
    return answer == 1;
}

// Most composite numbers have a small divisor.
bool is_composite(const number& value, ZRC_BIGINT_POOL& pool)
{
    for (std::uint32_t divisor = 3; divisor < kSmallPrimesBelow; divisor += 2)
        if (ZRC_Mod_BIGINT_Word(value.get(), divisor) == 0) return true;
    return !is_prime(value, 1, pool);
}

class seeded_search {
public:
    seeded_search(const dh_key& parameters, std::int32_t digest_id)
        : parameters_{parameters}, digest_id_{digest_id}, digest_bytes_{hash(digest_id, parameters.seed).size()}
    {
    }

    bool has_enough_bits() const { return 8 * digest_bytes_ >= bits(parameters_.q); }

    // q = 2^(N - 1) + (Hash(seed) mod 2^(N - 1)), made odd.
    bool gives_q() const
    {
        bytes q = with_top_bit(hash(digest_id_, parameters_.seed), bits(parameters_.q));
        q.back() |= 1;
        return q == parameters_.q && is_prime(q_, kWitnesses, *pool_);
    }

    // X = 2^(L - 1) + (V_n || ... || V_1 || V_0 mod 2^(L - 1)) with V_j = Hash(seed + 1 + counter (n + 1) + j), and the
    // candidate X - (X mod 2 q) + 1.
    number candidate(std::size_t counter) const
    {
        bytes digits;
        for (std::size_t j = blocks_; j-- > 0;) {
            const bytes block = hash(digest_id_, sum(parameters_.seed, 1 + counter * blocks_ + j));
            digits.insert(digits.end(), block.begin(), block.end());
        }
        number x = to_number(with_top_bit(digits, p_bits_)), rest = new_number();
        require(ZRC_Add_BIGINT(rest.get(), q_.get(), q_.get()), "ZRC_Add_BIGINT");
        require(ZRC_Div_BIGINT(nullptr, rest.get(), x.get(), rest.get(), pool_.get()), "ZRC_Div_BIGINT");
        require(ZRC_Sub_BIGINT(x.get(), x.get(), rest.get()), "ZRC_Sub_BIGINT");
        require(ZRC_Add_BIGINT_Word(x.get(), 1), "ZRC_Add_BIGINT_Word");
        return x;
    }

    bool gives_p_at(std::size_t counter) const
    {
        const number p = candidate(counter);
        return to_bytes(*p) == parameters_.p && is_prime(p, kWitnesses, *pool_);
    }

    bool gives_prime_before(std::size_t counter) const
    {
        for (std::size_t i = 0; i < counter; ++i) {
            const number p = candidate(i);
            if (ZRC_Get_BIGINT_Bits_Length(p.get()) == p_bits_ && !is_composite(p, *pool_)) return true;
        }
        return false;
    }

    // g = Hash(seed || "ggen" || index || count)^((p - 1) / q) mod p, with the first count that does not give 0 or 1.
    bool gives_g() const
    {
        const number p = to_number(parameters_.p), exponent = new_number(), g = new_number();
        require(ZRC_Div_BIGINT(exponent.get(), nullptr, p.get(), q_.get(), pool_.get()), "ZRC_Div_BIGINT");
        for (std::uint32_t count = 1; count < 0x10000 && ZRC_Get_BIGINT_Bits_Length(g.get()) < 2; ++count) {
            bytes input = parameters_.seed;
            for (const std::uint8_t byte : {std::uint8_t{'g'}, std::uint8_t{'g'}, std::uint8_t{'e'}, std::uint8_t{'n'},
                                            kIndex, std::uint8_t(count >> 8), std::uint8_t(count)})
                input.push_back(byte);
            const number base = to_number(hash(digest_id_, input));
            require(ZRC_Mod_Exp_BIGINT(g.get(), base.get(), exponent.get(), p.get(), pool_.get()),
                    "ZRC_Mod_Exp_BIGINT");
        }
        return to_bytes(*g) == parameters_.g;
    }

private:
    const dh_key& parameters_;
    std::int32_t digest_id_;
    std::size_t digest_bytes_;
    std::size_t p_bits_ = bits(parameters_.p);
    std::size_t blocks_ = (p_bits_ / 8 + digest_bytes_ - 1) / digest_bytes_;
    number q_ = to_number(parameters_.q);
    number_pool pool_ = new_number_pool();
};

} // namespace

std::string fault_of(const dh_key& parameters, std::int32_t digest_id)
{
    if (parameters.seed.empty()) return "there is no seed to verify the parameters with";
    const auto is_of = [&](size size) {
        return size.p_bits == bits(parameters.p) && size.q_bits == bits(parameters.q);
    };
    if (std::ranges::none_of(kSizes, is_of)) return "p and q are not of a length that FIPS 186-4 has";
    if (8 * parameters.seed.size() < bits(parameters.q)) return "the seed is shorter than q";
    const std::size_t counter = small_number(parameters.counter);
    if (counter >= 4 * bits(parameters.p)) return "the counter is too large";

    const seeded_search search{parameters, digest_id};
    if (!search.has_enough_bits()) return "the digest is shorter than q";
    if (!search.gives_q()) return "the seed does not give q";
    if (!search.gives_p_at(counter)) return "the seed and the counter do not give p";
    if (search.gives_prime_before(counter)) return "a smaller counter gives a prime";
    return search.gives_g() ? "" : "the seed does not give g";
}

} // namespace tool

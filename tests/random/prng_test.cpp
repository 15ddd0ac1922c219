// The legacy generator: published outputs, G from every algorithm, the continuous test, forks, and the codes of its
// unit.
#include "kestrim/block_cipher.h"
#include "kestrim/digest.h"
#include "kestrim/has160.h"
#include "kestrim/md5.h"
#include "kestrim/prng.h"
#include "kestrim/sha.h"
#include "random/prng.hpp"
#include "tests/random/child_process.hpp"
#include "tests/support.hpp"

#include <array>
#include <cstring>

namespace {

using test::bytes;
using test::hex;
using test::in_a_child;
using test::operator+;
using unit_ptr = test::owned<ZRC_PRNG_UNIT, ZRC_Free_PRNG_Unit>;

constexpr ZRC_PRNG_UNIT kFresh{};

unit_ptr initialised(std::int32_t algorithm)
{
    unit_ptr unit{ZRC_New_PRNG_Unit()};
    EXPECT_EQ(ZRC_Init_PRNG(unit, algorithm, nullptr), 0U);
    return unit;
}

bytes get(const unit_ptr& unit, std::size_t length)
{
    bytes out(length, 0xEE);
    EXPECT_EQ(ZRC_Get_Rand(unit, out.data(), std::int32_t(length)), 0U);
    return out;
}

// A generator with state of its own.
class generator {
public:
    generator(const zrc::g_function& g, const bytes& key) : g_{g}, key_{key}, last_g_(g.bytes) {}
    generator(std::int32_t algorithm, const bytes& key) : generator{*zrc::find_g_function(algorithm), key} {}
    // As the unit would go on.
    explicit generator(const ZRC_PRNG_UNIT& unit) : generator{unit.algorithm_id, {}}
    {
        key_.assign(unit.key, unit.key + g_.bytes);
        last_g_.assign(unit.last_g, unit.last_g + g_.bytes);
    }

    bool fill(bytes& out) { return zrc::legacy_generator{g_, key_, last_g_}.fill(out); }
    bytes get(std::size_t length)
    {
        bytes out(length);
        EXPECT_TRUE(fill(out));
        return out;
    }
    const bytes& key() const { return key_; }

private:
    const zrc::g_function& g_;
    bytes key_, last_g_;
};

TEST(Prng, GivesThePublishedOutputs)
{
    const std::pair<const char*, std::int32_t> sections[] = {
        {"published", ZRC_SHA1}, {"outputs SHA-1", ZRC_SHA1}, {"outputs DES", ZRC_DES}};
    for (const auto& [section, algorithm] : sections) {
        for (const test::stanza& v : test::read_vectors("prng.txt", section)) {
            const bytes& expected = v["outputs"];
            generator g{algorithm, v["xkey"]};
            EXPECT_EQ(hex(g.get(expected.size())), hex(expected)) << v.place;
            EXPECT_EQ(hex(g.key()), hex(v["xkey_after"])) << v.place;
        }
    }
}

// And the rest of an output that was not used up is lost.
TEST(Prng, AShorterRequestTakesTheLeadingBytes)
{
    const bytes key(28, 0x5A);
    const bytes whole = generator{ZRC_SHA224, key}.get(3 * 56);
    for (std::size_t length = 1; length <= whole.size(); ++length) {
        generator g{ZRC_SHA224, key}, same_steps{ZRC_SHA224, key};
        EXPECT_EQ(hex(g.get(length)), hex(std::span{whole}.first(length)));
        same_steps.get((length + 55) / 56 * 56);
        EXPECT_EQ(hex(g.key()), hex(same_steps.key())) << length;
    }
}

TEST(Prng, GHasItsKnownValues)
{
    std::array<std::uint8_t, 20> g;
    for (const bool des : {false, true}) {
        for (const test::stanza& v : test::read_vectors("prng.txt", des ? "G from DES" : "G from SHA-1")) {
            std::array<std::uint32_t, 5> t{};
            for (std::size_t i = 0; i < 5; ++i)
                t[i] = zrc::load_be32(v["t"].data() + 4 * i);
            des ? zrc::g_from_des(t, std::span{v["c"]}.first<20>(), g) : zrc::g_from_sha1(t, v["c"], g);
            EXPECT_EQ(hex(g), hex(v["g"])) << v.place;
        }
    }
}

// G as the public functions of the digest make it.
template <class State>
bytes g_by_hand(const bytes& key, std::uint32_t (*init)(State*), std::uint32_t (*compress)(State*, const std::uint8_t*),
                bool big_endian)
{
    State state;
    bytes block = key, g;
    block.resize(sizeof state.buffer);
    EXPECT_EQ(init(&state), 0U);
    EXPECT_EQ(compress(&state, block.data()), 0U);
    std::vector<std::uint32_t> words(std::begin(state.h), std::end(state.h));
    if constexpr (std::is_same_v<State, ZRC_SHA512_STATE>) // the low half of each word is first
        for (std::size_t i = 0; i < words.size(); i += 2)
            std::swap(words[i], words[i + 1]);
    for (const std::uint32_t word : words)
        for (int i = 0; i < 4; ++i)
            g.push_back(std::uint8_t(word >> 8 * (big_endian ? 3 - i : i)));
    g.resize(key.size());
    return g;
}

struct algorithm {
    std::int32_t id;
    std::size_t length; // bytes of a value of G and of the key
    bytes (*g)(const bytes& key);
};
const algorithm kAlgorithms[] = {
    {ZRC_SHA1, 20, [](const bytes& key) { return g_by_hand(key, zrc_Init_SHA1, comp_SHA1, true); }},
    {ZRC_SHA224, 28, [](const bytes& key) { return g_by_hand(key, zrc_Init_SHA224, comp_SHA256, true); }},
    {ZRC_SHA256, 32, [](const bytes& key) { return g_by_hand(key, zrc_Init_SHA256, comp_SHA256, true); }},
    {ZRC_SHA384, 48, [](const bytes& key) { return g_by_hand(key, zrc_Init_SHA384, comp_SHA512, true); }},
    {ZRC_SHA512, 64, [](const bytes& key) { return g_by_hand(key, zrc_Init_SHA512, comp_SHA512, true); }},
    {ZRC_MD5, 16, [](const bytes& key) { return g_by_hand(key, zrc_Init_MD5, comp_MD5, false); }},
    {ZRC_HAS160, 20, [](const bytes& key) { return g_by_hand(key, zrc_Init_HAS160, comp_HAS160, false); }},
    {ZRC_DES, 20, nullptr},
};

// Every algorithm through the unit: what its key says has to come, and as much of the key as there is was seeded.
TEST(Prng, TheUnitRunsTheGeneratorOfEveryAlgorithm)
{
    for (const algorithm& a : kAlgorithms) {
        const unit_ptr unit = initialised(a.id);
        EXPECT_EQ(unit->algorithm_id, a.id);
        EXPECT_EQ(unit->proven, 0);
        EXPECT_NE(hex({unit->key, a.length}), hex(bytes(a.length))) << a.id;
        EXPECT_NE(hex({unit->key + a.length - 8, 8}), hex(bytes(8))) << a.id;
        EXPECT_EQ(hex({unit->key + a.length, 64 - a.length}), hex(bytes(64 - a.length))) << a.id;
        EXPECT_NE(hex(initialised(a.id)->key), hex(unit->key)) << a.id;

        generator same{*unit};
        if (a.g) {
            const bytes g = a.g(same.key());
            EXPECT_EQ(hex(generator{a.id, same.key()}.get(a.length)), hex(g)) << a.id;
        }
        for (const std::size_t length : {1U, 39U, 128U, 129U, 1000U})
            EXPECT_EQ(hex(get(unit, length)), hex(same.get(length))) << a.id << " " << length;
        EXPECT_EQ(hex({unit->key, a.length}), hex(same.key())) << a.id;
    }
    EXPECT_EQ(initialised(0)->algorithm_id, ZRC_SHA1);
}

TEST(Prng, AGeneratorThatIsStuckGivesNothing)
{
    static constexpr zrc::g_function kStuck{
        1, 20, [](zrc::byte_span, std::span<std::uint8_t> g) noexcept { std::ranges::fill(g, std::uint8_t{0x77}); }};
    static constexpr zrc::g_function kZero{
        1, 20, [](zrc::byte_span, std::span<std::uint8_t> g) noexcept { std::ranges::fill(g, std::uint8_t{0}); }};
    for (const zrc::g_function* g : {&kStuck, &kZero}) {
        for (const std::size_t length : {1U, 20U, 21U, 100U}) {
            bytes out(length, 0xEE);
            EXPECT_FALSE((generator{*g, bytes(20, 1)}.fill(out))) << length;
            EXPECT_EQ(out, bytes(length)) << length;
        }
    }

    // The unit remembers the last value from one request to the next.
    const unit_ptr unit = initialised(ZRC_SHA256);
    get(unit, 5);
    const bytes next = generator{*unit}.get(32);
    std::copy(next.begin(), next.end(), unit->last_g);
    bytes out(100, 0xEE);
    EXPECT_EQ(ZRC_Get_Rand(unit, out.data(), 100), 0x14040067U);
    EXPECT_EQ(out, bytes(100));
    EXPECT_EQ(std::memcmp(unit, &kFresh, sizeof kFresh), 0);
}

TEST(Prng, NoChildRepeatsItsParent)
{
    const unit_ptr unit = initialised(ZRC_SHA1);
    get(unit, 40);
    generator same{*unit};
    const auto draw = [&] { return get(unit, 40); };
    const bytes children = in_a_child(draw) + in_a_child(draw) + in_a_child([&] { return in_a_child(draw) + draw(); }) +
                           in_a_child([&] { return get(unit, 80); });
    const bytes own = draw();
    test::expect_all_different(children + own, 40, 7);
    EXPECT_EQ(hex(own), hex(same.get(40))); // in the parent, nothing has changed
    EXPECT_EQ(hex(draw()), hex(same.get(40)));
}

TEST(Prng, Codes)
{
    const unit_ptr good = initialised(ZRC_SHA1), fresh{ZRC_New_PRNG_Unit()}, refused = initialised(ZRC_SHA1);
    const ZRC_PRNG_UNIT before = *good;
    std::uint8_t out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    for (const int unknown : {int{0x05000600}, int{ZRC_MDC2}, int{ZRC_HMAC_SHA1}, int{ZRC_DES_EDE}, -1})
        EXPECT_EQ(ZRC_Init_PRNG(refused, unknown, nullptr), 0x14070029U) << unknown;
    test::expect_codes({
        {ZRC_Init_PRNG(nullptr, ZRC_SHA1, nullptr), 0x14010049},
        {ZRC_Get_Rand(nullptr, out, 4), 0x14040049},
        {ZRC_Get_Rand(good, nullptr, 4), 0x14040049},
        {ZRC_Get_Rand(good, out, 0), 0x1404002B},
        {ZRC_Get_Rand(good, out, -1), 0x1404002B},
        {ZRC_Get_Rand(fresh, out, 4), 0x1404004B},
        {ZRC_Get_Rand(refused, out, 4), 0x1404004B},
    });
    EXPECT_EQ(hex(out), "eeeeeeee");
    EXPECT_EQ(std::memcmp(good, &before, sizeof before), 0);
    ZRC_Clean_PRNG_Unit(good);
    for (const auto* unit : {&good, &fresh, &refused}) // the key that `refused` had is gone
        EXPECT_EQ(std::memcmp(*unit, &kFresh, sizeof kFresh), 0);
    ZRC_Clean_PRNG_Unit(nullptr);
    ZRC_Free_PRNG_Unit(nullptr);
}

} // namespace

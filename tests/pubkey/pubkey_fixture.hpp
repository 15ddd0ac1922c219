// What the tests of the public-key families share.
#pragma once

#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <string>
#include <tuple>
#include <type_traits>

namespace test {

using codes = std::vector<std::uint32_t>;

inline bytes operator+(bytes a, const bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Never null, not even for no bytes.
inline const std::uint8_t* data_of(const bytes& value)
{
    static constexpr std::uint8_t kNothing = 0;
    return value.empty() ? &kNothing : value.data();
}

inline std::int32_t length_of(const bytes& value)
{
    return std::int32_t(value.size());
}

// A value of a vector file as a number.
inline std::int32_t number(const bytes& value)
{
    return std::int32_t(ZRC_Get_BIGINT_Word(of_bytes(value)));
}

inline bool equal(const ZRC_BIGINT* a, const bytes& b)
{
    return ZRC_Cmp_BIGINT(a, of_bytes(b)) == 0;
}

// Whether what a stanza tells is right: a result of 0, or none.
inline bool is_good(const stanza& values)
{
    return !values.values.contains("result") || values["result"] == bytes{0};
}

// The stanzas of a section, each with what it leaves out.
inline std::vector<stanza> group_vectors(const std::string& file, const std::string& section)
{
    std::vector<stanza> all = read_vectors(file, section);
    for (std::size_t i = 1; i < all.size(); ++i)
        all[i].values.insert(all[i - 1].values.begin(), all[i - 1].values.end());
    return all;
}

inline bytes digest_of(std::int32_t digest, const bytes& message)
{
    bytes output(64);
    std::int32_t length = 0;
    EXPECT_EQ(ZRC_DIGEST(digest, data_of(message), length_of(message), output.data(), &length), 0U);
    output.resize(std::size_t(length));
    return output;
}

// The answers to calls with good arguments but one, in turn: a pointer that is null, a number that is -1.
template <class R, class... A>
std::vector<R> with_each_bad(R (*call)(A...), std::type_identity_t<A>... good)
{
    std::vector<R> answers;
    const auto spoil = [&]<std::size_t I>(std::integral_constant<std::size_t, I>) {
        std::tuple<A...> arguments{good...};
        auto& bad = std::get<I>(arguments);
        if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(bad)>>)
            bad = nullptr;
        else
            bad = std::remove_reference_t<decltype(bad)>(-1);
        answers.push_back(std::apply(call, arguments));
    };
    [&]<std::size_t... I>(std::index_sequence<I...>)
    {
        (spoil(std::integral_constant<std::size_t, I>{}), ...);
    }
    (std::index_sequence_for<A...>{});
    return answers;
}

} // namespace test

// Test data: published vectors, read from the files in tests/vectors, and repeatable random data.
//
// A vector file is plain ASCII. `[NAME]` opens a section (a heading can occur again); a stanza is a run of
// `name = value` lines that a blank line ends; a line that starts with a space continues the value above; `#` starts
// a comment line. Values are hexadecimal bytes, spaces between them allowed, but `repeat` is a decimal number: how
// often the message is repeated. Whatever does not fit throws std::runtime_error, which fails the test that asked.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace test {

using bytes = std::vector<std::uint8_t>;

std::string hex(std::span<const std::uint8_t> data);

struct stanza {
    std::string place; // "file:line" of its first value
    std::map<std::string, bytes> values;

    const bytes& operator[](const std::string& name) const; // throws when there is no such value
};

// All stanzas of a section, messages already repeated; throws when the file or the section is missing or empty.
std::vector<stanza> read_vectors(const std::string& file, const std::string& section);

// Random data that is the same in every run.
class repeatable {
public:
    explicit repeatable(std::uint32_t seed) : engine_{seed} {}

    std::size_t upto(std::size_t largest) { return std::size_t(engine_() % (std::uint64_t{largest} + 1)); }
    bytes data(std::size_t size);

    // Cuts `data` into pieces of 1 to `longest` bytes and gives them to `feed` in order.
    void pieces(std::span<const std::uint8_t> data, std::size_t longest, auto feed)
    {
        while (!data.empty()) {
            const std::size_t size = std::min(data.size(), 1 + upto(longest - 1));
            feed(data.first(size));
            data = data.subspan(size);
        }
    }

private:
    std::mt19937 engine_;
};

} // namespace test

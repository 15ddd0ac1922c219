// Files and standard input, read in pieces.
#pragma once

#include "tools/command.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>

namespace tool {

// An input that cannot be opened or read; what() is "name: reason".
class input_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

constexpr std::size_t kPieceBytes = 256 * 1024;

using piece_consumer = std::function<void(std::span<const std::uint8_t>)>;

// Hands over the content of a file, or of standard input for "-", piece by piece: never an empty piece, never more
// than kPieceBytes. Shows progress on a terminal unless the session is quiet.
void read_pieces(const std::string& name, const session& session, const piece_consumer& consume);

} // namespace tool

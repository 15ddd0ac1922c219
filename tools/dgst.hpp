// The digest of an input, and the check of a list of digests.
#pragma once

#include "tools/algorithm.hpp"
#include "tools/command.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

// The digest of a file, or of standard input for "-". Throws input_error.
std::vector<std::uint8_t> digest_of(const std::string& name, const algorithm& algorithm, const session& session);

// Checks every line of a list; false when anything failed, and that includes ill-formed lines.
bool check_list(const std::string& list, const algorithm& algorithm, const session& session);

} // namespace tool

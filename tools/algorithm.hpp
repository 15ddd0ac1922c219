// From the name of a digest to the library's identifier, in the mode that the digest needs.
#pragma once

#include "tools/command.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

constexpr const char* kDefaultAlgorithm = "sha256";

struct algorithm {
    std::int32_t id;
    std::size_t digest_bytes;
};

// Help text for the option that takes a name.
std::string algorithm_help();

// Finds a digest by its name ("sha256", "SHA-256"), leaving proven mode when it is not an approved one. Throws
// failure: kUsage for an unknown name, kRefused for one that --proven forbids, kFailed when the library's self-test
// fails. Makes the process's first gated call, so nothing else may use the library before.
algorithm choose_algorithm(const std::string& given, const session& session);

} // namespace tool

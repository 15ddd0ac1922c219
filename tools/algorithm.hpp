// From the name of a digest to the library's identifier, in the mode that the digest needs.
#pragma once

#include "tools/command.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

constexpr const char* kDefaultAlgorithm = "sha256";

struct algorithm {
    std::int32_t id;
    std::size_t digest_bytes;
};

// A name in lower case and without hyphens: "SHA-256" and "sha256" are the same name.
std::string normalised(std::string name);

// Help text for the option that takes a name.
std::string algorithm_help();

std::vector<std::string> digest_names();

// Finds a digest by its name ("sha256", "SHA-256"), leaving proven mode when it is not an approved one. Throws
// failure: kUsage for an unknown name, kRefused for one that --proven forbids, kFailed when the library's self-test
// fails. Makes the process's first gated call, so nothing else may use the library before.
algorithm choose_algorithm(const std::string& given, const session& session);

// Whether proven mode has a digest by itself.
bool is_approved_digest(const std::string& given);

// The same for a digest that is used in something: `whole` names all of it, and `approved` says whether proven mode has
// that.
algorithm choose_algorithm(const std::string& given, const std::string& whole, bool approved, const session& session);

// Brings the library up in the mode that an algorithm needs: throws kRefused when it is not approved and --proven was
// given, kFailed when the self-test fails. The process's first gated call as well.
void start_library(const std::string& name, bool approved, const session& session);

} // namespace tool

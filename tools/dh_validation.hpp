// Validation of Diffie-Hellman parameters by the seed that they were made from (FIPS 186-4, A.1.1.3 and A.2.4), with
// nothing of the library but digests and numbers.
#pragma once

#include "tools/dh_key_file.hpp"

#include <cstdint>
#include <string>

namespace tool {

// What is wrong with the parameters; nothing: they are what the seed gives, p at the first counter that gives a prime,
// and g with the index 1. Throws failure. The library is up.
std::string fault_of(const dh_key& parameters, std::int32_t digest_id);

} // namespace tool

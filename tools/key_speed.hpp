// What kestrim speed does with keys.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tool {

// One key and what it does, each once for a call. Empty: such keys do not do that. There is nothing to verify before
// the first signature.
struct key_work {
    std::function<void()> sign;
    std::function<void()> verify;
    std::function<void()> agree;
};

std::vector<std::string> key_work_names();

// A new key. Throws failure. The library is up.
key_work new_key_work(const std::string& name);

} // namespace tool

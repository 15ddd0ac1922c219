// libFuzzer's entry to the readers of key files.
#include "tests/tool/key_file_property.hpp"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (!tool::read_and_rewrite({reinterpret_cast<const char*>(data), size}).value_or(true)) std::abort();
    return 0;
}

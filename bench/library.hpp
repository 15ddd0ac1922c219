// The start of this library, for every program here.
#pragma once

#include "kestrim_crypto.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

namespace bench {

// The self-test looks for the library's file where LD_LIBRARY_PATH says: the one that this program runs with.
inline void set_library_folder()
{
    Dl_info library{};
    if (dladdr(reinterpret_cast<void*>(ZRC_Crypto_Initialize), &library) == 0) return;
    const std::string file = library.dli_fname;
    setenv("LD_LIBRARY_PATH", file.substr(0, file.rfind('/')).c_str(), 0);
}

// For all algorithms.
inline void start_library()
{
    set_library_folder();
    ZRC_Change_Non_Proven_Mode();
    const std::uint32_t code = ZRC_Crypto_Initialize();
    if (code == 0) return;
    std::fprintf(stderr, "the self-test failed: %08X\n", unsigned(code));
    std::exit(1);
}

} // namespace bench

// Where the self-test finds the library's file.
#pragma once

#include <cstdlib>

namespace test {

// First thing in main(): the folder that the build put the library into, unless the caller named another one.
inline void set_library_folder()
{
    setenv("LD_LIBRARY_PATH", KESTRIM_LIBRARY_FOLDER, 0);
}

} // namespace test

// What the library says about itself.
#include "kestrim/state.h"

const char* ZRC_Get_Crypto_Version(void)
{
    return "5.2.0";
}

// A program on Linux finds the library through the dynamic linker; there is no file name to give.
const char* GetLibraryFileName(void)
{
    return nullptr;
}

/* Loads the library that it is given by its path, so that LD_LIBRARY_PATH says nothing but where the library looks for its
 * own file, and prints what the power-up self-test returns. */
#include "kestrim_crypto.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv)
{
    void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW) : NULL;
    uint32_t (*initialize)(void);
    void* symbol = library ? dlsym(library, "ZRC_Crypto_Initialize") : NULL;

    if (!symbol) return puts("the library does not load"), 1;
    memcpy(&initialize, &symbol, sizeof symbol); /* ISO C has no conversion for this */
    printf("0x%08X\n", (unsigned)initialize());
    return 0;
}

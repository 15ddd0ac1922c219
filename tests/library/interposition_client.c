/* Uses the library that it is given by dlopen, and checks that the same names mean something else to the rest of the
 * process; prints the SHA-256 of "abc". */
#include "kestrim_crypto.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static void* library;

/* ISO C has no conversion from an object pointer to a function pointer. */
static void find(const char* name, void* function)
{
    void* symbol = dlsym(library, name);
    memcpy(function, &symbol, sizeof symbol);
}

static int every_algorithm(void)
{
    static const int32_t ids[] = {ZRC_SHA1,   ZRC_SHA224, ZRC_SHA256, ZRC_SHA384,
                                  ZRC_SHA512, ZRC_MD5,    ZRC_HAS160, ZRC_MDC2};
    uint32_t (*digest)(int32_t, const uint8_t*, int32_t, uint8_t*, int32_t*);
    uint32_t (*hmac)(int32_t, const uint8_t*, int32_t, const uint8_t*, int32_t, uint8_t*, int32_t*);
    char* (*dump)(const uint8_t*, int32_t);
    void (*release)(void*);
    uint8_t data[300] = {0}, output[64];

    find("ZRC_DIGEST", &digest);
    find("ZRC_HMAC", &hmac);
    find("zrc_Dump_HEX", &dump);
    find("ZRC_Free", &release);
    for (size_t i = 0; i < sizeof ids / sizeof ids[0]; i++) {
        if (digest(ids[i], data, sizeof data, output, NULL) != 0) return 0;
        if (hmac(ids[i], data, sizeof data, data, sizeof data, output, NULL) != 0) return 0;
    }
    release(dump(output, sizeof output));
    return 1;
}

int main(int argc, char** argv)
{
    uint32_t (*leave_proven_mode)(void), (*self_test)(void);
    uint32_t (*digest)(int32_t, const uint8_t*, int32_t, uint8_t*, int32_t*);
    uint8_t output[32];

    library = argc == 2 ? dlopen(argv[1], RTLD_NOW) : NULL;
    if (!library) return puts("the library does not load"), 1;
    if (!dlsym(RTLD_DEFAULT, "ZRC_Crypto_Initialize")) return puts("there is no interposer"), 1;

    find("ZRC_Change_Non_Proven_Mode", &leave_proven_mode);
    find("ZRC_Crypto_Self_Test", &self_test);
    find("ZRC_DIGEST", &digest);
    if (leave_proven_mode() != 0 || self_test() != 0) return puts("the self-test failed"), 1;
    if (!every_algorithm()) return puts("an algorithm failed"), 1;

    if (digest(ZRC_SHA256, (const uint8_t*)"abc", 3, output, NULL) != 0) return 1;
    for (size_t i = 0; i < sizeof output; i++)
        printf("%02x", output[i]);
    puts("");
    return 0;
}
